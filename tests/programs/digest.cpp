// render_digest PLUGIN: renders a fixed set of scenes through the plug-in and prints one line for each, with a
// digest of the output's pixels. All builds of the effect must print the same lines.
#include <cstdio>
#include <exception>
#include <iomanip>
#include <iostream>
#include <limits>
#include <string>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

#include "support/support.h"

namespace {

using support::RenderPath;
using support::Scene;
using support::Stage;
using support::Values;

constexpr int kWidth = 97;
constexpr int kHeight = 61;

// 64-bit FNV-1a.
std::uint64_t Digest(const std::vector<std::byte>& bytes) {
    std::uint64_t hash = 0xcbf29ce484222325u;
    for (std::byte byte : bytes)
        hash = (hash ^ std::to_integer<std::uint64_t>(byte)) * 0x100000001b3u;
    return hash;
}

Scene Next(PF_PixelFormat format, std::uint64_t& seed) {
    Scene scene = support::SceneOf(format, kWidth, kHeight);
    scene.seed = ++seed;
    return scene;
}

std::vector<Scene> Scenes() {
    std::vector<Scene> scenes;
    std::uint64_t seed = 0;
    for (PF_PixelFormat format : kFormats) {
        for (int mode = 1; mode <= 3; ++mode) {
            for (int scaling = 1; scaling <= 3; ++scaling) {
                for (double amount : {-63.7, 0.0, 41.9, 100.0}) {
                    Scene scene = Next(format, seed);
                    scene.mode = mode;
                    scene.scaling = scaling;
                    scene.show = 1 + static_cast<int>(seed % 5);
                    scene.amount = amount;
                    scenes.push_back(scene);
                }
            }
        }
        for (auto [x, y] : {std::pair{-60, 30}, {0, 0}, {96, 61}, {150, 400}, {31, -9}}) {
            Scene scene = Next(format, seed);
            scene.center = support::Whole(x, y);
            scene.mode = 1 + static_cast<int>(seed % 3);
            scene.scaling = 2;
            scene.amount = -80.5;
            scene.offsetX = y / 3;
            scene.offsetY = -x / 5;
            scenes.push_back(scene);
        }
        for (PF_RationalScale scale : {PF_RationalScale{1, 2}, {1, 3}, {2, 3}, {0, 0}, {5, 1}, {-1, 0}}) {
            Scene scene = Next(format, seed);
            scene.downsampleX = scale;
            scene.downsampleY = {1, 2};
            scene.scaling = 3;
            scene.amount = 55;
            scenes.push_back(scene);
            std::swap(scene.downsampleX, scene.downsampleY);
            scenes.push_back(scene);
        }
        for (PF_PixelFormat output : kFormats) {
            Scene scene = Next(format, seed);
            scene.values = Values::wild;
            scene.output.format = output;
            scene.output.width = 80;
            scene.output.height = 77;
            scene.show = 1 + static_cast<int>(seed % 3);
            scene.amount = seed % 2 == 0 ? 20 : -20;
            scene.path = seed % 4 == 0 ? RenderPath::plain : RenderPath::smart;
            scene.source.bottomUp = seed % 3 == 0;
            scene.output.padding = 12;
            scenes.push_back(scene);
        }
        for (double amount :
             {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), 1e30}) {
            Scene scene = Next(format, seed);
            scene.scaling = 1 + static_cast<int>(seed % 3);
            scene.amount = amount;
            scenes.push_back(scene);
        }
    }
    return scenes;
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::cerr << "usage: render_digest PLUGIN\n";
        return 2;
    }
#ifdef _WIN32
    // In text mode, Windows would end the lines differently, and they could not be compared with Linux's.
    if (_setmode(_fileno(stdout), _O_BINARY) == -1) return 1;
#endif
    Stage stage({}, refhost::PluginLibrary(argv[1]));
    bool good = true;
    for (const Scene& scene : Scenes()) {
        const support::Outcome outcome = stage.Render(scene);
        std::cout << std::hex << std::setw(16) << std::setfill('0') << Digest(outcome.pixels) << std::dec << ' '
                  << support::Describe(scene) << '\n';
        if (outcome.code != PF_Err_NONE) std::cerr << support::Describe(scene) << ": code " << outcome.code << '\n';
        for (const std::string& complaint : outcome.complaints)
            std::cerr << support::Describe(scene) << ": " << complaint << '\n';
        good = good && outcome.code == PF_Err_NONE && outcome.complaints.empty();
    }
    return good ? 0 : 1;
} catch (const std::exception& error) {
    std::cerr << "render_digest: " << error.what() << '\n';
    return 1;
}
