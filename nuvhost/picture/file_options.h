// What the user can choose about reading and writing picture files.
#pragma once

#include <optional>

#include "picture/picture.h"

namespace nuvhost {

struct ReadOptions {
    std::optional<Depth> depth;  // none: 8 or 16 bits if the file has no more, otherwise 32
    bool premultiply = true;     // straight colour is multiplied by alpha
    bool firstPage = false;      // whether other pictures in the file may be left out
};

enum class PixelType { uint8 = 1, uint16, half, float32 };

// Which parts of a picture are written, if not all.
struct Reduction {
    std::optional<PixelType> type;  // of every channel
    bool colorOnly = false;         // colour and alpha, no other channels
    bool bare = false;              // no metadata
};

}  // namespace nuvhost
