#include "picture_file.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "checked_file.h"
#include "errors.h"
#include "output_file.h"
#include "quiet.h"

namespace nuvhost {
namespace {

using OIIO::ImageInput;
using OIIO::ImageOutput;
using OIIO::ImageSpec;
using OIIO::TypeDesc;

constexpr auto kStraightAlpha = "oiio:UnassociatedAlpha";

// Of `error`, which may go on for many lines, the user gets the first.
[[noreturn]] void Fail(const std::filesystem::path& file, std::string_view what, std::string_view error = "") {
    error = error.substr(0, error.find('\n'));
    throw std::runtime_error(file.string() + ": " + std::string(what) + (error.empty() ? "" : ": ") +
                             std::string(error));
}

TypeDesc TypeOf(Depth depth) {
    switch (depth) {
        case Depth::bits8:
            return TypeDesc::UINT8;
        case Depth::bits16:
            return TypeDesc::UINT16;
        case Depth::bits32:
            break;
    }
    return TypeDesc::FLOAT;
}

Depth DepthFor(const TypeDesc& type) {
    if (type == TypeDesc::UINT8) return Depth::bits8;
    if (type == TypeDesc::UINT16) return Depth::bits16;
    return Depth::bits32;
}

// ---- Channels ---------------------------------------------------------------------------------------------

// Positions in the file.
struct Channels {
    std::array<int, 3> color{};
    int alpha = -1;  // none
    std::vector<int> others;

    bool grey() const { return color[0] == color[1]; }
};

// Without its layer: "beauty.R" is "R".
std::string_view LastPart(std::string_view name) {
    return name.substr(name.rfind('.') + 1);
}

int Find(const ImageSpec& spec, std::string_view letter, std::string_view word) {
    for (int i = 0; i < spec.nchannels; ++i) {
        const auto name = LastPart(spec.channelnames[static_cast<std::size_t>(i)]);
        if (OIIO::Strutil::iequals(name, letter) || OIIO::Strutil::iequals(name, word)) return i;
    }
    return -1;
}

Channels Locate(const ImageSpec& spec) {
    Channels channels;
    const bool marked = spec.alpha_channel >= 0 && spec.alpha_channel < spec.nchannels;
    channels.alpha = marked ? spec.alpha_channel : Find(spec, "A", "alpha");

    channels.color = {Find(spec, "R", "red"), Find(spec, "G", "green"), Find(spec, "B", "blue")};
    if (std::count(channels.color.begin(), channels.color.end(), -1) > 0) {
        std::vector<int> places;
        for (int i = 0; i < spec.nchannels; ++i) {
            if (i != channels.alpha) places.push_back(i);
        }
        if (places.empty()) places.push_back(channels.alpha);  // a mask alone is shown as grey
        const bool grey = places.size() < 3;
        channels.color = {places[0], places[grey ? 0 : 1], places[grey ? 0 : 2]};
        if (channels.color[0] == channels.alpha) channels.alpha = -1;
    }
    for (int i = 0; i < spec.nchannels; ++i) {
        const bool used = i == channels.alpha || std::count(channels.color.begin(), channels.color.end(), i) > 0;
        if (!used) channels.others.push_back(i);
    }
    return channels;
}

// The ImageSpec of what will be written, from the one of what was read.
ImageSpec Arranged(const ImageSpec& file, const Channels& channels) {
    static constexpr std::array kNames{"R", "G", "B"};
    ImageSpec spec = file;
    spec.channelnames.clear();
    spec.channelformats.clear();
    spec.alpha_channel = spec.z_channel = -1;
    const auto add = [&](int from, std::string name) {
        spec.channelnames.push_back(std::move(name));
        if (!file.channelformats.empty()) spec.channelformats.push_back(file.channelformat(from));
    };
    const auto nameOf = [&](int channel) { return file.channelnames[static_cast<std::size_t>(channel)]; };

    for (std::size_t i = 0; i < 3; ++i) {
        add(channels.color[i], channels.grey() ? kNames[i] : nameOf(channels.color[i]));
    }
    if (channels.alpha >= 0) {
        spec.alpha_channel = 3;
        add(channels.alpha, nameOf(channels.alpha));
    }
    for (const int channel : channels.others) {
        if (channel == file.z_channel) spec.z_channel = static_cast<int>(spec.channelnames.size());
        add(channel, nameOf(channel));
    }
    spec.nchannels = static_cast<int>(spec.channelnames.size());

    // What was true of the old pixels only, or promises smaller versions of the picture that are not written.
    for (const auto* name : {"oiio:SHA-1", "oiio:ConstantColor", "oiio:AverageColor", "oiio:subimages",
                             "textureformat", "openexr:levelmode", "openexr:roundingmode"}) {
        spec.erase_attribute(name);
    }
    // A grey picture becomes colour, a picture of single bits becomes bytes.
    if (channels.grey()) {
        for (const auto* name : {"ICCProfile", "tiff:PhotometricInterpretation", "tiff:ColorSpace"}) {
            spec.erase_attribute(name);
        }
    }
    if (spec.get_int_attribute("oiio:BitsPerSample") < 8) spec.erase_attribute("oiio:BitsPerSample");
    return spec;
}

template <typename Channel>
void Gather(const std::vector<std::byte>& from, std::size_t stride, const Channels& channels, Channel full,
            std::vector<std::byte>& to) {
    const std::array places{channels.color[0], channels.color[1], channels.color[2], channels.alpha};
    std::array<Channel, 4> pixel;
    pixel[3] = full;
    const std::size_t used = channels.alpha >= 0 ? 4 : 3;
    const std::byte* source = from.data();
    for (std::size_t at = 0; at < to.size(); at += sizeof pixel, source += stride) {
        for (std::size_t i = 0; i < used; ++i) {
            std::memcpy(&pixel[i], source + static_cast<std::size_t>(places[i]) * sizeof(Channel), sizeof(Channel));
        }
        std::memcpy(to.data() + at, pixel.data(), sizeof pixel);
    }
}

void Gather(const std::vector<std::byte>& from, int channelCount, const Channels& channels, Picture& picture) {
    const auto stride = static_cast<std::size_t>(channelCount) * TypeOf(picture.depth).size();
    picture.pixels.resize(picture.pixelCount() * picture.bytesPerPixel());
    switch (picture.depth) {
        case Depth::bits8:
            Gather<std::uint8_t>(from, stride, channels, 255, picture.pixels);
            break;
        case Depth::bits16:
            Gather<std::uint16_t>(from, stride, channels, 65535, picture.pixels);
            break;
        case Depth::bits32:
            Gather<float>(from, stride, channels, 1.0F, picture.pixels);
            break;
    }
}

// The bytes of the other channels, cut out of whole pixels in the file's own types.
std::vector<std::byte> CutOthers(const std::vector<std::byte>& native, const ImageSpec& file,
                                 const std::vector<int>& others) {
    std::vector<std::byte> cut;
    const std::size_t pixelBytes = file.pixel_bytes(true);
    for (std::size_t at = 0; at < native.size(); at += pixelBytes) {
        for (const int channel : others) {
            const auto* first = native.data() + at + file.pixel_bytes(0, channel, true);
            cut.insert(cut.end(), first, first + file.channelformat(channel).size());
        }
    }
    return cut;
}

std::vector<std::byte> ReadPixels(ImageInput& input, const TypeDesc& type, const std::filesystem::path& file) {
    const auto& spec = input.spec();
    const bool native = type == TypeDesc::UNKNOWN;
    const auto channels = static_cast<std::size_t>(spec.nchannels);
    std::vector<std::byte> pixels(spec.image_pixels() * (native ? spec.pixel_bytes(true) : channels * type.size()));
    const bool read = input.read_image(0, 0, 0, spec.nchannels, type, pixels.data());
    // Some readers fill the missing rest of a truncated file with black, call that success, and complain aside.
    if (const auto error = input.geterror(); !read || !error.empty()) Fail(file, "cannot be read", error);
    return pixels;
}

// ---- Alpha ------------------------------------------------------------------------------------------------

enum class Alpha { asItIs, associated, straight };

// How a format stores alpha. Those that are not listed keep what they are given.
Alpha AlphaOf(std::string_view format) {
    struct Entry {
        std::string_view format;
        Alpha alpha;
    };
    static constexpr Entry kTable[] = {
        {"openexr", Alpha::associated}, {"png", Alpha::straight},  {"targa", Alpha::straight},
        {"webp", Alpha::straight},      {"heif", Alpha::straight},
    };
    for (const auto& entry : kTable) {
        if (entry.format == format) return entry.alpha;
    }
    return Alpha::asItIs;
}

void Associate(std::array<float, 4>& pixel) {
    for (std::size_t i = 0; i < 3; ++i)
        pixel[i] *= pixel[3];
}

void Unassociate(std::array<float, 4>& pixel) {
    if (pixel[3] == 0) return;
    for (std::size_t i = 0; i < 3; ++i)
        pixel[i] /= pixel[3];
}

// In floats, so that the one rounding is that of the writer.
Picture Converted(const Picture& picture, void (*convert)(std::array<float, 4>&)) {
    Picture result{picture.width, picture.height, Depth::bits32, {}};
    result.pixels.resize(result.pixelCount() * result.bytesPerPixel());
    OIIO::convert_image(4, picture.width, picture.height, 1, picture.pixels.data(), TypeOf(picture.depth),
                        OIIO::AutoStride, OIIO::AutoStride, OIIO::AutoStride, result.pixels.data(), TypeDesc::FLOAT,
                        OIIO::AutoStride, OIIO::AutoStride, OIIO::AutoStride);
    std::array<float, 4> pixel;
    for (std::size_t at = 0; at < result.pixels.size(); at += sizeof pixel) {
        std::memcpy(pixel.data(), result.pixels.data() + at, sizeof pixel);
        convert(pixel);
        std::memcpy(result.pixels.data() + at, pixel.data(), sizeof pixel);
    }
    return result;
}

// ---- Writing ----------------------------------------------------------------------------------------------

std::unique_ptr<ImageOutput> WriterFor(const std::filesystem::path& file) {
    if (!file.has_extension()) return nullptr;
    auto writer = ImageOutput::create(file.string());
    OIIO::geterror();  // fetched, or it is printed when the process ends
    return writer;
}

// The ImageSpec in words that the format knows, so that no writer converts anything on its own.
ImageSpec Fitted(ImageSpec spec, const ImageOutput& writer, bool straight) {
    if (!writer.supports("tiles")) spec.tile_width = spec.tile_height = spec.tile_depth = 0;
    if (spec.alpha_channel >= 0 && !writer.supports("alpha")) {
        spec.channelnames.erase(spec.channelnames.begin() + spec.alpha_channel);
        if (!spec.channelformats.empty()) {
            spec.channelformats.erase(spec.channelformats.begin() + spec.alpha_channel);
        }
        --spec.nchannels;
        if (spec.z_channel > spec.alpha_channel) --spec.z_channel;
        spec.alpha_channel = -1;
    }
    if (!spec.channelformats.empty() && !writer.supports("channelformats")) {
        spec.format = TypeDesc::basetype_merge(spec.channelformats[0], spec.channelformats[1]);
        for (const auto& type : spec.channelformats) {
            spec.format = TypeDesc::basetype_merge(spec.format, type);
        }
        spec.channelformats.clear();
    }
    spec.erase_attribute(kStraightAlpha);
    if (spec.alpha_channel >= 0 && straight) spec.attribute(kStraightAlpha, 1);
    // Colour fringes are what this is about: halving the colour's resolution would blur them.
    if (std::string_view(writer.format_name()) == "jpeg" && !spec.find_attribute("jpeg:subsampling")) {
        spec.attribute("jpeg:subsampling", "4:4:4");
    }
    return spec;
}

// Whole pixels in the writer's own types, channel by channel: the way to write channels of several types.
std::vector<std::byte> Assembled(const Picture& picture, const PictureFile& source, const ImageSpec& written) {
    const auto pixelBytes = static_cast<OIIO::stride_t>(written.pixel_bytes(true));
    std::vector<std::byte> pixels(picture.pixelCount() * written.pixel_bytes(true));
    const auto put = [&](int channel, const std::byte* from, const TypeDesc& type, std::size_t step) {
        OIIO::convert_image(1, picture.width, picture.height, 1, from, type, static_cast<OIIO::stride_t>(step),
                            OIIO::AutoStride, OIIO::AutoStride,
                            pixels.data() + written.pixel_bytes(0, channel, true), written.channelformat(channel),
                            pixelBytes, OIIO::AutoStride, OIIO::AutoStride);
    };
    const int main = written.alpha_channel >= 0 ? 4 : 3;
    const auto type = TypeOf(picture.depth);
    for (int i = 0; i < main; ++i) {
        put(i, picture.pixels.data() + static_cast<std::size_t>(i) * type.size(), type, picture.bytesPerPixel());
    }

    const int firstOther = source.hasAlpha() ? 4 : 3;
    const std::size_t otherBytes = source.spec.pixel_bytes(firstOther, source.spec.nchannels, true);
    const std::byte* from = source.others.data();
    for (int i = firstOther; i < source.spec.nchannels; ++i) {
        put(main + i - firstOther, from, source.spec.channelformat(i), otherBytes);
        from += source.spec.channelformat(i).size();
    }
    return pixels;
}

bool WritePixels(ImageOutput& writer, const Picture& picture, const PictureFile& source) {
    if (source.others.empty()) {
        return writer.write_image(TypeOf(picture.depth), picture.pixels.data(),
                                  static_cast<OIIO::stride_t>(picture.bytesPerPixel()));
    }
    return writer.write_image(TypeDesc::UNKNOWN, Assembled(picture, source, writer.spec()).data());
}

}  // namespace

PictureFile ReadPicture(const std::filesystem::path& file, std::optional<Depth> depth) {
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) Fail(file, "no such file");
    if (std::filesystem::is_directory(file, ignored)) Fail(file, "is a folder, not a picture");
    if (!std::filesystem::is_regular_file(file, ignored)) Fail(file, "is not a file");

    const QuietStderr quiet;
    ImageSpec asStored;
    asStored.attribute(kStraightAlpha, 1);
    const auto input = ImageInput::open(file.string(), &asStored);
    if (!input) Fail(file, "cannot be read", OIIO::geterror());
    const auto& spec = input->spec();
    if (spec.deep) Fail(file, "deep pictures are not supported");
    if (spec.depth > 1) Fail(file, "volumes are not supported");

    const auto channels = Locate(spec);
    PictureFile result;
    result.picture = {spec.width, spec.height, depth.value_or(DepthFor(spec.format)), {}};
    result.spec = Arranged(spec, channels);
    result.straight = spec.get_int_attribute(kStraightAlpha) != 0;
    Gather(ReadPixels(*input, TypeOf(result.picture.depth), file), spec.nchannels, channels, result.picture);
    if (!channels.others.empty()) {
        result.others = CutOthers(ReadPixels(*input, TypeDesc::UNKNOWN, file), spec, channels.others);
    }
    return result;
}

void CheckOutput(const std::filesystem::path& output, const std::filesystem::path& input) {
    const auto name = output.string();
    std::error_code error;
    if (std::filesystem::is_directory(output, error)) throw UsageError(name + ": is a folder");
    if (!WriterFor(output)) throw UsageError(name + ": no picture format has this file name extension");
    if (!input.empty() && std::filesystem::equivalent(input, output, error)) {
        throw UsageError(name + ": the output is the input file");
    }
    const auto folder = std::filesystem::absolute(output).parent_path();
    if (!std::filesystem::is_directory(folder, error)) Fail(output, "no such folder", folder.string());
    if (::access(folder.c_str(), W_OK) != 0) Fail(output, "no permission to write in the folder");
    if (std::filesystem::exists(output, error) && ::access(output.c_str(), W_OK) != 0)
        Fail(output, "is write-protected");
}

void CheckChannels(const std::filesystem::path& output, const PictureFile& picture) {
    if (picture.others.empty() || WriterFor(output)->supports("nchannels")) return;
    const auto& names = picture.spec.channelnames;
    Fail(output, "this format has no room for the input's channel \"" + names.back() + "\"");
}

void WritePicture(const std::filesystem::path& file, const PictureFile& source) {
    // The order of these is that in which a failure needs them: the writer lets go of its file before that goes.
    const QuietStderr quiet;
    OutputFile output(file);
    std::optional<CheckedFile> checked;
    const auto writer = WriterFor(file);

    const auto stored = AlphaOf(writer->format_name());
    const bool drops = !writer->supports("alpha");
    const bool associate = source.hasAlpha() && source.straight && (stored == Alpha::associated || drops);
    const bool separate = source.hasAlpha() && !source.straight && stored == Alpha::straight && !drops;
    Picture converted;
    if (associate) converted = Converted(source.picture, Associate);
    if (separate) converted = Converted(source.picture, Unassociate);
    const Picture& picture = associate || separate ? converted : source.picture;

    const auto spec = Fitted(source.spec, *writer, (source.straight && !associate) || separate);
    // The TIFF writer is not made for files that are not its own, and reports what it could not write.
    const bool tiff = std::string_view(writer->format_name()) == "tiff";
    if (!tiff && writer->supports("ioproxy")) {
        checked.emplace(output.temporary().string());
        if (!checked->Complete()) Fail(file, "cannot be written", std::generic_category().message(errno));
        writer->set_ioproxy(&*checked);
    }
    const bool written =
        writer->open(output.temporary().string(), spec) && WritePixels(*writer, picture, source) && writer->close();
    const auto error = writer->geterror();
    // The TIFF writer's close succeeds whatever happened in it, and complains when there are no Exif data at all.
    const bool complained = !error.empty() && !error.ends_with("of the Exif data");
    if (!written || complained) Fail(file, "cannot be written", error);
    if (checked && !checked->Complete()) Fail(file, "cannot be written", "the disk did not take all of it");
    output.Commit();
}

}  // namespace nuvhost
