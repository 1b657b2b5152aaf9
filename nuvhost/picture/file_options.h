// How picture files are read and written, where the user has a say.
#pragma once

#include <optional>

#include "picture/picture.h"

namespace nuvhost {

struct ReadOptions {
    std::optional<Depth> depth;  // none: the one that loses nothing of 8- and 16-bit files, and 32 otherwise
    bool premultiply = true;     // straight colour is multiplied by alpha
    bool firstPage = false;      // whether further pictures in the file may be left out
};

enum class PixelType { uint8 = 1, uint16, half, float32 };

// What is written of a picture if not all of it.
struct Reduction {
    std::optional<PixelType> type;  // of every channel
    bool colorOnly = false;         // colour and alpha, no other channels
    bool bare = false;              // no metadata
};

}  // namespace nuvhost
