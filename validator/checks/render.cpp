// What a render must not change, and the circumstances in which it must work.
//
// Each check renders at the size that signs.h gives it.
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/process_state.h"
#include "validator/kit/scene.h"
#include "validator/registry.h"

namespace validator {
namespace {

using refhost::WorldLayout;

// Calls `attempt` with one frame in each format.
template <typename Try>
void InEachFormat(Context& context, Try attempt) {
    HostedScene scene(context);
    for (const PF_PixelFormat format : scene.formats()) {
        Frame frame(HostedScene::Layout(format, context.size()));
        attempt(scene, frame);
    }
}

// ---- Left alone -----------------------------------------------------------------------------------------------

// HostedScene::Render reports all damage, so these three checks have the same body. Their frame sizes differ, and
// the control of each check damages a different thing in frames of its size.
void KeepsInput(Context& context) {
    InEachFormat(context, [](HostedScene& scene, Frame& frame) { scene.Picture(frame); });
}

void KeepsRecords(Context& context) {
    InEachFormat(context, [](HostedScene& scene, Frame& frame) { scene.Picture(frame); });
}

void KeepsParameters(Context& context) {
    InEachFormat(context, [](HostedScene& scene, Frame& frame) { scene.Picture(frame); });
}

void KeepsSequenceData(Context& context) {
    InEachFormat(context, [&](HostedScene& scene, Frame& frame) {
        const PF_Handle handle = scene.instance.sequenceData();
        const auto bytes = [&] {
            const auto held = scene.host.HandleBytes(handle);
            return std::vector(held.begin(), held.end());
        };
        const auto before = bytes();
        scene.Render(frame);
        context.Expect(scene.instance.sequenceData() == handle && (!handle || scene.host.IsLive(handle)),
                       "a render takes the sequence data away");
        context.Expect(bytes() == before, "a render changes the sequence data");
    });
}

void KeepsFloatState(Context& context) {
    InEachFormat(context, [&](HostedScene& scene, Frame& frame) {
        const std::string before = platform::FloatState();
        scene.Render(frame);
        context.Expect(platform::FloatState() == before, "a render changes the host's floating-point settings");
    });
}

void HoldsNothing(Context& context) {
    InEachFormat(context, [&](HostedScene& scene, Frame& frame) {
        scene.Render(frame);
        context.ExpectNone(scene.host.account().Outstanding(), "kept after the render");
    });
}

void SaysNothing(Context& context) {
    InEachFormat(context, [&](HostedScene& scene, Frame& frame) {
        const auto out = scene.Render(frame).outData;
        context.Expect(out.return_msg[0] == '\0',
                       "a render leaves the message \"" + std::string(out.return_msg) + "\"");
        context.Expect((static_cast<std::uint32_t>(out.out_flags) & PF_OutFlag_DISPLAY_ERROR_MESSAGE) == 0,
                       "a render asks for an error message");
    });
}

// ---- The same again -------------------------------------------------------------------------------------------

void IsRepeatable(Context& context) {
    InEachFormat(context, [&](HostedScene& scene, Frame& frame) {
        const auto first = scene.Picture(frame);
        for (int i = 0; i < 3; ++i)
            ExpectSame(context, scene.Picture(frame), first, frame.output.layout(), "rendered again");
    });
}

void IsSameInANewInstance(Context& context) {
    InEachFormat(context, [&](HostedScene& scene, Frame& frame) {
        const auto first = scene.Picture(frame);
        refhost::Instance other(scene.host);
        other.SequenceSetup();
        for (std::size_t i = 1; i <= scene.host.parameters().size(); ++i) {
            const auto index = static_cast<std::int32_t>(i);
            other.Set(index, scene.instance.Get(index));
        }
        frame.Poison();
        const PF_Err code = CodeOf(frame.Render(scene.host, other, scene.path()));
        context.Require(code == PF_Err_NONE, "code " + std::to_string(code));
        ExpectSame(context, frame.output.Pixels(), first, frame.output.layout(), "by another instance");
        other.SequenceSetdown();
    });
}

// Two instances render the same layer in turn.
void InstancesAreApart(Context& context) {
    InEachFormat(context, [&](HostedScene& scene, Frame& frame) {
        const auto first = scene.Picture(frame);
        refhost::Instance other(scene.host);
        other.SequenceSetup();
        SetRandomValues(context, scene.host, other, context.size());
        frame.Poison();
        frame.Render(scene.host, other, scene.path());
        ExpectSame(context, scene.Picture(frame), first, frame.output.layout(), "after another instance's render");
        other.SequenceSetdown();
    });
}

void ForgetsOtherFrames(Context& context) {
    InEachFormat(context, [&](HostedScene& scene, Frame& frame) {
        const auto first = scene.Picture(frame);
        const WorldLayout small = HostedScene::Layout(frame.output.layout().format, 7, 4);
        Frame other(small, small, 2);
        other.settings.currentTime = signs::kOtherFramesTime;
        scene.Render(other);
        ExpectSame(context, scene.Picture(frame), first, frame.output.layout(), "after another frame");
    });
}

// The host also sends plain renders, because other hosts do so.
void SmartAndPlainAgree(Context& context) {
    HostedScene scene(context);
    if (scene.path() != RenderPath::smart) context.NotApplicable("the effect declares no smart render");
    for (const PF_PixelFormat format : scene.formats()) {
        Frame frame(HostedScene::Layout(format, context.size()));
        const auto smart = scene.Picture(frame);
        frame.Poison();
        const PF_Err code = CodeOf(frame.Render(scene.host, scene.instance, RenderPath::plain));
        context.Require(code == PF_Err_NONE, "the plain render gives code " + std::to_string(code));
        ExpectSame(context, frame.output.Pixels(), smart, frame.output.layout(), "rendered by the plain command");
    }
}

void RendersDefaults(Context& context) {
    InEachFormat(context, [&](HostedScene& scene, Frame& frame) {
        SetDefaults(scene.host, scene.instance, context.size());
        ExpectSame(context, scene.Picture(frame, 0x5A), scene.Picture(frame), frame.output.layout(),
                   "with other bytes in the output before");
    });
}

// ---- Circumstances --------------------------------------------------------------------------------------------

// The frame must render, and what was in the output before must not change the picture.
void ExpectRenders(Context& context, void (*change)(Frame&)) {
    InEachFormat(context, [&](HostedScene& scene, Frame& frame) {
        change(frame);
        const auto first = scene.Picture(frame);
        ExpectSame(context, scene.Picture(frame, 0x5A), first, frame.output.layout(), "rendered again");
    });
}

template <std::int32_t time, std::int32_t step>
void RendersAt(Context& context) {
    ExpectRenders(context, [](Frame& frame) {
        frame.settings.currentTime = time;
        frame.settings.timeStep = step;
    });
}

template <std::int32_t x, std::uint32_t xOf, std::int32_t y, std::uint32_t yOf>
void RendersReduced(Context& context) {
    ExpectRenders(context, [](Frame& frame) {
        const WorldLayout& layout = frame.output.layout();
        frame.settings.downsampleX = {x, xOf};
        frame.settings.downsampleY = {y, yOf};
        frame.settings.layerWidth = layout.width * static_cast<int>(xOf) / x;
        frame.settings.layerHeight = layout.height * static_cast<int>(yOf) / y;
    });
}

template <std::int32_t num, std::uint32_t den>
void RendersAspect(Context& context) {
    ExpectRenders(context, [](Frame& frame) { frame.settings.pixelAspect = {num, den}; });
}

template <int inX, int inY, int outX, int outY>
void RendersFromOrigin(Context& context) {
    HostedScene scene(context);
    for (const PF_PixelFormat format : scene.formats()) {
        WorldLayout in = HostedScene::Layout(format, context.size()), out = in;
        in.originX = inX;
        in.originY = inY;
        out.originX = outX;
        out.originY = outY;
        Frame frame(in, out);
        const auto first = scene.Picture(frame);
        ExpectSame(context, scene.Picture(frame, 0x5A), first, out, "rendered again");
    }
}

// ---- Nothing to render ----------------------------------------------------------------------------------------

// The effect may return any code, but must not damage anything, and must render the next frame.
void ExpectReturns(Context& context, HostedScene& scene, Frame& frame) {
    scene.host.account().Reset();
    frame.Render(scene.host, scene.instance, scene.path());
    context.ExpectNone(frame.Damage(), "damage");
    context.ExpectNone(scene.host.account().Misuse(), "misuse");
    Frame usual(HostedScene::Layout(frame.output.layout().format));
    scene.Render(usual);
}

template <bool withInput>
void ReturnsWithoutWorld(Context& context) {
    InEachFormat(context, [&](HostedScene& scene, Frame& frame) {
        (withInput ? frame.withOutput : frame.withInput) = false;
        ExpectReturns(context, scene, frame);
    });
}

template <bool withInput, bool withOutput>
void ReturnsWithoutPixels(Context& context) {
    HostedScene scene(context);
    const signs::Size size = context.size();
    for (const PF_PixelFormat format : scene.formats()) {
        Frame frame(HostedScene::Layout(format, withInput ? size : signs::Size{}),
                    HostedScene::Layout(format, withOutput ? size : signs::Size{}));
        ExpectReturns(context, scene, frame);
    }
}

constexpr std::int32_t kLatest = INT32_MAX, kEarliest = INT32_MIN;

constexpr Check kChecks[] = {
    {"render.input-unchanged", "A render leaves the input's pixels as they are.", Where::both, KeepsInput},
    {"render.records-unchanged", "A render leaves the host's records of the worlds as they are.", Where::both,
     KeepsRecords},
    {"render.parameters-unchanged", "A plain render leaves the host's parameter array as it is.", Where::editor,
     KeepsParameters},
    {"render.sequence-data-unchanged", "A render leaves the sequence data as they are.", Where::both,
     KeepsSequenceData},
    {"render.float-state",
     "A render does not change the rounding, flushing and trapping of floating-point numbers.", Where::both,
     KeepsFloatState},
    {"render.holds-nothing", "A render gives back every suite, handle, world and parameter.", Where::both,
     HoldsNothing},
    {"render.no-message", "A render that succeeds asks for no message.", Where::both, SaysNothing},
    {"render.repeatable", "The same frame rendered again is the same picture.", Where::both, IsRepeatable},
    {"render.new-instance", "A new instance with the same values renders the same picture.", Where::both,
     IsSameInANewInstance},
    {"render.instances-apart", "A render of one instance does not change the picture of another.", Where::both,
     InstancesAreApart},
    {"render.frames-apart", "A frame of another time and size does not change the next frame.", Where::both,
     ForgetsOtherFrames},
    {"render.smart-and-plain", "Smart and plain render give the same picture.", Where::compositor,
     SmartAndPlainAgree},
    {"render.defaults", "A frame with the declared defaults renders.", Where::both, RendersDefaults},
    {"render.time-zero", "A frame at time 0 renders.", Where::both, RendersAt<0, 1>},
    {"render.time-negative", "A frame before time 0 renders.", Where::both, RendersAt<-1001, 1>},
    {"render.time-latest", "A frame at the latest possible time renders.", Where::both, RendersAt<kLatest, 1>},
    {"render.time-earliest", "A frame at the earliest possible time renders.", Where::both,
     RendersAt<kEarliest, 1>},
    {"render.step-zero", "A still frame, whose time step is 0, renders.", Where::both, RendersAt<10, 0>},
    {"render.step-negative", "A frame of a layer played backwards renders.", Where::both, RendersAt<10, -1>},
    {"render.half-resolution", "A frame at half the resolution renders.", Where::both, RendersReduced<1, 2, 1, 2>},
    {"render.unequal-resolution", "Resolutions that differ in x and y render.", Where::both,
     RendersReduced<1, 2, 1, 3>},
    {"render.wide-pixels", "Pixels that are wider than high render.", Where::both, RendersAspect<2, 1>},
    {"render.narrow-pixels", "Pixels that are narrower than high render.", Where::both, RendersAspect<10, 11>},
    {"render.input-origin", "An input whose origin is not the layer's renders.", Where::both,
     RendersFromOrigin<-4, 3, 0, 0>},
    {"render.output-origin", "An output whose origin is not the layer's renders.", Where::both,
     RendersFromOrigin<0, 0, 3, -2>},
    {"render.no-input", "A layer without an input world does no harm.", Where::both, ReturnsWithoutWorld<false>},
    {"render.no-output", "A smart render without an output world does no harm.", Where::compositor,
     ReturnsWithoutWorld<true>},
    {"render.empty-input", "An input of no pixels does no harm.", Where::both, ReturnsWithoutPixels<false, true>},
    {"render.empty-output", "An output of no pixels does no harm.", Where::both, ReturnsWithoutPixels<true, false>},
    {"render.no-rows", "Worlds that have a width but no rows do no harm.", Where::both,
     ReturnsWithoutPixels<true, true>},
    {"render.no-columns", "Worlds that have a height but no columns do no harm.", Where::both,
     ReturnsWithoutPixels<true, true>},
};
static_assert(signs::EachHasSize(kChecks, &Check::id));

}  // namespace

std::span<const Check> RenderChecks() {
    return kChecks;
}

}  // namespace validator
