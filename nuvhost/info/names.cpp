#include "info/names.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace nuvhost {
namespace {

#define NAMED(constant) \
    { constant, #constant }

constexpr auto kOutFlags = std::to_array<Flag>({
    NAMED(PF_OutFlag_NON_PARAM_VARY),
    NAMED(PF_OutFlag_USE_OUTPUT_EXTENT),
    NAMED(PF_OutFlag_DISPLAY_ERROR_MESSAGE),
    NAMED(PF_OutFlag_I_EXPAND_BUFFER),
    NAMED(PF_OutFlag_CUSTOM_UI),
    NAMED(PF_OutFlag_DEEP_COLOR_AWARE),
    NAMED(PF_OutFlag_SEND_UPDATE_PARAMS_UI),
});

constexpr auto kOutFlags2 = std::to_array<Flag>({
    NAMED(PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG),
    NAMED(PF_OutFlag2_REVEALS_ZERO_ALPHA),
    NAMED(PF_OutFlag2_SUPPORTS_SMART_RENDER),
    NAMED(PF_OutFlag2_FLOAT_COLOR_AWARE),
    NAMED(PF_OutFlag2_AUTOMATIC_WIDE_TIME_INPUT),
    NAMED(PF_OutFlag2_SUPPORTS_THREADED_RENDERING),
});

#undef NAMED

struct Type {
    PF_ParamType type;
    const char* name;
};
constexpr auto kTypes = std::to_array<Type>({
    {PF_Param_LAYER, "layer"},
    {PF_Param_SLIDER, "slider"},
    {PF_Param_FIX_SLIDER, "fixed slider"},
    {PF_Param_ANGLE, "angle"},
    {PF_Param_CHECKBOX, "checkbox"},
    {PF_Param_COLOR, "color"},
    {PF_Param_POINT, "point"},
    {PF_Param_POPUP, "popup"},
    {PF_Param_NO_DATA, "no data"},
    {PF_Param_FLOAT_SLIDER, "float slider"},
    {PF_Param_ARBITRARY_DATA, "arbitrary data"},
    {PF_Param_PATH, "path"},
    {PF_Param_GROUP_START, "group start"},
    {PF_Param_GROUP_END, "group end"},
    {PF_Param_BUTTON, "button"},
    {PF_Param_POINT_3D, "3D point"},
});

}  // namespace

std::span<const Flag> OutFlags() {
    return kOutFlags;
}

std::span<const Flag> OutFlags2() {
    return kOutFlags2;
}

std::string TypeName(PF_ParamType type) {
    const auto found = std::find_if(kTypes.begin(), kTypes.end(), [&](const Type& it) { return it.type == type; });
    return found != kTypes.end() ? found->name : "type " + std::to_string(type);
}

std::string FourCharacters(std::uint32_t code) {
    std::string text;
    for (const int shift : {24, 16, 8, 0}) {
        text += static_cast<char>(code >> shift & 255);
    }
    const bool printable =
        std::all_of(text.begin(), text.end(), [](char letter) { return letter >= ' ' && letter <= '~'; });
    return printable ? text : Hexadecimal(code);
}

std::string Hexadecimal(std::uint32_t number) {
    std::array<char, 11> text{};
    std::snprintf(text.data(), text.size(), "0x%08X", static_cast<unsigned>(number));
    return text.data();
}

// Build in bits 0 to 8, stage in 9 and 10, bug-fix in 11 to 14, minor version in 15 to 18, major version in 19 to
// 21 with its high bits in 26 to 29.
std::string VersionName(std::uint32_t packed) {
    const auto part = [&](int shift, std::uint32_t mask) { return std::to_string(packed >> shift & mask); };
    const std::uint32_t major = (packed >> 26 & 15) << 3 | (packed >> 19 & 7), stage = packed >> 9 & 3;
    return std::to_string(major) + "." + part(15, 15) + "." + part(11, 15) + ", " +
           (stage == 0 ? "develop" : "stage " + std::to_string(stage)) + ", build " + part(0, 511);
}

}  // namespace nuvhost
