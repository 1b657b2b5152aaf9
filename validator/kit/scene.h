// What checks need to render without knowing the effect's parameters: a host, an instance, frames in every pixel
// format that the effect supports in this host, and a look at what the effect has done to them.
//
//     void PaddingIsUntouched(Context& context) {
//         HostedScene scene(context);
//         for (const PF_PixelFormat format : scene.formats()) {
//             refhost::WorldLayout layout = scene.Layout(format);
//             layout.padding = 24;
//             Frame frame(layout);
//             scene.Render(frame);                  // reports damage; a code other than 0 ends the check
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

// Fills the world with a picture that a host might have: premultiplied, in the format's range, with transparent,
// opaque and partly transparent pixels. The same size and number give the same colours in every layout, as exactly
// as the format can hold them.
void Paint(refhost::World& world, std::uint64_t number);

// An input world, an output world, and the settings of a render. A frame can be rendered many times, but not by two
// threads at once.
struct Frame {
    explicit Frame(const refhost::WorldLayout& both) : Frame(both, both) {}
    Frame(const refhost::WorldLayout& inputLayout, const refhost::WorldLayout& outputLayout,
          std::uint64_t picture = 1);

    // Replaces the input's pixels. `packed` has no bytes between rows. Throws std::invalid_argument unless it has
    // the same number of pixels.
    void UseInput(std::vector<std::byte> packed);
    // Replaces the output by a new world in which every byte is `poison`.
    void Poison(std::uint8_t poison = refhost::World::kPoison);
    // Renders these worlds and returns the codes. A plain render also gets the instance's parameter values, in
    // records that are compared afterwards.
    refhost::RenderResult Render(refhost::Host& host, refhost::Instance& instance, RenderPath path,
                                 bool render = true);
    // One sentence for each thing that the effect has changed and must not change.
    std::vector<std::string> Damage() const;

    refhost::World input, output;
    refhost::RenderSettings settings;
    bool withInput = true, withOutput = true;  // false: the effect gets a null world

private:
    std::vector<std::byte> inputPixels_;
    std::vector<std::string> changedParams_;
};

// The first code that is not 0.
PF_Err CodeOf(const refhost::RenderResult& result);

// Gives each parameter a random value inside its declared range. Points lie inside a layer of this size.
void SetRandomValues(Context& context, refhost::Host& host, refhost::Instance& instance, signs::Size size);
// Gives each parameter its declared default. The default of a point is a percentage of this size.
void SetDefaults(refhost::Host& host, refhost::Instance& instance, signs::Size size);

// The end of a message about an effect's code: empty, or "; it asked for …, which this host does not have", because
// a missing suite may be the reason.
std::string WithoutSuites(refhost::Host& host);

class HostedScene {
public:
    static constexpr signs::Size kSize{21, 13};

    // Sets up the effect and an instance, with random values in the parameters. Ends the check if that fails.
    explicit HostedScene(Context& context) : HostedScene(context, context.HostOptions()) {}
    HostedScene(Context& context, refhost::HostOptions options);

    // The formats that a host of this personality sends to the effect. Never empty.
    const std::vector<PF_PixelFormat>& formats() const { return formats_; }
    // The path on which a host of this personality renders the effect.
    RenderPath path() const { return path_; }
    std::uint32_t flags() const { return flags_; }  // out_flags and out_flags2 of global set-up
    std::uint32_t flags2() const { return flags2_; }

    static refhost::WorldLayout Layout(PF_PixelFormat format, int width, int height);
    static refhost::WorldLayout Layout(PF_PixelFormat format, signs::Size size = kSize) {
        return Layout(format, size.width, size.height);
    }

    // Resets the account and renders by path(). Reports Damage() and misuse. A code other than 0 ends the check.
    refhost::RenderResult Render(Frame& frame);
    // The same with a newly poisoned output. Returns the output's pixels.
    std::vector<std::byte> Picture(Frame& frame, std::uint8_t poison = refhost::World::kPoison);

private:
    refhost::Host& SetUp();

    Context& context_;
    std::vector<PF_PixelFormat> formats_;
    RenderPath path_ = RenderPath::plain;
    std::uint32_t flags_ = 0, flags2_ = 0;

public:
    refhost::Host host;  // a fault plan in its options does not hold while the scene is set up
    refhost::Instance instance;
};

// The first pixel that differs: "pixel 3, 0 is 01 02 03 04, not …". Empty if all pixels are the same. Both
// arguments hold packed pixels of this format and width.
std::string Difference(const std::vector<std::byte>& got, const std::vector<std::byte>& expected,
                       PF_PixelFormat format, int width);
// Reports the difference, if there is one, as "8-bit ARGB, 21 x 13 pixels, rendered again: pixel …", where `what`
// is "rendered again".
void ExpectSame(Context& context, const std::vector<std::byte>& got, const std::vector<std::byte>& expected,
                const refhost::WorldLayout& layout, const std::string& what);

}  // namespace validator
