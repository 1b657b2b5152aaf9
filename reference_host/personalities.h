// The hosts that the reference host plays, and what tells one from the other.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "pf_basics.h"
#include "reference_host/table_order.h"

namespace refhost {

enum class Personality { compositor, editor, count };  // count: how many there are, no personality

struct PersonalityTraits {
    Personality personality;
    std::string_view name;         // in reports and lists of deviations
    std::string_view application;  // in options and descriptions
    const char* scanName;          // the host's name that the effect is told when it is scanned
    std::int32_t applicationId;    // in_data.appl_id
    bool smartRender;              // whether it sends pre-render and smart render; every host sends plain renders
    bool declaredFormats;          // whether it hands over the formats that the effect added to a list of its own,
                                   // and not those that the effect's flags tell
    bool bottomUp;                 // whether its worlds are stored with the bottom row first
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
