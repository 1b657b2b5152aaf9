// The render commands: smart pre-render, smart render, plain render, and the mutex around the driver.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <limits>
#include <mutex>
#include <thread>

#include "pf_smart_render.h"
#include "protocol_support.h"
#include "render/parameter_copies.h"
#include "render/render_mutex.h"

bool operator==(const PF_LRect& a, const PF_LRect& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

void PrintTo(const PF_LRect& rect, std::ostream* out) {
    *out << "(" << rect.left << ", " << rect.top << ", " << rect.right << ", " << rect.bottom << ")";
}

namespace {

using namespace protocol;
using refhost::PointValue;
using refhost::PopupValue;
using refhost::SliderValue;

// ---- Smart pre-render -------------------------------------------------------------------------------------------

constexpr Step kSmartPreRender[] = {
    {"checkout_layer 0", kFault, kUntouched},
    {"AcquireSuite PF Handle Suite 2", 516, kUntouched},
    {"host_new_handle 8", PF_Err_NONE, kWithoutOffset},
    // The handle is there, but nobody has written into it.
    {"host_lock_handle 8", PF_Err_NONE, kAnything, nullptr,
     "host_unlock_handle: a handle of 8 bytes is not locked"},
    {"host_unlock_handle 8", PF_Err_NONE, kAsClean},
    {"ReleaseSuite PF Handle Suite 2", PF_Err_NONE, kAsClean},
};

class SmartPreRender : public testing::Test {
protected:
    PF_Err Send() {
        scene.host.account().Reset();
        result = scene.instance.SmartRender(scene.settings, false);
        return result.preRender;
    }

    const PF_PreRenderOutput& output() const { return result.preRenderOutput; }

    // What it left for the render: left and top.
    std::pair<std::int32_t, std::int32_t> Offset() const {
        std::int32_t offset[2] = {-1, -1};
        EXPECT_EQ(result.preRenderData.size(), sizeof offset);
        if (result.preRenderData.size() == sizeof offset) {
            std::memcpy(offset, result.preRenderData.data(), sizeof offset);
        }
        return {offset[0], offset[1]};
    }

    void ExpectWholeLayer() const {
        constexpr PF_LRect layer{0, 0, Scene::kWidth, Scene::kHeight};
        EXPECT_EQ(output().result_rect, layer);
        EXPECT_EQ(output().max_result_rect, layer);
    }

    // Has `alter` look at, and change, the record that the effect is about to get.
    void BeforeTheEffect(std::function<void(PF_InData&, PF_PreRenderExtra&)> alter) {
        Between::change = [=](PF_Cmd cmd, PF_InData& inData, void* extra) {
            if (cmd == PF_Cmd_SMART_PRE_RENDER) alter(inData, *static_cast<PF_PreRenderExtra*>(extra));
        };
    }

    ~SmartPreRender() override { Between::change = nullptr; }

    Scene scene{InOrder(), Between::Put(Binary())};
    refhost::RenderResult result;
};

TEST_F(SmartPreRender, CallsTheHostInOrder) {
    EXPECT_EQ(Send(), PF_Err_NONE);
    Lines expected;
    for (const Step& step : kSmartPreRender)
        expected.push_back(step.call);
    EXPECT_EQ(scene.Calls(), expected);
    EXPECT_EQ(scene.Outstanding(), Lines()) << "the handle is the host's";
    EXPECT_EQ(scene.Misuse(), Lines());
}

TEST_F(SmartPreRender, RequestsAndAnnouncesTheWholeLayerWhateverIsAskedFor) {
    for (const PF_LRect& asked : {PF_LRect{2, 1, 3, 2}, PF_LRect{-50, -50, 50, 50}, PF_LRect{9, 9, 4, 4}}) {
        scene.settings.request = asked;
        EXPECT_EQ(Send(), PF_Err_NONE);
        EXPECT_EQ(result.inputRequest.rect, (PF_LRect{0, 0, Scene::kWidth, Scene::kHeight}));
        ExpectWholeLayer();
    }
}

TEST_F(SmartPreRender, TakesTheLayersSizeFromItsRecord) {
    scene.settings.layerWidth = 1920;
    scene.settings.layerHeight = 1080;
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(result.inputRequest.rect, (PF_LRect{0, 0, 1920, 1080}));
    EXPECT_EQ(output().result_rect, (PF_LRect{0, 0, 1920, 1080}));
    EXPECT_EQ(output().max_result_rect, (PF_LRect{0, 0, 1920, 1080}));
}

TEST_F(SmartPreRender, KeepsTheRestOfTheHostsRequest) {
    BeforeTheEffect([](PF_InData&, PF_PreRenderExtra& extra) {
        extra.input->output_request.field = 2;
        extra.input->output_request.channel_mask = 9;
        extra.input->output_request.preserve_rgb_of_zero_alpha = 1;
    });
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(result.inputRequest.field, 2);
    EXPECT_EQ(result.inputRequest.channel_mask, 9);
    EXPECT_EQ(result.inputRequest.preserve_rgb_of_zero_alpha, 1);
}

TEST_F(SmartPreRender, LeavesTheHostsOwnRequestAlone) {
    static PF_RenderRequest asked;
    static PF_PreRenderInput* input;
    BeforeTheEffect([](PF_InData&, PF_PreRenderExtra& extra) {
        asked = extra.input->output_request;
        input = extra.input;
        extra.cb->checkout_layer = [](PF_ProgPtr, std::int32_t, std::int32_t, const PF_RenderRequest* request,
                                      std::int32_t, std::int32_t, std::uint32_t, PF_CheckoutResult*) -> PF_Err {
            EXPECT_NE(request, &input->output_request);
            EXPECT_EQ(BytesOf(input->output_request), BytesOf(asked));
            return PF_Err_NONE;
        };
    });
    EXPECT_EQ(Send(), PF_Err_NONE);
}

TEST_F(SmartPreRender, ChecksOutTheInputLayerAtTheFramesTime) {
    struct Arguments {
        PF_ProgPtr ref;
        std::int32_t index, checkoutId, whatTime, timeStep;
        std::uint32_t timeScale;
    };
    static Arguments got;
    static PF_ProgPtr ref;
    got = {};
    BeforeTheEffect([](PF_InData& inData, PF_PreRenderExtra& extra) {
        ref = inData.effect_ref;
        extra.cb->checkout_layer = [](PF_ProgPtr effect, std::int32_t index, std::int32_t checkoutId,
                                      const PF_RenderRequest*, std::int32_t whatTime, std::int32_t timeStep,
                                      std::uint32_t timeScale, PF_CheckoutResult*) -> PF_Err {
            got = {effect, index, checkoutId, whatTime, timeStep, timeScale};
            return PF_Err_NONE;
        };
    });
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(got.ref, ref);
    EXPECT_EQ(got.index, 0);
    EXPECT_EQ(got.checkoutId, 0);
    EXPECT_EQ(got.whatTime, 7);
    EXPECT_EQ(got.timeStep, 2);
    EXPECT_EQ(got.timeScale, 30u);
}

TEST_F(SmartPreRender, StoresTheCheckoutsLeftAndTopIfThereIsNoRectangleYet) {
    scene.settings.checkoutResult = PF_LRect{-3, 4, 30, 40};
    for (const PF_LRect& empty :
         {PF_LRect{0, 0, 0, 0}, PF_LRect{-9, -9, -9, 5}, PF_LRect{-9, -9, 5, -9}, PF_LRect{8, -9, 2, 5}}) {
        scene.settings.initialResultRect = empty;
        EXPECT_EQ(Send(), PF_Err_NONE);
        EXPECT_EQ(Offset(), std::pair(-3, 4));
        ExpectWholeLayer();
    }
}

TEST_F(SmartPreRender, StoresTheLesserLeftAndTheLesserTopOfTwoRectangles) {
    scene.settings.checkoutResult = PF_LRect{-3, 4, 30, 40};
    scene.settings.initialResultRect = {-2, -8, 10, 10};
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(Offset(), std::pair(-3, -8));

    scene.settings.initialResultRect = {-5, 6, 10, 10};
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(Offset(), std::pair(-5, 4));
    ExpectWholeLayer();
}

TEST_F(SmartPreRender, KeepsARectangleBesideAnEmptyCheckout) {
    scene.settings.initialResultRect = {5, 6, 10, 10};
    for (const PF_LRect& empty : {PF_LRect{-9, -9, -9, 5}, PF_LRect{-9, -9, 5, -9}}) {
        scene.settings.checkoutResult = empty;
        EXPECT_EQ(Send(), PF_Err_NONE);
        EXPECT_EQ(Offset(), std::pair(5, 6));
        ExpectWholeLayer();
    }
}

TEST_F(SmartPreRender, TakesAnEmptyCheckoutIntoAnEmptyRectangleAsItIs) {
    scene.settings.checkoutResult = PF_LRect{-9, -8, -9, 5};
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(Offset(), std::pair(-9, -8));
}

TEST_F(SmartPreRender, StoresTheResultRectanglesOffsetNotTheMaximalOnes) {
    scene.settings.initialResultRect = {};
    BeforeTheEffect([](PF_InData&, PF_PreRenderExtra& extra) {
        extra.cb->checkout_layer = [](PF_ProgPtr, std::int32_t, std::int32_t, const PF_RenderRequest*, std::int32_t,
                                      std::int32_t, std::uint32_t, PF_CheckoutResult* checkout) -> PF_Err {
            checkout->result_rect = {11, 12, 13, 14};
            checkout->max_result_rect = {1, 2, 30, 40};
            return PF_Err_NONE;
        };
    });
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(Offset(), std::pair(11, 12));
}

TEST_F(SmartPreRender, SetsTheExtraPixelsFlagAlone) {
    BeforeTheEffect([](PF_InData&, PF_PreRenderExtra& extra) { extra.output->flags = 0x7FFE; });
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(output().flags, 1);
}

TEST_F(SmartPreRender, LeavesSolidAndTheDeleteFunctionAsTheyAre) {
    BeforeTheEffect([](PF_InData&, PF_PreRenderExtra& extra) { extra.output->solid = 1; });
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(output().solid, 1);
    EXPECT_EQ(output().delete_pre_render_data_func, nullptr);
}

TEST_F(SmartPreRender, AnswersInFullWhenTheLayersCheckoutFails) {
    scene.settings.initialResultRect = {5, 6, 10, 10};
    scene.host.options().faults = Fail(refhost::Call::checkoutLayer, 0);
    EXPECT_EQ(Send(), kFault);
    ExpectWholeLayer();
    EXPECT_EQ(output().flags, 1);
    EXPECT_EQ(result.preRenderData.size(), 8u);
    EXPECT_EQ(Offset(), std::pair(5, 6));
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Misuse(), Lines());
}

TEST_F(SmartPreRender, GoesWithoutDataIfTheHostGivesNoHandle) {
    scene.host.options().faults = Fail(refhost::Call::newHandle, 0);
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(output().pre_render_data, nullptr);
    ExpectWholeLayer();
    EXPECT_EQ(output().flags, 1);
    EXPECT_EQ(scene.Calls(), (Lines{"checkout_layer 0", "AcquireSuite PF Handle Suite 2", "host_new_handle 8",
                                    "ReleaseSuite PF Handle Suite 2"}));
}

TEST_F(SmartPreRender, LeavesAHandleThatCannotBeLockedUnwritten) {
    scene.host.options().faults = Fail(refhost::Call::lockHandle, 0);
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(scene.host.account().Count(refhost::Call::unlockHandle), 1) << "unlocked all the same";
    EXPECT_EQ(result.preRenderData.size(), 8u);
    EXPECT_NE(Offset(), std::pair(1, 1));
    ExpectWholeLayer();
}

TEST_F(SmartPreRender, Yields516WithoutTheHandleSuite) {
    for (const PF_Err code : {kFault, PF_Err_NONE}) {
        scene.host.options().faults = Fail("AcquireSuite PF Handle Suite 2", code);
        EXPECT_EQ(Send(), 516);
        EXPECT_EQ(output().pre_render_data, nullptr);
        EXPECT_EQ(scene.Outstanding(), Lines());
    }
}

TEST_F(SmartPreRender, Yields516WithoutABasicSuiteAndCallsNothing) {
    scene.settings.initialResultRect = {5, 6, 10, 10};
    BeforeTheEffect([](PF_InData& inData, PF_PreRenderExtra&) { inData.pica_basicP = nullptr; });
    EXPECT_EQ(Send(), 516);
    EXPECT_EQ(scene.Calls(), Lines());
    EXPECT_EQ(output().result_rect, (PF_LRect{5, 6, 10, 10}));
    EXPECT_EQ(output().flags, 0);
}

TEST_F(SmartPreRender, MayComeAnyNumberOfTimes) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Send(), PF_Err_NONE);
        EXPECT_EQ(Offset(), std::pair(1, 1));
    }
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST_F(SmartPreRender, DoesNotTouchOutData) {
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(BytesOf(result.outData), BytesOf(PF_OutData{}));
}

// ---- Smart render -----------------------------------------------------------------------------------------------

// An 8-bit layer of 6 x 3 pixels: a working copy of 72 bytes, a result buffer of 288.
constexpr Step kSmartRender[] = {
    kSmartPreRender[0],
    kSmartPreRender[1],
    kSmartPreRender[2],
    kSmartPreRender[3],
    kSmartPreRender[4],
    kSmartPreRender[5],
    {"checkout_layer_pixels 0", kFault, kUntouched},
    {"checkout_output", kFault, kUntouched},
    {"checkout_param 1", PF_Err_NONE, ZeroParameter(1)},
    {"checkout_param 2", PF_Err_NONE, ZeroParameter(2)},
    {"checkout_param 3", PF_Err_NONE, ZeroParameter(3)},
    {"checkout_param 4", PF_Err_NONE, ZeroParameter(4)},
    {"checkout_param 5", PF_Err_NONE, ZeroParameter(5)},
    {"AcquireSuite PF Handle Suite 2", 516, kUntouched},
    {"host_lock_handle 8", PF_Err_NONE, kWithoutOffset},
    {"host_unlock_handle 8", PF_Err_NONE, kAsClean},
    // The driver.
    {"AcquireSuite PF Pixel Format Suite 1", PF_Err_NONE, kAsClean},
    {"AcquireSuite PF World Suite 2", kFault, kUntouched,
     "suite \"PF Pixel Format Suite\" 1: acquired 1, released 0"},
    {"AcquireSuite PF Iterate8 Suite 1", PF_Err_NONE, kUntouched},  // the driver throws
    {"GetPixelFormat PF World Suite", PF_Err_NONE, kAnything},      // a source of an unknown format
    {"host_new_handle 72", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"host_lock_handle 72", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"iterate_generic 3", kFault, kUntouched},
    {"row 0", kFault, kUntouched},
    {"abort", kFault, kUntouched},
    {"row 1", kFault, kUntouched},
    {"abort", kFault, kUntouched},
    {"row 2", kFault, kUntouched},
    {"abort", kFault, kUntouched},
    {"GetPixelFormat PF World Suite", PF_Err_NONE, kUntouched},  // an output of an unknown format
    {"host_new_handle 288", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"host_lock_handle 288", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"abort", kFault, kUntouched},
    {"iterate_generic 3", kFault, kUntouched},
    {"row 0", kFault, kUntouched},
    {"abort", kFault, TopRows(1)},
    {"row 1", kFault, TopRows(1)},
    {"abort", kFault, TopRows(2)},
    {"row 2", kFault, TopRows(2)},
    {"abort", kFault, TopRows(3)},
    {"host_unlock_handle 72", PF_Err_NONE, kAsClean},
    {"host_dispose_handle 72", PF_Err_NONE, kAsClean},
    {"host_unlock_handle 288", PF_Err_NONE, kAsClean},
    {"host_dispose_handle 288", PF_Err_NONE, kAsClean},
    {"ReleaseSuite PF Pixel Format Suite 1", PF_Err_NONE, kAsClean},
    {"ReleaseSuite PF World Suite 2", PF_Err_NONE, kAsClean},
    {"ReleaseSuite PF Iterate8 Suite 1", PF_Err_NONE, kAsClean},
    // And out of it.
    {"checkin_param 1", kFault, kAsClean},
    {"checkin_param 2", kFault, kAsClean},
    {"checkin_param 3", kFault, kAsClean},
    {"checkin_param 4", kFault, kAsClean},
    {"checkin_param 5", kFault, kAsClean},
    {"ReleaseSuite PF Handle Suite 2", PF_Err_NONE, kAsClean},
};

TEST(SmartRender, CallsTheHostInOrder) {
    Scene scene;
    ExpectOrder(scene, Way::smart, kSmartRender);
}

TEST(SmartRender, KeepsItsPromisesWhicheverCallFails) {
    Scene scene;
    ExpectEveryFailure(scene, Way::smart, kSmartRender);
}

// Check-outs and check-ins as the host sees them. It may also fill a record and answer with an error all the same.
class ParamWatch {
public:
    static inline std::vector<PF_ParamDef*> out, in;
    static inline std::vector<std::vector<std::byte>> before;      // the records' bytes on their way to the host
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

// What smart and plain render promise alike.
class Render : public testing::TestWithParam<Way> {
protected:
    PF_Err Go() { return scene.Render(GetParam()); }
    std::vector<std::byte> Clean() { return scene.CleanPicture(GetParam()); }
    PF_Cmd Command() const { return GetParam() == Way::smart ? PF_Cmd_SMART_RENDER : PF_Cmd_RENDER; }

    void BeforeTheEffect(std::function<void(PF_InData&)> alter) {
        Between::change = [cmd = Command(), alter](PF_Cmd sent, PF_InData& inData, void*) {
            if (sent == cmd) alter(inData);
        };
    }

    // The check-ins among the calls.
    Lines Checkins() {
        Lines checkins = scene.Calls();
        std::erase_if(checkins, [](const std::string& line) { return !line.starts_with("checkin_param"); });
        return checkins;
    }

    void ExpectAllCheckedIn() {
        EXPECT_EQ(Checkins(), (Lines{"checkin_param 1", "checkin_param 2", "checkin_param 3", "checkin_param 4",
                                     "checkin_param 5"}));
        EXPECT_EQ(scene.Outstanding(), Lines());
    }

    ~Render() override { Between::change = nullptr; }

    Scene scene{InOrder(), Between::Put(Binary())};
};

INSTANTIATE_TEST_SUITE_P(Both, Render, testing::Values(Way::smart, Way::plain),
                         [](const auto& instance) { return instance.param == Way::smart ? "Smart" : "Plain"; });

TEST_P(Render, ChecksOutFiveZeroedRecordsOfItsOwnAndGivesBackTheSame) {
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

TEST_P(Render, AsksForTheParametersAtTheFramesTime) {
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

TEST_P(Render, ReadsARecordWhoseCheckoutFailedAsZeroWhateverTheHostWroteIntoIt) {
    for (std::int32_t index = 1; index <= 5; ++index)
        scene.instance.Set(index, Scene::Zero(index));
    const auto zero = Clean();
    for (std::int32_t index = 1; index <= 5; ++index)
        scene.instance.Set(index, Scene::Value(index));

    ParamWatch::Forget();
    ParamWatch::failAfterwards = true;
    BeforeTheEffect(ParamWatch::Put);
    EXPECT_EQ(Go(), PF_Err_NONE);
    EXPECT_EQ(scene.output.Pixels(), zero);
    ExpectAllCheckedIn();
}

TEST_P(Render, ChecksInAllFiveWhateverFailed) {
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

TEST_P(Render, ReturnsTheFirstOfSeveralCheckinErrors) {
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == "checkin_param 2") return 102;
        if (Line(call) == "checkin_param 4") return 104;
        return std::nullopt;
    };
    EXPECT_EQ(Go(), 102);
    ExpectAllCheckedIn();
}

TEST_P(Render, PrefersTheDriversErrorToACheckinsError) {
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == refhost::Call::checkinParam) return 102;
        if (call.call == refhost::Call::iterateGeneric) return 55;
        return std::nullopt;
    };
    EXPECT_EQ(Go(), 55);
    ExpectAllCheckedIn();
}

TEST_P(Render, ReportsACheckinErrorAfterADroppedException) {
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == "checkin_param 3") return 103;
        if (Line(call) == "AcquireSuite PF Iterate8 Suite 1") return kFault;
        return std::nullopt;
    };
    EXPECT_EQ(Go(), 103);
    EXPECT_TRUE(scene.OutputUntouched());
    ExpectAllCheckedIn();
}

TEST_P(Render, PassesTheAbortCodeOnUnchanged) {
    for (const PF_Err code : {PF_Interrupt_CANCEL, -3, 1}) {
        scene.host.options().faults = Fail("abort", code);
        EXPECT_EQ(Go(), code);
        EXPECT_TRUE(scene.OutputUntouched());
        ExpectAllCheckedIn();
    }
}

TEST_P(Render, ReadsTheValuesOfTheFramesTimeOnly) {
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

TEST_P(Render, WritesNeitherItsInputNorAroundIt) {
    const auto source = scene.input.Pixels();
    EXPECT_EQ(Go(), PF_Err_NONE);
    EXPECT_EQ(scene.input.Pixels(), source);
    EXPECT_EQ(scene.input.Surroundings(), "");
    EXPECT_EQ(scene.output.Surroundings(), "");
}

TEST_P(Render, NeitherReadsNorWritesOutData) {
    EXPECT_EQ(Go(), PF_Err_NONE);
    EXPECT_EQ(BytesOf(scene.result.outData), BytesOf(PF_OutData{}));
}

TEST_P(Render, YieldsACodeWithoutAnOutput) {
    scene.settings.output = nullptr;
    EXPECT_NE(Go(), PF_Err_NONE);
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST_P(Render, TruncatesTheCenterTowardMinusInfinity) {
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

// Popups count from 1, so that 0 is a choice before the first one.
TEST_P(Render, TakesAModeOfZeroForNoMode) {
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

TEST_P(Render, TakesAScalingOfZeroForLinear) {
    scene.instance.Set(nuv::PARAM_SCALING, PopupValue{0});
    const auto zero = Clean();
    scene.instance.Set(nuv::PARAM_SCALING, PopupValue{1});
    EXPECT_EQ(Clean(), zero);
}

TEST_P(Render, TakesAShowOfZeroForFinal) {
    scene.instance.Set(nuv::PARAM_SHOW, PopupValue{0});
    const auto zero = Clean();
    scene.instance.Set(nuv::PARAM_SHOW, PopupValue{1});
    EXPECT_EQ(Clean(), zero);
}

// ---- The values in the job --------------------------------------------------------------------------------------

class Job : public testing::Test {
protected:
    Job() {
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

TEST_F(Job, HasTheCentersHighHalves) {
    constexpr auto kMost = std::numeric_limits<PF_Fixed>::max();
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
        {kMost, 32767},
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

TEST_F(Job, HasACenterOfMinusAHalfAtMinusOneAndOneOf100AndThreeQuartersAt100) {
    Value(nuv::PARAM_FRAME_CENTER).td.x_value = Fixed(-0.5);
    Value(nuv::PARAM_FRAME_CENTER).td.y_value = Fixed(100.75);
    EXPECT_EQ(Filled().centerX, -1);
    EXPECT_EQ(Filled().centerY, 100);
}

TEST_F(Job, CountsMenusFromZeroSoThatZeroBecomesMinusOne) {
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

TEST_F(Job, NarrowsTheAmountToAFloat) {
    for (const double amount : {0.0, -100.0, 12.34, 1.0 / 3, 1e-50}) {
        Value(nuv::PARAM_AMOUNT).fs_d.value = amount;
        EXPECT_EQ(Filled().amount, static_cast<float>(amount));
    }
}

TEST_F(Job, StartsAtZeroWithEightBitBuffers) {
    const nuv::RenderData job;
    EXPECT_EQ(job.sourceOffsetX, 0.0f);
    EXPECT_EQ(job.sourceOffsetY, 0.0f);
    EXPECT_EQ(job.sourceWorld, nullptr);
    EXPECT_EQ(job.input.bitsPerChannel, 8);
    EXPECT_EQ(job.output.bitsPerChannel, 8);
    EXPECT_EQ(job.input.pixels, nullptr);
    EXPECT_EQ(job.output.pixels, nullptr);
}

// ---- Smart render: what is its own
// --------------------------------------------------------------------------------

class SmartRenderAlone : public Render {};
INSTANTIATE_TEST_SUITE_P(Only, SmartRenderAlone, testing::Values(Way::smart), [](const auto&) { return "Smart"; });

TEST_P(SmartRenderAlone, ShiftsTheSourceByThePreRendersOffset) {
    std::vector<std::vector<std::byte>> pictures;
    for (const auto& [left, top] : {std::pair(0, 0), std::pair(1, 1), std::pair(2, 0), std::pair(-1, 1)}) {
        scene.settings.checkoutResult = PF_LRect{left, top, left + 6, top + 3};
        pictures.push_back(Clean());
    }
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_NE(pictures[i], pictures[j]);
    }
    EXPECT_EQ(pictures[0], scene.CleanPicture(Way::plain));
}

TEST_P(SmartRenderAlone, HasNoOffsetWithoutPreRenderData) {
    scene.host.options().faults = Fail("host_new_handle 8");
    EXPECT_EQ(Go(), PF_Err_NONE);
    EXPECT_EQ(scene.output.Pixels(), scene.CleanPicture(Way::plain));
}

TEST_P(SmartRenderAlone, ChecksOutNoParametersWhenThePixelsCannotBeHad) {
    for (const char* line : {"checkout_layer_pixels 0", "checkout_output"}) {
        scene.host.options().faults = Fail(line);
        EXPECT_EQ(Go(), kFault);
        EXPECT_EQ(scene.host.account().Count(refhost::Call::checkoutParam), 0);
        EXPECT_EQ(scene.Calls().back(), line) << "nothing was acquired yet, so nothing is released";
        EXPECT_TRUE(scene.OutputUntouched());
    }
}

TEST_P(SmartRenderAlone, ChecksTheParametersInWhenTheHandleSuiteIsMissing) {
    for (const PF_Err code : {kFault, PF_Err_NONE}) {
        int asked = 0;
        scene.host.options().faults = [&](const refhost::CallRecord& call) -> std::optional<PF_Err> {
            const bool second = Line(call) == "AcquireSuite PF Handle Suite 2" && ++asked == 2;
            return second ? std::optional(code) : std::nullopt;
        };
        EXPECT_EQ(Go(), 516);
        EXPECT_EQ(scene.result.preRender, PF_Err_NONE);
        ExpectAllCheckedIn();
        EXPECT_TRUE(scene.OutputUntouched());
    }
}

TEST_P(SmartRenderAlone, Yields516WithoutABasicSuiteAndCallsNothing) {
    BeforeTheEffect([](PF_InData& inData) { inData.pica_basicP = nullptr; });
    EXPECT_EQ(Go(), 516);
    EXPECT_EQ(scene.result.preRender, PF_Err_NONE);
    EXPECT_EQ(scene.Calls().size(), std::size(kSmartPreRender));
    EXPECT_TRUE(scene.OutputUntouched());
}

TEST_P(SmartRenderAlone, NeverChecksTheInputIn) {
    EXPECT_EQ(Go(), PF_Err_NONE);
    EXPECT_EQ(scene.host.account().Count(refhost::Call::checkinLayerPixels), 0);
}

TEST_P(SmartRenderAlone, LeavesThePreRenderDataToTheHost) {
    static PF_Handle handle;
    handle = nullptr;
    Between::change = [](PF_Cmd cmd, PF_InData&, void* extra) {
        if (cmd != PF_Cmd_SMART_RENDER) return;
        handle = static_cast<PF_Handle>(static_cast<PF_SmartRenderExtra*>(extra)->input->pre_render_data);
    };
    EXPECT_EQ(Go(), PF_Err_NONE);
    EXPECT_NE(handle, nullptr);
    const auto calls = scene.Calls();
    EXPECT_EQ(std::ranges::count(calls, "host_dispose_handle 8"), 0);
    EXPECT_EQ(scene.Misuse(), Lines()) << "the host found it live and unlocked";
}

// ---- Plain render
// -------------------------------------------------------------------------------------------------

constexpr Step kPlainRender[] = {
    kSmartRender[8],  // the check-outs
    kSmartRender[9],
    kSmartRender[10],
    kSmartRender[11],
    kSmartRender[12],
    {"AcquireSuite PF Pixel Format Suite 1", PF_Err_NONE, kAsClean},
    {"AcquireSuite PF World Suite 2", kFault, kUntouched,
     "suite \"PF Pixel Format Suite\" 1: acquired 1, released 0"},
    {"AcquireSuite PF Iterate8 Suite 1", PF_Err_NONE, kUntouched},
    {"GetPixelFormat PF World Suite", PF_Err_NONE, kAnything},
    {"host_new_handle 72", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"host_lock_handle 72", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"iterate_generic 3", kFault, kUntouched},
    {"row 0", kFault, kUntouched},
    {"abort", kFault, kUntouched},
    {"row 1", kFault, kUntouched},
    {"abort", kFault, kUntouched},
    {"row 2", kFault, kUntouched},
    {"abort", kFault, kUntouched},
    {"GetPixelFormat PF World Suite", PF_Err_NONE, kUntouched},
    {"host_new_handle 288", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"host_lock_handle 288", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"abort", kFault, kUntouched},
    {"iterate_generic 3", kFault, kUntouched},
    {"row 0", kFault, kUntouched},
    {"abort", kFault, TopRows(1)},
    {"row 1", kFault, TopRows(1)},
    {"abort", kFault, TopRows(2)},
    {"row 2", kFault, TopRows(2)},
    {"abort", kFault, TopRows(3)},
    {"host_unlock_handle 72", PF_Err_NONE, kAsClean},
    {"host_dispose_handle 72", PF_Err_NONE, kAsClean},
    {"host_unlock_handle 288", PF_Err_NONE, kAsClean},
    {"host_dispose_handle 288", PF_Err_NONE, kAsClean},
    {"ReleaseSuite PF Pixel Format Suite 1", PF_Err_NONE, kAsClean},
    {"ReleaseSuite PF World Suite 2", PF_Err_NONE, kAsClean},
    {"ReleaseSuite PF Iterate8 Suite 1", PF_Err_NONE, kAsClean},
    {"checkin_param 1", kFault, kAsClean},
    {"checkin_param 2", kFault, kAsClean},
    {"checkin_param 3", kFault, kAsClean},
    {"checkin_param 4", kFault, kAsClean},
    {"checkin_param 5", kFault, kAsClean},
};

TEST(PlainRender, CallsTheHostInOrder) {
    Scene scene;
    ExpectOrder(scene, Way::plain, kPlainRender);
}

TEST(PlainRender, KeepsItsPromisesWhicheverCallFails) {
    Scene scene;
    ExpectEveryFailure(scene, Way::plain, kPlainRender);
}

TEST(PlainRender, NeverHasAnOffsetWhateverTheLayersPosition) {
    Scene scene;
    const auto picture = scene.CleanPicture(Way::plain);
    const auto pixels = scene.input.Pixels();
    for (const auto& [x, y] : {std::pair(0, 0), std::pair(3, -2), std::pair(-100, 50)}) {
        auto layout = scene.input.layout();
        layout.originX = x;
        layout.originY = y;
        scene.input = refhost::World(layout);
        scene.input.SetPixels(pixels);
        EXPECT_EQ(scene.CleanPicture(Way::plain), picture);
    }
}

TEST(PlainRender, NeverReadsTheArraysValues) {
    Scene scene;
    const auto picture = scene.CleanPicture(Way::plain);  // with null entries
    std::array<PF_ParamDef, 5> values;
    std::memset(values.data(), 0x77, sizeof values);
    const auto before = BytesOf(values);
    for (auto& value : values)
        scene.settings.plainParams.push_back(&value);
    EXPECT_EQ(scene.CleanPicture(Way::plain), picture);
    EXPECT_EQ(BytesOf(values), before);
}

TEST(PlainRender, IsSilentWithoutABasicSuite) {
    Scene scene(InOrder(), Between::Put(Binary()));
    Between::change = [](PF_Cmd, PF_InData& inData, void*) { inData.pica_basicP = nullptr; };
    EXPECT_EQ(scene.Render(Way::plain), PF_Err_NONE);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(scene.Calls(), (Lines{"checkout_param 1", "checkout_param 2", "checkout_param 3", "checkout_param 4",
                                    "checkout_param 5", "checkin_param 1", "checkin_param 2", "checkin_param 3",
                                    "checkin_param 4", "checkin_param 5"}));
    Between::change = nullptr;
}

TEST(PlainRender, RendersWhatASmartRenderWithoutOffsetRenders) {
    Scene scene;
    scene.settings.checkoutResult = PF_LRect{0, 0, 6, 3};
    EXPECT_EQ(scene.CleanPicture(Way::plain), scene.CleanPicture(Way::smart));
}

// ---- Exceptions
// ---------------------------------------------------------------------------------------------------

// The host's callbacks throw on purpose, to stand for whatever may.
TEST(SmartRender, DropsWhatTheDriverThrowsAndLetsTheNextFrameIn) {
    Scene scene(InOrder(), Linked());
    const auto clean = scene.CleanPicture(Way::smart);
    for (const char* line :
         {"AcquireSuite PF Pixel Format Suite 1", "AcquireSuite PF World Suite 2",
          "AcquireSuite PF Iterate8 Suite 1", "GetPixelFormat PF World Suite", "host_new_handle 72",
          "host_lock_handle 72", "iterate_generic 3", "host_new_handle 288", "host_lock_handle 288"}) {
        SCOPED_TRACE(line);
        scene.host.options().faults = [line](const refhost::CallRecord& call) -> std::optional<PF_Err> {
            if (Line(call) == line) throw std::runtime_error(line);
            return std::nullopt;
        };
        EXPECT_EQ(scene.Render(Way::smart), PF_Err_NONE);
        EXPECT_TRUE(scene.OutputUntouched());
        EXPECT_EQ(scene.Outstanding(), Lines());
        EXPECT_EQ(scene.Misuse(), Lines());
        ASSERT_TRUE(nuv::g_renderMutex.try_lock());
        nuv::g_renderMutex.unlock();
        EXPECT_EQ(scene.CleanPicture(Way::smart), clean);
    }
}

TEST(SmartRender, GivesTheMutexBackAfterAnError) {
    Scene scene(InOrder(), Linked());
    scene.host.options().faults = Fail("iterate_generic 3");
    for (const Way way : {Way::smart, Way::plain}) {
        EXPECT_EQ(scene.Render(way), kFault);
        ASSERT_TRUE(nuv::g_renderMutex.try_lock());
        nuv::g_renderMutex.unlock();
    }
}

TEST(SmartRender, ReturnsAnIntThatACheckoutThrowsAndGivesBackTheRest) {
    Scene scene(InOrder(), Linked());
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == "checkout_param 4") throw 99;
        return std::nullopt;
    };
    for (const Way way : {Way::smart, Way::plain}) {
        EXPECT_EQ(scene.Render(way), 99);
        EXPECT_TRUE(scene.OutputUntouched());
        EXPECT_EQ(scene.Outstanding(), Lines());
    }
}

// ---- The mutex
// ------------------------------------------------------------------------------------------------------

using namespace std::chrono_literals;

// Waits for something to come true in another thread; false after a time that no machine needs.
class Signal {
public:
    void Raise() {
        const std::lock_guard lock(mutex_);
        raised_ = true;
        changed_.notify_all();
    }
    bool Wait() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, 20s, [this] { return raised_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool raised_ = false;
};

// The driver's first and last call, and the last one before it.
constexpr const char* kFirst = "AcquireSuite PF Pixel Format Suite 1";
constexpr const char* kLast = "ReleaseSuite PF Iterate8 Suite 1";
constexpr const char* kArrived = "checkout_param 5";

// Starts a render and, once that is inside the driver, another one; the first goes on only when the second stands
// before the mutex, and takes its time in every row.
void ExpectTurns(refhost::PluginLibrary library, Way first, Way second) {
    Scene a(InOrder(), library), b(InOrder(), library);
    Signal inside, arrived;
    std::mutex mutex;
    std::vector<std::string> events;  // "a in", "a out", …
    const auto note = [&](const std::string& event) {
        const std::lock_guard lock(mutex);
        events.push_back(event);
    };

    std::atomic<bool> waited{false};
    a.host.options().faults = [&](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == kFirst) note("a in");
        if (Line(call) == kLast) note("a out");
        if (call.call == refhost::Call::row) {
            inside.Raise();
            if (!waited.exchange(true)) {
                EXPECT_TRUE(arrived.Wait());
            }
            std::this_thread::sleep_for(10ms);
        }
        return std::nullopt;
    };
    b.host.options().faults = [&](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == kArrived) arrived.Raise();
        if (Line(call) == kFirst) note("b in");
        if (Line(call) == kLast) note("b out");
        return std::nullopt;
    };

    auto other = std::async(std::launch::async, [&] {
        EXPECT_TRUE(inside.Wait());
        return b.Render(second);
    });
    EXPECT_EQ(a.Render(first), PF_Err_NONE);
    EXPECT_EQ(other.get(), PF_Err_NONE);
    EXPECT_EQ(events, (Lines{"a in", "a out", "b in", "b out"}));
    for (Scene* scene : {&a, &b}) {
        EXPECT_EQ(scene->Outstanding(), Lines());
        EXPECT_EQ(scene->Misuse(), Lines());
    }
    EXPECT_EQ(a.output.Pixels(), a.CleanPicture(first));
    EXPECT_EQ(b.output.Pixels(), b.CleanPicture(second));
}

TEST(RenderMutex, LetsTwoSmartRendersTakeTurns) {
    ExpectTurns(Binary(), Way::smart, Way::smart);
}

TEST(RenderMutex, LetsTwoPlainRendersTakeTurns) {
    ExpectTurns(Binary(), Way::plain, Way::plain);
}

TEST(RenderMutex, LetsASmartAndAPlainRenderTakeTurns) {
    ExpectTurns(Binary(), Way::smart, Way::plain);
    ExpectTurns(Binary(), Way::plain, Way::smart);
}

// Several instances in one host, many frames: no driver's first call comes before another one's last.
TEST(RenderMutex, NeverInterleavesManyRenders) {
    Scene scene;
    constexpr int kThreads = 4, kFrames = 5;
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == refhost::Call::row) std::this_thread::sleep_for(200us);
        return std::nullopt;
    };
    std::vector<refhost::World> outputs;
    for (int i = 0; i < kThreads; ++i)
        outputs.emplace_back(scene.output.layout());
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            auto settings = scene.settings;
            settings.output = &outputs[static_cast<std::size_t>(i)];
            for (int frame = 0; frame < kFrames; ++frame) {
                const bool smart = (i + frame) % 2 == 0;
                const auto result =
                    smart ? scene.instance.SmartRender(settings) : scene.instance.PlainRender(settings);
                EXPECT_EQ(result.render, PF_Err_NONE);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();

    std::uint64_t inside = 0;  // the thread that is in the driver
    int drivers = 0, visitors = 0;
    for (const auto& call : scene.host.account().Calls()) {
        const auto line = Line(call);
        if (line == kFirst) {
            EXPECT_EQ(inside, 0u) << "thread " << call.thread << " enters";
            inside = call.thread;
            ++drivers;
        } else if (line == kLast) {
            EXPECT_EQ(inside, call.thread);
            inside = 0;
        } else if (inside != 0 && call.thread != inside) {
            ++visitors;  // outside the mutex
        }
    }
    EXPECT_EQ(drivers, kThreads * kFrames);
    EXPECT_GT(visitors, 0) << "the renders did not meet";
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Misuse(), Lines());
}

TEST(RenderMutex, IsTakenAfterTheCheckoutsAndNotByPreRender) {
    for (const Way way : {Way::smart, Way::plain}) {
        Scene scene(InOrder(), Linked());
        Signal arrived;
        std::atomic<bool> driver{false};
        scene.host.options().faults = [&](const refhost::CallRecord& call) -> std::optional<PF_Err> {
            if (Line(call) == kFirst) driver = true;
            if (Line(call) == kArrived) arrived.Raise();
            return std::nullopt;
        };
        std::future<PF_Err> render;
        {
            const std::lock_guard held(nuv::g_renderMutex);
            render = std::async(std::launch::async, [&] { return scene.Render(way); });
            EXPECT_TRUE(arrived.Wait());
            EXPECT_EQ(render.wait_for(30ms), std::future_status::timeout);
            EXPECT_FALSE(driver);

            auto preRender = std::async(
                std::launch::async, [&] { return scene.instance.SmartRender(scene.settings, false).preRender; });
            EXPECT_EQ(preRender.wait_for(20s), std::future_status::ready);
        }
        EXPECT_EQ(render.get(), PF_Err_NONE);
        EXPECT_TRUE(driver);
    }
}

TEST(RenderMutex, IsFreeWhenParametersAreCheckedIn) {
    for (const Way way : {Way::smart, Way::plain}) {
        Scene scene(InOrder(), Linked());
        int free = 0;
        scene.host.options().faults = [&](const refhost::CallRecord& call) -> std::optional<PF_Err> {
            if (call.call != refhost::Call::checkinParam) return std::nullopt;
            auto lock = std::async(std::launch::async, [&] {
                return std::unique_lock(nuv::g_renderMutex, std::try_to_lock).owns_lock();
            });
            free += lock.get();
            return std::nullopt;
        };
        EXPECT_EQ(scene.Render(way), PF_Err_NONE);
        EXPECT_EQ(free, 5);
    }
}

}  // namespace
