// Describes an effect by what it tells a host that scans it and sets it up.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

namespace nuvhost {

// Loads the effect, and sets it up in both hosts up to parameter set-up. The result has these fields:
//
//   file, name, match_name, category, kind, entry_point, effect_api, about
//                  strings, empty if the effect does not tell them
//   version        value, text
//   hosts          one for each host, "compositor" and "editor": host, out_flags and out_flags2 (value, names,
//                  unknown_bits), pixel_formats (those that it declares); for a host that the effect refuses: host
//                  and refused, the reason
//   parameters     index, id, type, name and, for the types whose values the hosts' records describe, default and
//                  ranges; the input layer, index 0, is not among them
//
// Throws a std::runtime_error with one line if the file is not an effect, or if the effect refuses both hosts.
nlohmann::ordered_json DescribeEffect(const std::filesystem::path& plugin);

// The description as text for a terminal of 80 columns. A line is longer only if a text of the effect is.
std::string TextOf(const nlohmann::ordered_json& description);

}  // namespace nuvhost
