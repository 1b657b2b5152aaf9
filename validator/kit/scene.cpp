#include "validator/kit/scene.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <span>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace validator {
namespace {

using refhost::World;

template <typename Channel>
void PutPixel(const std::array<double, 4>& channels, double white, std::byte* to) {
    for (const double channel : channels) {
        const auto value = static_cast<Channel>(channel * white + (std::is_integral_v<Channel> ? 0.5 : 0));
        std::memcpy(to, &value, sizeof value);
        to += sizeof value;
    }
}

std::array<double, 4> RandomArgb(std::mt19937_64& random) {
    const auto part = [&] { return static_cast<double>(random() >> 11) * 0x1p-53; };
    const auto cover = random() % 8;
    const double alpha = cover == 0 ? 0 : cover < 6 ? 1 : part();
    return {alpha, part() * alpha, part() * alpha, part() * alpha};
}

PF_Fixed Percent(PF_Fixed percent, int size) {
    return static_cast<PF_Fixed>(std::int64_t{percent} * size / 100);
}

refhost::ParamValue DefaultOf(const PF_ParamDef& param, signs::Size size) {
    if (param.param_type == PF_Param_POPUP) return refhost::PopupValue{param.u.pd.dephault};
    if (param.param_type == PF_Param_FLOAT_SLIDER) return refhost::SliderValue{param.u.fs_d.dephault};
    return refhost::PointValue{Percent(param.u.td.x_dephault, size.width),
                               Percent(param.u.td.y_dephault, size.height)};
}

refhost::ParamValue RandomOf(const PF_ParamDef& param, std::mt19937_64& random, signs::Size size) {
    if (param.param_type == PF_Param_POPUP) {
        return refhost::PopupValue{
            std::uniform_int_distribution(1, std::max<int>(param.u.pd.num_choices, 1))(random)};
    }
    if (param.param_type == PF_Param_FLOAT_SLIDER) {
        const double least = param.u.fs_d.slider_min;
        const double most = std::max<double>(param.u.fs_d.slider_max, least);
        return refhost::SliderValue{std::uniform_real_distribution(least, most)(random)};
    }
    const auto within = [&](int length) {
        return std::uniform_int_distribution(0, std::min(length, 32767) * 65536)(random);
    };
    return refhost::PointValue{within(size.width), within(size.height)};
}

bool HasValue(const PF_ParamDef& param) {
    return param.param_type == PF_Param_POPUP || param.param_type == PF_Param_FLOAT_SLIDER ||
           param.param_type == PF_Param_POINT;
}

template <typename Value>
void SetEach(refhost::Host& host, refhost::Instance& instance, Value value) {
    for (std::size_t i = 0; i < host.parameters().size(); ++i) {
        const PF_ParamDef& param = host.parameters()[i];
        if (HasValue(param)) instance.Set(static_cast<std::int32_t>(i + 1), value(param));
    }
}

// The array of parameters that a plain render gets, with the instance's values.
std::vector<PF_ParamDef> ValuesOf(const refhost::Host& host, const refhost::Instance& instance) {
    std::vector<PF_ParamDef> params = host.parameters();
    for (std::size_t i = 0; i < params.size(); ++i) {
        PF_ParamDef& param = params[i];
        if (!HasValue(param)) continue;
        const auto value = instance.Get(static_cast<std::int32_t>(i + 1));
        if (const auto* point = std::get_if<refhost::PointValue>(&value)) {
            param.u.td.x_value = point->x;
            param.u.td.y_value = point->y;
        } else if (const auto* popup = std::get_if<refhost::PopupValue>(&value)) {
            param.u.pd.value = popup->choice;
        } else if (const auto* slider = std::get_if<refhost::SliderValue>(&value)) {
            param.u.fs_d.value = slider->value;
        }
    }
    return params;
}

std::string Hex(const std::byte* bytes, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        char two[4];
        std::snprintf(two, sizeof two, "%s%02X", i == 0 ? "" : " ", std::to_integer<unsigned>(bytes[i]));
        text += two;
    }
    return text;
}

// The formats that a host of this personality sends.
std::vector<PF_PixelFormat> FormatsFor(const refhost::PersonalityTraits& traits, std::uint32_t flags,
                                       std::uint32_t flags2, const refhost::Host& host) {
    std::vector<PF_PixelFormat> formats;
    if (traits.declaredFormats) {
        for (const PF_PixelFormat format : host.supportedFormats()) {
            if (refhost::FindFormat(format)) formats.push_back(format);
        }
        return formats.empty() ? std::vector{kFormatArgb8} : formats;
    }
    for (const refhost::PixelFormat& format : refhost::kPixelFormats) {
        const bool declared =
            (flags & format.outFlags) == format.outFlags && (flags2 & format.outFlags2) == format.outFlags2;
        if (format.host == traits.personality && declared) formats.push_back(format.code);
    }
    return formats;
}

}  // namespace

std::string_view NameOf(RenderPath path) {
    return path == RenderPath::smart ? "smart" : "plain";
}

std::string NameOf(PF_PixelFormat format) {
    return std::string(refhost::FormatOf(format).name);
}

void Paint(World& world, std::uint64_t number) {
    const refhost::PixelFormat& format = refhost::FormatOf(world.layout().format);
    std::mt19937_64 random(number);
    for (int y = 0; y < world.layout().height; ++y) {
        const auto row = world.Row(y);
        for (std::size_t at = 0; at < row.size(); at += static_cast<std::size_t>(format.BytesPerPixel())) {
            std::array<double, 4> pixel = RandomArgb(random);
            if (format.order == refhost::ChannelOrder::bgra) std::ranges::reverse(pixel);
            if (format.bitsPerChannel == 8) PutPixel<std::uint8_t>(pixel, 255, &row[at]);
            if (format.bitsPerChannel == 16) PutPixel<std::uint16_t>(pixel, 32768, &row[at]);
            if (format.bitsPerChannel == 32) PutPixel<float>(pixel, 1, &row[at]);
        }
    }
}

Frame::Frame(const refhost::WorldLayout& inputLayout, const refhost::WorldLayout& outputLayout,
             std::uint64_t picture)
    : input(inputLayout), output(outputLayout) {
    Paint(input, picture);
    inputPixels_ = input.Pixels();
}

void Frame::UseInput(std::vector<std::byte> packed) {
    input.SetPixels(packed);
    inputPixels_ = std::move(packed);
}

void Frame::Poison(std::uint8_t poison) {
    output = World(output.layout(), poison);
}

refhost::RenderResult Frame::Render(refhost::Host& host, refhost::Instance& instance, RenderPath path,
                                    bool render) {
    settings.input = withInput ? &input : nullptr;
    settings.output = withOutput ? &output : nullptr;
    changedParams_.clear();
    if (path == RenderPath::smart) return instance.SmartRender(settings, render);

    const std::vector<PF_ParamDef> before = ValuesOf(host, instance);
    std::vector<PF_ParamDef> passed = before;
    settings.plainParams.clear();
    for (PF_ParamDef& param : passed)
        settings.plainParams.push_back(&param);
    auto result = instance.PlainRender(settings);
    settings.plainParams.clear();
    for (std::size_t i = 0; i < passed.size(); ++i) {
        if (!std::ranges::equal(std::as_bytes(std::span(&passed[i], 1)), std::as_bytes(std::span(&before[i], 1))))
            changedParams_.push_back("parameter " + std::to_string(i + 1) + " in the host's array was changed");
    }
    return result;
}

std::vector<std::string> Frame::Damage() const {
    std::vector<std::string> damage = changedParams_;
    const auto note = [&](const char* world, const std::string& what) {
        if (!what.empty()) damage.push_back(std::string(world) + ": " + what);
    };
    note("the input", input.Surroundings());
    note("the output", output.Surroundings());
    note("the input", Difference(input.Pixels(), inputPixels_, input.layout().format, input.layout().width));
    return damage;
}

PF_Err CodeOf(const refhost::RenderResult& result) {
    return result.preRender != PF_Err_NONE ? result.preRender : result.render;
}

void SetRandomValues(Context& context, refhost::Host& host, refhost::Instance& instance, signs::Size size) {
    SetEach(host, instance, [&](const PF_ParamDef& p) { return RandomOf(p, context.random(), size); });
}

void SetDefaults(refhost::Host& host, refhost::Instance& instance, signs::Size size) {
    SetEach(host, instance, [&](const PF_ParamDef& p) { return DefaultOf(p, size); });
}

std::string WithoutSuites(refhost::Host& host) {
    std::string text;
    for (const std::string& suite : host.account().MissingSuites())
        text += (text.empty() ? "; it asked for " : ", ") + suite;
    return text.empty() ? text : text + ", which this host does not have";
}

HostedScene::HostedScene(Context& context, refhost::HostOptions options)
    : context_(context), host(context.Load(), std::move(options)), instance(SetUp()) {
    const auto faults = std::exchange(host.options().faults, nullptr);
    const PF_Err code = instance.SequenceSetup();
    host.options().faults = faults;
    context.Require(code == PF_Err_NONE,
                    "sequence set-up gives code " + std::to_string(code) + WithoutSuites(host));
    SetRandomValues(context, host, instance, kSize);
    host.account().Reset();
}

refhost::Host& HostedScene::SetUp() {
    const auto faults = std::exchange(host.options().faults, nullptr);
    const auto require = [this](const char* command, PF_Err code) {
        context_.Require(code == PF_Err_NONE,
                         std::string(command) + " gives code " + std::to_string(code) + WithoutSuites(host));
    };
    require("the scan", host.Scan().result);
    require("global set-up", host.GlobalSetup());
    flags_ = static_cast<std::uint32_t>(host.outData().out_flags);
    flags2_ = static_cast<std::uint32_t>(host.outData().out_flags2);
    require("parameter set-up", host.ParamsSetup());
    host.options().faults = faults;

    const auto& traits = refhost::TraitsOf(context_.personality());
    const bool smart = (flags2_ & PF_OutFlag2_SUPPORTS_SMART_RENDER) != 0;
    if (traits.smartRender && smart) path_ = RenderPath::smart;
    formats_ = FormatsFor(traits, flags_, flags2_, host);
    return host;
}

refhost::WorldLayout HostedScene::Layout(PF_PixelFormat format, int width, int height) {
    return {.format = format, .width = width, .height = height};
}

refhost::RenderResult HostedScene::Render(Frame& frame) {
    host.account().Reset();
    auto result = frame.Render(host, instance, path_);
    const PF_Err code = CodeOf(result);
    const auto& layout = frame.output.layout();
    const std::string what = std::string(NameOf(path_)) + " render of " + std::to_string(layout.width) + " x " +
                             std::to_string(layout.height) + " pixels, " + NameOf(layout.format);
    context_.ExpectNone(frame.Damage(), what);
    context_.ExpectNone(host.account().Misuse(), what);
    context_.Require(code == PF_Err_NONE, what + ": code " + std::to_string(code) + WithoutSuites(host));
    return result;
}

std::vector<std::byte> HostedScene::Picture(Frame& frame, std::uint8_t poison) {
    frame.Poison(poison);
    Render(frame);
    return frame.output.Pixels();
}

std::string Difference(const std::vector<std::byte>& got, const std::vector<std::byte>& expected,
                       PF_PixelFormat format, int width) {
    const int bytes = refhost::BytesPerPixel(format);
    if (got.size() != expected.size()) {
        return "there are " + std::to_string(got.size()) + " bytes, not " + std::to_string(expected.size());
    }
    const auto [at, _] = std::ranges::mismatch(got, expected);
    if (at == got.end()) return {};
    const auto pixel = (at - got.begin()) / bytes;
    return "pixel " + std::to_string(pixel % width) + ", " + std::to_string(pixel / width) + " is " +
           Hex(&got[static_cast<std::size_t>(pixel * bytes)], bytes) + ", not " +
           Hex(&expected[static_cast<std::size_t>(pixel * bytes)], bytes);
}

void ExpectSame(Context& context, const std::vector<std::byte>& got, const std::vector<std::byte>& expected,
                const refhost::WorldLayout& layout, const std::string& what) {
    const std::string difference = Difference(got, expected, layout.format, layout.width);
    context.Expect(difference.empty(), NameOf(layout.format) + ", " + std::to_string(layout.width) + " x " +
                                           std::to_string(layout.height) + " pixels, " + what + ": " + difference);
}

}  // namespace validator
