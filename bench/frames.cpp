#include "frames.h"

#include <emmintrin.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <map>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

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

constexpr const char* kPlugins[] = {NUV_PLUGIN_PATHS};
static_assert(std::size(kPlugins) == std::size(kTierNames));

// An effect that is set up in a host, with one instance for each thread of the host.
class Effect {
public:
    Effect(const std::filesystem::path& file, bool keepFreedHandles)
        : host_(refhost::PluginLibrary(file), {.keepFreedHandles = keepFreedHandles}) {
        host_.SetUp();
        for (int i = 0; i < *std::rbegin(kInFlight); ++i) {
            refhost::Instance& instance = instances_.emplace_back(host_);
            instance.SequenceSetup();
            instance.Set(2, refhost::PopupValue{1});
            instance.Set(5, refhost::PopupValue{1});
        }
    }
    ~Effect() {
        for (refhost::Instance& instance : instances_)
            instance.SequenceSetdown();
    }
    Effect(const Effect&) = delete;
    Effect& operator=(const Effect&) = delete;

    void Render(Worlds& worlds, double amount, Scaling scaling, int thread = 0) {
        refhost::Instance& instance = instances_[static_cast<std::size_t>(thread)];
        const refhost::WorldLayout& layout = worlds.input.layout();
        instance.Set(1, refhost::PointValue{layout.width / 2 * 65536, layout.height / 2 * 65536});
        instance.Set(3, refhost::PopupValue{scaling + 1});
        instance.Set(4, refhost::SliderValue{amount});
        const auto result = instance.SmartRender({.input = &worlds.input, .output = &worlds.output});
        if (!result.rendered || result.render != PF_Err_NONE) throw std::runtime_error("the effect failed");
    }

private:
    refhost::Host host_;
    std::deque<refhost::Instance> instances_;
};

// Copy 0 is the plug-in itself. The system loads a copy of the file as a library of its own, with its own mutex.
Effect& EffectOf(std::size_t tier, int copy) {
    // It is never destroyed, because at the end of the program the host's own static objects may already be gone.
    static auto& all = *new std::map<std::pair<std::size_t, int>, Effect>;
    const std::pair key{tier, copy};
    const std::filesystem::path file = kPlugins[tier];
    if (copy == 0 || all.contains(key)) return all.try_emplace(key, file, true).first->second;
    const std::filesystem::path copied = file.string() + "." + std::to_string(copy);
    std::filesystem::copy_file(file, copied, std::filesystem::copy_options::overwrite_existing);
    Effect& effect = all.try_emplace(key, copied, true).first->second;
    std::filesystem::remove(copied);
    return effect;
}

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

std::string Variant::name() const {
    char text[32];
    std::snprintf(text, sizeof text, " %g", amount);
    return std::string(kTierNames[tier]) + text;
}

Worlds& WorldsOf(Size size, const Depth& depth, int thread) {
    static std::map<std::array<int, 4>, Worlds> all;
    const auto [found, isNew] = all.try_emplace({size.width, size.height, depth.pixelBytes, thread});
    Worlds& worlds = found->second;
    if (isNew) {
        const refhost::WorldLayout layout{.format = depth.format, .width = size.width, .height = size.height};
        worlds.input = refhost::World(layout);
        worlds.output = refhost::World(layout);
        FillWithNoise(worlds.input, depth);
    }
    return worlds;
}

void RenderFrame(const Variant& variant, Size size, const Depth& depth, Scaling scaling) {
    EffectOf(variant.tier, 0).Render(WorldsOf(size, depth), variant.amount, scaling);
}

void RenderInFlight(const Variant& variant, Size size, int threads, bool ownEffects) {
    std::vector<std::jthread> team;
    for (int thread = 0; thread < threads; ++thread) {
        Effect& effect = EffectOf(variant.tier, ownEffects ? thread : 0);
        Worlds& worlds = WorldsOf(size, kDepths[0], thread);
        team.emplace_back([&, thread] {
            for (int i = 0; i < kFramesInFlight / threads; ++i)
                effect.Render(worlds, variant.amount, linear, thread);
        });
    }
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

PageFaults CountPageFaults(const Variant& variant) {
    const Depth& depth = kDepths[2];
    Effect effect(kPlugins[variant.tier], false);
    Worlds& worlds = WorldsOf(kFull, depth);
    effect.Render(worlds, variant.amount, linear);  // touches the memory that only the first frame touches
    const long before = MinorFaults(RUSAGE_SELF), beforeHere = MinorFaults(RUSAGE_THREAD);
    effect.Render(worlds, variant.amount, linear);
    const long page = sysconf(_SC_PAGESIZE);
    return {.least = 2 * static_cast<long>(kFull.pixels()) * depth.pixelBytes / page,
            .taken = MinorFaults(RUSAGE_SELF) - before,
            .byCommandThread = MinorFaults(RUSAGE_THREAD) - beforeHere};
}

}  // namespace bench
