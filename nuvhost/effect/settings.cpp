#include "effect/settings.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <optional>

#include "console/errors.h"

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
    const bool percent = text.ends_with('%');
    if (percent) text.remove_suffix(1);
    const auto value = Read<double>(text);
    if (!value || !std::isfinite(*value)) return std::nullopt;
    return percent ? Length{*value, 0} : Length{0, *value};
}

std::string Short(double number) {
    char text[32];
    const auto end = std::to_chars(std::begin(text), std::end(text), number).ptr;
    return {text, end};
}

double Mix(double from, double to, double share) {
    return from + (to - from) * share;
}
Center Mix(const Center& from, const Center& to, double share) {
    return {{Mix(from.x.percent, to.x.percent, share), Mix(from.x.pixels, to.x.pixels, share)},
            {Mix(from.y.percent, to.y.percent, share), Mix(from.y.pixels, to.y.pixels, share)}};
}

template <typename Value>
Value ValueAt(const Keys<Value>& keys, int frame) {
    const auto after = std::find_if(keys.begin(), keys.end(), [&](const auto& key) { return key.frame > frame; });
    if (after == keys.begin()) return keys.front().value;
    const auto& before = *std::prev(after);
    if (after == keys.end()) return before.value;
    const double from = before.frame, to = after->frame;
    const double share = (frame - from) / (to - from);
    return Mix(before.value, after->value, share);
}

// Parses "0:A,48:B", where each value contains `commas` commas. Errors are those of the value's parser.
template <typename Parse>
auto ParseKeys(std::string_view option, std::string_view text, int commas, Parse parse) {
    using Value = decltype(parse(option, text));
    if (text.find(':') == text.npos) return Keys<Value>{{0, parse(option, text)}};
    Keys<Value> keys;
    for (std::string_view rest = text; !rest.empty();) {
        std::size_t end = rest.find(',');
        for (int i = 0; i < commas && end != rest.npos; ++i)
            end = rest.find(',', end + 1);
        const auto key = rest.substr(0, end);
        rest = end == rest.npos ? std::string_view() : rest.substr(end + 1);

        const auto colon = key.find(':');
        const auto frame = Read<int>(key.substr(0, std::min(colon, key.size())));
        const bool dangling = end != text.npos && rest.empty() && text.ends_with(',');
        if (colon == key.npos || !frame || dangling) Reject(option, text, "is not FRAME:VALUE,FRAME:VALUE,…");
        keys.push_back({*frame, parse(option, key.substr(colon + 1))});
    }
    const auto earlier = [](const auto& a, const auto& b) { return a.frame < b.frame; };
    std::sort(keys.begin(), keys.end(), earlier);
    const auto same = [](const auto& a, const auto& b) { return a.frame == b.frame; };
    const auto twice = std::adjacent_find(keys.begin(), keys.end(), same);
    if (twice != keys.end()) Reject(option, text, "has two values for frame " + std::to_string(twice->frame));
    return keys;
}

}  // namespace

EffectSettings MovingSettings::At(int frame) const {
    return {*this, ValueAt(center, frame), ValueAt(amount, frame)};
}

void MovingSettings::Take(const ParameterRow& row, std::string_view culprit, std::string_view text) {
    switch (row.kind) {
        case ParameterKind::point:
            center = ParseCenters(culprit, text);
            break;
        case ParameterKind::choice:
            this->*row.choice = ParseWord(culprit, text, row.words);
            break;
        case ParameterKind::number:
            amount = ParseNumbers(culprit, text, row.least, row.most);
            break;
    }
}

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

Keys<double> ParseNumbers(std::string_view option, std::string_view text, double least, double most) {
    return ParseKeys(option, text, 0, [=](auto name, auto value) { return ParseNumber(name, value, least, most); });
}

Keys<Center> ParseCenters(std::string_view option, std::string_view text) {
    return ParseKeys(option, text, 1, ParseCenter);
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
