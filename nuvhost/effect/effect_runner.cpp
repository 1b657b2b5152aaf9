#include "effect/effect_runner.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>

#include "console/errors.h"
#include "reference_host/pixel_formats.h"

namespace nuvhost {
namespace {

using refhost::Personality;
using refhost::World;

std::string Meaning(PF_Err code) {
    struct Entry {
        PF_Err code;
        const char* meaning;
    };
    static constexpr Entry kTable[] = {
        {PF_Err_OUT_OF_MEMORY, " (out of memory)"},
        {PF_Err_INTERNAL_STRUCT_DAMAGED, " (internal error)"},
        {PF_Err_INVALID_INDEX, " (invalid index)"},
        {PF_Err_UNRECOGNIZED_PARAM_TYPE, " (unknown parameter type)"},
        {PF_Err_INVALID_CALLBACK, " (invalid callback)"},
        {PF_Err_BAD_CALLBACK_PARAM, " (a suite or callback is missing)"},
        {PF_Interrupt_CANCEL, " (cancelled)"},
    };
    for (const auto& entry : kTable) {
        if (entry.code == code) return entry.meaning;
    }
    return "";
}

void Check(PF_Err code, const char* command) {
    if (code == PF_Err_NONE) return;
    throw std::runtime_error("the effect answered " + std::string(command) + " with error " + std::to_string(code) +
                             Meaning(code));
}

// `start` is the position of the frame in the layer, and `extent` is its size.
PF_Fixed Fixed(const Length& length, int start, int extent) {
    const double pixels = start + (length.percent / 100 * extent + length.pixels);
    const double raw = std::round(pixels * 65536);
    using Limits = std::numeric_limits<PF_Fixed>;
    if (raw < Limits::min() || raw > Limits::max()) {
        throw UsageError(std::string(Row(Parameter::center).option) + ": pixel " +
                         std::to_string(std::llround(pixels)) +
                         " is too far out; the host's coordinates end at 32768");
    }
    return static_cast<PF_Fixed>(raw);
}

refhost::PointValue PointFor(const Center& center, const Window& frame) {
    return {Fixed(center.x, frame.x, frame.width), Fixed(center.y, frame.y, frame.height)};
}

void Set(refhost::Instance& instance, const ParameterRow& row, const EffectSettings& settings,
         const Window& frame) {
    switch (row.kind) {
        case ParameterKind::point:
            instance.Set(row.index(), PointFor(settings.center, frame));
            break;
        case ParameterKind::choice:
            instance.Set(row.index(), refhost::PopupValue{settings.*row.choice});
            break;
        case ParameterKind::number:
            instance.Set(row.index(), refhost::SliderValue{settings.amount});
            break;
    }
}

// For each channel of a host's pixel, its index in R, G, B, A.
using Order = std::array<std::size_t, 4>;
constexpr Order kArgb{3, 0, 1, 2}, kBgra{2, 1, 0, 3};

// White in 16 bits is 32768 for the host and 65535 in a file, so a value loses one bit on its way there and back. A
// second conversion there and back changes nothing.
std::uint16_t ToHost16(std::uint16_t value) {
    return static_cast<std::uint16_t>((value * std::uint32_t{32768} + 32767) / 65535);
}
std::uint16_t FromHost16(std::uint16_t value) {
    return static_cast<std::uint16_t>((value * std::uint32_t{65535} + 16384) / 32768);
}

template <Order order, typename Channel, typename Convert>
void ToHost(const std::byte* from, std::span<std::byte> row, Convert convert) {
    std::array<Channel, 4> rgba, pixel;
    for (std::size_t at = 0; at < row.size(); at += sizeof pixel) {
        std::memcpy(rgba.data(), from + at, sizeof rgba);
        for (std::size_t i = 0; i < 4; ++i) {
            pixel[i] = convert(rgba[order[i]]);
        }
        std::memcpy(row.data() + at, pixel.data(), sizeof pixel);
    }
}

template <Order order, typename Channel, typename Convert>
void FromHost(std::span<const std::byte> row, std::byte* to, Convert convert) {
    std::array<Channel, 4> rgba, pixel;
    for (std::size_t at = 0; at < row.size(); at += sizeof pixel) {
        std::memcpy(pixel.data(), row.data() + at, sizeof pixel);
        for (std::size_t i = 0; i < 4; ++i) {
            rgba[order[i]] = convert(pixel[i]);
        }
        std::memcpy(to + at, rgba.data(), sizeof rgba);
    }
}

constexpr auto kSame = [](auto value) { return value; };

template <Order order>
void Fill(World& world, const Picture& picture) {
    const std::byte* from = picture.pixels.data();
    for (int y = 0; y < picture.height; ++y) {
        const auto row = world.Row(y);
        switch (picture.depth) {
            case Depth::bits8:
                ToHost<order, std::uint8_t>(from, row, kSame);
                break;
            case Depth::bits16:
                ToHost<order, std::uint16_t>(from, row, ToHost16);
                break;
            case Depth::bits32:
                ToHost<order, float>(from, row, kSame);
                break;
        }
        from += row.size();
    }
}

template <Order order>
void Take(Picture& picture, const World& world) {
    std::byte* to = picture.pixels.data();
    for (int y = 0; y < picture.height; ++y) {
        const auto row = world.Row(y);
        switch (picture.depth) {
            case Depth::bits8:
                FromHost<order, std::uint8_t>(row, to, kSame);
                break;
            case Depth::bits16:
                FromHost<order, std::uint16_t>(row, to, FromHost16);
                break;
            case Depth::bits32:
                FromHost<order, float>(row, to, kSame);
                break;
        }
        to += row.size();
    }
}

refhost::HostOptions OptionsFor(Personality personality) {
    refhost::HostOptions options;
    options.personality = personality;
    options.iterationThreads = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    return options;
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines) {
        text += (text.empty() ? "" : "; ") + line;
    }
    return text;
}

}  // namespace

std::filesystem::path FindPlugin() {
    constexpr auto kName = "nuv_chromaber.so";
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    for (const auto& place : {folder, folder.parent_path()}) {
        if (std::filesystem::exists(place / kName)) return place / kName;
    }
    throw std::runtime_error(std::string(kName) + " is neither in " + folder.string() +
                             " nor in the folder above; name it with --plugin");
}

EffectRunner::EffectRunner(const std::filesystem::path& plugin, Personality personality, int instances,
                           const std::vector<std::byte>& sequenceData)
    : personality_(personality),
      host_(refhost::PluginLibrary(std::filesystem::absolute(plugin)), OptionsFor(personality)) {
    host_.SetUp();
    const auto& parameters = host_.parameters();
    if (!std::equal(
            parameters.begin(), parameters.end(), kParameterTable.begin(), kParameterTable.end(),
            [](const PF_ParamDef& parameter, const ParameterRow& row) { return parameter.uu.id == row.id; })) {
        throw std::runtime_error(plugin.string() +
                                 ": the parameters of this effect are not those of nuv_chromaber");
    }
    open_ = true;
    for (int i = 0; i < instances; ++i) {
        auto instance = std::make_unique<refhost::Instance>(host_);
        if (sequenceData.empty()) {
            Check(instance->SequenceSetup(), "sequence set-up");
        } else {
            instance->Load({.sequenceData = sequenceData});
            Check(instance->SequenceResetup(), "sequence re-setup");
        }
        idle_.push_back(instance.get());
        instances_.push_back(std::move(instance));
    }
}

EffectRunner::~EffectRunner() {
    if (!open_) return;
    for (const auto& instance : instances_) {
        instance->SequenceSetdown();
    }
    host_.GlobalSetdown();
}

std::vector<std::byte> EffectRunner::SequenceData() const {
    return instances_.front()->Save().sequenceData;
}

void CheckCenter(const Center& center, const Window& frame) {
    PointFor(center, frame);
}

void EffectRunner::Render(Picture& picture, const Window& frame, const EffectSettings& settings, RenderPath path) {
    const auto take = [&] {
        const std::lock_guard lock(mutex_);
        auto* const idle = idle_.back();
        idle_.pop_back();
        return idle;
    };
    const auto giveBack = [&](refhost::Instance* used) {
        const std::lock_guard lock(mutex_);
        idle_.push_back(used);
    };
    const std::unique_ptr<refhost::Instance, decltype(giveBack)> instance(take(), giveBack);

    for (const ParameterRow& row : kParameterTable) {
        Set(*instance, row, settings, frame);
    }

    const refhost::PersonalityTraits& host = refhost::TraitsOf(personality_);
    const auto bits = static_cast<int>(picture.depth);
    const refhost::PixelFormat* const format = refhost::FindFormatOfDepth(personality_, bits);
    if (!format) {
        throw std::runtime_error("the " + std::string(host.name) + " host has no pictures with " +
                                 std::to_string(bits) + " bits per channel");
    }
    const bool argb = format->order == refhost::ChannelOrder::argb;
    const refhost::WorldLayout layout{
        .format = format->code, .width = picture.width, .height = picture.height, .bottomUp = host.bottomUp};
    World input(layout);
    World output(layout);
    (argb ? Fill<kArgb> : Fill<kBgra>)(input, picture);
    picture.pixels = std::vector<std::byte>();  // frees it: the effect needs much memory

    // If the effect cannot start its threads, it returns success and does not write the output. A complete render
    // writes every pixel, so the render has failed if the first row still has this noise.
    const auto firstRow = output.Row(0);
    std::minstd_rand noise;
    std::generate(firstRow.begin(), firstRow.end(), [&] { return static_cast<std::byte>(noise() >> 8); });
    const std::vector<std::byte> untouched(firstRow.begin(), firstRow.end());

    refhost::RenderSettings request;
    request.input = &input;
    request.output = &output;
    if (path == RenderPath::smart) {
        const auto result = instance->SmartRender(request);
        Check(result.preRender, "smart pre-render");
        Check(result.render, "smart render");
    } else {
        Check(instance->PlainRender(request).render, "render");
    }
    if (std::equal(firstRow.begin(), firstRow.end(), untouched.begin())) {
        throw std::runtime_error("the effect reported success but wrote no pixels");
    }

    input = World();
    picture.pixels.resize(picture.pixelCount() * picture.bytesPerPixel());
    (argb ? Take<kArgb> : Take<kBgra>)(picture, output);
}

void EffectRunner::Close() {
    open_ = false;
    for (const auto& instance : instances_) {
        Check(instance->SequenceSetdown(), "sequence set-down");
    }
    Check(host_.GlobalSetdown(), "global set-down");
    if (const auto kept = host_.account().Outstanding(); !kept.empty()) {
        throw std::runtime_error("the effect did not give back: " + Joined(kept));
    }
    if (const auto misuse = host_.account().Misuse(); !misuse.empty()) {
        throw std::runtime_error("the effect misused the host: " + Joined(misuse));
    }
}

}  // namespace nuvhost
