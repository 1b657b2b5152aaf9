// Which of a file's channels are colour, alpha or something else.
#pragma once

#include <OpenImageIO/imageio.h>

#include <array>
#include <cstddef>
#include <vector>

#include "picture/picture.h"

namespace nuvhost {

// The positions of the channels in the file.
struct Channels {
    std::array<int, 3> color{};  // -1: the file lacks this channel, but has another of the three
    int alpha = -1;              // -1: none
    std::vector<int> others;

    bool grey() const { return color[0] >= 0 && color[0] == color[1]; }
};

Channels Locate(const OIIO::ImageSpec& file);

// Makes the ImageSpec of PictureFile from that of the file: R, G, B, then alpha if there is one, then the others.
OIIO::ImageSpec Arranged(const OIIO::ImageSpec& file, const Channels& channels);

// Takes colour and alpha from whole pixels, which have `channelCount` channels of the picture's type. If the file
// has no alpha, alpha is full. A colour channel that the file lacks is 0.
void Gather(const std::vector<std::byte>& from, int channelCount, const Channels& channels, Picture& picture);

// Takes the bytes of the other channels from whole pixels, in the file's own types.
std::vector<std::byte> CutOthers(const std::vector<std::byte>& native, const OIIO::ImageSpec& file,
                                 const std::vector<int>& others);

}  // namespace nuvhost
