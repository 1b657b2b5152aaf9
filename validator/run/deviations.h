// The promises that an effect breaks on purpose, the reasons, and the failures that are expected.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "reference_host/host.h"

namespace validator {

struct Deviation {
    std::string reason;
    // Patterns of the whole lines that the failing check reports; see MatchesGlob. In a personality
    // without an entry the check must hold.
    std::map<refhost::Personality, std::vector<std::string>> lines;
};
using Deviations = std::map<std::string, Deviation, std::less<>>;  // by check id

// <plug-in's folder>/<stem>.deviations.json
std::filesystem::path DeviationsBeside(const std::filesystem::path& plugin);

// Reads one JSON object: check id -> {"reason": "…", "compositing": ["pattern", …], "editing": ["pattern", …]},
// with at least one of the personalities. Leaves out checks that only the other system has. Throws UsageError with
// one line that names the file, the id and what is wrong.
Deviations ReadDeviations(const std::filesystem::path& file);

// One line for each failure that no pattern expects, and for each pattern that no failure matches.
std::vector<std::string> Differences(const std::vector<std::string>& failures,
                                     const std::vector<std::string>& patterns);

}  // namespace validator
