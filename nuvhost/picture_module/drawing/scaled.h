// Scales pictures for display.
#pragma once

#include <OpenImageIO/imagebuf.h>

#include "picture/picture.h"

namespace nuvhost {

// The picture in another size, in floats. Alpha is as in `picture`. The colour of a `linear` picture is first
// converted to display values. The result is that of the picture library's resize(), up to rounding, in a small
// part of its time, because this function scales rows and columns one after the other.
OIIO::ImageBuf Scaled(const Picture& picture, bool linear, int width, int height);

}  // namespace nuvhost
