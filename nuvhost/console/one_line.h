// Names and values as they come, fit for a message on a terminal.
#pragma once

#include <string>
#include <string_view>

namespace nuvhost {

// Control characters, those beyond ASCII as well, as \n, \t or \x1b.
std::string OneLine(std::string_view text);

}  // namespace nuvhost
