// Frame numbers in the form that users and queue managers write.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nuvhost {

// Parses "1-100x2,110": numbers and ranges, separated by commas. A range may run backwards (5-1), may be negative
// (-8--5) and may have a step (x2, or x-2 if it runs backwards). Numbers may have leading zeros (0001-0100). Each
// frame occurs once in the result, at its first place in the text. Throws UsageError, whose text begins with
// `option`.
std::vector<int> ParseFrames(std::string_view option, std::string_view text);

struct FrameClip {
    int first, last;  // both included
};
// "1-98". Throws UsageError.
FrameClip ParseFrameClip(std::string_view option, std::string_view text);

// Writes frames in ascending order as a short text that ParseFrames can read, such as "3-5,9,20-30x2".
std::string FramesText(std::span<const int> frames);

}  // namespace nuvhost
