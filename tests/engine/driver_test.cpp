// One frame through the driver: rows shared among threads, worlds laid out as hosts may lay them out, formats that
// nobody knows.
#include <gtest/gtest.h>

#include <limits>
#include <mutex>
#include <set>
#include <thread>

#include "engine/worker_threads.h"
#include "support/support.h"

namespace {

using support::Describe;
using support::ExpectAsModel;
using support::ExpectRenders;
using support::kFormats;
using support::Outcome;
using support::Paint;
using support::ReadFloats;
using support::RenderPath;
using support::Rgba;
using support::Scene;
using support::SceneOf;
using support::Stage;
using support::Values;

constexpr PF_PixelFormat kUnknownFormats[] = {0, -1, 0x41524742, 0x61726763};  // of the last two: "BGRA", "cgra"

const std::vector<std::string> kNone;

// ---- Rows and threads ----

using Band = std::pair<std::int32_t, std::int32_t>;

Band BandOf(std::size_t thread, std::int32_t height) {
    const nuv::RowBand band = nuv::WorkerBand(thread, height);
    return {band.first, band.end};
}

TEST(Bands, Of1080RowsAre68RowsEachAndTheRestForTheLast) {
    for (int thread = 0; thread < 15; ++thread)
        EXPECT_EQ(BandOf(static_cast<std::size_t>(thread), 1080), (Band{thread * 68, thread * 68 + 68}));
    EXPECT_EQ(BandOf(15, 1080), (Band{1020, 1080}));
}

TEST(Bands, Of160RowsAre11RowsEachAndNoneForTheLast) {
    for (int thread = 0; thread < 14; ++thread)
        EXPECT_EQ(BandOf(static_cast<std::size_t>(thread), 160), (Band{thread * 11, thread * 11 + 11}));
    EXPECT_EQ(BandOf(14, 160), (Band{154, 160}));
    EXPECT_GE(BandOf(15, 160).first, BandOf(15, 160).second);
}

TEST(Bands, Of10RowsAreOneRowEachForTheFirstTenThreads) {
    for (int thread = 0; thread < 10; ++thread)
        EXPECT_EQ(BandOf(static_cast<std::size_t>(thread), 10), (Band{thread, thread + 1}));
    for (std::size_t thread = 10; thread < 16; ++thread)
        EXPECT_GE(BandOf(thread, 10).first, BandOf(thread, 10).second);
}

TEST(Bands, HoldEveryRowExactlyOnceInOrder) {
    std::vector<std::int32_t> heights = {
        0, 15999, 30000, 16777215, 16777217, 33554431, std::numeric_limits<std::int32_t>::max()};
    for (std::int32_t height = 1; height <= 700; ++height)
        heights.push_back(height);
    for (std::int32_t height : heights) {
        std::int32_t next = 0;
        for (std::size_t thread = 0; thread < 16; ++thread) {
            const Band band = BandOf(thread, height);
            if (band.first >= band.second) continue;
            EXPECT_EQ(band.first, next) << height;
            next = band.second;
        }
        EXPECT_EQ(next, height);
    }
}

std::mutex workerMutex;
std::set<std::thread::id> workerThreads;
int workerCalls = 0;
std::vector<int> rowVisits;

void CountRows(const nuv::RenderData&, std::int32_t first, std::int32_t end) {
    const std::lock_guard lock(workerMutex);
    workerThreads.insert(std::this_thread::get_id());
    ++workerCalls;
    for (std::int32_t row = first; row < end; ++row)
        ++rowVisits.at(static_cast<std::size_t>(row));
}

TEST(Workers, AreSixteenCallsOnThreadsOfTheirOwnThatVisitEachRowOnce) {
    for (std::int32_t height : {0, 1, 10, 160, 1080}) {
        workerThreads.clear();
        workerCalls = 0;
        rowVisits.assign(static_cast<std::size_t>(height), 0);
        nuv::RenderData job;
        job.output.height = height;
        nuv::RunWorkers(CountRows, job);
        EXPECT_EQ(workerCalls, 16);
        EXPECT_EQ(workerThreads.count(std::this_thread::get_id()), 0u);
        EXPECT_EQ(rowVisits, std::vector<int>(static_cast<std::size_t>(height), 1));
    }
}

TEST(Workers, GiveTheResultOfASingleThreadForEveryHeight) {
    const std::vector<std::byte> source = support::RandomPixels(kFormatBgraFloat, 20, 20, Values::ordinary, 1);
    for (std::int32_t height = 1; height <= 40; ++height) {
        nuv::RenderData job;
        std::vector<std::byte> sourceCopy = source;
        std::vector<std::byte> single(std::size_t{20} * 16 * static_cast<std::size_t>(height)), sixteen(single);
        job.input = {
            .width = 20, .height = 20, .pixels = sourceCopy.data(), .bitsPerChannel = 32, .rowBytes = 20 * 16};
        job.output = {
            .width = 20, .height = height, .pixels = single.data(), .bitsPerChannel = 32, .rowBytes = 20 * 16};
        job.downsampleX = job.downsampleY = 1;
        job.centerX = 7;
        job.centerY = height / 2;
        job.scaling = 2;
        job.amount = 70;
        nuv::RenderRows(job, 0, height);
        job.output.pixels = sixteen.data();
        nuv::RunWorkers(nuv::RenderRows, job);
        EXPECT_EQ(single, sixteen) << height;
    }
}

TEST(Workers, WithFewerRowsThanThreadsGiveAWholePicture) {
    Stage stage;
    for (int height : {1, 2, 3, 5, 8, 10, 14, 15, 16, 17, 31, 32, 33, 159, 160, 161, 176}) {
        Scene scene = SceneOf(kFormats[static_cast<std::size_t>(height) % kFormats.size()], 9, height);
        scene.seed = static_cast<std::uint64_t>(height);
        scene.scaling = 2;
        scene.amount = 80;
        ExpectAsModel(stage, scene);
    }
}

TEST(Worker, LeavesRowsThatAreNotItsOwnAndDoesNothingForAnEmptyBand) {
    std::vector<std::byte> source = support::RandomPixels(kFormatBgraFloat, 4, 4, Values::ordinary, 1);
    std::vector<std::byte> result(std::size_t{4} * 16 * 4, std::byte{0x77});
    nuv::RenderData job;
    job.input = {.width = 4, .height = 4, .pixels = source.data(), .bitsPerChannel = 32, .rowBytes = 4 * 16};
    job.output = {.width = 4, .height = 4, .pixels = result.data(), .bitsPerChannel = 32, .rowBytes = 4 * 16};
    job.downsampleX = job.downsampleY = 1;
    const std::vector<std::byte> before = result;
    nuv::RenderRows(job, 2, 2);
    nuv::RenderRows(job, 3, 1);
    EXPECT_EQ(result, before);

    nuv::RenderRows(job, 1, 3);
    const auto rows = [](const std::vector<std::byte>& pixels, std::size_t first, std::size_t end) {
        return std::vector<std::byte>(pixels.begin() + static_cast<std::ptrdiff_t>(first * 64),
                                      pixels.begin() + static_cast<std::ptrdiff_t>(end * 64));
    };
    EXPECT_EQ(rows(result, 0, 1), rows(before, 0, 1));
    EXPECT_NE(rows(result, 1, 2), rows(before, 1, 2));
    EXPECT_NE(rows(result, 2, 3), rows(before, 2, 3));
    EXPECT_EQ(rows(result, 3, 4), rows(before, 3, 4));
}

TEST(Iteration, GivesTheSameBytesOnAnyNumberOfThreadsInAnyOrderAndWithoutTheGenericKind) {
    for (PF_PixelFormat format : kFormats) {
        Scene scene = SceneOf(format, 41, 53);
        scene.mode = 2;
        scene.scaling = 3;
        scene.amount = -64;
        const std::vector<std::byte> expected = support::Expected(scene);
        for (int threads : {1, 2, 5}) {
            for (bool generic : {true, false}) {
                for (std::uint32_t order : {0u, 1u, 77u}) {
                    refhost::HostOptions options;
                    options.iterationThreads = threads;
                    options.genericIteration = generic;
                    options.rowOrder = order;
                    Stage stage(options);
                    SCOPED_TRACE(std::to_string(threads) + " threads, generic " + std::to_string(generic) +
                                 ", order " + std::to_string(order));
                    support::ExpectSamePixels(expected, ExpectRenders(stage, scene), scene.output);
                }
            }
        }
    }
}

// ---- Layout of worlds ----

TEST(Worlds, MayHavePaddingNegativeStridesAndAnyAlignment) {
    Stage stage;
    std::uint64_t seed = 0;
    for (PF_PixelFormat format : kFormats) {
        for (int padding : {0, 1, 3, 16, 61}) {
            for (int misalignment : {0, 1, 2, 7, 15}) {
                Scene scene = SceneOf(format, 11, 9);
                scene.seed = ++seed;
                scene.amount = 30;
                scene.source.padding = padding;
                scene.source.misalignment = misalignment;
                scene.source.bottomUp = seed % 2 == 0;
                scene.output.padding = 61 - padding;
                scene.output.misalignment = 15 - misalignment;
                scene.output.bottomUp = seed % 3 == 0;
                ExpectAsModel(stage, scene);
            }
        }
    }
}

TEST(Worlds, GiveTheSamePixelsInEveryLayout) {
    Stage stage;
    for (PF_PixelFormat format : kFormats) {
        Scene scene = SceneOf(format, 13, 21);
        scene.amount = -30;
        const auto packed = ExpectRenders(stage, scene);
        for (auto layout : {&Scene::source, &Scene::output}) {
            Scene changed = scene;
            (changed.*layout).padding = 5;
            (changed.*layout).misalignment = 3;
            (changed.*layout).bottomUp = true;
            EXPECT_EQ(ExpectRenders(stage, changed), packed) << Describe(changed);
        }
    }
}

TEST(Worlds, MayBeThirtyThousandPixelsWideOrHigh) {
    Stage stage;
    for (auto [width, height] : {std::pair{30000, 2}, {2, 30000}}) {
        for (PF_PixelFormat format : {kFormatArgb8, kFormatArgbFloat}) {
            Scene scene = SceneOf(format, width, height);
            scene.scaling = 2;
            scene.amount = 10;
            ExpectAsModel(stage, scene);
        }
    }
}

// ---- Formats ----

TEST(UnknownFormat, OfTheSourceIsNoErrorAndNothingIsWrittenOutsideThePixels) {
    Stage stage;
    for (PF_PixelFormat format : kUnknownFormats) {
        for (const RenderPath path : {RenderPath::smart, RenderPath::plain}) {
            Scene scene = SceneOf(kFormatArgbFloat, 17, 18);
            scene.source.format = format;
            scene.source.padding = 17 * 16;  // no pixels that the host knows of: nothing may be written there
            scene.amount = 50;
            scene.path = path;
            ExpectRenders(stage, scene);
        }
    }
}

TEST(UnknownFormat, OfTheOutputIsNoErrorAndNothingIsWritten) {
    Stage stage;
    for (PF_PixelFormat format : kUnknownFormats) {
        for (const RenderPath path : {RenderPath::smart, RenderPath::plain}) {
            Scene scene = SceneOf(kFormatArgbFloat, 17, 18);
            scene.output.format = format;
            scene.output.padding = 17 * 16;  // all of it is guarded
            scene.amount = 50;
            scene.path = path;
            ExpectRenders(stage, scene);
        }
    }
}

TEST(Format, IsTheWorldSuitesInTheCompositingHostAndThePixelFormatSuitesInTheEditingHost) {
    Scene scene = SceneOf(kFormatBgra8, 17, 18);
    scene.path = RenderPath::plain;
    scene.amount = 50;
    const auto worldSuiteSaysArgb = [](refhost::RenderSettings& settings) {
        settings.worldSuiteFormat = kFormatArgb8;
    };

    refhost::HostOptions options;
    options.personality = refhost::Personality::editor;
    Stage editor(options);
    const Outcome edited = editor.Render(scene, worldSuiteSaysArgb);
    EXPECT_EQ(edited.complaints, kNone);
    support::ExpectSamePixels(support::Expected(scene), edited.pixels, scene.output);

    Stage compositor;
    const Outcome composited = compositor.Render(scene, worldSuiteSaysArgb);
    EXPECT_EQ(composited.complaints, kNone);
    Scene asArgb = scene;
    asArgb.pixels = support::SourcePixels(scene);
    asArgb.source.format = asArgb.output.format = kFormatArgb8;
    support::ExpectSamePixels(support::Expected(asArgb), composited.pixels, scene.output);
}

TEST(Driver, InTheEditingHostWithoutThePixelFormatSuiteReturnsAtOnceAndLeavesTheOutput) {
    refhost::HostOptions options;
    options.personality = refhost::Personality::editor;
    Stage stage(options);
    stage.host().options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == refhost::Call::acquireSuite && call.detail == "PF Pixel Format Suite 1") return 1;
        return std::nullopt;
    };
    Scene scene = SceneOf(kFormatBgra8, 17, 18);
    scene.path = RenderPath::plain;
    const Outcome outcome = stage.Render(scene);
    EXPECT_EQ(outcome.code, PF_Err_NONE);
    EXPECT_EQ(outcome.pixels, std::vector<std::byte>(std::size_t{17} * 18 * 4, std::byte{refhost::World::kPoison}));
    EXPECT_EQ(stage.host().account().Count(refhost::Call::newHandle), 0);
    EXPECT_EQ(stage.host().account().Count(refhost::Call::abort), 0);
    stage.host().account().Reclaim();
}

TEST(Driver, PassesValuesOutsideTheRangeToTheWorkersAndClampsThemOnTheWayOut) {
    Stage stage;
    for (PF_PixelFormat format : {kFormatArgbFloat, kFormatBgraFloat, kFormatBgraFloatLinear}) {
        // The square of alpha: from -0.5 and 4 it tells whether they came in unclamped; colour is clamped.
        Scene scene = SceneOf(format, 2, 1);
        const Rgba below{-0.5f, -3.0f, -0.25f, -0.5f}, above{1.5f, 4.0f, 2.0f, 4.0f};
        const auto put = [&](int x, int) {
            const Rgba& p = x == 0 ? below : above;
            return format == kFormatArgbFloat ? p : Rgba{p.g, p.r, p.a, p.b};  // so that B G R A is written
        };
        scene.pixels = Paint(2, 1, put);
        scene.output.format = kFormatArgbFloat;
        scene.show = 3;
        const auto pixels = ReadFloats(ExpectRenders(stage, scene));
        EXPECT_EQ(pixels[0], (Rgba{0, 0, 0, 0.25f}));
        EXPECT_EQ(pixels[1], (Rgba{1, 1, 1, 1}));
    }
}

TEST(Driver, ClearsWhatNoWorkerWritesWhateverTheHostsMemoryHeld) {
    Stage stage;
    Scene scene = SceneOf(kFormatArgb16, 20, 20);
    scene.downsampleX = {0, 1};
    const auto pixels = ExpectRenders(stage, scene);
    EXPECT_EQ(pixels, std::vector<std::byte>(pixels.size()));
}

}  // namespace
