// The hosts that the reference host plays, and how they differ.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "pf_basics.h"
#include "reference_host/table_order.h"

namespace refhost {

enum class Personality { compositor, editor, count };  // `count` is no personality; it is their number

struct PersonalityTraits {
    Personality personality;
    std::string_view name;         // in reports and lists of deviations
    std::string_view application;  // in options and descriptions
    const char* scanName;          // the host's name, which the effect gets in the scan
    std::int32_t applicationId;    // in_data.appl_id
    bool smartRender;              // whether it sends pre-render and smart render; every host sends plain renders
    // Whether its worlds have the formats that the effect has added in global set-up. Otherwise they have the
    // formats that the effect's flags declare.
    bool declaredFormats;
    bool bottomUp;  // whether its worlds are stored with the bottom row first
};

inline constexpr std::array<PersonalityTraits, static_cast<std::size_t>(Personality::count)> kPersonalities{{
    {.personality = Personality::compositor,
     .name = "compositing",
     .application = "compositor",
     .scanName = "reference compositor",
     .applicationId = kAppIdCompositor,
     .smartRender = true,
     .declaredFormats = false,
     .bottomUp = false},
    {.personality = Personality::editor,
     .name = "editing",
     .application = "editor",
     .scanName = "reference editor",
     .applicationId = kAppIdEditor,
     .smartRender = false,
     .declaredFormats = true,
     .bottomUp = true},
}};
static_assert(HasRowForEach(kPersonalities, &PersonalityTraits::personality));

// Throws std::invalid_argument for a number that is no personality.
const PersonalityTraits& TraitsOf(Personality personality);
// "compositing". Throws as TraitsOf does.
std::string_view NameOf(Personality personality);
// By name or application. Throws std::invalid_argument for a word that names no personality.
Personality PersonalityNamed(std::string_view word);

}  // namespace refhost
