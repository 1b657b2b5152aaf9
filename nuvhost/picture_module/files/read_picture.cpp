#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <memory>
#include <string>

#include "console/quiet.h"
#include "picture/alpha.h"
#include "picture_module/files/channels.h"
#include "picture_module/files/picture_file.h"
#include "picture_module/files/picture_type.h"

namespace nuvhost {
namespace {

using OIIO::ImageInput;
using OIIO::ImageSpec;
using OIIO::TypeDesc;

Depth DepthFor(const TypeDesc& type) {
    if (type == TypeDesc::UINT8) return Depth::bits8;
    if (type == TypeDesc::UINT16) return Depth::bits16;
    return Depth::bits32;
}

std::vector<std::byte> ReadPixels(ImageInput& input, const TypeDesc& type, const std::filesystem::path& file) {
    const auto& spec = input.spec();
    const bool native = type == TypeDesc::UNKNOWN;
    const auto channels = static_cast<std::size_t>(spec.nchannels);
    std::vector<std::byte> pixels(spec.image_pixels() * (native ? spec.pixel_bytes(true) : channels * type.size()));
    const bool read = input.read_image(0, 0, 0, spec.nchannels, type, pixels.data());
    // If a file is truncated, some readers fill the rest with black and return success. Only geterror() shows this.
    if (const auto error = input.geterror(); !read || !error.empty()) Fail(file, "cannot be read", error);
    return pixels;
}

bool IsCmyk(const ImageSpec& spec) {
    constexpr int kSeparated = 5;  // TIFF's number for separated inks
    return spec.get_string_attribute("tiff:ColorSpace") == "CMYK" ||
           spec.get_string_attribute("jpeg:ColorSpace") == "CMYK" ||
           spec.get_int_attribute("tiff:PhotometricInterpretation") == kSeparated;
}

std::unique_ptr<ImageInput> Open(const std::filesystem::path& file, const ReadOptions& options) {
    CheckReadable(file);
    ImageSpec asStored;
    asStored.attribute(kStraightAlpha, 1);
    auto input = ImageInput::open(file.string(), &asStored);
    if (!input) {
        const std::string error = OIIO::geterror();
        if (error.find("Is it a file format") != error.npos) Fail(file, "is no picture that can be read");
        Fail(file, "cannot be read", error);
    }
    const auto& spec = input->spec();
    if (spec.deep) Fail(file, "deep pictures are not supported");
    if (spec.depth > 1) Fail(file, "volumes are not supported");
    if (IsCmyk(spec)) Fail(file, "has CMYK colours; convert it to RGB first");
    if (!options.firstPage && input->seek_subimage(1, 0)) {
        Fail(file, "holds more than one picture; --first-page renders the first and leaves the others out");
    }
    input->geterror();
    if (!input->seek_subimage(0, 0)) Fail(file, "cannot be read", input->geterror());
    return input;
}

PictureFile Described(const ImageInput& input, const Channels& channels, const ReadOptions& options) {
    const auto& spec = input.spec();
    PictureFile result;
    result.spec = Arranged(spec, channels);
    for (std::size_t i = 0; i < channels.color.size(); ++i) {
        result.lacking[i] = channels.color[i] < 0;
    }
    result.format = input.format_name();
    result.layer = DataWindow(spec);
    if (result.format == kWindowedFormat) result.layer = Union(result.layer, DisplayWindow(spec));
    result.picture = {result.layer.width, result.layer.height, options.depth.value_or(DepthFor(spec.format)), {}};
    result.fileStraight = spec.get_int_attribute(kStraightAlpha) != 0;
    result.straight = result.fileStraight && !options.premultiply;
    return result;
}

// Refuses layers that are larger than the hosts' coordinates. A broken header could otherwise ask for too much
// memory.
void CheckLayer(const std::filesystem::path& file, const PictureFile& picture) {
    constexpr int kMostSide = 32767;
    const auto [x, y, width, height] = picture.layer;
    if (std::max(width, height) <= kMostSide) return;
    if (picture.layer != DataWindow(picture.spec)) Fail(file, "its data and display windows are too far apart");
    Fail(file, std::to_string(width) + " x " + std::to_string(height) + " pixels are too large for a layer");
}

}  // namespace

Window DataWindow(const OIIO::ImageSpec& spec) {
    return {spec.x, spec.y, spec.width, spec.height};
}

Window DisplayWindow(const OIIO::ImageSpec& spec) {
    return {spec.full_x, spec.full_y, spec.full_width, spec.full_height};
}

Window FrameOf(const PictureFile& picture) {
    if (picture.format != kWindowedFormat) return {0, 0, picture.layer.width, picture.layer.height};
    const Window display = DisplayWindow(picture.spec);
    return {display.x - picture.layer.x, display.y - picture.layer.y, display.width, display.height};
}

PictureFile ReadHeader(const std::filesystem::path& file, const ReadOptions& options) {
    const QuietStderr quiet;
    const auto input = Open(file, options);
    auto result = Described(*input, Locate(input->spec()), options);
    CheckLayer(file, result);
    return result;
}

PictureFile ReadPicture(const std::filesystem::path& file, const ReadOptions& options) {
    const QuietStderr quiet;
    const auto input = Open(file, options);
    const auto& spec = input->spec();
    const auto channels = Locate(spec);
    PictureFile result = Described(*input, channels, options);
    CheckLayer(file, result);

    Gather(ReadPixels(*input, TypeOf(result.picture.depth), file), spec.nchannels, channels, result.picture);
    if (result.hasAlpha() && result.fileStraight && options.premultiply && !Opaque(result.picture)) {
        Premultiply(result.picture);
    }
    if (const auto data = DataWindow(spec); result.layer != data) {
        result.picture.pixels = Region(result.picture.pixels, result.picture.bytesPerPixel(), data, result.layer);
    }
    if (!channels.others.empty()) {
        result.others = CutOthers(ReadPixels(*input, TypeDesc::UNKNOWN, file), spec, channels.others);
    }
    return result;
}

PictureFile BlackLike(const PictureFile& header) {
    PictureFile black = header;
    Reduce(black, {.bare = true});
    black.picture.pixels.assign(black.picture.pixelCount() * black.picture.bytesPerPixel(), std::byte{0});
    const int firstOther = black.hasAlpha() ? 4 : 3;
    black.others.assign(black.spec.image_pixels() * black.spec.pixel_bytes(firstOther, black.spec.nchannels, true),
                        std::byte{0});
    return black;
}

void Reduce(PictureFile& picture, const Reduction& reduction) {
    auto& spec = picture.spec;
    if (reduction.type) picture.fileType = TypeOf(*reduction.type);
    if (reduction.colorOnly) {
        const auto main = static_cast<std::size_t>(picture.hasAlpha() ? 4 : 3);
        spec.nchannels = static_cast<int>(main);
        spec.channelnames.resize(main);
        if (!spec.channelformats.empty()) spec.channelformats.resize(main);
        spec.z_channel = -1;
        picture.others.clear();
    }
    if (reduction.bare) {
        OIIO::ParamValueList kept;
        for (const auto* name : {"compression", "oiio:ColorSpace", "Orientation"}) {
            if (const auto* value = spec.find_attribute(name)) kept.push_back(*value);
        }
        spec.extra_attribs = kept;
    }
}

}  // namespace nuvhost
