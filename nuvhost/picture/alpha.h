// Converts between colour that is multiplied by alpha (associated) and colour that is not (straight).
#pragma once

#include <string_view>

#include "picture/picture.h"

namespace nuvhost {

enum class Alpha { asItIs, associated, straight };

// How a format stores colour with alpha. `asItIs` for a format that is not known to require either way.
Alpha AlphaOf(std::string_view format);

bool Opaque(const Picture& picture);  // whether alpha is full everywhere

// Multiplies colour by alpha in place, in the picture's depth. Hosts do the same with straight colour before an
// effect gets it. With 8 bits the result is (c * a + 127) / 255.
void Premultiply(Picture& picture);
// Divides colour by alpha in place. Integer colour that is larger than alpha becomes full. A pixel whose alpha is
// zero stays as it is.
void Unpremultiply(Picture& picture);

}  // namespace nuvhost
