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

// A point in 16.16 fixed point. A value is in pixels of the layer at its current resolution, which may be reduced.
// A default is in percent of the layer.
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
    std::int16_t num_choices;  // how many choices the menu offers
    std::int16_t dephault;     // counts like `value`
    union {
        const char* namesptr;  // choices separated by '|'; valid until add_param returns
    } u;
};

// Values in the slider's own unit.
struct PF_FloatSliderDef {
    double value;
    double phase;
    char value_desc[32];
    float valid_min;  // the least and the greatest value that users may type
    float valid_max;
    float slider_min;  // the ends of the slider, inside the valid range
    float slider_max;
    float dephault;
    std::int16_t precision;  // the number of decimals that the host shows
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

// One parameter. When the effect adds the parameter, the record is its definition; when the effect checks it out,
// the record is its value at one time. The effect owns the record in both cases. The host owns what a checked-out
// record points to.
struct PF_ParamDef {
    union {
        std::int32_t id;  // disk id, 1 to 9999, by which saved projects identify the parameter
        std::int32_t change_flags;
    } uu;
    std::int32_t ui_flags;  // 0: the host's usual controls
    std::int16_t ui_width;
    std::int16_t ui_height;
    PF_ParamType param_type;  // tells which member of `u` is used
    char name[32];            // zero-terminated
    std::int32_t flags;       // 0: users may animate it, and the host does not tell the effect of changes
    std::int32_t unused;
    PF_ParamDefUnion u;
};
