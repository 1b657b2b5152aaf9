#include "validator/run/deviations.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <set>

#include <nlohmann/json.hpp>

#include "validator/errors.h"
#include "validator/registry.h"
#include "validator/run/isolation.h"

namespace validator {
namespace {

using nlohmann::json;

// Refuses two entries with the same name. The parser alone would silently drop the first one.
json Parse(std::istream& stream) {
    std::set<std::string> ids;
    return json::parse(
        stream,
        [&](int depth, json::parse_event_t event, json& parsed) {
            if (event == json::parse_event_t::key && depth == 1 && !ids.insert(parsed.get<std::string>()).second) {
                throw UsageError("\"" + parsed.get<std::string>() + "\" is listed twice");
            }
            return true;
        },
        false);
}

bool IsText(const json& value) {
    return value.is_string() && !value.get_ref<const std::string&>().empty();
}

// Takes the known keys out of the entry one by one, so the keys that are left are unknown. `check` is null if only
// the other system has it.
Deviation ReadDeviation(json entry, const Check* check) {
    if (!entry.is_object()) throw UsageError("is not an object with a reason and the lines that it excuses");
    Deviation deviation;
    if (!IsText(entry["reason"])) throw UsageError("has no reason");
    deviation.reason = entry["reason"];
    entry.erase("reason");
    for (const refhost::PersonalityTraits& traits : refhost::kPersonalities) {
        const std::string name(traits.name);
        if (!entry.contains(name)) continue;
        const json& lines = entry[name];
        if (!lines.is_array() || lines.empty() || !std::ranges::all_of(lines, IsText)) {
            throw UsageError("\"" + name + "\" is not a list of patterns");
        }
        if (check && !IsFor(*check, traits.personality)) throw UsageError("is no check of the " + name + " host");
        deviation.lines[traits.personality] = lines.get<std::vector<std::string>>();
        entry.erase(name);
    }
    if (!entry.empty()) throw UsageError("\"" + entry.begin().key() + "\" is unknown");
    if (deviation.lines.empty()) throw UsageError("names no host in which it fails");
    return deviation;
}

}  // namespace

std::filesystem::path DeviationsBeside(const std::filesystem::path& plugin) {
    auto file = plugin.parent_path() / plugin.stem();
    file += ".deviations.json";
    return file;
}

Deviations ReadDeviations(const std::filesystem::path& file) {
    std::string at = file.string() + ": ";
    try {
        std::ifstream stream(file);
        if (!stream) throw UsageError("cannot be read");
        const json object = Parse(stream);
        if (!object.is_object()) throw UsageError("is not one JSON object");

        Deviations deviations;
        for (const auto& [id, entry] : object.items()) {
            at = file.string() + ": \"" + id + "\": ";
            const Check* const check = FindCheck(id);
            if (!check && !IsOfOtherSystem(id)) throw UsageError("is no check; nuvhost validate --list names them");
            const Deviation deviation = ReadDeviation(entry, check);
            if (check) deviations[id] = deviation;
        }
        return deviations;
    } catch (const UsageError& error) {
        throw UsageError(at + error.what());
    }
}

std::vector<std::string> Differences(const std::vector<std::string>& failures,
                                     const std::vector<std::string>& patterns) {
    std::vector<std::string> differences;
    for (const std::string& failure : failures) {
        const auto expects = [&](const std::string& pattern) { return MatchesGlob(failure, pattern); };
        if (std::ranges::none_of(patterns, expects)) differences.push_back("not expected: " + failure);
    }
    for (const std::string& pattern : patterns) {
        const auto comes = [&](const std::string& failure) { return MatchesGlob(failure, pattern); };
        if (std::ranges::none_of(failures, comes)) differences.push_back("expected, but did not come: " + pattern);
    }
    return differences;
}

}  // namespace validator
