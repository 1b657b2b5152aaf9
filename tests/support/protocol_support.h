// Helpers for tests of what host and effect say to each other.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "entry/entry_points.h"
#include "params/params.h"
#include "plugin_path.h"
#include "reference_host/host.h"
#include "reference_host/pixel_formats.h"

namespace protocol {

using refhost::RenderPath;

// ---- Records --------------------------------------------------------------------------------------------------

// All bytes of the record, with its padding. Copies of a record may differ in their padding.
template <class Record>
std::vector<std::byte> BytesOf(const Record& record) {
    std::vector<std::byte> bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

// Filled with a pattern, so that a field that was written shows.
inline PF_OutData PoisonedOutData() {
    PF_OutData outData;
    std::memset(&outData, 0x5A, sizeof outData);
    return outData;
}

constexpr PF_Fixed Fixed(double value) {
    return static_cast<PF_Fixed>(value * 65536);
}

// ---- The effect -----------------------------------------------------------------------------------------------

inline refhost::PluginLibrary Binary() {
    static const refhost::PluginLibrary binary(support::PluginPath());
    return binary;
}

// The same effect, linked into the test: an exception from one of the test's callbacks reaches its handlers on
// every system, and the test reaches its render mutex.
inline refhost::PluginLibrary Linked() {
    return {nuv::Dispatch, [](PF_PluginDataPtr inPtr, PF_PluginDataCB callback, SPBasicSuite*, const char*,
                              const char*) { return nuv::ReportPluginData(inPtr, callback); }};
}

// Stands between host and effect, and may change what the host passes before the effect sees it.
struct Between {
    static inline EffectMainType effect = nullptr;
    static inline std::function<void(PF_Cmd, PF_InData&, void* extra)> change;
    static inline bool wroteOutData = false;  // whether the last command did

    static refhost::PluginLibrary Put(const refhost::PluginLibrary& library) {
        effect = library.effectMain;
        change = nullptr;
        return {Main, library.pluginDataEntryFunction};
    }

private:
    static PF_Err Main(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[],
                       PF_LayerDef* output, void* extra) {
        if (change) change(cmd, *inData, extra);
        const auto before = BytesOf(*outData);
        const PF_Err code = effect(cmd, inData, outData, params, output, extra);
        wroteOutData = BytesOf(*outData) != before;
        return code;
    }
};

// A fake basic suite, which notes every request. Only one may exist at a time.
class FakeBasic {
public:
    struct Answer {
        std::int32_t code;
        const void* suite;
    };

    FakeBasic() { current_ = this; }
    ~FakeBasic() { current_ = nullptr; }
    FakeBasic(const FakeBasic&) = delete;
    FakeBasic& operator=(const FakeBasic&) = delete;

    SPBasicSuite suite{Acquire, Release, nullptr, nullptr, nullptr, nullptr, nullptr};
    std::function<Answer(const std::string& name, std::int32_t version)> onAcquire;
    std::function<std::int32_t(const std::string& name, std::int32_t version)> onRelease;
    std::vector<std::string> acquired;  // "PF World Suite 2"
    std::vector<std::string> released;

private:
    static std::int32_t Acquire(const char* name, std::int32_t version, const void** suite) {
        current_->acquired.push_back(name + (" " + std::to_string(version)));
        const Answer answer = current_->onAcquire(name, version);
        *suite = answer.suite;
        return answer.code;
    }
    static std::int32_t Release(const char* name, std::int32_t version) {
        current_->released.push_back(name + (" " + std::to_string(version)));
        return current_->onRelease ? current_->onRelease(name, version) : 0;
    }

    static inline FakeBasic* current_ = nullptr;
};

// ---- What was said --------------------------------------------------------------------------------------------

using Lines = std::vector<std::string>;

// What the driver's early exit does not give back.
inline constexpr const char* kFormatSuiteKept = "suite \"PF Pixel Format Suite\" 1: acquired 1, released 0";
inline constexpr const char* kWorldSuiteKept = "suite \"PF World Suite\" 2: acquired 1, released 0";
// The host's complaints about that exit if there are no sequence data and no global data.
inline const Lines kUnlockedNothing(2, "host_unlock_handle: the handle is null");

// "AcquireSuite PF World Suite 2", "abort"
inline std::string Line(const refhost::CallRecord& call) {
    std::string line(refhost::Name(call.call));
    return call.detail.empty() ? line : line + " " + call.detail;
}

inline Lines CallsOf(const refhost::Account& account) {
    Lines lines;
    for (const auto& call : account.Calls())
        lines.push_back(Line(call));
    return lines;
}

// Records calls, and iterates on one thread only: the order is then the same in every run.
inline refhost::HostOptions InOrder(refhost::Personality personality = refhost::Personality::compositor) {
    refhost::HostOptions options;
    options.personality = personality;
    options.iterationThreads = 1;
    options.recordCalls = true;
    return options;
}

// ---- Faults ---------------------------------------------------------------------------------------------------

inline constexpr PF_Err kFault = 77;  // only the host makes this code; the effect may pass it on

inline refhost::FaultPlan Fail(refhost::Call call, std::int64_t index, PF_Err code = kFault) {
    return [=](const refhost::CallRecord& record) {
        return record.call == call && record.index == index ? std::optional(code) : std::nullopt;
    };
}

// Makes every call fail that reads like this line.
inline refhost::FaultPlan Fail(const std::string& line, PF_Err code = kFault) {
    return [=](const refhost::CallRecord& record) {
        return Line(record) == line ? std::optional(code) : std::nullopt;
    };
}

// ---- Renders --------------------------------------------------------------------------------------------------

// An instance of the effect on a layer of 6 x 3 pixels at (1, 1). Each parameter, and the layer's offset in a
// smart render, makes a difference in the picture.
class HostedScene {
public:
    static constexpr int kWidth = 6, kHeight = 3;

    explicit HostedScene(refhost::HostOptions options = InOrder(), refhost::PluginLibrary library = Binary())
        : host(std::move(library), std::move(options)), instance(SetUp(host)) {
        UseFormat(refhost::FindFormatOfDepth(host.options().personality, 8)->code);
        settings.input = &input;
        settings.output = &output;
        // The host gives the whole layer, whatever part the effect asks for.
        settings.checkoutResult = PF_LRect{1, 1, 1 + kWidth, 1 + kHeight};
        settings.currentTime = 7;
        settings.timeStep = 2;
        settings.timeScale = 30;
        for (std::int32_t index = 1; index < nuv::PARAM_COUNT; ++index)
            instance.Set(index, Value(index));
        host.account().Reset();
    }

    void UseFormat(PF_PixelFormat format) { UseFormats(format, format); }

    void UseFormats(PF_PixelFormat inputFormat, PF_PixelFormat outputFormat) {
        input = refhost::World(
            {.format = inputFormat, .width = kWidth, .height = kHeight, .padding = 12, .originX = 1, .originY = 1});
        std::vector<std::byte> pixels = input.Pixels();
        for (std::size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = static_cast<std::byte>((i * 37 + 11) % 63);
        input.SetPixels(pixels);
        output = refhost::World({.format = outputFormat, .width = kWidth, .height = kHeight, .padding = 8});
    }

    static refhost::ParamValue Value(std::int32_t index) {
        switch (index) {
            case nuv::PARAM_FRAME_CENTER:
                return refhost::PointValue{Fixed(2.75), Fixed(1.25)};
            case nuv::PARAM_MODE:
                return refhost::PopupValue{2};
            case nuv::PARAM_SCALING:
                return refhost::PopupValue{3};
            case nuv::PARAM_AMOUNT:
                return refhost::SliderValue{90.0};
            default:
                return refhost::PopupValue{2};
        }
    }

    // What a check-out that failed leaves of a parameter.
    static refhost::ParamValue Zero(std::int32_t index) {
        switch (index) {
            case nuv::PARAM_FRAME_CENTER:
                return refhost::PointValue{};
            case nuv::PARAM_AMOUNT:
                return refhost::SliderValue{};
            default:
                return refhost::PopupValue{};
        }
    }

    // Forgets earlier calls, and renders into a fresh, poisoned output. Returns the first code that is not 0, or 0.
    PF_Err Render(RenderPath path) {
        output = refhost::World(output.layout());
        host.account().Reset();
        result = instance.Render(path, settings);
        return result.preRender != PF_Err_NONE ? result.preRender : result.render;
    }

    // The picture of a render in which nothing fails.
    std::vector<std::byte> CleanPicture(RenderPath path) {
        const auto faults = std::exchange(host.options().faults, nullptr);
        EXPECT_EQ(Render(path), PF_Err_NONE);
        EXPECT_FALSE(OutputUntouched());
        host.options().faults = faults;
        return output.Pixels();
    }

    bool OutputUntouched() const {
        return std::ranges::all_of(output.Pixels(),
                                   [](std::byte b) { return b == std::byte{refhost::World::kPoison}; });
    }

    Lines Calls() { return CallsOf(host.account()); }
    Lines Outstanding() { return host.account().Outstanding(); }
    Lines Misuse() { return host.account().Misuse(); }

    refhost::Host host;
    refhost::Instance instance;
    refhost::World input, output;
    refhost::RenderSettings settings;
    refhost::RenderResult result;

private:
    static refhost::Host& SetUp(refhost::Host& host) {
        const auto faults = std::exchange(host.options().faults, nullptr);
        host.SetUp();
        host.options().faults = faults;
        return host;
    }
};

}  // namespace protocol
