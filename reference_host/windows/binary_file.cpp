#include "reference_host/binary_file.h"

namespace refhost {

// The loader of Windows itself notices that a file is cut off.
std::string WhyNotOfThisSystem(std::istream&, std::string_view start, std::uintmax_t) {
    constexpr std::string_view kLinuxLibrary =
        "\x7f"
        "ELF";
    return start == kLinuxLibrary ? "is a Linux library; this program takes Windows ones" : "";
}

}  // namespace refhost
