// Whole frames through the plug-in binary and each stage alone, beside a copy of the same bytes in the same run.
//
// Names read "frame/WIDTHxHEIGHT/DEPTH/SCALING", "copy/…" and "stage/…/WHICH". The host iterates on two threads,
// and a frame's copy uses as many; a stage and its copy run on one. The host hands freed blocks out again, so that
// what is timed is the effect and not the operating system's page faults.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "engine/row_kernels.h"
#include "reference_host/host.h"

namespace {

struct Size {
    int width, height;
};
constexpr Size kSizes[] = {{1920, 1080}, {3840, 2160}};

struct Depth {
    const char* name;
    PF_PixelFormat format;
};
constexpr Depth kDepths[] = {{"8", kFormatArgb8}, {"16", kFormatArgb16}, {"float", kFormatArgbFloat}};

constexpr const char* kScalings[] = {"linear", "square", "cubic"};

constexpr double kAmount = 25;

// An opaque picture of noise.
refhost::World Noise(Size size, PF_PixelFormat format) {
    refhost::World world({.format = format, .width = size.width, .height = size.height});
    std::minstd_rand random(1);
    const auto pixelBytes = static_cast<std::size_t>(refhost::BytesPerPixel(format));
    for (int y = 0; y < size.height; ++y) {
        const auto row = world.Row(y);
        for (std::size_t at = 0; at < row.size(); at += pixelBytes) {
            for (std::size_t channel = 0; channel < 4; ++channel) {
                std::byte* const target = row.data() + at + channel * pixelBytes / 4;
                const auto value = static_cast<unsigned>(random());
                const bool alpha = channel == 0;
                if (pixelBytes == 4) {
                    *target = static_cast<std::byte>(alpha ? 255 : value % 256);
                } else if (pixelBytes == 8) {
                    const auto deep = static_cast<std::uint16_t>(alpha ? 32768 : value % 32769);
                    std::memcpy(target, &deep, sizeof deep);
                } else {
                    const float real = alpha ? 1.0f : static_cast<float>(value % 4097) / 4096.0f;
                    std::memcpy(target, &real, sizeof real);
                }
            }
        }
    }
    return world;
}

void ReportPixels(benchmark::State& state, Size size) {
    const auto pixels = static_cast<double>(size.width) * size.height;
    state.counters["per pixel"] =
        benchmark::Counter(pixels, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Frame(benchmark::State& state, Size size, Depth depth, int scaling) {
    refhost::Host host(refhost::PluginLibrary(NUV_PLUGIN_PATH), {.keepFreedHandles = true});
    host.SetUp();
    refhost::Instance instance(host);
    instance.SequenceSetup();
    instance.Set(2, refhost::PopupValue{1});
    instance.Set(3, refhost::PopupValue{scaling + 1});
    instance.Set(4, refhost::SliderValue{kAmount});
    instance.Set(5, refhost::PopupValue{1});
    refhost::World input = Noise(size, depth.format);
    refhost::World output({.format = depth.format, .width = size.width, .height = size.height});
    for (auto _ : state) {
        const auto result = instance.SmartRender({.input = &input, .output = &output});
        if (result.render != PF_Err_NONE) state.SkipWithError("the effect returned an error");
    }
    instance.SequenceSetdown();
    ReportPixels(state, size);
}

void Copy(benchmark::State& state, Size size, Depth depth, int threads) {
    const refhost::World input = Noise(size, depth.format);
    refhost::World output({.format = depth.format, .width = size.width, .height = size.height});
    const auto copyRows = [&](int first, int end) {
        for (int y = first; y < end; ++y)
            std::memcpy(output.Row(y).data(), input.Row(y).data(), input.Row(y).size());
    };
    for (auto _ : state) {
        std::vector<std::jthread> others;
        for (int i = 1; i < threads; ++i) {
            others.emplace_back(copyRows, size.height * i / threads, size.height * (i + 1) / threads);
        }
        copyRows(0, size.height / threads);
        others.clear();
        benchmark::ClobberMemory();
    }
    ReportPixels(state, size);
}

// The buffers that one frame of the engine goes through, with the kernels applied to all rows on this thread.
class Stages {
public:
    Stages(Size size, Depth depth, int scaling)
        : size_(size),
          source_(Noise(size, depth.format)),
          target_({.format = depth.format, .width = size.width, .height = size.height}) {
        const bool bytes = depth.format == kFormatArgb8;
        const bool deep = depth.format == kFormatArgb16;
        in_ = bytes ? kernels_.copyArgb8ToRgba8 : deep ? kernels_.argb16ToRgbaF : kernels_.argbFToRgbaF;
        out_ = bytes ? kernels_.rgbaFToArgb8 : deep ? kernels_.rgbaFToArgb16 : kernels_.rgbaFToArgbF;
        working_ = Buffer(job_.input, bytes ? 8 : 32);
        result_ = Buffer(job_.output, 32);
        job_.downsampleX = job_.downsampleY = 1;
        job_.centerX = size.width / 2;
        job_.centerY = size.height / 2;
        job_.amount = static_cast<float>(kAmount);
        job_.scaling = scaling;
        In();
        Workers();
    }

    void In() {
        for (int y = 0; y < size_.height; ++y)
            in_(source_.Row(y).data(), Row(job_.input, y), size_.width, 1.0f);
    }
    void Workers() { kernels_.renderRows(job_, 0, size_.height); }
    void Out() {
        for (int y = 0; y < size_.height; ++y)
            out_(Row(job_.output, y), target_.Row(y).data(), size_.width, 1.0f);
    }

private:
    std::unique_ptr<std::byte[]> Buffer(nuv::ImageBuffer& buffer, int bits) const {
        buffer.width = size_.width;
        buffer.height = size_.height;
        buffer.bitsPerChannel = bits;
        buffer.rowBytes = size_.width * bits / 2;
        auto memory = std::make_unique<std::byte[]>(static_cast<std::size_t>(buffer.rowBytes) *
                                                    static_cast<std::size_t>(size_.height));
        buffer.pixels = memory.get();
        return memory;
    }
    static std::byte* Row(const nuv::ImageBuffer& buffer, int y) {
        return buffer.pixels + std::ptrdiff_t{buffer.rowBytes} * y;
    }

    const nuv::RowKernels& kernels_ = nuv::kScalarKernels;
    Size size_;
    refhost::World source_, target_;
    nuv::RowConversion in_ = nullptr, out_ = nullptr;
    nuv::RenderData job_;
    std::unique_ptr<std::byte[]> working_, result_;
};

void Stage(benchmark::State& state, Size size, Depth depth, int scaling, void (Stages::*stage)()) {
    Stages stages(size, depth, scaling);
    for (auto _ : state) {
        (stages.*stage)();
        benchmark::ClobberMemory();
    }
    ReportPixels(state, size);
}

template <class... Arguments>
void Register(const std::string& name, Arguments... arguments) {
    benchmark::RegisterBenchmark(name.c_str(), arguments...)->UseRealTime()->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
    for (const Size size : kSizes) {
        for (const Depth& depth : kDepths) {
            const std::string shape =
                "/" + std::to_string(size.width) + "x" + std::to_string(size.height) + "/" + depth.name;
            Register("copy" + shape, Copy, size, depth, 2);
            for (int scaling = 0; scaling < 3; ++scaling) {
                Register("frame" + shape + "/" + kScalings[scaling], Frame, size, depth, scaling);
            }
            Register("stage" + shape + "/copy", Copy, size, depth, 1);
            Register("stage" + shape + "/in", Stage, size, depth, 0, &Stages::In);
            for (int scaling = 0; scaling < 3; ++scaling) {
                Register("stage" + shape + "/workers/" + kScalings[scaling], Stage, size, depth, scaling,
                         &Stages::Workers);
            }
            Register("stage" + shape + "/out", Stage, size, depth, 0, &Stages::Out);
        }
    }

    // Machines are shared and noisy: by default every row is the median of interleaved repetitions.
    std::vector<std::string> words(argv, argv + argc);
    words.insert(words.begin() + 1, {"--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=5",
                                     "--benchmark_report_aggregates_only=true", "--benchmark_min_time=0.05"});
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    int count = static_cast<int>(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
