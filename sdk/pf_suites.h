// The basic suite, and the suites of callbacks that it gives.
#pragma once

#include "pf_world.h"

struct PF_InData;

// PF_InData::pica_basicP points to it. Command thread only. A suite is a table that the host owns. The effect may
// use it after it has acquired the suite and until it releases the suite. Each successful acquisition needs one
// release.
struct SPBasicSuite {
    // Returns 0 if it succeeds. Even then the host may set `*suite` to null.
    std::int32_t (*AcquireSuite)(const char* name, std::int32_t version, const void** suite);
    // Ends one acquisition. The table must not be used afterwards.
    std::int32_t (*ReleaseSuite)(const char* name, std::int32_t version);
    PF_UnusedCallback IsEqual;
    PF_UnusedCallback AllocateBlock;
    PF_UnusedCallback FreeBlock;
    PF_UnusedCallback ReallocateBlock;
    PF_UnusedCallback Undefined;
};

// "PF ANSI Suite" 1.
struct PF_ANSICallbacksSuite1 {
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
    // As the C library's: checks no size, and returns the number of characters that it wrote.
    int (*sprintf)(char* buffer, const char* format, ...);
    char* (*strcpy)(char* destination, const char* source);
    double (*asin)(double x);
    double (*acos)(double x);
};

// "PF Handle Suite" version 2, although the structure's name has a 1. The callbacks do the same as those of
// PF_UtilCallbacks.
struct PF_HandleSuite1 {
    PF_Handle (*host_new_handle)(A_HandleSize size);
    void* (*host_lock_handle)(PF_Handle handle);
    void (*host_unlock_handle)(PF_Handle handle);
    void (*host_dispose_handle)(PF_Handle handle);
    A_HandleSize (*host_get_handle_size)(PF_Handle handle);
    PF_Err (*host_resize_handle)(A_HandleSize size, PF_Handle* handle);
};

// The host calls it once for each pixel, on any of its threads. (x, y) is the pixel's column and row in the world.
using PF_IteratePixel8Func = PF_Err (*)(void* refcon, std::int32_t x, std::int32_t y, PF_Pixel* in, PF_Pixel* out);

// The host calls it once for each `i` from 0 to iterations - 1, in any order, on any of its threads, and on several
// threads at the same time. `threadIndex` is the number of the thread, from 0. A result other than 0 stops the
// iteration.
using PF_IterateRowFunc = PF_Err (*)(void* refcon, std::int32_t threadIndex, std::int32_t i,
                                     std::int32_t iterations);

// "PF Iterate8 Suite" 1. Both functions return after the last callback has returned.
struct PF_Iterate8Suite1 {
    // A null `area` means the whole world. The host's progress runs from progressBase to progressFinal.
    PF_Err (*iterate)(PF_InData* in_data, std::int32_t progressBase, std::int32_t progressFinal,
                      PF_EffectWorld* src, const PF_Rect* area, void* refcon, PF_IteratePixel8Func pixelFunction,
                      PF_EffectWorld* dst);
    PF_UnusedCallback iterate_origin;
    PF_UnusedCallback iterate_lut;
    PF_UnusedCallback iterate_origin_non_clip_src;
    PF_Err (*iterate_generic)(std::int32_t iterations, void* refcon, PF_IterateRowFunc rowFunction);
};

// "PF World Suite" 2.
struct PF_WorldSuite2 {
    PF_Err (*PF_NewWorld)(PF_ProgPtr ref, std::int32_t width, std::int32_t height, PF_Boolean clear,
                          PF_PixelFormat format, PF_EffectWorld* world);
    PF_Err (*PF_DisposeWorld)(PF_ProgPtr ref, PF_EffectWorld* world);
    // Tells the format of a world that the host has given to the running command. Writes `format` only if it
    // succeeds.
    PF_Err (*PF_GetPixelFormat)(const PF_EffectWorld* world, PF_PixelFormat* format);
};

// "PF Pixel Format Suite" 1: the editing host's formats. Command thread.
struct PF_PixelFormatSuite1 {
    // In global set-up only. The effect first clears the formats that the host assumes, then adds one with each
    // call.
    PF_Err (*AddSupportedPixelFormat)(PF_ProgPtr ref, PF_PixelFormat format);
    PF_Err (*ClearSupportedPixelFormats)(PF_ProgPtr ref);
    PF_Err (*NewWorldOfPixelFormat)(PF_ProgPtr ref, std::uint32_t width, std::uint32_t height, std::int32_t flags,
                                    PF_PixelFormat format, PF_EffectWorld* world);
    PF_Err (*DisposeWorld)(PF_ProgPtr ref, PF_EffectWorld* world);
    // As PF_GetPixelFormat of the world suite.
    PF_Err (*GetPixelFormat)(PF_EffectWorld* world, PF_PixelFormat* format);
    PF_Err (*GetBlackForPixelFormat)(PF_PixelFormat format, void* pixel);
    PF_Err (*GetWhiteForPixelFormat)(PF_PixelFormat format, void* pixel);
    PF_Err (*ConvertColorToPixelFormattedData)(PF_PixelFormat format, float alpha, float red, float green,
                                               float blue, void* pixel);
};
