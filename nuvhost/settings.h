// The effect's five parameters as a person writes them, and the words of the command line.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace nuvhost {

// One coordinate: pixels from the left or top edge, or percent of the picture's width or height.
struct Length {
    double value = 50;
    bool percent = true;
};

struct Center {
    Length x, y;  // may lie outside the picture
};

// Popup values count from 1, as hosts number them.
struct EffectSettings {
    Center center;
    int mode = 1;
    int scaling = 1;
    double amount = 0;  // -100 to 100
    int show = 1;
};

using Words = std::span<const std::string_view>;

// The word at index i stands for popup value i + 1.
inline constexpr std::array<std::string_view, 3> kModes{"red-cyan", "green-purple", "blue-yellow"};
inline constexpr std::array<std::string_view, 3> kScalings{"linear", "square", "cubic"};
inline constexpr std::array<std::string_view, 3> kShows{"final", "just-ca", "without-ca"};

// All of these throw UsageError; `option` is named in its text.

// The word's place in the list, from 1.
int ParseWord(std::string_view option, std::string_view text, Words words);
// A finite number from `least` to `most`, both included.
double ParseNumber(std::string_view option, std::string_view text, double least, double most);
// "960,540", "50%,50%", "-10,120%".
Center ParseCenter(std::string_view option, std::string_view text);

struct Size {
    int width = 0;
    int height = 0;
};
// "960x540".
Size ParseSize(std::string_view option, std::string_view text, int least, int most);

std::string Joined(Words words, std::string_view separator);

}  // namespace nuvhost
