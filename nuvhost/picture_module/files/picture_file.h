// Picture files in and out, with everything in them that is not colour kept as it is.
#pragma once

#include <OpenImageIO/imageio.h>

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "picture/file_options.h"
#include "picture/picture.h"
#include "picture/window.h"

namespace nuvhost {

// One picture with what its file says beside the pixels.
//
// `spec` holds the metadata and the windows, and describes the channels in the order R, G, B, then A if there is
// one, then any others, with the types that they have in the file. Values are as stored: no colour management.
struct PictureFile {
    // The layer as a host would hand it to an effect. Alpha is full everywhere if the file has none; what the layer
    // has beyond the file's pixels is zero.
    Picture picture;
    OIIO::ImageSpec spec;
    // Where the layer lies in the file's coordinates: data and display window together where the format has both
    // (OpenEXR), else the stored pixels.
    Window layer;
    bool straight = false;          // whether the layer's colour is not multiplied by alpha
    bool fileStraight = false;      // the same of the file; formats that leave the choice are written like it
    std::vector<std::byte> others;  // the channels after alpha, of the data window, in the types that spec names
    std::string format;             // the name of the file's format
    std::optional<OIIO::TypeDesc> fileType;  // in which all channels are to be written; none: as spec names them

    // Of R, G and B: those that the file lacks beside others. They are 0, and left out where channels go by names.
    std::array<bool, 3> lacking{};

    bool hasAlpha() const { return spec.alpha_channel >= 0; }
};

Window DataWindow(const OIIO::ImageSpec& spec);
Window DisplayWindow(const OIIO::ImageSpec& spec);
// The display window, from the layer's top left corner: what a host calls the frame.
Window FrameOf(const PictureFile& picture);

// The first picture of a file. Throws std::runtime_error for anything that cannot be read in full.
PictureFile ReadPicture(const std::filesystem::path& file, const ReadOptions& options);
// The same without pixels: `picture` has its size and depth only.
PictureFile ReadHeader(const std::filesystem::path& file, const ReadOptions& options);

// A black, transparent picture of the same windows, channels and types; none of the metadata but its compression.
PictureFile BlackLike(const PictureFile& header);

void Reduce(PictureFile& picture, const Reduction& reduction);

// UsageError if no writer takes the name.
void CheckFormat(const std::filesystem::path& output);
// std::runtime_error if the format has no room for the picture's channels.
void CheckChannels(const std::filesystem::path& output, const PictureFile& picture);

// Writes in the file's own pixel type or what the format has nearest to it, and with the alpha that the format
// knows: OpenEXR multiplies it into the colours, PNG does not, JPEG has none and gets the picture over black.
// Formats with a display window get the pixels of the data window, all others those of the display window. Pictures
// whose orientation tag the format cannot hold are turned upright. The file appears complete or not at all; throws
// std::runtime_error.
void WritePicture(const std::filesystem::path& file, const PictureFile& picture);

}  // namespace nuvhost
