// plugin_times PLUGIN…: compares builds of the effect. It renders frames of 3840 x 2160 pixels with each plug-in in
// turn, and prints the median milliseconds of a frame, by depth and scaling. It helps to choose a compiler, on
// Windows too. It is not a test.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

#include "reference_host/host.h"

namespace {

constexpr int kRounds = 15;

struct Depth {
    const char* name;
    PF_PixelFormat format;
};
constexpr Depth kDepths[] = {{"8", kFormatArgb8}, {"16", kFormatArgb16}, {"float", kFormatArgbFloat}};
constexpr const char* kScalings[] = {"linear", "square", "cubic"};

struct Effect {
    explicit Effect(const char* file)
        : host(refhost::PluginLibrary(file), {.keepFreedHandles = true}), instance((host.SetUp(), host)) {
        instance.SequenceSetup();
        instance.Set(2, refhost::PopupValue{1});
        instance.Set(4, refhost::SliderValue{25});
        instance.Set(5, refhost::PopupValue{1});
    }
    ~Effect() { instance.SequenceSetdown(); }

    refhost::Host host;
    refhost::Instance instance;
    std::vector<double> times;
};

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::unique_ptr<Effect>> effects;
    for (int i = 1; i < argc; ++i)
        effects.push_back(std::make_unique<Effect>(argv[i]));
    for (const Depth& depth : kDepths) {
        // With 0x3F in every byte, all formats hold ordinary values between 0 and 1, and no alpha is 0.
        refhost::World input({.format = depth.format, .width = 3840, .height = 2160}, 0x3F);
        refhost::World output({.format = depth.format, .width = 3840, .height = 2160});
        for (int scaling = 0; scaling < 3; ++scaling) {
            for (auto& effect : effects) {
                effect->instance.Set(3, refhost::PopupValue{scaling + 1});
                effect->times.clear();
            }
            for (int round = 0; round < kRounds; ++round) {
                for (auto& effect : effects) {
                    const auto start = std::chrono::steady_clock::now();
                    if (effect->instance.SmartRender({.input = &input, .output = &output}).render != PF_Err_NONE)
                        return 1;
                    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
                    effect->times.push_back(time.count());
                }
            }
            std::printf("%-6s %-7s", depth.name, kScalings[scaling]);
            for (auto& effect : effects) {
                const auto middle = effect->times.begin() + kRounds / 2;
                std::nth_element(effect->times.begin(), middle, effect->times.end());
                std::printf(" %8.2f ms", *middle);
            }
            std::printf("\n");
        }
    }
}
