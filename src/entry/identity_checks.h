// The effect's identity as C++ constants. The compiler checks each number against the parts or names that it stands
// for.
#pragma once

#include <string_view>

#include "pf_data.h"
#include "resources/identity.h"

namespace nuv {

// Packs an effect version as the host does: build in bits 0 to 8, stage in 9 and 10, bug-fix in 11 to 14, minor
// version in 15 to 18, major version in 19 to 21 with its high bits in 26 to 29.
constexpr std::uint32_t PackVersion(std::uint32_t major, std::uint32_t minor, std::uint32_t bugFix,
                                    std::uint32_t stage, std::uint32_t build) {
    return (major >> 3 & 15) << 26 | (major & 7) << 19 | (minor & 15) << 15 | (bugFix & 15) << 11 |
           (stage & 3) << 9 | (build & 511);
}

inline constexpr std::uint32_t kVersion = NUV_VERSION;
static_assert(kVersion == PackVersion(NUV_VERSION_MAJOR, NUV_VERSION_MINOR, 0, 0, 1));

inline constexpr std::uint32_t kOutFlags = NUV_OUT_FLAGS;
static_assert(kOutFlags == (PF_OutFlag_NON_PARAM_VARY | PF_OutFlag_USE_OUTPUT_EXTENT | PF_OutFlag_I_EXPAND_BUFFER |
                            PF_OutFlag_CUSTOM_UI | PF_OutFlag_DEEP_COLOR_AWARE | PF_OutFlag_SEND_UPDATE_PARAMS_UI));

inline constexpr std::uint32_t kOutFlags2 = NUV_OUT_FLAGS2;
static_assert(kOutFlags2 == (PF_OutFlag2_PARAM_GROUP_START_COLLAPSED_FLAG | PF_OutFlag2_REVEALS_ZERO_ALPHA |
                             PF_OutFlag2_SUPPORTS_SMART_RENDER | PF_OutFlag2_FLOAT_COLOR_AWARE |
                             PF_OutFlag2_AUTOMATIC_WIDE_TIME_INPUT | PF_OutFlag2_SUPPORTS_THREADED_RENDERING));

// The resource compiler cannot compute the length of a text, so identity.h states the lengths.
static_assert(std::string_view(NUV_EFFECT_NAME).size() == NUV_EFFECT_NAME_LENGTH[0]);
static_assert(std::string_view(NUV_MATCH_NAME).size() == NUV_MATCH_NAME_LENGTH[0]);
static_assert(std::string_view(NUV_CATEGORY).size() == NUV_CATEGORY_LENGTH[0]);

}  // namespace nuv
