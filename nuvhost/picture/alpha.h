// Converts between colour that is multiplied by alpha (associated) and colour that is not (straight).
#pragma once

#include <string_view>

#include "picture/picture.h"

namespace nuvhost {

enum class Alpha { asItIs, associated, straight };

// How a format stores alpha. A format without a known rule keeps what it gets.
Alpha AlphaOf(std::string_view format);

bool Opaque(const Picture& picture);  // alpha is full everywhere

// Multiplies colour by alpha in place, in the picture's depth. Hosts do the same with a picture of straight alpha
// before an effect gets it. With 8 bits it is (c * a + 127) / 255.
void Premultiply(Picture& picture);
// Divides colour by alpha in place. Integer colour that is larger than alpha becomes full. A pixel whose alpha is
// zero stays as it is.
void Unpremultiply(Picture& picture);

}  // namespace nuvhost
