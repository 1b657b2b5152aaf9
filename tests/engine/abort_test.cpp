// When the engine asks the host whether to abort, and what it leaves behind when the host says yes.
#include <gtest/gtest.h>

#include "support/support.h"

namespace {

using support::Scene;
using support::SceneOf;
using support::Stage;

constexpr PF_Err kStopped = 517;

// The host answers its n-th question, counted from 0, with "stop".
refhost::FaultPlan StopAt(std::int64_t n) {
    return [n](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == refhost::Call::abort && call.index == n) return kStopped;
        return std::nullopt;
    };
}

Scene FiveRows() {
    Scene scene = SceneOf(kFormatArgb8, 6, 5);
    scene.amount = 20;
    return scene;
}

std::vector<std::byte> Untouched(const Scene& scene) {
    return std::vector<std::byte>(support::Expected(scene).size(), std::byte{refhost::World::kPoison});
}

TEST(Abort, IsAskedForOnceForEachRowOfEachPassOnTheFirstThreadAndOnceBetweenThem) {
    refhost::HostOptions options;
    options.iterationThreads = 1;
    Stage stage(options);
    EXPECT_EQ(stage.Render(FiveRows()).code, PF_Err_NONE);
    EXPECT_EQ(stage.host().account().Count(refhost::Call::abort), 5 + 1 + 5);
}

TEST(Abort, IsNotAskedForByTheRowsOfAHostWithoutGenericIteration) {
    refhost::HostOptions options;
    options.genericIteration = false;
    Stage stage(options);
    EXPECT_EQ(stage.Render(FiveRows()).code, PF_Err_NONE);
    EXPECT_EQ(stage.host().account().Count(refhost::Call::abort), 1);
}

TEST(Abort, OnTheWayInOrBeforeTheWorkLeavesTheOutputUntouched) {
    for (std::int64_t n = 0; n <= 5; ++n) {
        refhost::HostOptions options;
        options.iterationThreads = 1;
        options.faults = StopAt(n);
        Stage stage(options);
        const support::Outcome outcome = stage.Render(FiveRows());
        EXPECT_EQ(outcome.code, kStopped) << n;
        EXPECT_EQ(outcome.pixels, Untouched(FiveRows())) << n;
        EXPECT_EQ(outcome.complaints, std::vector<std::string>{}) << n;
        EXPECT_EQ(stage.host().account().Count(refhost::Call::abort), n + 1);
    }
}

TEST(Abort, OnTheWayOutStillWritesTheRowInProgress) {
    constexpr std::size_t rowBytes = 24;
    for (std::int64_t row = 0; row < 5; ++row) {
        refhost::HostOptions options;
        options.iterationThreads = 1;
        options.faults = StopAt(6 + row);
        Stage stage(options);
        const support::Outcome outcome = stage.Render(FiveRows());
        EXPECT_EQ(outcome.code, kStopped) << row;
        EXPECT_EQ(outcome.complaints, std::vector<std::string>{}) << row;

        std::vector<std::byte> expected = Untouched(FiveRows());
        const auto whole = support::Expected(FiveRows());
        std::copy_n(whole.begin(), static_cast<std::size_t>(row + 1) * rowBytes, expected.begin());
        support::ExpectSamePixels(expected, outcome.pixels, FiveRows().output);
    }
}

}  // namespace
