#include "picture_module/files/channels.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "picture_module/files/picture_type.h"

namespace nuvhost {
namespace {

using OIIO::ImageSpec;

// The name of a channel without its layer: "R" for "beauty.R".
std::string_view LastPart(std::string_view name) {
    return name.substr(name.rfind('.') + 1);
}

// The layer of a channel, with the dot: "beauty." for "beauty.R".
std::string_view LayerOf(std::string_view name) {
    return name.substr(0, name.size() - LastPart(name).size());
}

// Finds a channel by its letter or word, in one layer or in any layer. Returns -1 if there is none.
int Find(const ImageSpec& spec, std::optional<std::string_view> layer, std::string_view letter,
         std::string_view word) {
    for (int i = 0; i < spec.nchannels; ++i) {
        const std::string_view name = spec.channelnames[static_cast<std::size_t>(i)];
        const auto last = LastPart(name);
        const bool called = OIIO::Strutil::iequals(last, letter) || OIIO::Strutil::iequals(last, word);
        if (called && (!layer || LayerOf(name) == *layer)) return i;
    }
    return -1;
}

// The colour channels of one layer: the layer without a name, or else the first layer that has any. A missing
// channel is -1.
std::array<int, 3> FindColors(const ImageSpec& spec) {
    std::vector<std::string_view> layers{""};
    for (const auto& name : spec.channelnames) {
        layers.push_back(LayerOf(name));
    }
    std::array<int, 3> colors{};
    for (const auto layer : layers) {
        colors = {Find(spec, layer, "R", "red"), Find(spec, layer, "G", "green"), Find(spec, layer, "B", "blue")};
        if (std::count(colors.begin(), colors.end(), -1) < 3) break;
    }
    return colors;
}

template <typename Channel>
void Gather(const std::vector<std::byte>& from, std::size_t stride, const Channels& channels, Channel full,
            std::vector<std::byte>& to) {
    const std::array places{channels.color[0], channels.color[1], channels.color[2], channels.alpha};
    std::array<Channel, 4> pixel{};
    pixel[3] = full;
    const std::byte* source = from.data();
    for (std::size_t at = 0; at < to.size(); at += sizeof pixel, source += stride) {
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (places[i] < 0) continue;
            std::memcpy(&pixel[i], source + static_cast<std::size_t>(places[i]) * sizeof(Channel), sizeof(Channel));
        }
        std::memcpy(to.data() + at, pixel.data(), sizeof pixel);
    }
}

}  // namespace

Channels Locate(const OIIO::ImageSpec& spec) {
    Channels channels;
    const bool marked = spec.alpha_channel >= 0 && spec.alpha_channel < spec.nchannels;
    channels.alpha = marked ? spec.alpha_channel : Find(spec, {}, "A", "alpha");

    channels.color = FindColors(spec);
    if (std::count(channels.color.begin(), channels.color.end(), -1) == 3) {
        std::vector<int> places;
        for (int i = 0; i < spec.nchannels; ++i) {
            if (i != channels.alpha) places.push_back(i);
        }
        if (places.empty()) places.push_back(channels.alpha);  // a file with only a mask is shown as grey
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

    const int any = *std::max_element(channels.color.begin(), channels.color.end());
    for (std::size_t i = 0; i < 3; ++i) {
        const bool lacks = channels.color[i] < 0;
        add(lacks ? any : channels.color[i], lacks || channels.grey() ? kNames[i] : nameOf(channels.color[i]));
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

    // These attributes describe the old pixels, or they announce smaller versions of the picture, which are not
    // written.
    for (const auto* name : {"oiio:SHA-1", "oiio:ConstantColor", "oiio:AverageColor", "oiio:subimages",
                             "textureformat", "openexr:levelmode", "openexr:roundingmode"}) {
        spec.erase_attribute(name);
    }
    // A grey picture is written as colour, and a picture with fewer than 8 bits is written with 8 bits. The
    // attributes that say otherwise must go.
    if (channels.grey()) {
        for (const auto* name : {"ICCProfile", "tiff:PhotometricInterpretation", "tiff:ColorSpace"}) {
            spec.erase_attribute(name);
        }
    }
    if (spec.get_int_attribute("oiio:BitsPerSample") < 8) spec.erase_attribute("oiio:BitsPerSample");
    return spec;
}

void Gather(const std::vector<std::byte>& from, int channelCount, const Channels& channels, Picture& picture) {
    const auto stride = static_cast<std::size_t>(channelCount) * TypeOf(picture.depth).size();
    // These are only the file's pixels. The layer may be larger.
    picture.pixels.resize(from.size() / stride * picture.bytesPerPixel());
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

}  // namespace nuvhost
