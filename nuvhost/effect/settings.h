// The effect's five parameters as a person writes them, and the words of the command line.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nuvhost {

// One coordinate: so many pixels from the left or top edge and so much of the frame's width or height.
struct Length {
    double percent = 50;
    double pixels = 0;
};

struct Center {
    Length x, y;  // may lie outside the frame
};

// Popup values count from 1, as hosts number them.
struct EffectSettings {
    Center center;
    int mode = 1;
    int scaling = 1;
    double amount = 0;  // -100 to 100
    int show = 1;
};

// A value at a frame.
template <typename Value>
struct Key {
    int frame = 0;
    Value value{};
};
// In ascending order of frames, at least one. One alone is the value of every frame.
template <typename Value>
using Keys = std::vector<Key<Value>>;

// The same over time: linear between keys, held before the first and after the last.
struct MovingSettings {
    Keys<Center> center{{}};
    int mode = 1;
    int scaling = 1;
    Keys<double> amount{{}};
    int show = 1;

    bool moves() const { return center.size() > 1 || amount.size() > 1; }
    EffectSettings At(int frame) const;
};

using Words = std::span<const std::string_view>;

// The word at index i stands for popup value i + 1.
inline constexpr std::array<std::string_view, 3> kModes{"red-cyan", "green-purple", "blue-yellow"};
inline constexpr std::array<std::string_view, 3> kScalings{"linear", "square", "cubic"};
inline constexpr std::array<std::string_view, 3> kShows{"final", "just-ca", "without-ca"};

// All of these throw UsageError, whose text begins with `option`.

// The word's place in the list, from 1.
int ParseWord(std::string_view option, std::string_view text, Words words);
// A finite number from `least` to `most`, both included.
double ParseNumber(std::string_view option, std::string_view text, double least, double most);
// "960,540", "50%,50%", "-10,120%".
Center ParseCenter(std::string_view option, std::string_view text);
// An amount, or one for each of some frames: "25", "0:0,48:100".
Keys<double> ParseAmounts(std::string_view option, std::string_view text);
// A centre, or one for each of some frames: "0:50%,50%,48:960,540".
Keys<Center> ParseCenters(std::string_view option, std::string_view text);

struct Size {
    int width = 0;
    int height = 0;
};
// "960x540".
Size ParseSize(std::string_view option, std::string_view text, int least, int most);

std::string Joined(Words words, std::string_view separator);

}  // namespace nuvhost
