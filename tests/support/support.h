// Scenes, and the stage on which the plug-in under test renders them. A scene is a picture, the effect's values,
// and the memory layout that the host uses.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "model.h"
#include "reference_host/host.h"
#include "reference_host/pixel_formats.h"

namespace support {

using refhost::RenderPath;

// "argb", or the number if the name is not readable.
std::string FormatName(PF_PixelFormat format);

// The plug-in under test, loaded on the first call. Throws std::runtime_error if that fails.
refhost::PluginLibrary Plugin();

// SplitMix64: the same numbers everywhere.
class SplitMix64 {
public:
    explicit SplitMix64(std::uint64_t seed) : state_(seed) {}
    std::uint64_t Next();
    std::uint32_t Below(std::uint32_t count) { return static_cast<std::uint32_t>(Next() % count); }
    float Unit() { return static_cast<float>(Next() >> 40) * 0x1p-24f; }  // 0 up to, not including, 1

private:
    std::uint64_t state_;
};

enum class Values {
    ordinary,  // what pictures hold: 0 to white; alpha often 0 or white; colour also where alpha is 0
    wild,      // 16 bits over white; floats out of range, infinite, not a number, denormal, minus zero
};
std::vector<std::byte> RandomPixels(PF_PixelFormat format, int width, int height, Values values,
                                    std::uint64_t seed);

struct Rgba {
    float r = 0, g = 0, b = 0, a = 0;
    bool operator==(const Rgba&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Rgba& pixel);

// Paint makes the pixels of an "ae32" picture, and ReadFloats reads them.
std::vector<std::byte> Paint(int width, int height, const std::function<Rgba(int x, int y)>& colour);
std::vector<Rgba> ReadFloats(std::span<const std::byte> argb);

struct Scene {
    refhost::WorldLayout source;
    refhost::WorldLayout output;
    std::vector<std::byte> pixels;  // the source's; random if empty
    Values values = Values::ordinary;
    std::uint64_t seed = 1;

    // The values as the host has them: popup choices count from 1, and the centre is 16.16 fixed point.
    refhost::PointValue center;
    int mode = 1;
    int scaling = 1;
    int show = 1;
    double amount = 0;

    int offsetX = 0;  // left and top of the source's check-out in the smart render; 0 for a plain one
    int offsetY = 0;
    PF_RationalScale downsampleX{1, 1};
    PF_RationalScale downsampleY{1, 1};
    RenderPath path = RenderPath::smart;
};

// One format and size for both source and output, centred.
Scene SceneOf(PF_PixelFormat format, int width, int height);
refhost::PointValue Whole(int x, int y);  // a point in whole pixels
std::string Describe(const Scene& scene);

std::vector<std::byte> SourcePixels(const Scene& scene);
// The output pixels that the scene must give. The source's format must be one of the six.
std::vector<std::byte> Expected(const Scene& scene);

struct Outcome {
    PF_Err code = PF_Err_NONE;
    std::vector<std::byte> pixels;        // of the output, without padding
    std::vector<std::string> complaints;  // forbidden writes, things not given back, misuse
};

// The effect in a host, set up and with one instance.
class Stage {
public:
    explicit Stage(refhost::HostOptions options = {}, const refhost::PluginLibrary& plugin = Plugin());

    Outcome Render(const Scene& scene);
    // As above, with the render's settings changed by `change` first.
    Outcome Render(const Scene& scene, const std::function<void(refhost::RenderSettings&)>& change);

    refhost::Host& host() { return *host_; }

private:
    std::unique_ptr<refhost::Host> host_;
    refhost::Instance instance_;
};

// Fails the test unless the stage renders the scene without an error or a complaint, and exactly as the model does.
// Returns the output's pixels.
std::vector<std::byte> ExpectAsModel(Stage& stage, const Scene& scene);
// As above, but without the model.
std::vector<std::byte> ExpectRenders(Stage& stage, const Scene& scene);
// If pixels differ, fails the test and names the first of them.
void ExpectSamePixels(std::span<const std::byte> expected, std::span<const std::byte> actual,
                      const refhost::WorldLayout& layout);

// The source pixel at which an enlarged sample was taken.
struct SamplePlace {
    int column = -1;  // -1: outside the source
    int row = -1;
    bool operator==(const SamplePlace&) const = default;
};
inline constexpr SamplePlace kOutside{};
std::ostream& operator<<(std::ostream& out, const SamplePlace& place);

// Finds the places of a scene's enlarged samples by a render through the plug-in. The source becomes a picture of
// coordinates (below 1023), and mode, show and the sign of the amount change so that the output shows them. The
// amount must not be 0.
class SamplePlaces {
public:
    SamplePlaces(Stage& stage, Scene scene);
    SamplePlace At(int x, int y) const {
        return places_.at(static_cast<std::size_t>(std::ptrdiff_t{width_} * y + x));
    }

private:
    int width_;
    std::vector<SamplePlace> places_;
};

}  // namespace support
