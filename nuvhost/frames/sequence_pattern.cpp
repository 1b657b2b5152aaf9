#include "frames/sequence_pattern.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>
#include <utility>

#include "console/errors.h"

namespace nuvhost {
namespace {

constexpr int kMostDigits = 32;

struct NumberPlace {
    std::size_t at, length;
    int width;
};

// "%d", "%04d" at the start of the text.
std::optional<NumberPlace> PrintfPlace(std::string_view text, std::size_t at) {
    const auto end = text.find_first_not_of("0123456789", at + 1);
    if (end == text.npos || text[end] != 'd') return std::nullopt;
    const auto digits = text.substr(at + 1, end - at - 1);
    int width = 1;
    if (!digits.empty()) {
        if (digits[0] != '0' || digits.size() < 2) return std::nullopt;
        const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), width);
        if (error != std::errc{} || width > kMostDigits) return std::nullopt;
    }
    return NumberPlace{at, end + 1 - at, std::max(width, 1)};
}

std::optional<NumberPlace> FindPlace(std::string_view text, std::size_t from) {
    for (auto at = text.find_first_of("#@%", from); at != text.npos; at = text.find_first_of("#@%", at + 1)) {
        if (text[at] == '%') {
            if (const auto place = PrintfPlace(text, at)) return place;
            continue;
        }
        const auto length = std::min(text.find_first_not_of(text[at], at), text.size()) - at;
        const bool four = text[at] == '#' && length == 1;
        return NumberPlace{at, length, four ? 4 : static_cast<int>(std::min<std::size_t>(length, kMostDigits))};
    }
    return std::nullopt;
}

std::string Padded(int frame, int width) {
    std::string digits = std::to_string(frame);
    const std::size_t sign = frame < 0 ? 1U : 0U;
    if (digits.size() < static_cast<std::size_t>(width)) {
        digits.insert(sign, static_cast<std::size_t>(width) - digits.size(), '0');
    }
    return digits;
}

}  // namespace

std::optional<SequencePattern> SequencePattern::Parse(const std::filesystem::path& path) {
    const std::string text = path.string();
    const auto name = text.rfind('/') + 1;  // 0 if the text has no folder
    auto place = FindPlace(text, name);
    if (!place) place = FindPlace(text, 0);
    if (!place) return std::nullopt;
    if (FindPlace(text, place->at + place->length)) {
        throw UsageError(text +
                         ": has more than one place for the frame number (--literal takes names as they are)");
    }
    SequencePattern pattern;
    pattern.before_ = text.substr(0, place->at);
    pattern.after_ = text.substr(place->at + place->length);
    pattern.width_ = place->width;
    return pattern;
}

std::filesystem::path SequencePattern::At(int frame) const {
    return before_ + Padded(frame, width_) + after_;
}

std::vector<int> SequencePattern::Existing() const {
    // If the number is part of a folder's name, the folders with such names are searched for the rest of the path.
    const auto slash = before_.rfind('/');
    const std::string folder = slash == before_.npos ? "." : before_.substr(0, slash + 1);
    const std::string start = slash == before_.npos ? before_ : before_.substr(slash + 1);
    const std::string end = after_.substr(0, after_.find('/'));

    std::vector<int> frames;
    std::error_code error;
    std::filesystem::directory_iterator entries(folder, error);
    for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
        const std::string name = entries->path().filename().string();
        if (name.size() <= start.size() + end.size() || !name.starts_with(start) || !name.ends_with(end)) continue;
        const char* const first = name.data() + start.size();
        const char* const last = name.data() + name.size() - end.size();
        int frame = 0;
        const auto [stop, wrong] = std::from_chars(first, last, frame);
        if (wrong != std::errc{} || stop != last || Padded(frame, width_) != std::string_view(first, last))
            continue;
        std::error_code ignored;
        const bool whole = end.size() == after_.size();
        if (whole || std::filesystem::exists(At(frame), ignored)) frames.push_back(frame);
    }
    if (error) throw std::runtime_error(folder + ": cannot be searched: " + error.message());
    std::sort(frames.begin(), frames.end());
    return frames;
}

}  // namespace nuvhost
