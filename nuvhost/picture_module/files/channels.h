// Which of a file's channels are colour, alpha or something else.
#pragma once

#include <OpenImageIO/imageio.h>

#include <array>
#include <cstddef>
#include <vector>

#include "picture/picture.h"

namespace nuvhost {

// Positions in the file.
struct Channels {
    std::array<int, 3> color{};  // -1: the file has others of the three, but not this one
    int alpha = -1;              // none
    std::vector<int> others;

    bool grey() const { return color[0] >= 0 && color[0] == color[1]; }
};

Channels Locate(const OIIO::ImageSpec& file);

// The ImageSpec of what will be written, from the one of what was read.
OIIO::ImageSpec Arranged(const OIIO::ImageSpec& file, const Channels& channels);

// Colour and alpha out of whole pixels of `channelCount` channels of the picture's type. Without alpha it is full,
// and a colour that the file lacks is 0.
void Gather(const std::vector<std::byte>& from, int channelCount, const Channels& channels, Picture& picture);

// The bytes of the other channels, cut out of whole pixels in the file's own types.
std::vector<std::byte> CutOthers(const std::vector<std::byte>& native, const OIIO::ImageSpec& file,
                                 const std::vector<int>& others);

}  // namespace nuvhost
