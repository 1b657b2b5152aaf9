// Records of the smart-render protocol: the `extra` argument of the two smart commands.
#pragma once

#include "pf_world.h"

inline constexpr std::int32_t PF_Field_FRAME = 0;
inline constexpr std::int32_t PF_ChannelMask_ARGB = 15;
inline constexpr std::int16_t PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS = 1;

// Asks for a part of a layer. The rectangle is in the layer's pixels at the current resolution.
struct PF_RenderRequest {
    PF_LRect rect;
    std::int32_t field;                     // 0 whole frame, 1 upper, 2 lower field
    std::int32_t channel_mask;              // alpha 1, red 2, green 4, blue 8
    PF_Boolean preserve_rgb_of_zero_alpha;  // 1: the colour of pixels with zero alpha matters
    char unused[3];
    std::int32_t reserved[4];
};

// What a layer has: result_rect is the part of it inside the request, max_result_rect is all of it.
struct PF_CheckoutResult {
    PF_LRect result_rect;
    PF_LRect max_result_rect;
    PF_RationalScale par;
    PF_Boolean solid;
    PF_Boolean reservedB[3];
    std::int32_t ref_width;
    std::int32_t ref_height;
    std::int32_t reserved[6];
};

struct PF_PreRenderInput {
    PF_RenderRequest output_request;  // the part of the result that the host wants; may be empty
    std::int16_t bitdepth;            // bits per channel of the coming render
    void* gpu_data;
    std::int32_t what_gpu;
    std::uint32_t device_index;
};

// The effect fills it. When pre-render returns, the host owns what `pre_render_data` points to. It passes the data
// to the matching smart render, if one follows, and finally to the delete function, if there is one.
struct PF_PreRenderOutput {
    PF_LRect result_rect;      // what the render will write
    PF_LRect max_result_rect;  // the most that it could write for any request
    PF_Boolean solid;
    PF_Boolean reserved;
    std::int16_t flags;  // PF_RenderOutputFlag_…
    void* pre_render_data;
    // The host calls this function when it does not need the data any more. Null means that there is no function.
    void (*delete_pre_render_data_func)(void* pre_render_data);
};

struct PF_PreRenderCallbacks {
    // Announces that the effect will read layer parameter `index` in its render, and writes to `result` what the
    // layer has at `whatTime`, in units of 1/timeScale second. The effect chooses `checkoutId` and asks for the
    // pixels with it. The caller owns both records, which the host uses only during the call. Command thread.
    PF_Err (*checkout_layer)(PF_ProgPtr ref, std::int32_t index, std::int32_t checkoutId,
                             const PF_RenderRequest* request, std::int32_t whatTime, std::int32_t timeStep,
                             std::uint32_t timeScale, PF_CheckoutResult* result);
    PF_UnusedCallback GuidMixInPtr;
};

// The `extra` of PF_Cmd_SMART_PRE_RENDER. The host owns it and what it points to; they are valid during the
// command.
struct PF_PreRenderExtra {
    PF_PreRenderInput* input;
    PF_PreRenderOutput* output;
    PF_PreRenderCallbacks* cb;
};

struct PF_SmartRenderInput {
    PF_RenderRequest output_request;
    std::int16_t bitdepth;
    void* pre_render_data;  // as pre-render left it; null if it left nothing
    void* gpu_data;
    std::int32_t what_gpu;
    std::uint32_t device_index;
};

// Command thread only.
struct PF_SmartRenderCallbacks {
    // Gives the pixels of an announced check-out. The host owns them, and the effect must not write to them. They
    // are valid until they are checked in or the command ends.
    PF_Err (*checkout_layer_pixels)(PF_ProgPtr ref, std::int32_t checkoutId, PF_EffectWorld** pixels);
    PF_Err (*checkin_layer_pixels)(PF_ProgPtr ref, std::int32_t checkoutId);
    // Gives the world that the effect has to fill. Its pixels are not cleared. It is valid during the command.
    PF_Err (*checkout_output)(PF_ProgPtr ref, PF_EffectWorld** output);
};

// The `extra` of PF_Cmd_SMART_RENDER. The host owns it and what it points to; they are valid during the command.
struct PF_SmartRenderExtra {
    PF_SmartRenderInput* input;
    PF_SmartRenderCallbacks* cb;
};
