// How the parameters' values reach the job, and through it the picture.
#include <array>
#include <limits>

#include "render/parameter_copies.h"
#include "render_fixture.h"

namespace {

using namespace protocol;
using refhost::PointValue;
using refhost::PopupValue;
using ParameterValues = Render;

class JobOfParameters : public testing::Test {
protected:
    JobOfParameters() {
        values_ = {};
        inData.inter.checkout_param = [](PF_ProgPtr, std::int32_t index, std::int32_t, std::int32_t, std::uint32_t,
                                         PF_ParamDef* param) -> PF_Err {
            *param = values_[static_cast<std::size_t>(index)];
            return PF_Err_NONE;
        };
        inData.inter.checkin_param = [](PF_ProgPtr, PF_ParamDef*) -> PF_Err { return PF_Err_NONE; };
    }

    PF_ParamDefUnion& Value(std::int32_t index) { return values_[static_cast<std::size_t>(index)].u; }

    nuv::RenderData Filled() {
        const nuv::ParameterCopies copies(&inData);
        nuv::RenderData job;
        copies.Fill(job);
        return job;
    }

    PF_InData inData{};

private:
    static inline std::array<PF_ParamDef, nuv::PARAM_COUNT> values_{};
};

TEST_F(JobOfParameters, RoundsTheCenterTowardMinusInfinity) {
    constexpr auto kMostFixed = std::numeric_limits<PF_Fixed>::max();
    constexpr auto kLeast = std::numeric_limits<PF_Fixed>::min();
    const std::pair<PF_Fixed, std::int32_t> table[] = {
        {0, 0},
        {65535, 0},
        {65536, 1},
        {-1, -1},
        {-65536, -1},
        {-65537, -2},
        {Fixed(-0.5), -1},
        {Fixed(100.75), 100},
        {Fixed(-100.75), -101},
        {kMostFixed, 32767},
        {kLeast, -32768},
    };
    for (const auto& [fixed, whole] : table) {
        Value(nuv::PARAM_FRAME_CENTER).td.x_value = fixed;
        Value(nuv::PARAM_FRAME_CENTER).td.y_value = ~fixed;
        const auto job = Filled();
        EXPECT_EQ(job.centerX, whole) << fixed;
        EXPECT_EQ(job.centerY, ~whole) << ~fixed;
    }
}

TEST_F(JobOfParameters, RoundsMinusAHalfToMinusOneAnd100AndThreeQuartersTo100) {
    Value(nuv::PARAM_FRAME_CENTER).td.x_value = Fixed(-0.5);
    Value(nuv::PARAM_FRAME_CENTER).td.y_value = Fixed(100.75);
    EXPECT_EQ(Filled().centerX, -1);
    EXPECT_EQ(Filled().centerY, 100);
}

TEST_F(JobOfParameters, CountsMenusFromZeroSoThatZeroBecomesMinusOne) {
    EXPECT_EQ(Filled().mode, -1);
    EXPECT_EQ(Filled().scaling, -1);
    EXPECT_EQ(Filled().show, -1);
    Value(nuv::PARAM_MODE).pd.value = 1;
    Value(nuv::PARAM_SCALING).pd.value = 2;
    Value(nuv::PARAM_SHOW).pd.value = 5;
    EXPECT_EQ(Filled().mode, 0);
    EXPECT_EQ(Filled().scaling, 1);
    EXPECT_EQ(Filled().show, 4);
    Value(nuv::PARAM_MODE).pd.value = std::numeric_limits<std::int32_t>::min();
    EXPECT_EQ(Filled().mode, std::numeric_limits<std::int32_t>::max());
}

TEST_F(JobOfParameters, NarrowsTheAmountToAFloat) {
    for (const double amount : {0.0, -100.0, 12.34, 1.0 / 3, 1e-50}) {
        Value(nuv::PARAM_AMOUNT).fs_d.value = amount;
        EXPECT_EQ(Filled().amount, static_cast<float>(amount));
    }
}

TEST_F(JobOfParameters, StartsAtZeroWithEightBitBuffers) {
    const nuv::RenderData job;
    EXPECT_EQ(job.sourceOffsetX, 0.0f);
    EXPECT_EQ(job.sourceOffsetY, 0.0f);
    EXPECT_EQ(job.input.bitsPerChannel, 8);
    EXPECT_EQ(job.output.bitsPerChannel, 8);
    EXPECT_EQ(job.input.pixels, nullptr);
    EXPECT_EQ(job.output.pixels, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Both, ParameterValues, testing::Values(RenderPath::smart, RenderPath::plain),
                         [](const auto& instance) {
                             return instance.param == RenderPath::smart ? "Smart" : "Plain";
                         });

TEST_P(ParameterValues, RoundsTheCenterTowardMinusInfinity) {
    const auto at = [this](double x, double y) {
        scene.instance.Set(nuv::PARAM_FRAME_CENTER, PointValue{Fixed(x), Fixed(y)});
        return Clean();
    };
    scene.instance.Set(nuv::PARAM_SCALING, PopupValue{1});
    EXPECT_EQ(at(-0.5, -0.5), at(-1, -1));
    EXPECT_NE(at(-0.5, 0), at(0, 0));
    EXPECT_NE(at(0, -0.5), at(0, 0));
    EXPECT_EQ(at(4.75, 1.99), at(4, 1));
    EXPECT_NE(at(4.75, 1), at(5, 1));
}

// Choices count from 1, so 0 is none of them.
TEST_P(ParameterValues, TakesAModeOfZeroForNoMode) {
    scene.instance.Set(nuv::PARAM_SHOW, PopupValue{1});
    scene.instance.Set(nuv::PARAM_MODE, PopupValue{0});
    const auto zero = Clean();
    for (const std::int32_t mode : {1, 2, 3}) {
        scene.instance.Set(nuv::PARAM_MODE, PopupValue{mode});
        EXPECT_NE(Clean(), zero);
    }
    scene.instance.Set(nuv::PARAM_MODE, PopupValue{-5});
    EXPECT_EQ(Clean(), zero);
}

TEST_P(ParameterValues, TakesAScalingOfZeroForLinear) {
    scene.instance.Set(nuv::PARAM_SCALING, PopupValue{0});
    const auto zero = Clean();
    scene.instance.Set(nuv::PARAM_SCALING, PopupValue{1});
    EXPECT_EQ(Clean(), zero);
}

TEST_P(ParameterValues, TakesAShowOfZeroForFinal) {
    scene.instance.Set(nuv::PARAM_SHOW, PopupValue{0});
    const auto zero = Clean();
    scene.instance.Set(nuv::PARAM_SHOW, PopupValue{1});
    EXPECT_EQ(Clean(), zero);
}

}  // namespace
