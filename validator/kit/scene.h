// Something to render for checks that know nothing of the effect's parameters: a host, an instance, frames in every
// pixel format that the effect supports there, and what became of them.
//
//     void PaddingIsUntouched(Context& context) {
//         Scene scene(context);
//         for (const PF_PixelFormat format : scene.formats()) {
//             refhost::WorldLayout layout = scene.Layout(format);
//             layout.padding = 24;
//             Frame frame(layout);
//             scene.Render(frame);                  // ends the check on a code, reports damage around the pixels
//             …frame.output.Pixels()…
//         }
//     }
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "reference_host/pixel_formats.h"
#include "reference_host/world.h"
#include "validator/check.h"

namespace validator {

using refhost::RenderPath;

std::string_view NameOf(RenderPath path);   // "smart"
std::string NameOf(PF_PixelFormat format);  // "8-bit ARGB"

// A picture that a host might have, premultiplied and in the format's range, with clear, covered and half-covered
// pixels. The same colours for the same size and number in every layout, as near as the format comes to them.
void Paint(refhost::World& world, std::uint64_t number);

// Two worlds and what a render is told about them. Renders of one frame follow each other.
struct Frame {
    explicit Frame(const refhost::WorldLayout& both) : Frame(both, both) {}
    Frame(const refhost::WorldLayout& inputLayout, const refhost::WorldLayout& outputLayout,
          std::uint64_t picture = 1);

    // Other input pixels, packed; throws std::invalid_argument unless they are as many as there were.
    void UseInput(std::vector<std::byte> packed);
    // The output anew: every byte of it, the pixels included, is `poison`.
    void Poison(std::uint8_t poison = refhost::World::kPoison);
    // Whatever the code. The settings' worlds are these; a plain render also gets the instance's parameter values,
    // in records that are compared afterwards.
    refhost::RenderResult Render(refhost::Host& host, refhost::Instance& instance, RenderPath path,
                                 bool render = true);
    // Whatever the effect has no right to change and did: one sentence each.
    std::vector<std::string> Damage() const;

    refhost::World input, output;
    refhost::RenderSettings settings;
    bool withInput = true, withOutput = true;  // without: the effect is handed a null world

private:
    std::vector<std::byte> inputPixels_;
    std::vector<std::string> changedParams_;
};

// The first code that is not 0.
PF_Err CodeOf(const refhost::RenderResult& result);

// Puts a random valid value, by type and declared range, into each parameter, for a layer of this size. Points lie
// inside the layer.
void SetRandomValues(Context& context, refhost::Host& host, refhost::Instance& instance, signs::Size size);
// The declared defaults, which for a point are percentages of this size.
void SetDefaults(refhost::Host& host, refhost::Instance& instance, signs::Size size);

// To be put behind a code that the effect gave: empty, or "; it asked for …, which this host does not have", as
// that may be why.
std::string WithoutSuites(refhost::Host& host);

class Scene {
public:
    static constexpr signs::Size kSize{21, 13};

    // Set up to where a host renders, with random values in the parameters. Ends the check if that fails.
    explicit Scene(Context& context) : Scene(context, context.HostOptions()) {}
    Scene(Context& context, refhost::HostOptions options);

    // The formats that a host of this personality hands to the effect; never empty.
    const std::vector<PF_PixelFormat>& formats() const { return formats_; }
    // How a host of this personality renders the effect.
    RenderPath path() const { return path_; }
    std::uint32_t flags() const { return flags_; }  // out_flags and out_flags2 of global set-up
    std::uint32_t flags2() const { return flags2_; }

    static refhost::WorldLayout Layout(PF_PixelFormat format, int width, int height);
    static refhost::WorldLayout Layout(PF_PixelFormat format, signs::Size size = kSize) {
        return Layout(format, size.width, size.height);
    }

    // Renders by path(). A code ends the check; Damage() and misuse are reported; the account is reset.
    refhost::RenderResult Render(Frame& frame);
    // The same into a newly poisoned output; gives its pixels.
    std::vector<std::byte> Picture(Frame& frame, std::uint8_t poison = refhost::World::kPoison);

private:
    refhost::Host& SetUp();

    Context& context_;
    std::vector<PF_PixelFormat> formats_;
    RenderPath path_ = RenderPath::plain;
    std::uint32_t flags_ = 0, flags2_ = 0;

public:
    refhost::Host host;  // a fault plan in its options holds from the first render on
    refhost::Instance instance;
};

// Empty if all pixels are the same; otherwise "pixel 3, 0 is 01 02 03 04, not …" of the first that differs. Both
// hold packed pixels of this format and width.
std::string Difference(const std::vector<std::byte>& got, const std::vector<std::byte>& expected,
                       PF_PixelFormat format, int width);
// Reports the difference, if there is one, with what makes these pixels special: "8-bit ARGB, 21 x 13 pixels,
// rendered again: pixel …".
void ExpectSame(Context& context, const std::vector<std::byte>& got, const std::vector<std::byte>& expected,
                const refhost::WorldLayout& layout, const std::string& what);

}  // namespace validator
