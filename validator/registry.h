// Every check there is.
#pragma once

#include <span>
#include <string_view>

#include "validator/check.h"

namespace validator {

// The families' tables, one file each.
std::span<const Check> LoadingChecks();
std::span<const Check> RegistrationChecks();
std::span<const Check> SetupChecks();
std::span<const Check> SetupParamsChecks();
std::span<const Check> SequenceChecks();
std::span<const Check> SequenceDataChecks();
std::span<const Check> PrerenderChecks();
std::span<const Check> RenderChecks();
std::span<const Check> LayoutChecks();
std::span<const Check> PixelsChecks();
std::span<const Check> ThreadsChecks();
std::span<const Check> FaultsChecks();
std::span<const Check> SetUpFaultsChecks();
std::span<const Check> SystemFaultsChecks();  // on Linux only
std::span<const Check> AboutChecks();
std::span<const Check> MisuseChecks();
std::span<const Check> ExceptionsChecks();
std::span<const Check> PropertyListChecks();  // on Windows only

// All of them in the families' order, gates first. Throws std::logic_error where two have one id or an id is not
// "family.name" in lower case.
std::span<const Check> AllChecks();
// Null if there is none.
const Check* FindCheck(std::string_view id);
// Of a check that is compiled for the other system alone: a deviation file is the same on both.
bool IsOfOtherSystem(std::string_view id);
// `*` stands for any characters, `?` for one.
bool MatchesGlob(std::string_view text, std::string_view glob);

}  // namespace validator
