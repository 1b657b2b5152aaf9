// Picture files in and out, with everything in them that is not colour kept as it is.
#pragma once

#include <OpenImageIO/imageio.h>

#include <filesystem>
#include <optional>
#include <vector>

#include "picture.h"

namespace nuvhost {

// One picture with what its file says beside the pixels.
//
// `spec` holds the metadata and describes the channels in the order R, G, B, then A if there is one, then any
// others, with the types that they have in the file. Values are as stored: no colour management, and colour is
// multiplied by alpha (associated) or not (straight) as the file had it.
struct PictureFile {
    Picture picture;  // alpha is full everywhere if the file has none
    OIIO::ImageSpec spec;
    bool straight = false;
    std::vector<std::byte> others;  // the channels after alpha, pixel by pixel, in the types that spec names

    bool hasAlpha() const { return spec.alpha_channel >= 0; }
};

// The first picture of a file. Without a depth it is the one that loses nothing of 8- and 16-bit files, and 32
// otherwise. Throws std::runtime_error for anything that cannot be read in full.
PictureFile ReadPicture(const std::filesystem::path& file, std::optional<Depth> depth);

// What can be known before there is a picture: UsageError if no writer takes the name or if it is the input
// file; std::runtime_error if the folder cannot take a file. An empty `input` is no file.
void CheckOutput(const std::filesystem::path& output, const std::filesystem::path& input);
// What can be known of the channels before the pixels are rendered.
void CheckChannels(const std::filesystem::path& output, const PictureFile& picture);

// Writes in the file's own pixel type or what the format has nearest to it, and with the alpha that the format
// knows: OpenEXR multiplies it into the colours, PNG does not, JPEG has none and gets the picture over black.
// The file appears complete or not at all; throws std::runtime_error.
void WritePicture(const std::filesystem::path& file, const PictureFile& picture);

}  // namespace nuvhost
