#include "frames.h"

#include <emmintrin.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <map>
#include <random>
#include <stdexcept>
#include <thread>

#include "two_threads.h"

namespace bench {
namespace {

void FillWithNoise(refhost::World& world, const Depth& depth) {
    std::minstd_rand random(1);
    const auto pixelBytes = static_cast<std::size_t>(depth.pixelBytes);
    for (int y = 0; y < world.layout().height; ++y) {
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
}

// An effect that is set up in a host, with one instance.
class Effect {
public:
    Effect(const char* file, bool keepFreedHandles)
        : host_(refhost::PluginLibrary(file), {.keepFreedHandles = keepFreedHandles}), instance_(Started(host_)) {
        instance_.SequenceSetup();
        instance_.Set(2, refhost::PopupValue{1});
        instance_.Set(4, refhost::SliderValue{kAmount});
        instance_.Set(5, refhost::PopupValue{1});
    }
    ~Effect() { instance_.SequenceSetdown(); }
    Effect(const Effect&) = delete;
    Effect& operator=(const Effect&) = delete;

    void Render(Worlds& worlds, Scaling scaling) {
        const refhost::WorldLayout& layout = worlds.input.layout();
        instance_.Set(1, refhost::PointValue{layout.width / 2 * 65536, layout.height / 2 * 65536});
        instance_.Set(3, refhost::PopupValue{scaling + 1});
        const auto result = instance_.SmartRender({.input = &worlds.input, .output = &worlds.output});
        if (!result.rendered || result.render != PF_Err_NONE) throw std::runtime_error("the effect failed");
    }

private:
    static refhost::Host& Started(refhost::Host& host) {
        host.SetUp();
        return host;
    }

    refhost::Host host_;
    refhost::Instance instance_;
};

void CopyPastCache(std::byte* to, const std::byte* from, std::size_t bytes) {
    std::size_t at = 0;
    for (; at + 64 <= bytes; at += 64) {
        for (std::size_t i = at; i < at + 64; i += 16) {
            _mm_stream_si128(reinterpret_cast<__m128i*>(to + i),
                             _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i)));
        }
    }
    std::memcpy(to + at, from + at, bytes - at);
    _mm_sfence();
}

template <class Copy>
void CopyRows(Size size, const Depth& depth, Copy copy) {
    Worlds& worlds = WorldsOf(size, depth);
    OnTwoThreads(size.height, [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            const auto from = worlds.input.Row(y);
            copy(worlds.output.Row(y).data(), from.data(), from.size());
        }
    });
}

long MinorFaults(int who) {
    rusage usage{};
    getrusage(who, &usage);
    return usage.ru_minflt;
}

}  // namespace

Worlds& WorldsOf(Size size, const Depth& depth) {
    static std::map<std::array<int, 3>, Worlds> all;
    const auto [found, isNew] = all.try_emplace({size.width, size.height, depth.pixelBytes});
    Worlds& worlds = found->second;
    if (isNew) {
        const refhost::WorldLayout layout{.format = depth.format, .width = size.width, .height = size.height};
        worlds.input = refhost::World(layout);
        worlds.output = refhost::World(layout);
        FillWithNoise(worlds.input, depth);
    }
    return worlds;
}

void RenderFrame(Plugin plugin, Size size, const Depth& depth, Scaling scaling) {
    static Effect shipped(NUV_PLUGIN_PATH, true);
    static Effect scalar(NUV_SCALAR_PATH, true);
    (plugin == Plugin::shipped ? shipped : scalar).Render(WorldsOf(size, depth), scaling);
}

void CopyFrame(Size size, const Depth& depth) {
    CopyRows(size, depth,
             [](std::byte* to, const std::byte* from, std::size_t bytes) { std::memcpy(to, from, bytes); });
}

void CopyFramePastCache(Size size, const Depth& depth) {
    CopyRows(size, depth, CopyPastCache);
}

void StartThreads() {
    std::array<std::thread, kWorkerThreads> threads;
    for (std::thread& thread : threads)
        thread = std::thread([] {});
    for (std::thread& thread : threads)
        thread.join();
}

PageFaults CountPageFaults() {
    const Depth& depth = kDepths[2];
    Effect effect(NUV_PLUGIN_PATH, false);
    Worlds& worlds = WorldsOf(kFull, depth);
    effect.Render(worlds, linear);  // touches the memory that only the first frame touches
    const long before = MinorFaults(RUSAGE_SELF), beforeHere = MinorFaults(RUSAGE_THREAD);
    effect.Render(worlds, linear);
    const long page = sysconf(_SC_PAGESIZE);
    return {.least = 2 * static_cast<long>(kFull.pixels()) * depth.pixelBytes / page,
            .taken = MinorFaults(RUSAGE_SELF) - before,
            .byCommandThread = MinorFaults(RUSAGE_THREAD) - beforeHere};
}

}  // namespace bench
