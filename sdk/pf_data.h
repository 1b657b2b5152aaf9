// The two records that accompany every command, and the entry points that take them.
#pragma once

#include "pf_callbacks.h"
#include "pf_suites.h"

struct PF_SoundFormatInfo {
    double rateF;
    std::int16_t num_channels;
    std::int16_t format;
    std::int16_t sample_size;
};

struct PF_SoundWorld {
    PF_SoundFormatInfo fi;
    std::int32_t num_samples;
    void* dataP;
};

// From the host to the effect; the host's, with all that it points to, for the length of the command.
struct PF_InData {
    PF_InteractCallbacks inter;
    PF_UtilCallbacks* utils;
    PF_ProgPtr effect_ref;  // first argument of the callbacks
    std::int32_t quality;
    PF_SpecVersion version;
    std::int32_t serial_num;
    std::int32_t appl_id;  // kAppIdCompositor, kAppIdEditor, or another host's
    std::int32_t num_params;
    std::int32_t reserved;
    std::int32_t what_cpu;
    std::int32_t what_fpu;
    std::int32_t current_time;  // in units of 1/time_scale second; may be negative
    std::int32_t time_step;     // the frame's length in the same unit; may be zero or negative
    std::int32_t total_time;
    std::int32_t local_time_step;
    std::uint32_t time_scale;
    std::int32_t field;
    PF_Fixed shutter_angle;
    std::int32_t width;  // of the input layer, in pixels
    std::int32_t height;
    PF_Rect extent_hint;
    std::int32_t output_origin_x;
    std::int32_t output_origin_y;
    PF_RationalScale downsample_x;  // current resolution over full resolution
    PF_RationalScale downsample_y;
    PF_RationalScale pixel_aspect_ratio;  // a pixel's width over its height
    std::int32_t in_flags;
    PF_Handle global_data;    // the effect's own for the whole session; null when it made none
    PF_Handle sequence_data;  // this instance's block, carried and saved by the host; null when there is none
    PF_Handle frame_data;
    std::int32_t start_sampL;
    std::int32_t dur_sampL;
    std::int32_t total_sampL;
    PF_SoundWorld src_snd;
    SPBasicSuite* pica_basicP;  // the way to every suite; null in a host without suites
    std::int32_t pre_effect_source_origin_x;
    std::int32_t pre_effect_source_origin_y;
    PF_Fixed shutter_phase;
};

// From the effect to the host; the host's record, written by the effect during the command.
struct PF_OutData {
    std::uint32_t my_version;  // global set-up
    char name[32];
    PF_Handle global_data;
    std::int32_t num_params;       // parameter set-up; counts the input layer
    PF_Handle sequence_data;       // sequence set-up: the new block, the host's from then on; set-down: null
    std::int32_t flat_sdata_size;  // its size in bytes when saved
    PF_Handle frame_data;
    std::int32_t width;
    std::int32_t height;
    PF_Point origin;
    std::int32_t out_flags;  // capability flags at global set-up, requests such as a message otherwise
    char return_msg[256];    // zero-terminated text for the user
    std::int32_t start_sampL;
    std::int32_t dur_sampL;
    PF_SoundWorld dest_snd;
    std::int32_t out_flags2;  // capability flags at global set-up
};

// The host's registration record; passed through, never looked into.
using PF_PluginDataPtr = struct PF_OpaquePluginData*;

using PF_PluginDataCB = PF_Err (*)(PF_PluginDataPtr inPtr, const std::uint8_t* name, const std::uint8_t* matchName,
                                   const std::uint8_t* category, const std::uint8_t* entryPointName,
                                   std::int32_t kind, std::int32_t apiMajor, std::int32_t apiMinor,
                                   std::int32_t reserved);

// Exported by the effect under the names "PluginDataEntryFunction" and "EffectMain". The first is called once
// when the host scans its plug-ins; the second for every command, render commands from several threads at once.
using PluginDataEntryFunctionType = PF_Err (*)(PF_PluginDataPtr inPtr, PF_PluginDataCB callback,
                                               SPBasicSuite* basic, const char* hostName, const char* hostVersion);
using EffectMainType = PF_Err (*)(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                                  PF_LayerDef* output, void* extra);
