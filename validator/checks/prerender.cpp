// What the effect answers to a pre-render, and what it keeps for the render.
#include <atomic>
#include <climits>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "reference_host/rects.h"
#include "validator/kit/scene.h"
#include "validator/registry.h"

namespace validator {
namespace {

using refhost::IsInside;

bool Same(const PF_LRect& a, const PF_LRect& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

std::string Text(const PF_LRect& r) {
    return "(" + std::to_string(r.left) + ", " + std::to_string(r.top) + ", " + std::to_string(r.right) + ", " +
           std::to_string(r.bottom) + ")";
}

// A scene of an effect that declares smart render, and one frame of the size that signs.h gives the check.
struct Smart {
    explicit Smart(Context& theContext)
        : context(theContext),
          scene(theContext),
          frame(HostedScene::Layout(scene.formats().front(), theContext.size())) {
        if (scene.path() != RenderPath::smart) context.NotApplicable("the effect declares no smart render");
    }

    // Sends pre-render without a render. A code other than 0 ends the check.
    refhost::RenderResult PreRender() {
        scene.host.account().Reset();
        auto result = frame.Render(scene.host, scene.instance, RenderPath::smart, false);
        context.Require(result.preRender == PF_Err_NONE, "code " + std::to_string(result.preRender));
        return result;
    }

    std::int64_t Calls(refhost::Call call) { return scene.host.account().Count(call); }

    Context& context;
    HostedScene scene;
    Frame frame;
};

const PF_LRect kRequests[] = {{0, 0, 8, 8}, {3, 2, 9, 6}, {-5, -5, 4, 3}, {10, 8, 60, 50}, {-100, -100, 200, 200}};

// ---- Rectangles -----------------------------------------------------------------------------------------------

void ResultIsInMaximum(Context& context) {
    Smart smart(context);
    for (const PF_LRect& request : kRequests) {
        smart.frame.settings.request = request;
        const auto out = smart.PreRender().preRenderOutput;
        context.Expect(IsInside(out.result_rect, out.max_result_rect),
                       "for " + Text(request) + " the result is " + Text(out.result_rect) +
                           ", outside of the maximum " + Text(out.max_result_rect));
    }
}

void ResultIsInRequest(Context& context) {
    Smart smart(context);
    for (const PF_LRect& request : kRequests) {
        smart.frame.settings.request = request;
        const auto out = smart.PreRender().preRenderOutput;
        const bool announced = (out.flags & PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS) != 0;
        context.Expect(announced || IsInside(out.result_rect, request), "for " + Text(request) + " the result is " +
                                                                            Text(out.result_rect) +
                                                                            ", but extra pixels are not announced");
    }
}

void MaximumIsFixed(Context& context) {
    Smart smart(context);
    smart.frame.settings.request = kRequests[0];
    const PF_LRect first = smart.PreRender().preRenderOutput.max_result_rect;
    for (const PF_LRect& request : kRequests) {
        smart.frame.settings.request = request;
        const PF_LRect maximum = smart.PreRender().preRenderOutput.max_result_rect;
        context.Expect(Same(maximum, first),
                       "for " + Text(request) + " the maximum is " + Text(maximum) + ", not " + Text(first));
    }
}

void IgnoresOldRectangles(Context& context) {
    Smart smart(context);
    const auto first = smart.PreRender().preRenderOutput;
    smart.frame.settings.initialResultRect = {-50, -60, 70, 80};
    const auto second = smart.PreRender().preRenderOutput;
    context.Expect(
        Same(second.result_rect, first.result_rect) && Same(second.max_result_rect, first.max_result_rect),
        "the answer depends on the rectangles that were in the record before");
}

bool IsOrdered(const PF_LRect& r) {
    return r.left <= r.right && r.top <= r.bottom;
}

void TakesFarRequests(Context& context) {
    Smart smart(context);
    const PF_LRect far[] = {{INT_MIN, INT_MIN, INT_MAX, INT_MAX}, {INT_MAX - 1, INT_MAX - 1, INT_MAX, INT_MAX}};
    for (const PF_LRect& request : far) {
        smart.frame.settings.request = request;
        const auto out = smart.PreRender().preRenderOutput;
        context.Expect(IsOrdered(out.result_rect) && IsOrdered(out.max_result_rect),
                       "for " + Text(request) + " the rectangles are " + Text(out.result_rect) + " and " +
                           Text(out.max_result_rect));
    }
}

void TakesEmptyRequest(Context& context) {
    Smart smart(context);
    smart.frame.withOutput = false;  // with an output the host would request its whole area
    const auto out = smart.PreRender().preRenderOutput;
    context.Expect(IsOrdered(out.result_rect) && IsOrdered(out.max_result_rect),
                   "the rectangles are " + Text(out.result_rect) + " and " + Text(out.max_result_rect));
}

void TakesEmptyLayer(Context& context) {
    Smart smart(context);
    smart.frame.withInput = false;
    smart.frame.settings.layerWidth = context.size().width;
    smart.frame.settings.layerHeight = context.size().height;
    smart.frame.settings.checkoutResult = PF_LRect{};
    const auto out = smart.PreRender().preRenderOutput;
    context.Expect(IsOrdered(out.result_rect) && IsOrdered(out.max_result_rect),
                   "the rectangles are " + Text(out.result_rect) + " and " + Text(out.max_result_rect));
}

void IsRepeatable(Context& context) {
    Smart smart(context);
    const auto first = smart.PreRender();
    const auto second = smart.PreRender();
    context.Expect(Same(first.preRenderOutput.result_rect, second.preRenderOutput.result_rect) &&
                       Same(first.preRenderOutput.max_result_rect, second.preRenderOutput.max_result_rect) &&
                       first.preRenderOutput.flags == second.preRenderOutput.flags &&
                       Same(first.inputRequest.rect, second.inputRequest.rect),
                   "the second pre-render of the same frame answers something else");
}

// ---- What is asked of the input -------------------------------------------------------------------------------

refhost::RenderResult AsksForInput(Smart& smart) {
    auto result = smart.PreRender();
    if (smart.Calls(refhost::Call::checkoutLayer) == 0) smart.context.NotApplicable("the effect reads no layer");
    return result;
}

void PassesField(Context& context) {
    Smart smart(context);
    for (const std::int32_t field : {0, 1, 2}) {
        smart.frame.settings.field = field;
        const std::int32_t asked = AsksForInput(smart).inputRequest.field;
        context.Expect(asked == field,
                       "field " + std::to_string(asked) + " of the input for field " + std::to_string(field));
    }
}

void PassesChannels(Context& context) {
    Smart smart(context);
    for (const std::int32_t mask : {1, 2, 6, 15}) {
        smart.frame.settings.channelMask = mask;
        const std::int32_t asked = AsksForInput(smart).inputRequest.channel_mask;
        context.Expect((asked & mask) == mask,
                       "channels " + std::to_string(asked) + " of the input for channels " + std::to_string(mask));
    }
}

void PassesColourOfClear(Context& context) {
    Smart smart(context);
    smart.frame.settings.preserveRgbOfZeroAlpha = true;
    context.Expect(AsksForInput(smart).inputRequest.preserve_rgb_of_zero_alpha != 0,
                   "the host wants the colour under zero alpha, but pre-render asks for the input without it");
}

void NamesEachCheckoutOnce(Context& context) {
    Smart smart(context);
    smart.PreRender();
    context.ExpectNone(smart.scene.host.account().Misuse(), "misuse");
}

// ---- What it leaves -------------------------------------------------------------------------------------------

void TouchesNoPixel(Context& context) {
    Smart smart(context);
    const auto rendered = smart.scene.Picture(smart.frame);
    smart.PreRender();
    context.ExpectNone(smart.frame.Damage(), "damage");
    context.Expect(smart.frame.output.Pixels() == rendered, "pre-render writes the output");
    context.Expect(
        smart.Calls(refhost::Call::checkoutLayerPixels) == 0 && smart.Calls(refhost::Call::checkoutOutput) == 0,
        "pre-render asks for pixels");
}

void ChecksParametersIn(Context& context) {
    Smart smart(context);
    smart.PreRender();
    context.Expect(smart.Calls(refhost::Call::checkoutParam) == smart.Calls(refhost::Call::checkinParam),
                   "parameters: " + std::to_string(smart.Calls(refhost::Call::checkoutParam)) +
                       " are checked out and " + std::to_string(smart.Calls(refhost::Call::checkinParam)) +
                       " are checked in");
}

void ReleasesSuites(Context& context) {
    Smart smart(context);
    smart.PreRender();
    for (const std::string& line : smart.scene.host.account().Outstanding())
        context.Expect(!line.starts_with("suite"), "kept: " + line);
}

void LeavesNothingLocked(Context& context) {
    Smart smart(context);
    smart.PreRender();
    context.ExpectNone(smart.scene.host.account().Misuse(), "misuse");
}

void HasDeleteFunction(Context& context) {
    Smart smart(context);
    const auto out = smart.PreRender().preRenderOutput;
    context.Expect(!out.pre_render_data || out.delete_pre_render_data_func,
                   "pre-render leaves data and no function that deletes them");
}

void NeedsNoRender(Context& context) {
    Smart smart(context);
    for (int i = 0; i < 50; ++i)
        smart.PreRender();
    for (const std::string& line : smart.scene.host.account().Outstanding())
        context.Expect(!line.starts_with("handle") && !line.starts_with("world"), "kept: " + line);
}

void SaysNothing(Context& context) {
    Smart smart(context);
    const auto out = smart.PreRender().outData;
    context.Expect(out.return_msg[0] == '\0' &&
                       (static_cast<std::uint32_t>(out.out_flags) & PF_OutFlag_DISPLAY_ERROR_MESSAGE) == 0,
                   "a pre-render that succeeds asks for a message");
}

// ---- The render that follows ----------------------------------------------------------------------------------

void ExpectSame(Smart& smart, const std::vector<std::byte>& expected, const std::string& when) {
    ExpectSame(smart.context, smart.frame.output.Pixels(), expected, smart.frame.output.layout(), when);
}

void MayComeTwice(Context& context) {
    Smart smart(context);
    const auto expected = smart.scene.Picture(smart.frame);
    smart.frame.Poison();
    smart.PreRender();
    smart.PreRender();
    smart.scene.Render(smart.frame);
    ExpectSame(smart, expected, "after three pre-renders");
}

// A host that plans ahead renders another frame between the pre-render and the render of this one.
void MayBeFollowedByOther(Context& context) {
    Smart smart(context);
    const auto expected = smart.scene.Picture(smart.frame);
    smart.frame.Poison();
    std::atomic<bool> done{false};
    smart.scene.host.options().faults = [&](const refhost::CallRecord& record) -> std::optional<PF_Err> {
        if (record.call == refhost::Call::checkoutLayerPixels && !done.exchange(true)) {
            std::thread([&] {
                Frame other(HostedScene::Layout(smart.scene.formats().front(), 17, 9));
                other.Render(smart.scene.host, smart.scene.instance, RenderPath::smart);
            }).join();
        }
        return std::nullopt;
    };
    smart.scene.Render(smart.frame);
    smart.scene.host.options().faults = nullptr;
    ExpectSame(smart, expected, "with another frame between its pre-render and its render");
}

void ReadsWhatItAnnounced(Context& context) {
    Smart smart(context);
    smart.scene.Render(smart.frame);
}

void ReadsEachLayerOnce(Context& context) {
    Smart smart(context);
    smart.scene.Render(smart.frame);
}

constexpr Check kChecks[] = {
    {"prerender.result-in-maximum", "The result rectangle lies inside the maximal rectangle.", Where::compositor,
     ResultIsInMaximum},
    {"prerender.result-in-request",
     "The result rectangle lies inside the request unless extra pixels are announced.", Where::compositor,
     ResultIsInRequest},
    {"prerender.maximum-fixed", "The maximal rectangle does not depend on the request.", Where::compositor,
     MaximumIsFixed},
    {"prerender.old-rectangles", "Rectangles that are in the record on entry do not change the answer.",
     Where::compositor, IgnoresOldRectangles},
    {"prerender.far-request",
     "A request as large as 32-bit numbers allow is answered with rectangles whose edges are in order.",
     Where::compositor, TakesFarRequests},
    {"prerender.empty-request", "An empty request is answered with success.", Where::compositor, TakesEmptyRequest},
    {"prerender.empty-layer", "A layer without pixels is answered with success.", Where::compositor,
     TakesEmptyLayer},
    {"prerender.repeatable", "Two pre-renders of the same frame give the same answer.", Where::compositor,
     IsRepeatable},
    {"prerender.field", "Pre-render asks for the input in the field that the host wants.", Where::compositor,
     PassesField},
    {"prerender.channels", "Pre-render asks for every channel of the input that the host wants.", Where::compositor,
     PassesChannels},
    {"prerender.colour-of-clear",
     "Pre-render asks for the colour of transparent input pixels if the host wants it.", Where::compositor,
     PassesColourOfClear},
    {"prerender.one-id", "Pre-render checks out each layer under a different id.", Where::compositor,
     NamesEachCheckoutOnce},
    {"prerender.no-pixel", "Pre-render touches no pixel.", Where::compositor, TouchesNoPixel},
    {"prerender.parameters", "Pre-render checks in every parameter that it checks out.", Where::compositor,
     ChecksParametersIn},
    {"prerender.suites", "Pre-render releases every suite that it acquires.", Where::compositor, ReleasesSuites},
    {"prerender.unlocked", "Pre-render does not leave the data that it keeps for the render locked.",
     Where::compositor, LeavesNothingLocked},
    {"prerender.delete-function",
     "Pre-render gives the host a function that deletes the data that it keeps for the render.", Where::compositor,
     HasDeleteFunction},
    {"prerender.no-render", "50 pre-renders without a render leave no memory behind.", Where::compositor,
     NeedsNoRender},
    {"prerender.no-message", "A pre-render that succeeds asks for no message.", Where::compositor, SaysNothing},
    {"prerender.thrice", "More than one pre-render before a render does not change the picture.", Where::compositor,
     MayComeTwice},
    {"prerender.order", "Another frame between pre-render and render does not change the picture.",
     Where::compositor, MayBeFollowedByOther},
    {"prerender.announced", "The render reads only layers that pre-render has checked out.", Where::compositor,
     ReadsWhatItAnnounced},
    {"prerender.read-once", "The render fetches each layer once.", Where::compositor, ReadsEachLayerOnce},
};
static_assert(signs::EachHasSize(kChecks, &Check::id));

}  // namespace

std::span<const Check> PrerenderChecks() {
    return kChecks;
}

}  // namespace validator
