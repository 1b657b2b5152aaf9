// How a frame's rows are shared among its threads.
#include <gtest/gtest.h>

#include <limits>
#include <mutex>
#include <set>
#include <thread>

#include "engine/worker_threads.h"
#include "support/support.h"

namespace {

using support::ExpectAsModel;
using support::ExpectRenders;
using support::Scene;
using support::SceneOf;
using support::Stage;
using support::Values;

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

}  // namespace
