#include "frames/frame_range.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <unordered_set>

#include "console/errors.h"

namespace nuvhost {
namespace {

constexpr std::size_t kMostFrames = 1'000'000;

[[noreturn]] void Reject(std::string_view option, std::string_view text, std::string_view why) {
    throw UsageError(std::string(option) + ": \"" + std::string(text) + "\" " + std::string(why));
}

std::string_view Trimmed(std::string_view text) {
    while (text.starts_with(' '))
        text.remove_prefix(1);
    while (text.ends_with(' '))
        text.remove_suffix(1);
    return text;
}

// Reads a number from the start of the text and removes it there.
std::optional<int> TakeNumber(std::string_view& text) {
    int number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{}) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
    return number;
}

bool Take(std::string_view& text, char letter) {
    if (!text.starts_with(letter)) return false;
    text.remove_prefix(1);
    return true;
}

struct Range {
    std::int64_t first, last, step;  // a negative step runs backwards
};

std::optional<Range> ParseRange(std::string_view text) {
    const auto first = TakeNumber(text);
    if (!first) return std::nullopt;
    if (text.empty()) return Range{*first, *first, 1};
    if (!Take(text, '-')) return std::nullopt;
    const auto last = TakeNumber(text);
    if (!last) return std::nullopt;
    const std::int64_t direction = *last < *first ? -1 : 1;
    if (text.empty()) return Range{*first, *last, direction};
    if (!Take(text, 'x')) return std::nullopt;
    const auto step = TakeNumber(text);
    const bool against = step && *step < 0 && direction > 0;
    if (!step || *step == 0 || against || !text.empty()) return std::nullopt;
    return Range{*first, *last, *step < 0 ? *step : *step * direction};
}

}  // namespace

std::vector<int> ParseFrames(std::string_view option, std::string_view text) {
    std::vector<int> frames;
    std::unordered_set<int> seen;
    for (std::string_view rest = text;;) {
        const auto comma = rest.find(',');
        const auto range = ParseRange(Trimmed(rest.substr(0, comma)));
        if (!range) Reject(option, text, "is not frames such as 12, 1-100, 1-100x2 or 1-10,20");
        const auto [first, last, step] = *range;
        if (static_cast<std::uint64_t>((last - first) / step) >= kMostFrames) {
            Reject(option, text, "is more than a million frames");
        }
        for (std::int64_t frame = first; step > 0 ? frame <= last : frame >= last; frame += step) {
            if (seen.insert(static_cast<int>(frame)).second) frames.push_back(static_cast<int>(frame));
        }
        if (frames.size() > kMostFrames) Reject(option, text, "is more than a million frames");
        if (comma == rest.npos) return frames;
        rest.remove_prefix(comma + 1);
    }
}

FrameClip ParseFrameClip(std::string_view option, std::string_view text) {
    const auto range = ParseRange(Trimmed(text));
    const bool stepped = range && range->step != 1;  // true for a range that runs backwards, too
    if (!range || stepped) Reject(option, text, "is not FIRST-LAST, such as 1-100");
    return {static_cast<int>(range->first), static_cast<int>(range->last)};
}

std::string FramesText(std::span<const int> frames) {
    std::string text;
    const auto at = [&](std::size_t i) { return std::int64_t{frames[i]}; };
    for (std::size_t first = 0; first < frames.size();) {
        std::size_t last = first;
        const std::int64_t step = first + 1 < frames.size() ? at(first + 1) - at(first) : 1;
        while (last + 1 < frames.size() && at(last + 1) - at(last) == step)
            ++last;
        if (step > 1 && last < first + 2) last = first;  // two frames with a gap are not written as a range
        if (!text.empty()) text += ',';
        text += std::to_string(at(first));
        if (last > first) text += '-' + std::to_string(at(last));
        if (last > first && step > 1) text += 'x' + std::to_string(step);
        first = last + 1;
    }
    return text;
}

}  // namespace nuvhost
