// Records of the smart-render protocol: the `extra` argument of the two smart commands.
#pragma once

#include "pf_world.h"

inline constexpr std::int32_t PF_Field_FRAME = 0;
inline constexpr std::int32_t PF_ChannelMask_ARGB = 15;
inline constexpr std::int16_t PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS = 1;

// What somebody wants of a layer. The rectangle is in the layer's pixels at the current resolution.
struct PF_RenderRequest {
    PF_LRect rect;
    std::int32_t field;                     // 0 whole frame, 1 upper, 2 lower field
    std::int32_t channel_mask;              // alpha 1, red 2, green 4, blue 8
    PF_Boolean preserve_rgb_of_zero_alpha;  // 1: colour under zero alpha matters
    char unused[3];
    std::int32_t reserved[4];
};

// What the layer can give: the pixels inside the request, and all that it has.
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
    PF_RenderRequest output_request;  // the part of the result that the host is after; may be empty
    std::int16_t bitdepth;            // bits per channel of the coming render
    void* gpu_data;
    std::int32_t what_gpu;
    std::uint32_t device_index;
};

// Filled by the effect. Whatever `pre_render_data` points to is the host's once pre-render returns; it reaches
// the matching smart render, if one follows, and is given to the delete function if there is one.
struct PF_PreRenderOutput {
    PF_LRect result_rect;      // what the render will write
    PF_LRect max_result_rect;  // what it could write at most
    PF_Boolean solid;
    PF_Boolean reserved;
    std::int16_t flags;  // PF_RenderOutputFlag_…
    void* pre_render_data;
    // Called by the host when the data is done with; null: nothing is called.
    void (*delete_pre_render_data_func)(void* pre_render_data);
};

struct PF_PreRenderCallbacks {
    // Announces that layer parameter `index` will be read under `checkoutId`, a number of the effect's choice, and
    // tells what there is to read at a time in units of 1/timeScale second. Both records are the caller's; the
    // request is read, the result written, during the call. Command thread.
    PF_Err (*checkout_layer)(PF_ProgPtr ref, std::int32_t index, std::int32_t checkoutId,
                             const PF_RenderRequest* request, std::int32_t whatTime, std::int32_t timeStep,
                             std::uint32_t timeScale, PF_CheckoutResult* result);
    PF_UnusedCallback GuidMixInPtr;
};

// The `extra` of PF_Cmd_SMART_PRE_RENDER; the host's, with what it points to, for the length of the command.
struct PF_PreRenderExtra {
    PF_PreRenderInput* input;
    PF_PreRenderOutput* output;
    PF_PreRenderCallbacks* cb;
};

struct PF_SmartRenderInput {
    PF_RenderRequest output_request;
    std::int16_t bitdepth;
    void* pre_render_data;  // as pre-render left it, null when it left nothing
    void* gpu_data;
    std::int32_t what_gpu;
    std::uint32_t device_index;
};

// Command thread only.
struct PF_SmartRenderCallbacks {
    // The pixels of an announced check-out; read-only, the host's, valid until checked in or the command ends.
    PF_Err (*checkout_layer_pixels)(PF_ProgPtr ref, std::int32_t checkoutId, PF_EffectWorld** pixels);
    PF_Err (*checkin_layer_pixels)(PF_ProgPtr ref, std::int32_t checkoutId);
    // The world to write; not cleared. Valid for the command.
    PF_Err (*checkout_output)(PF_ProgPtr ref, PF_EffectWorld** output);
};

// The `extra` of PF_Cmd_SMART_RENDER; as above.
struct PF_SmartRenderExtra {
    PF_SmartRenderInput* input;
    PF_SmartRenderCallbacks* cb;
};
