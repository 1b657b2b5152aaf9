// The host's basic types, codes and numbers.
//
// These headers describe the host's published 64-bit binary interface in our own words. layout.cpp checks every
// size and offset. A field or callback has a comment only if the effect or the reference host uses it. Unless a
// comment says otherwise, the host owns each pointer that it passes, and the pointer is valid only during that
// call.
#pragma once

#include <cstdint>

// ---- Codes ------------------------------------------------------------------------------------------------

// Result of every handler and of nearly every callback. 0 is success; hosts may return numbers of their own.
using PF_Err = std::int32_t;

inline constexpr PF_Err PF_Err_NONE = 0;
inline constexpr PF_Err PF_Err_OUT_OF_MEMORY = 4;
inline constexpr PF_Err PF_Err_INTERNAL_STRUCT_DAMAGED = 512;
inline constexpr PF_Err PF_Err_INVALID_INDEX = 513;
inline constexpr PF_Err PF_Err_UNRECOGNIZED_PARAM_TYPE = 514;
inline constexpr PF_Err PF_Err_INVALID_CALLBACK = 515;
inline constexpr PF_Err PF_Err_BAD_CALLBACK_PARAM = 516;
inline constexpr PF_Err PF_Interrupt_CANCEL = 517;  // what `abort` returns after the user has stopped the render

// What the effect has to do in one call of EffectMain.
using PF_Cmd = std::int32_t;

inline constexpr PF_Cmd PF_Cmd_ABOUT = 0;
inline constexpr PF_Cmd PF_Cmd_GLOBAL_SETUP = 1;
inline constexpr PF_Cmd PF_Cmd_GLOBAL_SETDOWN = 3;
inline constexpr PF_Cmd PF_Cmd_PARAMS_SETUP = 4;
inline constexpr PF_Cmd PF_Cmd_SEQUENCE_SETUP = 5;
inline constexpr PF_Cmd PF_Cmd_SEQUENCE_RESETUP = 6;
inline constexpr PF_Cmd PF_Cmd_SEQUENCE_FLATTEN = 7;
inline constexpr PF_Cmd PF_Cmd_SEQUENCE_SETDOWN = 8;
inline constexpr PF_Cmd PF_Cmd_DO_DIALOG = 9;
inline constexpr PF_Cmd PF_Cmd_FRAME_SETUP = 10;
inline constexpr PF_Cmd PF_Cmd_RENDER = 11;
inline constexpr PF_Cmd PF_Cmd_FRAME_SETDOWN = 12;
inline constexpr PF_Cmd PF_Cmd_USER_CHANGED_PARAM = 13;
inline constexpr PF_Cmd PF_Cmd_UPDATE_PARAMS_UI = 14;
inline constexpr PF_Cmd PF_Cmd_EVENT = 15;
inline constexpr PF_Cmd PF_Cmd_GET_EXTERNAL_DEPENDENCIES = 16;
inline constexpr PF_Cmd PF_Cmd_COMPLETELY_GENERAL = 17;
inline constexpr PF_Cmd PF_Cmd_QUERY_DYNAMIC_FLAGS = 18;
inline constexpr PF_Cmd PF_Cmd_AUDIO_RENDER = 19;
inline constexpr PF_Cmd PF_Cmd_AUDIO_SETUP = 20;
inline constexpr PF_Cmd PF_Cmd_AUDIO_SETDOWN = 21;
inline constexpr PF_Cmd PF_Cmd_ARBITRARY_CALLBACK = 22;
inline constexpr PF_Cmd PF_Cmd_SMART_PRE_RENDER = 23;
inline constexpr PF_Cmd PF_Cmd_SMART_RENDER = 24;
inline constexpr PF_Cmd PF_Cmd_GET_FLATTENED_SEQUENCE_DATA = 28;  // newer hosts only

// ---- Capability flags (the bits that the effect declares, and the one that asks for a message) --------------

inline constexpr std::uint32_t PF_OutFlag_NON_PARAM_VARY = 1u << 2;
inline constexpr std::uint32_t PF_OutFlag_USE_OUTPUT_EXTENT = 1u << 6;
inline constexpr std::uint32_t PF_OutFlag_DISPLAY_ERROR_MESSAGE = 1u << 8;
inline constexpr std::uint32_t PF_OutFlag_I_EXPAND_BUFFER = 1u << 9;
inline constexpr std::uint32_t PF_OutFlag_CUSTOM_UI = 1u << 15;
inline constexpr std::uint32_t PF_OutFlag_DEEP_COLOR_AWARE = 1u << 25;
inline constexpr std::uint32_t PF_OutFlag_SEND_UPDATE_PARAMS_UI = 1u << 26;

inline constexpr std::uint32_t PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG = 1u << 3;
inline constexpr std::uint32_t PF_OutFlag2_REVEALS_ZERO_ALPHA = 1u << 7;
inline constexpr std::uint32_t PF_OutFlag2_SUPPORTS_SMART_RENDER = 1u << 10;
inline constexpr std::uint32_t PF_OutFlag2_FLOAT_COLOR_AWARE = 1u << 12;
inline constexpr std::uint32_t PF_OutFlag2_AUTOMATIC_WIDE_TIME_INPUT = 1u << 17;
inline constexpr std::uint32_t PF_OutFlag2_SUPPORTS_THREADED_RENDERING = 1u << 27;

// ---- Application ids ('FXTC' and 'PrMr', most significant byte first) ---------------------------------------

inline constexpr std::int32_t kAppIdCompositor = 0x46585443;
inline constexpr std::int32_t kAppIdEditor = 0x50724D72;

// ---- Small records --------------------------------------------------------------------------------------------

using PF_Boolean = char;             // 0 or 1
using PF_Fixed = std::int32_t;       // 16.16 fixed point: the high 16 bits are the whole part, with the sign
using A_HandleSize = std::uint64_t;  // bytes

// A block of the host's memory. `*handle` is the block's current address. The host may move the block while the
// handle is not locked. Only the host's handle callbacks make and free blocks.
using PF_Handle = void**;

// Identifies a running instance of the effect to the host. The effect passes it to callbacks and never reads from
// it.
using PF_ProgPtr = struct PF_OpaqueEffect*;

// The type of the callbacks that nothing here calls.
using PF_UnusedCallback = void (*)();

struct PF_RationalScale {
    std::int32_t num;
    std::uint32_t den;
};

struct PF_SpecVersion {
    std::int16_t major;
    std::int16_t minor;
};

// Half-open rectangle in pixels: columns left … right-1, rows top … bottom-1.
struct PF_LRect {
    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;
};
using PF_Rect = PF_LRect;

struct PF_Point {
    std::int32_t h;
    std::int32_t v;
};
