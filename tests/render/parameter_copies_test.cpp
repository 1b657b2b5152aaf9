// How smart and plain render check parameters out and in.
#include <array>

#include "render_fixture.h"

namespace {

using namespace protocol;
using refhost::SliderValue;
using ParameterCopies = Render;

// Notes the check-outs and check-ins that the host sees. A check-out can also fail after the host has filled the
// record.
class ParamWatch {
public:
    static inline std::vector<PF_ParamDef*> out, in;
    static inline std::vector<std::vector<std::byte>> before;      // the records' bytes when the host gets them
    static inline std::vector<std::array<std::int64_t, 4>> asked;  // index, time, step, scale
    static inline std::vector<PF_ProgPtr> refs;
    static inline bool failAfterwards = false;

    static void Put(PF_InData& inData) {
        checkout_ = inData.inter.checkout_param;
        checkin_ = inData.inter.checkin_param;
        inData.inter.checkout_param = Checkout;
        inData.inter.checkin_param = Checkin;
    }

    static void Forget() {
        out.clear();
        in.clear();
        before.clear();
        asked.clear();
        refs.clear();
        failAfterwards = false;
    }

private:
    static PF_Err Checkout(PF_ProgPtr ref, std::int32_t index, std::int32_t whatTime, std::int32_t timeStep,
                           std::uint32_t timeScale, PF_ParamDef* param) {
        out.push_back(param);
        before.push_back(BytesOf(*param));
        asked.push_back({index, whatTime, timeStep, timeScale});
        refs.push_back(ref);
        const PF_Err code = checkout_(ref, index, whatTime, timeStep, timeScale, param);
        return failAfterwards ? kFault : code;
    }
    static PF_Err Checkin(PF_ProgPtr ref, PF_ParamDef* param) {
        in.push_back(param);
        refs.push_back(ref);
        return checkin_(ref, param);
    }

    static inline decltype(PF_InteractCallbacks::checkout_param) checkout_ = nullptr;
    static inline decltype(PF_InteractCallbacks::checkin_param) checkin_ = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Both, ParameterCopies, testing::Values(RenderPath::smart, RenderPath::plain),
                         [](const auto& instance) {
                             return instance.param == RenderPath::smart ? "Smart" : "Plain";
                         });

TEST_P(ParameterCopies, ChecksOutFiveZeroedRecordsAndChecksInTheSame) {
    ParamWatch::Forget();
    BeforeTheEffect(ParamWatch::Put);
    EXPECT_EQ(Go(), PF_Err_NONE);
    ASSERT_EQ(ParamWatch::out.size(), 5u);
    EXPECT_EQ(ParamWatch::in, ParamWatch::out);
    auto distinct = ParamWatch::out;
    std::ranges::sort(distinct);
    EXPECT_EQ(std::unique(distinct.begin(), distinct.end()), distinct.end());
    for (const auto& bytes : ParamWatch::before)
        EXPECT_EQ(bytes, std::vector<std::byte>(sizeof(PF_ParamDef)));
}

TEST_P(ParameterCopies, AsksForTheParametersAtTheFramesTime) {
    static PF_ProgPtr ref;
    ParamWatch::Forget();
    BeforeTheEffect([](PF_InData& inData) {
        ref = inData.effect_ref;
        ParamWatch::Put(inData);
    });
    scene.settings.currentTime = -12;
    EXPECT_EQ(Go(), PF_Err_NONE);
    ASSERT_EQ(ParamWatch::asked.size(), 5u);
    for (std::int64_t i = 0; i < 5; ++i) {
        EXPECT_EQ(ParamWatch::asked[static_cast<std::size_t>(i)], (std::array<std::int64_t, 4>{i + 1, -12, 2, 30}));
    }
    EXPECT_EQ(ParamWatch::refs, std::vector<PF_ProgPtr>(10, ref));
}

TEST_P(ParameterCopies, TakesAParameterForZeroWhenItsCheckoutFailsWhateverTheHostWrote) {
    for (std::int32_t index = 1; index <= 5; ++index)
        scene.instance.Set(index, HostedScene::Zero(index));
    const auto zero = Clean();
    for (std::int32_t index = 1; index <= 5; ++index)
        scene.instance.Set(index, HostedScene::Value(index));

    ParamWatch::Forget();
    ParamWatch::failAfterwards = true;
    BeforeTheEffect(ParamWatch::Put);
    EXPECT_EQ(Go(), PF_Err_NONE);
    EXPECT_EQ(scene.output.Pixels(), zero);
    ExpectAllCheckedIn();
}

TEST_P(ParameterCopies, ChecksInAllFiveWhateverFailed) {
    const std::string driver[] = {"AcquireSuite PF Iterate8 Suite 1",
                                  "host_new_handle 72",
                                  "host_new_handle 288",
                                  "host_lock_handle 72",
                                  "host_lock_handle 288",
                                  "iterate_generic 3",
                                  "row 1",
                                  "abort",
                                  "AcquireSuite PF World Suite 2"};
    for (const auto& line : driver) {
        SCOPED_TRACE(line);
        scene.host.options().faults = Fail(line);
        Go();
        EXPECT_EQ(Checkins().size(), 5u);
        scene.host.account().Reclaim();
    }
    for (int index = 1; index <= 5; ++index) {
        scene.host.options().faults = Fail("checkout_param " + std::to_string(index));
        EXPECT_EQ(Go(), PF_Err_NONE);
        ExpectAllCheckedIn();
        scene.host.options().faults = Fail("checkin_param " + std::to_string(index));
        EXPECT_EQ(Go(), kFault);
        ExpectAllCheckedIn();
    }
}

TEST_P(ParameterCopies, ReturnsTheFirstOfSeveralCheckinErrors) {
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == "checkin_param 2") return 102;
        if (Line(call) == "checkin_param 4") return 104;
        return std::nullopt;
    };
    EXPECT_EQ(Go(), 102);
    ExpectAllCheckedIn();
}

TEST_P(ParameterCopies, ReturnsTheDriversErrorWhenACheckinFailsToo) {
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == refhost::Call::checkinParam) return 102;
        if (call.call == refhost::Call::iterateGeneric) return 55;
        return std::nullopt;
    };
    EXPECT_EQ(Go(), 55);
    ExpectAllCheckedIn();
}

TEST_P(ParameterCopies, ReportsACheckinErrorAfterADroppedException) {
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == "checkin_param 3") return 103;
        if (Line(call) == "AcquireSuite PF Iterate8 Suite 1") return kFault;
        return std::nullopt;
    };
    EXPECT_EQ(Go(), 103);
    EXPECT_TRUE(scene.OutputUntouched());
    ExpectAllCheckedIn();
}

TEST_P(ParameterCopies, ReadsTheValuesOfTheFramesTimeOnly) {
    const auto before = Clean();
    scene.instance.SetAt(scene.settings.currentTime + 1, nuv::PARAM_AMOUNT, SliderValue{-50});
    EXPECT_EQ(Clean(), before);
    scene.instance.SetAt(scene.settings.currentTime, nuv::PARAM_AMOUNT, SliderValue{0});
    const auto atTime = Clean();
    EXPECT_NE(atTime, before);
    scene.settings.currentTime += 2;
    scene.instance.Set(nuv::PARAM_AMOUNT, SliderValue{0});
    EXPECT_EQ(Clean(), atTime);
}

}  // namespace
