// The callbacks that the host passes with every command.
#pragma once

#include <cstddef>

#include "pf_params.h"

// A part of PF_InData. The argument `ref` is PF_InData::effect_ref of the running command.
struct PF_InteractCallbacks {
    // Fills the caller's record with the value of parameter `index` at `whatTime`, in units of 1/timeScale second.
    // Command thread only. Every check-out needs one check-in, even if it failed.
    PF_Err (*checkout_param)(PF_ProgPtr ref, std::int32_t index, std::int32_t whatTime, std::int32_t timeStep,
                             std::uint32_t timeScale, PF_ParamDef* param);
    // Ends the use of a checked-out record. The caller still owns its memory. Command thread only, in the command
    // that checked it out.
    PF_Err (*checkin_param)(PF_ProgPtr ref, PF_ParamDef* param);
    // Adds a parameter; index -1 appends it. The host copies the record and the strings that it points to. Only
    // during parameter set-up, on the command's thread.
    PF_Err (*add_param)(PF_ProgPtr ref, std::int32_t index, PF_ParamDef* param);
    // Returns a code other than 0 after the user has stopped the render. The effect must return the same code.
    // Command thread, or the iteration thread with index 0.
    PF_Err (*abort)(PF_ProgPtr ref);
    PF_Err (*progress)(PF_ProgPtr ref, std::int32_t current, std::int32_t total);
    PF_Err (*register_ui)(PF_ProgPtr ref, void* customUiInfo);
    PF_UnusedCallback checkout_layer_audio;
    PF_UnusedCallback checkin_layer_audio;
    PF_UnusedCallback get_audio_data;
    void* reserved_str[3];
    void* reserved[10];
};

struct PF_ANSICallbacks {
    // As the C library's. Any thread.
    double (*atan)(double x);
    double (*atan2)(double y, double x);
    double (*ceil)(double x);
    double (*cos)(double x);
    double (*exp)(double x);
    double (*fabs)(double x);
    double (*floor)(double x);
    double (*fmod)(double x, double y);
    double (*hypot)(double x, double y);
    double (*log)(double x);
    double (*log10)(double x);
    double (*pow)(double x, double y);
    double (*sin)(double x);
    double (*sqrt)(double x);
    double (*tan)(double x);
    int (*sprintf)(char* buffer, const char* format, ...);
    // Checks no size: the destination must have room for the source and its terminating zero. Any thread.
    char* (*strcpy)(char* destination, const char* source);
    double (*asin)(double x);
    double (*acos)(double x);
    std::int32_t unused_longA[1];
};

struct PF_ColorCallbacks {
    PF_UnusedCallback entries[8];
};

// PF_InData::utils points to this table, which is valid during the command. Only the command's thread may call the
// handle callbacks.
struct PF_UtilCallbacks {
    PF_UnusedCallback begin_sampling;
    PF_UnusedCallback subpixel_sample;
    PF_UnusedCallback area_sample;
    void* get_batch_func_is_deprecated;
    PF_UnusedCallback end_sampling;
    PF_UnusedCallback composite_rect;
    PF_UnusedCallback blend;
    PF_UnusedCallback convolve;
    PF_UnusedCallback copy;
    PF_UnusedCallback fill;
    PF_UnusedCallback gaussian_kernel;
    PF_UnusedCallback iterate;
    PF_UnusedCallback premultiply;
    PF_UnusedCallback premultiply_color;
    // Makes an 8-bit world in the caller's record. The caller frees it with dispose_world. Width and height are in
    // pixels.
    PF_Err (*new_world)(PF_ProgPtr ref, std::int32_t width, std::int32_t height, std::int32_t newWorldFlags,
                        PF_EffectWorld* world);
    // Frees the pixels of a world that new_world made. The caller still owns the record. Command thread.
    PF_Err (*dispose_world)(PF_ProgPtr ref, PF_EffectWorld* world);
    PF_UnusedCallback iterate_origin;
    PF_UnusedCallback iterate_lut;
    PF_UnusedCallback transfer_rect;
    PF_UnusedCallback transform_world;
    // Makes a block of `size` bytes, whose contents are undefined. The caller owns it. Returns null if there is no
    // memory.
    PF_Handle (*host_new_handle)(A_HandleSize size);
    // Returns the block's address, which stays the same until the block is unlocked. Returns null if the block
    // cannot be locked.
    void* (*host_lock_handle)(PF_Handle handle);
    // Ends one lock. The effect also passes null, if the data that it unlocks do not exist.
    void (*host_unlock_handle)(PF_Handle handle);
    // Frees the block, which must not be locked. The handle must not be null.
    void (*host_dispose_handle)(PF_Handle handle);
    PF_UnusedCallback get_callback_addr;
    PF_UnusedCallback app;
    PF_ANSICallbacks ansi;
    PF_ColorCallbacks colorCB;
    PF_UnusedCallback get_platform_data;
    A_HandleSize (*host_get_handle_size)(PF_Handle handle);  // bytes
    PF_UnusedCallback iterate_origin_non_clip_src;
    PF_UnusedCallback iterate_generic;
    // Resizes the block and keeps its contents up to the smaller size. May replace the handle that the second
    // argument points to. If it fails, block and handle are unchanged. The block must not be locked.
    PF_Err (*host_resize_handle)(A_HandleSize size, PF_Handle* handle);
    PF_UnusedCallback subpixel_sample16;
    PF_UnusedCallback area_sample16;
    PF_UnusedCallback fill16;
    PF_UnusedCallback premultiply_color16;
    PF_UnusedCallback iterate16;
    PF_UnusedCallback iterate_origin16;
    PF_UnusedCallback iterate_origin_non_clip_src16;
    PF_UnusedCallback get_pixel_data8;
    PF_UnusedCallback get_pixel_data16;
    std::int32_t reserved[1];
};
