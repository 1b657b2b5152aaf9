// Parameter definitions and values.
#pragma once

#include "pf_world.h"

using PF_ParamType = std::int32_t;

inline constexpr PF_ParamType PF_Param_LAYER = 0;
inline constexpr PF_ParamType PF_Param_SLIDER = 1;
inline constexpr PF_ParamType PF_Param_FIX_SLIDER = 2;
inline constexpr PF_ParamType PF_Param_ANGLE = 3;
inline constexpr PF_ParamType PF_Param_CHECKBOX = 4;
inline constexpr PF_ParamType PF_Param_COLOR = 5;
inline constexpr PF_ParamType PF_Param_POINT = 6;
inline constexpr PF_ParamType PF_Param_POPUP = 7;
inline constexpr PF_ParamType PF_Param_NO_DATA = 9;
inline constexpr PF_ParamType PF_Param_FLOAT_SLIDER = 10;
inline constexpr PF_ParamType PF_Param_ARBITRARY_DATA = 11;
inline constexpr PF_ParamType PF_Param_PATH = 12;
inline constexpr PF_ParamType PF_Param_GROUP_START = 13;
inline constexpr PF_ParamType PF_Param_GROUP_END = 14;
inline constexpr PF_ParamType PF_Param_BUTTON = 15;
inline constexpr PF_ParamType PF_Param_POINT_3D = 18;

inline constexpr std::int16_t PF_Precision_HUNDREDTHS = 2;

// A point in pixels of the (possibly reduced) layer when it is a value, in percent of the layer when it is a
// default. 16.16 fixed point throughout.
struct PF_PointDef {
    PF_Fixed x_value;
    PF_Fixed y_value;
    char reserved[3];
    PF_Boolean restrict_bounds;  // 1: the user cannot drag the point out of the layer
    PF_Fixed x_dephault;
    PF_Fixed y_dephault;
};

struct PF_PopupDef {
    std::int32_t value;        // 1 for the first choice
    std::int16_t num_choices;  // how many the menu offers
    std::int16_t dephault;     // as value
    union {
        const char* namesptr;  // choices separated by '|'; must outlive add_param
    } u;
};

// Values in the slider's own unit.
struct PF_FloatSliderDef {
    double value;
    double phase;
    char value_desc[32];
    float valid_min;  // what may be typed
    float valid_max;
    float slider_min;  // what the slider reaches, inside the valid range
    float slider_max;
    float dephault;
    std::int16_t precision;  // decimals shown
    std::int16_t display_flags;
    std::uint32_t fs_flags;
    float curve_tolerance;  // how far the host may simplify a curve of values
    PF_Boolean useExponent;
    float exponent;
};

union PF_ParamDefUnion {
    PF_LayerDef ld;  // PF_Param_LAYER, the largest member
    PF_PointDef td;
    PF_PopupDef pd;
    PF_FloatSliderDef fs_d;
};

// One parameter: its definition when the effect adds it, its value at one time when the effect checks it out.
// The effect owns the record in both cases; the host owns what a checked-out record points to.
struct PF_ParamDef {
    union {
        std::int32_t id;  // disk id, 1 to 9999: names the parameter in saved projects
        std::int32_t change_flags;
    } uu;
    std::int32_t ui_flags;  // 0: nothing special in the user interface
    std::int16_t ui_width;
    std::int16_t ui_height;
    PF_ParamType param_type;  // says which member of `u` is meant
    char name[32];            // zero-terminated
    std::int32_t flags;       // 0: animates freely, not supervised
    std::int32_t unused;
    PF_ParamDefUnion u;
};
