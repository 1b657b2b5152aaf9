#include "console/one_line.h"

namespace nuvhost {

std::string OneLine(std::string_view text) {
    constexpr auto kDigits = "0123456789abcdef";
    std::string line;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto at = [&](std::size_t place) {
            return place < text.size() ? static_cast<unsigned char>(text[place]) : 0U;
        };
        // The control characters U+0080 to U+009F have these two bytes in UTF-8.
        const bool beyond = at(i) == 0xC2 && at(i + 1) >= 0x80 && at(i + 1) < 0xA0;
        if (at(i) >= ' ' && at(i) != 0x7F && !beyond) {
            line += text[i];
        } else if (text[i] == '\n' || text[i] == '\t') {
            line += text[i] == '\n' ? "\\n" : "\\t";
        } else {
            i += beyond ? 1 : 0;
            line += {'\\', 'x', kDigits[at(i) >> 4U], kDigits[at(i) & 15U]};
        }
    }
    return line;
}

}  // namespace nuvhost
