// The values of the effect's parameters, and how a person writes them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "effect/parameters.h"

namespace nuvhost {

// One coordinate from the left or top edge: a number of pixels plus a percentage of the frame's width or height.
struct Length {
    double percent = 50;
    double pixels = 0;
};

struct Center {
    Length x, y;  // may lie outside the frame
};

struct EffectSettings : Choices {
    Center center;
    double amount = 0;
};

// The value of a parameter at one frame.
template <typename Value>
struct Key {
    int frame = 0;
    Value value{};
};
// At least one key, in ascending order of frames. A single key is the value of every frame.
template <typename Value>
using Keys = std::vector<Key<Value>>;

// The settings over time. Values are linear between keys, and constant before the first and after the last key.
struct MovingSettings : Choices {
    Keys<Center> center{{}};
    Keys<double> amount{{}};

    bool moves() const { return center.size() > 1 || amount.size() > 1; }
    EffectSettings At(int frame) const;
    // Takes one parameter's value from text. Throws UsageError, whose text begins with `culprit`.
    void Take(const ParameterRow& row, std::string_view culprit, std::string_view text);
};

// All functions below throw UsageError, whose text begins with `option`.

// The place of the word in the list, counted from 1.
int ParseWord(std::string_view option, std::string_view text, Words words);
// A finite number from `least` to `most`, both included.
double ParseNumber(std::string_view option, std::string_view text, double least, double most);
// "960,540", "50%,50%", "-10,120%".
Center ParseCenter(std::string_view option, std::string_view text);
// A number, or one for each of some frames: "25", "0:0,48:100".
Keys<double> ParseNumbers(std::string_view option, std::string_view text, double least, double most);
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
