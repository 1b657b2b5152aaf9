// Every check there is.
#pragma once

#include <span>
#include <string_view>

#include "validator/check.h"
#include "validator/families.h"

namespace validator {

// The table of each family: std::span<const Check> LoadingChecks() and so on.
#define NUV_DECLARE(family) std::span<const Check> family##Checks();
NUV_FAMILIES(NUV_DECLARE)
#undef NUV_DECLARE

// The ids of the checks that only one system has. Both systems know all of these ids, because both read the same
// file of deviations.
inline constexpr std::string_view kLinuxChecks[] = {
    "faults.session-thread", "faults.session-memory", "faults.smart-thread",
    "faults.smart-memory",   "faults.plain-thread",   "faults.plain-memory",
};
inline constexpr std::string_view kWindowsChecks[] = {
    "foreign-exceptions.set-up",
    "foreign-exceptions.about",
    "foreign-exceptions.sequence",
    "foreign-exceptions.pre-render",
    "foreign-exceptions.smart-render",
    "foreign-exceptions.plain-render",
    "property-list.once",
    "property-list.well-formed",
    "property-list.registration",
    "property-list.entry-point",
    "property-list.global-setup",
};

// All checks in the order of their families, but gates first. Throws std::logic_error if an id is not "family.name"
// in lower case, if two checks have the same id, or if the lists above do not agree with the tables.
std::span<const Check> AllChecks();
// Null if there is none.
const Check* FindCheck(std::string_view id);
// Whether only the other system has this check.
bool IsOfOtherSystem(std::string_view id);
// `*` stands for any characters, `?` for one.
bool MatchesGlob(std::string_view text, std::string_view glob);

}  // namespace validator
