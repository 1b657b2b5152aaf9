// The bundled test picture.
#pragma once

#include "picture/picture.h"

namespace nuvhost {

// A lens chart: letters, a Siemens star, fine and converging lines, gradients, a grid with circles and a shape
// whose edge fades into transparency. 8 bits, straight alpha. Drawn for 16:9 and centred in any other shape.
// Throws std::runtime_error if there is no font.
Picture DrawChart(int width, int height);

}  // namespace nuvhost
