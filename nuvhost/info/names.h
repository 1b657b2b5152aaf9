// The names of the host interface's numbers.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "pf_params.h"

namespace nuvhost {

struct Flag {
    std::uint32_t bit;
    std::string_view name;
};
// In ascending order of bits.
std::span<const Flag> OutFlags();
std::span<const Flag> OutFlags2();

// "float slider", or "type 19" for a number without a name.
std::string TypeName(PF_ParamType type);
// Four characters, the most significant byte first: 0x65464B54 is "eFKT". If one of them is not printable, the
// number in hexadecimal.
std::string FourCharacters(std::uint32_t code);
// "0x06008244"
std::string Hexadecimal(std::uint32_t number);
// "2.0.0, develop, build 1"
std::string VersionName(std::uint32_t packed);

}  // namespace nuvhost
