#include <OpenImageIO/imageio.h>

#include <cerrno>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "console/errors.h"
#include "console/quiet.h"
#include "files/output_file.h"
#include "picture/alpha.h"
#include "picture_module/files/checked_file.h"
#include "picture_module/files/picture_file.h"
#include "picture_module/files/picture_type.h"

namespace nuvhost {
namespace {

using OIIO::ImageOutput;
using OIIO::ImageSpec;
using OIIO::TypeDesc;

std::unique_ptr<ImageOutput> WriterFor(const std::filesystem::path& file) {
    if (!file.has_extension()) return nullptr;
    auto writer = ImageOutput::create(file.string());
    OIIO::geterror();  // fetches the error, which would otherwise be printed when the process ends
    return writer;
}

void Remove(ImageSpec& spec, int channel) {
    spec.channelnames.erase(spec.channelnames.begin() + channel);
    if (!spec.channelformats.empty()) spec.channelformats.erase(spec.channelformats.begin() + channel);
    --spec.nchannels;
    for (int* place : {&spec.alpha_channel, &spec.z_channel}) {
        if (*place == channel) *place = -1;
        if (*place > channel) --*place;
    }
}

// Removes from the ImageSpec what the format does not support, so that the writer converts nothing by itself.
ImageSpec Fitted(ImageSpec spec, const ImageOutput& writer, bool straight) {
    if (!writer.supports("tiles")) spec.tile_width = spec.tile_height = spec.tile_depth = 0;
    if (!spec.channelformats.empty() && !writer.supports("channelformats")) {
        spec.format = TypeDesc::basetype_merge(spec.channelformats[0], spec.channelformats[1]);
        for (const auto& type : spec.channelformats) {
            spec.format = TypeDesc::basetype_merge(spec.format, type);
        }
        spec.channelformats.clear();
    }
    spec.erase_attribute(kStraightAlpha);
    if (spec.alpha_channel >= 0 && straight) spec.attribute(kStraightAlpha, 1);
    // By default the JPEG writer halves the resolution of colour. This would blur the colour fringes of the effect.
    if (std::string_view(writer.format_name()) == "jpeg" && !spec.find_attribute("jpeg:subsampling")) {
        spec.attribute("jpeg:subsampling", "4:4:4");
    }
    return spec;
}

// Builds whole pixels with each channel in the type that `written` gives it. The writer takes channels of several
// types only in this form. Of colour and alpha, only the channels in `kept` are included.
std::vector<std::byte> Assembled(const Picture& picture, const std::vector<std::byte>& others,
                                 const PictureFile& source, const std::vector<int>& kept,
                                 const ImageSpec& written) {
    const auto pixelBytes = static_cast<OIIO::stride_t>(written.pixel_bytes(true));
    std::vector<std::byte> pixels(picture.pixelCount() * written.pixel_bytes(true));
    const auto put = [&](int channel, const std::byte* from, const TypeDesc& type, std::size_t step) {
        OIIO::convert_image(1, picture.width, picture.height, 1, from, type, static_cast<OIIO::stride_t>(step),
                            OIIO::AutoStride, OIIO::AutoStride,
                            pixels.data() + written.pixel_bytes(0, channel, true), written.channelformat(channel),
                            pixelBytes, OIIO::AutoStride, OIIO::AutoStride);
    };
    const auto type = TypeOf(picture.depth);
    int to = 0;
    for (const int i : kept) {
        put(to++, picture.pixels.data() + static_cast<std::size_t>(i) * type.size(), type, picture.bytesPerPixel());
    }

    const int firstOther = source.hasAlpha() ? 4 : 3;
    const std::size_t otherBytes = source.spec.pixel_bytes(firstOther, source.spec.nchannels, true);
    const std::byte* from = others.data();
    for (int i = firstOther; i < source.spec.nchannels; ++i) {
        put(to++, from, source.spec.channelformat(i), otherBytes);
        from += source.spec.channelformat(i).size();
    }
    return pixels;
}

// Converts to floats, so that values are rounded only once, by the writer.
Picture InFloats(const Picture& picture) {
    Picture result{picture.width, picture.height, Depth::bits32, {}};
    result.pixels.resize(result.pixelCount() * result.bytesPerPixel());
    OIIO::convert_image(4, picture.width, picture.height, 1, picture.pixels.data(), TypeOf(picture.depth),
                        OIIO::AutoStride, OIIO::AutoStride, OIIO::AutoStride, result.pixels.data(), TypeDesc::FLOAT,
                        OIIO::AutoStride, OIIO::AutoStride, OIIO::AutoStride);
    return result;
}

// Unpremultiplies 8-bit colour for a file of 8 bits. The values are those of a picture in floats, but they come
// from a table, because floats for the whole picture would take four times the memory and more time.
void UnpremultiplyBytes(Picture& picture) {
    constexpr std::size_t kValues = 256;
    Picture table{kValues, kValues, Depth::bits8, {}};  // colour to the right, alpha downwards
    for (std::size_t i = 0; i < kValues * kValues; ++i) {
        const auto color = static_cast<std::byte>(i % kValues), alpha = static_cast<std::byte>(i / kValues);
        table.pixels.insert(table.pixels.end(), {color, color, color, alpha});
    }
    Picture exact = InFloats(table);
    Unpremultiply(exact);
    OIIO::convert_pixel_values(TypeDesc::FLOAT, exact.pixels.data(), TypeDesc::UINT8, table.pixels.data(),
                               static_cast<int>(table.pixels.size()));
    for (std::size_t at = 0; at < picture.pixels.size(); at += 4) {
        const std::size_t row = static_cast<std::size_t>(picture.pixels[at + 3]) * kValues;
        for (std::size_t i = at; i < at + 3; ++i)
            picture.pixels[i] = table.pixels[(row + static_cast<std::size_t>(picture.pixels[i])) * 4];
    }
}

// A picture prepared for one format: with the window, alpha and orientation that the format can hold.
class Written {
public:
    Written(const PictureFile& source, const ImageOutput& writer)
        : source_(source), picture_(&source.picture), others_(&source.others), spec_(source.spec) {
        ChooseWindow(std::string_view(writer.format_name()) == kWindowedFormat);
        const bool straight = ChooseAlpha(writer);
        if (!writer.supports("exif") && source.format != writer.format_name()) TurnUpright();
        if (source.fileType) {
            spec_.format = *source.fileType;
            spec_.channelformats.clear();
            spec_.erase_attribute("oiio:BitsPerSample");
        }
        ChooseChannels(writer);
        spec_ = Fitted(spec_, writer, straight);
    }

    const ImageSpec& spec() const { return spec_; }

    bool Write(ImageOutput& writer) const {
        const bool leading = kept_.back() == static_cast<int>(kept_.size()) - 1;
        if (others_->empty() && leading) {
            return writer.write_image(TypeOf(picture_->depth), picture_->pixels.data(),
                                      static_cast<OIIO::stride_t>(picture_->bytesPerPixel()));
        }
        return writer.write_image(TypeDesc::UNKNOWN,
                                  Assembled(*picture_, *others_, source_, kept_, writer.spec()).data());
    }

private:
    void ChooseWindow(bool windowed) {
        const bool whole = !windowed && source_.format == kWindowedFormat;
        const Window data = DataWindow(spec_), window = whole ? DisplayWindow(spec_) : data;
        if (window != source_.layer) {
            Replace({window.width, window.height, picture_->depth,
                     Region(picture_->pixels, picture_->bytesPerPixel(), source_.layer, window)});
        }
        if (window != data && !others_->empty()) ReplaceOthers(Region(*others_, OtherBytes(), data, window));
        if (whole) {
            spec_.x = spec_.y = spec_.full_x = spec_.full_y = 0;
            spec_.width = window.width;
            spec_.height = window.height;
        }
    }

    // Converts the colour to what the format requires. Returns whether it is straight now.
    bool ChooseAlpha(const ImageOutput& writer) {
        if (!source_.hasAlpha()) return false;
        const auto rule = writer.supports("alpha") ? AlphaOf(writer.format_name()) : Alpha::associated;
        const bool straight = rule == Alpha::asItIs ? source_.fileStraight : rule == Alpha::straight;
        if (straight != source_.straight && !Opaque(*picture_)) {
            const bool bytes =
                spec_.channelformats.empty() && source_.fileType.value_or(spec_.format) == TypeDesc::UINT8;
            if (straight && bytes && picture_->depth == Depth::bits8) {
                Replace(Picture(*picture_));
                UnpremultiplyBytes(ownPicture_);
                return straight;
            }
            Replace(InFloats(*picture_));
            straight ? Unpremultiply(ownPicture_) : Premultiply(ownPicture_);
        }
        return straight;
    }

    void ChooseChannels(const ImageOutput& writer) {
        const auto lacks = [&](int i) {
            return i < 3 && source_.lacking[static_cast<std::size_t>(i)] && writer.supports("channelformats");
        };
        for (int i = source_.hasAlpha() ? 3 : 2; i >= 0; --i) {
            if (lacks(i) || (i == 3 && !writer.supports("alpha"))) {
                Remove(spec_, i);
            } else {
                kept_.insert(kept_.begin(), i);
            }
        }
    }

    void TurnUpright() {
        const int orientation = spec_.get_int_attribute("Orientation", 1);
        if (orientation < 2 || orientation > 8) return;
        const int width = spec_.width, height = spec_.height;
        Picture turned{width, height, picture_->depth,
                       Upright(picture_->pixels, picture_->bytesPerPixel(), width, height, orientation)};
        if (orientation >= 5) {
            std::swap(turned.width, turned.height);
            std::swap(spec_.width, spec_.height);
            std::swap(spec_.full_width, spec_.full_height);
            std::swap(spec_.x, spec_.y);
            std::swap(spec_.full_x, spec_.full_y);
        }
        Replace(std::move(turned));
        if (!others_->empty()) ReplaceOthers(Upright(*others_, OtherBytes(), width, height, orientation));
        spec_.erase_attribute("Orientation");
    }

    std::size_t OtherBytes() const {
        const int first = source_.hasAlpha() ? 4 : 3;
        return source_.spec.pixel_bytes(first, source_.spec.nchannels, true);
    }
    void Replace(Picture picture) {
        ownPicture_ = std::move(picture);
        picture_ = &ownPicture_;
    }
    void ReplaceOthers(std::vector<std::byte> others) {
        ownOthers_ = std::move(others);
        others_ = &ownOthers_;
    }

    const PictureFile& source_;
    const Picture* picture_;
    const std::vector<std::byte>* others_;
    Picture ownPicture_;
    std::vector<std::byte> ownOthers_;
    std::vector<int> kept_;  // the channels of the picture that are written
    ImageSpec spec_;
};

// The error, with the name that the user gave instead of the temporary name.
std::string WithoutTemporary(std::string error, const OutputFile& output, const std::filesystem::path& file) {
    const std::string temporary = output.temporary().string();
    for (std::size_t at = 0; (at = error.find(temporary, at)) != error.npos; at += file.string().size()) {
        error.replace(at, temporary.size(), file.string());
    }
    return error;
}

}  // namespace

void CheckFormat(const std::filesystem::path& output) {
    if (!WriterFor(output)) throw UsageError(output.string() + kNoFormat);
}

void CheckChannels(const std::filesystem::path& output, const PictureFile& picture) {
    const int main = picture.hasAlpha() ? 4 : 3;
    if (picture.spec.nchannels == main || WriterFor(output)->supports("nchannels")) return;
    const auto& names = picture.spec.channelnames;
    Fail(output, "this format has no room for the input's channel \"" + names.back() +
                     "\"; --channels color leaves it out");
}

void WritePicture(const std::filesystem::path& file, const PictureFile& source) {
    // The order of these variables matters after a failure: the writer must be destroyed before its file.
    const QuietStderr quiet;
    OutputFile output(file);
    std::optional<CheckedFile> checked;
    auto writer = WriterFor(file);
    const Written written(source, *writer);

    // The TIFF writer cannot use another file class. It reports write errors itself.
    const bool tiff = std::string_view(writer->format_name()) == "tiff";
    const bool opened = output.Create([&] {
        if (!tiff && writer->supports("ioproxy")) {
            checked.emplace(output.temporary().string());
            if (!checked->made()) Fail(file, "cannot be written", std::generic_category().message(errno));
            writer->set_ioproxy(&*checked);
        }
        return writer->open(output.temporary().string(), written.spec());
    });
    const bool complete = opened && written.Write(*writer) && writer->close();
    const auto error = WithoutTemporary(writer->geterror(), output, file);
    // The TIFF writer's close() always returns success, so the error text counts, too. The writer also gives such a
    // text if there are no Exif data, but that is no error.
    const bool complained = !error.empty() && !error.ends_with("of the Exif data");
    if (!complete || complained) Fail(file, "cannot be written", error);
    writer.reset();
    if (checked && !checked->Close()) Fail(file, "cannot be written", "the disk did not store all of it");
    output.Commit();
}

}  // namespace nuvhost
