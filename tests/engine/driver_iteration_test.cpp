// How the driver goes over the rows, and when it asks for an abort.
#include "driver_fixture.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;

using DriverAborts = Driver;

TEST_F(DriverAborts, AreNotAskedForBetweenThePassesOnceTheFirstHasFailed) {
    scene.host.options().faults = Fail(refhost::Call::iterateGeneric, 0);
    EXPECT_EQ(Render(), kFault);
    EXPECT_EQ(scene.host.account().Count(refhost::Call::abort), 0);
}

TEST_F(DriverAborts, EndTheWorkBeforeTheOutputIsTouchedUnlessItHasBegun) {
    for (const PF_Err code : {PF_Interrupt_CANCEL, -517, 1}) {
        scene.host.options().faults =
            Fail(refhost::Call::abort, HostedScene::kHeight, code);  // the question between the passes
        EXPECT_EQ(Render(), code);
        EXPECT_TRUE(scene.OutputUntouched());
        EXPECT_EQ(scene.host.account().Count(refhost::Call::iterateGeneric), 1);
        EXPECT_EQ(scene.Outstanding(), Lines());
    }
}

TEST_F(DriverAborts, ConvertTheRowInProgressAllTheSame) {
    const auto clean = scene.CleanPicture(RenderPath::plain);
    scene.host.options().faults =
        Fail(refhost::Call::abort, HostedScene::kHeight + 1);  // the question in the first row of the last pass
    EXPECT_EQ(Render(), kFault);
    const auto pixels = scene.output.Pixels();
    const auto rowBytes = static_cast<std::ptrdiff_t>(pixels.size()) / HostedScene::kHeight;
    EXPECT_TRUE(std::equal(pixels.begin(), pixels.begin() + rowBytes, clean.begin()));
    EXPECT_FALSE(std::equal(pixels.begin() + rowBytes, pixels.end(), clean.begin() + rowBytes));
}

// The test's own iteration: the last row comes first, and all rows get the thread index that the test wants.
std::int32_t threadIndex;
std::vector<std::int32_t> iterationCounts;

PF_Err IterateBackwards(std::int32_t iterations, void* refcon, PF_IterateRowFunc rowFunction) {
    iterationCounts.push_back(iterations);
    PF_Err code = PF_Err_NONE;
    for (std::int32_t row = iterations; row-- > 0 && code == PF_Err_NONE;) {
        code = rowFunction(refcon, threadIndex, row, iterations);
    }
    return code;
}

TEST_F(DriverAborts, AreAskedForByThreadIndexZeroAlone) {
    const auto clean = scene.CleanPicture(RenderPath::plain);
    static constexpr PF_Iterate8Suite1 kBackwards{nullptr, nullptr, nullptr, nullptr, IterateBackwards};
    basic.onAcquire = [this](const std::string& name, std::int32_t version) {
        return name == "PF Iterate8 Suite" ? FakeBasic::Answer{0, &kBackwards} : Acquire(name, version);
    };
    basic.onRelease = [this](const std::string& name, std::int32_t version) {
        return name == "PF Iterate8 Suite" ? 0 : theirs->ReleaseSuite(name.c_str(), version);
    };
    for (const auto& [index, aborts] :
         {std::pair(0, 2 * HostedScene::kHeight + 1), std::pair(1, 1), std::pair(7, 1)}) {
        threadIndex = index;
        iterationCounts.clear();
        EXPECT_EQ(Render(), PF_Err_NONE);
        EXPECT_EQ(scene.host.account().Count(refhost::Call::abort), aborts);
        EXPECT_EQ(iterationCounts, std::vector<std::int32_t>(2, HostedScene::kHeight));
        EXPECT_EQ(scene.output.Pixels(), clean) << "whatever the order of rows";
    }
}

using DriverIteration = Driver;

TEST_F(DriverIteration, RendersTheSameOnAnyNumberOfHostThreadsInAnyOrder) {
    const auto clean = scene.CleanPicture(RenderPath::plain);
    for (const int threads : {1, 2, 3, 8}) {
        for (const std::uint32_t order : {0u, 1u, 2u, 3u}) {
            for (const bool generic : {true, false}) {
                scene.host.options().iterationThreads = threads;
                scene.host.options().rowOrder = order;
                scene.host.options().genericIteration = generic;
                EXPECT_EQ(Render(), PF_Err_NONE);
                EXPECT_EQ(scene.output.Pixels(), clean);
                EXPECT_EQ(scene.Outstanding(), Lines());
                EXPECT_EQ(scene.Misuse(), Lines());
            }
        }
    }
}

TEST_F(DriverIteration, BorrowsThePixelIterationOverAScratchColumn) {
    static int calls;
    static PF_InData* record;
    static PF_InData* passed;
    calls = 0;
    static const auto iterate = [](PF_InData* inData, std::int32_t base, std::int32_t final, PF_EffectWorld* source,
                                   const PF_Rect* area, void* refcon, PF_IteratePixel8Func pixel,
                                   PF_EffectWorld* destination) -> PF_Err {
        ++calls;
        passed = inData;
        EXPECT_EQ(base, 0);
        EXPECT_EQ(final, HostedScene::kHeight);
        EXPECT_EQ(source, destination);
        EXPECT_EQ(source->width, 1);
        EXPECT_EQ(source->height, HostedScene::kHeight);
        EXPECT_EQ(area, nullptr);
        for (std::int32_t y = 0; y < final; ++y) {
            if (const PF_Err code = pixel(refcon, 0, y, nullptr, nullptr)) return code;
        }
        return PF_Err_NONE;
    };
    const auto clean = scene.CleanPicture(RenderPath::plain);
    static constexpr PF_Iterate8Suite1 kPixels{iterate, nullptr, nullptr, nullptr, nullptr};
    basic.onAcquire = [this](const std::string& name, std::int32_t version) {
        return name == "PF Iterate8 Suite" ? FakeBasic::Answer{0, &kPixels} : Acquire(name, version);
    };
    basic.onRelease = [this](const std::string& name, std::int32_t version) {
        return name == "PF Iterate8 Suite" ? 0 : theirs->ReleaseSuite(name.c_str(), version);
    };
    change = [](PF_InData& inData) { record = &inData; };
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(passed, record);
    EXPECT_EQ(scene.output.Pixels(), clean);
    EXPECT_EQ(scene.host.account().Count(refhost::Call::abort), 1) << "only the one between the passes";
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST_F(DriverIteration, MakesItsScratchColumnWithoutFlags) {
    static std::vector<std::int32_t> flags;
    static decltype(PF_UtilCallbacks::new_world) make;
    flags.clear();
    PF_UtilCallbacks utils;
    change = [&](PF_InData& inData) {
        utils = *inData.utils;
        make = utils.new_world;
        utils.new_world = [](PF_ProgPtr ref, std::int32_t width, std::int32_t height, std::int32_t newWorldFlags,
                             PF_EffectWorld* world) -> PF_Err {
            flags.push_back(newWorldFlags);
            return make(ref, width, height, newWorldFlags, world);
        };
        inData.utils = &utils;
    };
    scene.host.options().genericIteration = false;
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(flags, (std::vector<std::int32_t>{0, 0}));
}

// Without a second iteration suite, rows run in order on the command's thread, and each asks for an abort.
TEST_F(DriverIteration, GoesRowByRowWithoutAnyIteration) {
    scene.host.options().genericIteration = false;
    const auto clean = scene.CleanPicture(RenderPath::plain);
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        const bool second = Line(call) == "AcquireSuite PF Iterate8 Suite 1" && call.index == 3;
        return second ? std::optional(kFault) : std::nullopt;
    };
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(scene.output.Pixels(), clean);
    EXPECT_EQ(scene.host.account().Count(refhost::Call::abort), 2 * HostedScene::kHeight + 1);
    EXPECT_EQ(CallsThatBegin("iterate"), Lines());
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST_F(DriverIteration, GoesRowByRowWhereTheSuiteHasNoEntryAtAll) {
    const auto clean = scene.CleanPicture(RenderPath::plain);
    static constexpr PF_Iterate8Suite1 kNothing{};
    basic.onAcquire = [this](const std::string& name, std::int32_t version) {
        return name == "PF Iterate8 Suite" ? FakeBasic::Answer{0, &kNothing} : Acquire(name, version);
    };
    basic.onRelease = [this](const std::string& name, std::int32_t version) {
        return name == "PF Iterate8 Suite" ? 0 : theirs->ReleaseSuite(name.c_str(), version);
    };
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(scene.output.Pixels(), clean);
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST_F(DriverIteration, StopsAtTheFirstRowThatFailsWithoutAnyIteration) {
    scene.host.options().genericIteration = false;
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == "AcquireSuite PF Iterate8 Suite 1" && call.index == 3) return 101;
        if (Line(call) == "abort" && call.index == 1) return 102;
        return std::nullopt;
    };
    EXPECT_EQ(Render(), 102);
    EXPECT_EQ(scene.host.account().Count(refhost::Call::abort), 2);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(scene.Outstanding(), Lines());
}

}  // namespace
