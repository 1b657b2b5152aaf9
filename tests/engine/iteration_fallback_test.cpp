// How rows are converted for a host without iterate_generic.
#include <gtest/gtest.h>

#include <limits>

#include "engine/conversion_callbacks.h"

namespace {

constexpr PF_Err kStopped = 517;

// Notes its calls, and fails at one row.
struct RowLog {
    struct RowCall {
        std::int32_t thread, row, iterations;
        bool operator==(const RowCall&) const = default;
    };
    std::vector<RowCall> calls;
    std::int32_t failAt = -1;
};
thread_local RowLog rowLog;

PF_Err NoteRow(void* context, std::int32_t thread, std::int32_t row, std::int32_t iterations) {
    EXPECT_NE(context, nullptr);
    rowLog.calls.push_back({thread, row, iterations});
    return row == rowLog.failAt ? 42 : PF_Err_NONE;
}

// A host's pixel iteration and its scratch worlds.
struct Scratch {
    std::vector<std::string> calls;
    PF_Err newWorld = PF_Err_NONE;
    PF_Err iterate = PF_Err_NONE;  // replaces the rows' result
    PF_EffectWorld* world = nullptr;
    PF_ProgPtr ref = nullptr;
    PF_InData* inData = nullptr;
};
thread_local Scratch scratch;

PF_Err MakeScratch(PF_ProgPtr ref, std::int32_t width, std::int32_t height, std::int32_t flags,
                   PF_EffectWorld* world) {
    scratch.calls.push_back("new_world " + std::to_string(width) + " " + std::to_string(height) + " " +
                            std::to_string(flags));
    scratch.ref = ref;
    scratch.world = world;
    if (scratch.newWorld == PF_Err_NONE) {
        world->width = width;
        world->height = height;
    }
    return scratch.newWorld;
}

PF_Err DisposeScratch(PF_ProgPtr ref, PF_EffectWorld* world) {
    scratch.calls.push_back("dispose_world");
    EXPECT_EQ(world, scratch.world);
    EXPECT_EQ(ref, scratch.ref);
    return PF_Err_NONE;
}

PF_Err IterateScratch(PF_InData* inData, std::int32_t progressBase, std::int32_t progressFinal, PF_EffectWorld* src,
                      const PF_Rect* area, void* refcon, PF_IteratePixel8Func function, PF_EffectWorld* dst) {
    scratch.calls.push_back("iterate " + std::to_string(progressBase) + " " + std::to_string(progressFinal));
    EXPECT_EQ(inData, scratch.inData);
    EXPECT_EQ(src, scratch.world);
    EXPECT_EQ(dst, scratch.world);
    EXPECT_EQ(area, nullptr);
    for (std::int32_t y = src->height - 1; y >= 0; --y) {  // a host may use any order
        PF_Pixel pixel{};
        if (const PF_Err error = function(refcon, 0, y, &pixel, &pixel)) return error;
    }
    return scratch.iterate;
}

class Fallback : public testing::Test {
protected:
    Fallback() {
        rowLog = {};
        scratch = {};
        scratch.inData = &inData;
        utils.new_world = MakeScratch;
        utils.dispose_world = DisposeScratch;
        suite.iterate = IterateScratch;
        inData.utils = &utils;
        inData.effect_ref = reinterpret_cast<PF_ProgPtr>(this);
        context.inData = &inData;
    }

    PF_UtilCallbacks utils{};
    PF_Iterate8Suite1 suite{};
    PF_InData inData{};
    nuv::ConvertContext context;
};

using Calls = std::vector<RowLog::RowCall>;

TEST_F(Fallback, WithoutASuiteTakesTheRowsInOrderAsThreadZero) {
    EXPECT_EQ(nuv::IterateRowsFallback(4, context, NoteRow), PF_Err_NONE);
    EXPECT_EQ(rowLog.calls, (Calls{{0, 0, 4}, {0, 1, 4}, {0, 2, 4}, {0, 3, 4}}));
    EXPECT_TRUE(scratch.calls.empty());
}

TEST_F(Fallback, WithoutASuiteStopsAtTheFirstFailureAndReturnsIt) {
    rowLog.failAt = 2;
    EXPECT_EQ(nuv::IterateRowsFallback(5, context, NoteRow), 42);
    EXPECT_EQ(rowLog.calls, (Calls{{0, 0, 5}, {0, 1, 5}, {0, 2, 5}}));
}

TEST_F(Fallback, WithoutASuiteAndWithoutRowsDoesNothing) {
    for (int iterations : {0, -1, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(nuv::IterateRowsFallback(iterations, context, NoteRow), PF_Err_NONE);
        EXPECT_TRUE(rowLog.calls.empty());
    }
}

TEST_F(Fallback, WithASuiteSendsTheRowsThroughAScratchColumnAsThreadOne) {
    context.iterateSuite = &suite;
    EXPECT_EQ(nuv::IterateRowsFallback(3, context, NoteRow), PF_Err_NONE);
    EXPECT_EQ(rowLog.calls, (Calls{{1, 2, 3}, {1, 1, 3}, {1, 0, 3}}));
    EXPECT_EQ(scratch.calls, (std::vector<std::string>{"new_world 1 3 0", "iterate 0 3", "dispose_world"}));
    EXPECT_EQ(scratch.ref, inData.effect_ref);
}

TEST_F(Fallback, WithASuiteReturnsWhatTheHostsIterationReturnsAndDisposesOfTheScratchWorld) {
    context.iterateSuite = &suite;
    rowLog.failAt = 1;
    EXPECT_EQ(nuv::IterateRowsFallback(3, context, NoteRow), 42);
    EXPECT_EQ(rowLog.calls.size(), 2u);
    EXPECT_EQ(scratch.calls.back(), "dispose_world");

    rowLog = {};
    scratch.iterate = kStopped;
    EXPECT_EQ(nuv::IterateRowsFallback(3, context, NoteRow), kStopped);
    EXPECT_EQ(scratch.calls.back(), "dispose_world");
}

TEST_F(Fallback, WithoutAScratchWorldCallsNothingAndReturnsTheHostsCode) {
    context.iterateSuite = &suite;
    scratch.newWorld = PF_Err_OUT_OF_MEMORY;
    EXPECT_EQ(nuv::IterateRowsFallback(3, context, NoteRow), PF_Err_OUT_OF_MEMORY);
    EXPECT_TRUE(rowLog.calls.empty());
    EXPECT_EQ(scratch.calls, (std::vector<std::string>{"new_world 1 3 0"}));
}

}  // namespace
