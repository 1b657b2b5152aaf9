#include "settings.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

#include "errors.h"

namespace nuvhost {
namespace {

[[noreturn]] void Reject(std::string_view option, std::string_view text, const std::string& why) {
    throw UsageError(std::string(option) + ": \"" + std::string(text) + "\" " + why);
}

template <typename Number>
std::optional<Number> Read(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    Number number{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return number;
}

std::optional<Length> ReadLength(std::string_view text) {
    Length length{0, text.ends_with('%')};
    if (length.percent) text.remove_suffix(1);
    const auto value = Read<double>(text);
    if (!value || !std::isfinite(*value)) return std::nullopt;
    length.value = *value;
    return length;
}

std::string Short(double number) {
    char text[32];
    const auto end = std::to_chars(std::begin(text), std::end(text), number).ptr;
    return {text, end};
}

}  // namespace

int ParseWord(std::string_view option, std::string_view text, Words words) {
    const auto found = std::find(words.begin(), words.end(), text);
    if (found == words.end()) Reject(option, text, "is not one of " + Joined(words, ", "));
    return static_cast<int>(found - words.begin()) + 1;
}

double ParseNumber(std::string_view option, std::string_view text, double least, double most) {
    const auto number = Read<double>(text);
    if (!number || std::isnan(*number)) Reject(option, text, "is not a number");
    if (*number < least || *number > most) {
        Reject(option, text, "is outside " + Short(least) + " to " + Short(most));
    }
    return *number;
}

Center ParseCenter(std::string_view option, std::string_view text) {
    const auto comma = text.find(',');
    if (comma != text.npos) {
        const auto x = ReadLength(text.substr(0, comma));
        const auto y = ReadLength(text.substr(comma + 1));
        if (x && y) return {*x, *y};
    }
    Reject(option, text, "is not X,Y in pixels or percent, such as 960,540 or 50%,50%");
}

Size ParseSize(std::string_view option, std::string_view text, int least, int most) {
    const auto cross = text.find('x');
    if (cross != text.npos) {
        const auto width = Read<int>(text.substr(0, cross));
        const auto height = Read<int>(text.substr(cross + 1));
        const auto fits = [&](int length) { return length >= least && length <= most; };
        if (width && height && fits(*width) && fits(*height)) return {*width, *height};
    }
    Reject(option, text,
           "is not WIDTHxHEIGHT with both from " + std::to_string(least) + " to " + std::to_string(most));
}

std::string Joined(Words words, std::string_view separator) {
    std::string text;
    for (const auto word : words) {
        if (!text.empty()) text += separator;
        text += word;
    }
    return text;
}

}  // namespace nuvhost
