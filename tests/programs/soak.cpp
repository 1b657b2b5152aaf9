// soak SECONDS [SEED]: renders for this long, in rounds. In each round, both hosts set up the effect, and several
// threads render mixed frames with instances of their own in both hosts. Every picture is compared with the
// model's. After the last round, the process must hold no more memory, handles and threads than after the second
// one.
#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/process_usage.h"
#include "support/support.h"

namespace {

using Clock = std::chrono::steady_clock;
using refhost::Personality;
using support::RenderPath;
using support::SplitMix64;

constexpr int kThreads = 4;
constexpr int kFramesOfARound = 32;             // each thread renders so many in a round
constexpr std::int64_t kHeapSlack = 128 << 10;  // allocators keep some memory for themselves
constexpr Personality kHosts[] = {Personality::compositor, Personality::editor};

std::atomic<bool> failed{false};

void Fail(const std::string& what) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    failed = true;
    std::fprintf(stderr, "soak: %s\n", what.c_str());
}

// ---- Frames ---------------------------------------------------------------------------------------------------

int Side(SplitMix64& random, int largest) {
    return 1 + static_cast<int>(random.Below(static_cast<std::uint32_t>(largest)));
}

refhost::WorldLayout AnyLayout(SplitMix64& random, int width, int height) {
    refhost::WorldLayout layout;
    layout.format = kFormats[random.Below(kFormats.size())];
    layout.width = width;
    layout.height = height;
    layout.padding = static_cast<int>(random.Below(3) * random.Below(40));
    layout.bottomUp = random.Below(3) == 0;
    layout.misalignment = static_cast<int>(random.Below(2) * random.Below(64));
    return layout;
}

support::Scene AnyScene(SplitMix64& random, bool editor) {
    // Most frames are small, because the model is slow.
    const std::uint32_t kind = random.Below(256);
    const int width = kind == 0 ? 1920 : Side(random, kind < 12 ? 640 : 64);
    const int height = kind == 0 ? 1080 : Side(random, kind < 12 ? 480 : 64);
    support::Scene scene;
    scene.source = AnyLayout(random, width, height);
    scene.output = AnyLayout(random, width, height);
    if (random.Below(4) == 0) scene.source.width = Side(random, width);
    if (random.Below(4) == 0) scene.source.height = Side(random, height);
    scene.values = random.Below(4) == 0 ? support::Values::wild : support::Values::ordinary;
    scene.seed = random.Next();
    const auto about = [&](int size) {
        return static_cast<int>(random.Below(static_cast<std::uint32_t>(2 * size))) - size / 2;
    };
    scene.center = support::Whole(about(width), about(height));
    scene.mode = static_cast<int>(random.Below(5));
    scene.scaling = static_cast<int>(random.Below(5));
    scene.show = static_cast<int>(random.Below(7));
    scene.amount = random.Below(8) == 0 ? 0 : random.Unit() * 200 - 100;
    scene.path = editor || random.Below(3) == 0 ? RenderPath::plain : RenderPath::smart;
    if (scene.path == RenderPath::smart) {
        scene.offsetX = about(width) / 4;
        scene.offsetY = about(height) / 4;
    }
    constexpr PF_RationalScale kScales[] = {{1, 1}, {1, 1}, {1, 2}, {1, 4}, {3, 4}};
    scene.downsampleX = kScales[random.Below(5)];
    scene.downsampleY = kScales[random.Below(5)];
    return scene;
}

// Returns what is wrong with the frame, or an empty text.
std::string Render(refhost::Instance& instance, const support::Scene& scene, SplitMix64& random) {
    instance.Set(1, scene.center);
    instance.Set(2, refhost::PopupValue{scene.mode});
    instance.Set(3, refhost::PopupValue{scene.scaling});
    instance.Set(4, refhost::SliderValue{scene.amount});
    instance.Set(5, refhost::PopupValue{scene.show});

    const std::vector<std::byte> pixels = support::SourcePixels(scene);
    refhost::World source(scene.source);
    source.SetPixels(pixels);
    refhost::World output(scene.output, static_cast<std::uint8_t>(random.Next()));
    refhost::RenderSettings settings;
    settings.input = &source;
    settings.output = &output;
    settings.currentTime = static_cast<std::int32_t>(random.Below(1000)) - 100;
    settings.downsampleX = scene.downsampleX;
    settings.downsampleY = scene.downsampleY;
    settings.checkoutResult = PF_LRect{scene.offsetX, scene.offsetY, scene.offsetX + scene.source.width,
                                       scene.offsetY + scene.source.height};
    const refhost::RenderResult result = instance.Render(scene.path, settings);

    if (const PF_Err code = result.preRender != PF_Err_NONE ? result.preRender : result.render) {
        return "code " + std::to_string(code);
    }
    for (const refhost::World* world : {&source, &output}) {
        if (const std::string written = world->Surroundings(); !written.empty()) return written;
    }
    if (source.Pixels() != pixels) return "the input changed";
    return output.Pixels() == support::Expected(scene) ? "" : "another picture than the model's";
}

// ---- Rounds ---------------------------------------------------------------------------------------------------

void RenderMany(std::span<refhost::Host* const> hosts, std::uint64_t seed) {
    SplitMix64 random(seed);
    std::vector<std::unique_ptr<refhost::Instance>> instances;
    for (refhost::Host* host : hosts) {
        instances.push_back(std::make_unique<refhost::Instance>(*host));
        if (const PF_Err code = instances.back()->SequenceSetup()) Fail("sequence set-up: " + std::to_string(code));
    }
    for (int frame = 0; frame < kFramesOfARound && !failed; ++frame) {
        const std::size_t which = random.Below(static_cast<std::uint32_t>(hosts.size()));
        const support::Scene scene = AnyScene(random, kHosts[which] == Personality::editor);
        const std::string complaint = Render(*instances[which], scene, random);
        if (!complaint.empty()) Fail(complaint + ": " + support::Describe(scene));
    }
    for (const auto& instance : instances) {
        if (const PF_Err code = instance->SequenceSetdown()) Fail("sequence set-down: " + std::to_string(code));
    }
}

void Round(std::uint64_t seed) {
    SplitMix64 random(seed);
    std::vector<std::unique_ptr<refhost::Host>> owned;
    std::vector<refhost::Host*> hosts;
    for (const Personality personality : kHosts) {
        refhost::HostOptions options;
        options.personality = personality;
        options.iterationThreads = Side(random, 3);
        options.genericIteration = random.Below(3) != 0;
        options.rowOrder = static_cast<std::uint32_t>(random.Below(2) * random.Next());
        hosts.push_back(owned.emplace_back(std::make_unique<refhost::Host>(support::Plugin(), options)).get());
        hosts.back()->SetUp();
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(RenderMany, hosts, random.Next());
    for (std::thread& thread : threads)
        thread.join();
    for (refhost::Host* host : hosts) {
        host->GlobalSetdown();
        for (const std::string& line : host->account().Outstanding())
            Fail("not given back: " + line);
        for (const std::string& line : host->account().Misuse())
            Fail("misuse: " + line);
    }
}

bool Grew(const platform::Usage& settled, const platform::Usage& last) {
    return last.heapBytes > settled.heapBytes + kHeapSlack || last.handles > settled.handles ||
           last.threads > settled.threads;
}

int Soak(std::int64_t seconds, std::uint64_t seed) {
    const auto begin = Clock::now();
    const auto elapsed = [begin] { return std::chrono::duration<double>(Clock::now() - begin).count(); };
    SplitMix64 random(seed);
    platform::Usage settled, last;
    std::int64_t rounds = 0;
    do {
        Round(random.Next());
        last = platform::UsageNow();
        if (++rounds <= 2) settled = last;  // allocators and threads still grow in the first two rounds
    } while (!failed && (rounds < 3 || elapsed() < static_cast<double>(seconds)));
    const double time = elapsed();

    const auto frames = rounds * kThreads * kFramesOfARound;
    const bool grew = Grew(settled, last);
    std::printf(
        "soak: %lld frames%s in %.0f s, %.1f a second, in %lld rounds of %d threads, seed %llu; since the "
        "second round %+lld bytes on the heap, %+lld handles, %+lld threads%s\n",
        static_cast<long long>(frames), failed ? " or fewer" : ", all as the model's", time,
        static_cast<double>(frames) / time, static_cast<long long>(rounds), kThreads,
        static_cast<unsigned long long>(seed), static_cast<long long>(last.heapBytes - settled.heapBytes),
        static_cast<long long>(last.handles - settled.handles),
        static_cast<long long>(last.threads - settled.threads), grew ? ": it grows" : "");
    return failed || grew ? 1 : 0;
}

template <class Number>
bool Read(const char* text, Number& number) {
    const char* const end = text + std::strlen(text);
    const auto [stopped, error] = std::from_chars(text, end, number);
    return stopped == end && error == std::errc();
}

}  // namespace

int main(int argc, char** argv) {
    std::int64_t seconds = 0;
    std::uint64_t seed = 1;
    if (argc < 2 || argc > 3 || !Read(argv[1], seconds) || seconds < 1 || (argc == 3 && !Read(argv[2], seed))) {
        std::fprintf(stderr, "soak: usage: soak SECONDS [SEED]\n");
        return 2;
    }
    try {
        return Soak(seconds, seed);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 1;
    }
}
