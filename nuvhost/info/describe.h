// What an effect's binary says of itself when a host scans it and sets it up.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

namespace nuvhost {

// Loads the effect and plays both hosts towards it, up to parameter set-up.
//
//   file, name, match_name, category, kind, entry_point, effect_api, about    strings; empty where it says nothing
//   version        value, text
//   hosts          one for each host, "compositor" and "editor": host, out_flags and out_flags2 (value, names,
//                  unknown_bits), pixel_formats (those it declares); or host and refused, the reason
//   parameters     index, id, type, name and, for the types whose values the hosts' records describe, default and
//                  ranges; the input layer, index 0, is not among them
//
// Throws std::runtime_error with one line when the file is no effect or when both hosts are refused.
nlohmann::ordered_json DescribeEffect(const std::filesystem::path& plugin);

// The same for a terminal of 80 columns. Only what the effect itself says may make a line longer.
std::string TextOf(const nlohmann::ordered_json& description);

}  // namespace nuvhost
