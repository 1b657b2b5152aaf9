// Makes names and values from outside safe for a one-line message on a terminal.
#pragma once

#include <string>
#include <string_view>

namespace nuvhost {

// Writes each control character, also those beyond ASCII, as \n, \t or \x1b.
std::string OneLine(std::string_view text);

}  // namespace nuvhost
