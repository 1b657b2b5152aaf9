// Colour multiplied by alpha (associated), or not (straight).
#pragma once

#include <string_view>

#include "picture/picture.h"

namespace nuvhost {

enum class Alpha { asItIs, associated, straight };

// How a format stores alpha. Those that are not known to have a rule keep what they are given.
Alpha AlphaOf(std::string_view format);

bool Opaque(const Picture& picture);  // alpha is full everywhere

// Multiplies colour by alpha in place, at the picture's depth, as hosts do before an effect sees a picture with
// straight alpha: (c * a + 127) / 255 at 8 bits.
void Premultiply(Picture& picture);
// And back, in place. Integer colour beyond alpha becomes full; a pixel without any alpha stays as it is.
void Unpremultiply(Picture& picture);

}  // namespace nuvhost
