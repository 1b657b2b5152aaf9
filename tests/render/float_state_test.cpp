// The picture does not depend on the floating-point state that the host has set for its threads.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "support/protocol_support.h"

namespace {

using namespace protocol;

constexpr unsigned kMarks = 0x3F;  // the bits that tell which exceptions have happened

constexpr struct {
    const char* name;
    unsigned state;
} kStates[] = {
    {"FlushesDenormals", 0x9FC0}, {"TakesDenormalsForZero", 0x1FC0},  {"RoundsDown", 0x3F80}, {"RoundsUp", 0x5F80},
    {"Truncates", 0x7F80},        {"TrapsInvalidOperations", 0x1F00}, {"TrapsAll", 0x0000},
};

class HostThatChangesFloats : public testing::TestWithParam<int> {
protected:
    // Runs a command of the effect in the state, and expects that the effect leaves the state as it was.
    static PF_Err Main(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[],
                       PF_LayerDef* output, void* extra) {
        const unsigned own = _mm_getcsr();
        _mm_setcsr(state_);
        const PF_Err code = effect_(cmd, inData, outData, params, output, extra);
        const unsigned left = _mm_getcsr();
        _mm_setcsr(own);
        EXPECT_EQ(left & ~kMarks, state_);
        return code;
    }

    static refhost::PluginLibrary Library() {
        const refhost::PluginLibrary library = Binary();
        effect_ = library.effectMain;
        return {Main, library.pluginDataEntryFunction};
    }

    // Fills a picture of floats with numbers whose results depend on the state, other pictures with any bytes.
    static void Fill(refhost::World& world, PF_PixelFormat format) {
        std::vector<std::byte> pixels = world.Pixels();
        for (std::size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = static_cast<std::byte>(i * 89 + 17);
        if (format == kFormatArgbFloat || format == kFormatBgraFloat) {
            constexpr float kInfinity = std::numeric_limits<float>::infinity();
            constexpr float kNumbers[] = {
                0.3f,         1e-41f,     0.7f, -1e-42f, kInfinity,
                0.501960814f, -kInfinity, 0.1f, 1e-20f,  std::numeric_limits<float>::quiet_NaN(),
                0.25000001f};
            for (std::size_t i = 0; i < pixels.size() / 4; ++i)
                std::memcpy(&pixels[i * 4], &kNumbers[i * 5 % std::size(kNumbers)], 4);
        }
        world.SetPixels(pixels);
    }

    static inline EffectMainType effect_ = nullptr;
    static inline unsigned state_ = 0x1F80;
};

TEST_P(HostThatChangesFloats, GetsTheSamePicture) {
    refhost::PluginLibrary library = Library();
    for (const PF_PixelFormat format : {kFormatArgb8, kFormatArgb16, kFormatArgbFloat, kFormatBgraFloat}) {
        HostedScene scene(InOrder(), library);
        scene.UseFormat(format);
        Fill(scene.input, format);
        scene.settings.downsampleX = {2, 3};
        for (const int scaling : {1, 2, 3}) {
            for (const double amount : {37.123456789, -63.3}) {
                for (const RenderPath path : {RenderPath::smart, RenderPath::plain}) {
                    SCOPED_TRACE(testing::Message()
                                 << std::hex << format << ", scaling " << scaling << ", amount " << amount
                                 << (path == RenderPath::smart ? ", smart" : ", plain"));
                    scene.instance.Set(nuv::PARAM_SCALING, refhost::PopupValue{scaling});
                    scene.instance.Set(nuv::PARAM_AMOUNT, refhost::SliderValue{amount});
                    state_ = 0x1F80;
                    const auto clean = scene.CleanPicture(path);
                    state_ = kStates[GetParam()].state;
                    EXPECT_EQ(scene.CleanPicture(path), clean);
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, HostThatChangesFloats, testing::Range(0, static_cast<int>(std::size(kStates))),
                         [](const auto& instance) { return kStates[instance.param].name; });

}  // namespace
