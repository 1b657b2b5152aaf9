// The two records that the host passes with every command, and the effect's entry points, which take them.
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

// What the host tells the effect. The host owns the record and all that it points to; they are valid during the
// command.
struct PF_InData {
    PF_InteractCallbacks inter;
    PF_UtilCallbacks* utils;
    PF_ProgPtr effect_ref;  // first argument of the callbacks
    std::int32_t quality;
    PF_SpecVersion version;
    std::int32_t serial_num;
    std::int32_t appl_id;  // kAppIdCompositor, kAppIdEditor, or another host's id
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
    PF_Handle global_data;    // the effect's own data for the whole session; null if it has none
    PF_Handle sequence_data;  // this instance's block, which the host keeps and saves; null if there is none
    PF_Handle frame_data;
    std::int32_t start_sampL;
    std::int32_t dur_sampL;
    std::int32_t total_sampL;
    PF_SoundWorld src_snd;
    SPBasicSuite* pica_basicP;  // gives the suites; null in a host without suites
    std::int32_t pre_effect_source_origin_x;
    std::int32_t pre_effect_source_origin_y;
    PF_Fixed shutter_phase;
};

// What the effect tells the host. The host owns the record. The effect writes to it during the command.
struct PF_OutData {
    std::uint32_t my_version;  // written in global set-up
    char name[32];
    PF_Handle global_data;
    std::int32_t num_params;       // written in parameter set-up; counts the input layer, too
    PF_Handle sequence_data;       // in sequence set-up the new block, which the host then owns; in set-down null
    std::int32_t flat_sdata_size;  // the size of sequence_data in bytes when it is saved
    PF_Handle frame_data;
    std::int32_t width;
    std::int32_t height;
    PF_Point origin;
    std::int32_t out_flags;  // in global set-up capability flags, else requests, for example to show return_msg
    char return_msg[256];    // zero-terminated text for the user
    std::int32_t start_sampL;
    std::int32_t dur_sampL;
    PF_SoundWorld dest_snd;
    std::int32_t out_flags2;  // more capability flags in global set-up
};

// The host's registration record. The effect passes it on and never reads from it.
using PF_PluginDataPtr = struct PF_OpaquePluginData*;

using PF_PluginDataCB = PF_Err (*)(PF_PluginDataPtr inPtr, const std::uint8_t* name, const std::uint8_t* matchName,
                                   const std::uint8_t* category, const std::uint8_t* entryPointName,
                                   std::int32_t kind, std::int32_t apiMajor, std::int32_t apiMinor,
                                   std::int32_t reserved);

// The effect exports two functions under the names "PluginDataEntryFunction" and "EffectMain". The host calls the
// first once, when it scans its plug-ins. It calls the second for every command, and for render commands on several
// threads at the same time.
using PluginDataEntryFunctionType = PF_Err (*)(PF_PluginDataPtr inPtr, PF_PluginDataCB callback,
                                               SPBasicSuite* basic, const char* hostName, const char* hostVersion);
using EffectMainType = PF_Err (*)(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                                  PF_LayerDef* output, void* extra);
