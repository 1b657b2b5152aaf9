// Reads and writes picture files. Everything in them that is not colour is kept.
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

// One picture, and what its file has besides the pixels.
//
// `spec` holds the metadata and the windows, and describes the channels in the order R, G, B, then A if there is
// one, then any others, with the types that they have in the file. Values are as stored: no colour management.
struct PictureFile {
    // The layer as a host would give it to an effect. If the file has no alpha, alpha is full everywhere. Where the
    // layer is larger than the file's pixels, it is zero.
    Picture picture;
    OIIO::ImageSpec spec;
    // The place of the layer in the file's coordinates. If the format has a data and a display window (OpenEXR),
    // the layer contains both; otherwise it is the stored pixels.
    Window layer;
    bool straight = false;          // whether the layer's colour is not multiplied by alpha
    bool fileStraight = false;      // the same for the file; a format that allows both keeps this
    std::vector<std::byte> others;  // the channels after alpha, of the data window, in the types that spec names
    std::string format;             // the name of the file's format
    // The type in which all channels are written. Without it they are written in the types of `spec`.
    std::optional<OIIO::TypeDesc> fileType;

    // Which of R, G and B the file lacks, if it has at least one of the three. A lacking channel is 0 in `picture`.
    // It is not written if the format gives names to channels.
    std::array<bool, 3> lacking{};

    bool hasAlpha() const { return spec.alpha_channel >= 0; }
};

Window DataWindow(const OIIO::ImageSpec& spec);
Window DisplayWindow(const OIIO::ImageSpec& spec);
// The display window, relative to the layer's top left corner. Hosts call it the frame.
Window FrameOf(const PictureFile& picture);

// The first picture of a file. Throws std::runtime_error for anything that cannot be read in full.
PictureFile ReadPicture(const std::filesystem::path& file, const ReadOptions& options);
// Reads all but the pixels: `picture` has only its size and depth.
PictureFile ReadHeader(const std::filesystem::path& file, const ReadOptions& options);

// A black, transparent picture with the same windows, channels and types. Of the metadata it has only the
// compression.
PictureFile BlackLike(const PictureFile& header);

void Reduce(PictureFile& picture, const Reduction& reduction);

// Throws UsageError if no picture format has the extension of this name.
void CheckFormat(const std::filesystem::path& output);
// Throws std::runtime_error if the format cannot hold all channels of the picture.
void CheckChannels(const std::filesystem::path& output, const PictureFile& picture);

// Writes the picture in the file's own pixel type, or in the nearest type of the format. Alpha is stored as the
// format requires: OpenEXR holds colour multiplied by alpha, PNG holds straight colour, and JPEG has no alpha and
// gets the picture over black. A format with a display window gets the pixels of the data window, other formats
// those of the display window. If the format cannot hold the orientation tag, the picture is turned upright. The
// file appears complete or not at all. Throws std::runtime_error.
void WritePicture(const std::filesystem::path& file, const PictureFile& picture);

}  // namespace nuvhost
