// Frame numbers as people and queue managers write them.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nuvhost {

// "1-100x2,110": numbers and ranges with commas between. A range may run backwards (5-1), be below zero (-8--5) and
// have a step (x2; x-2 as well where it runs backwards); numbers may have leading zeros (0001-0100). Each frame
// comes once, where it is named first. Throws UsageError, whose text begins with `option`.
std::vector<int> ParseFrames(std::string_view option, std::string_view text);

struct FrameClip {
    int first, last;  // both included
};
// "1-98". Throws UsageError.
FrameClip ParseFrameClip(std::string_view option, std::string_view text);

// The shortest text that ParseFrames would read back, for frames in ascending order: "3-5,9,20-30x2".
std::string FramesText(std::span<const int> frames);

}  // namespace nuvhost
