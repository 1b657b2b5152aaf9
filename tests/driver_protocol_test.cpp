// What the host sees of the render driver.
#include <stdexcept>

#include "engine/render_aberration.h"
#include "protocol_support.h"

namespace {

using namespace protocol;
using refhost::Personality;

// ---- Every call, in order
// -----------------------------------------------------------------------------------------

constexpr const char* kFormatSuiteKept = "suite \"PF Pixel Format Suite\" 1: acquired 1, released 0";
constexpr const char* kWorldSuiteKept = "suite \"PF World Suite\" 2: acquired 1, released 0";

// The editing host has a second opinion on pixel formats, which counts.
constexpr Step kEditor[] = {
    {"checkout_param 1", PF_Err_NONE, ZeroParameter(1)},
    {"checkout_param 2", PF_Err_NONE, ZeroParameter(2)},
    {"checkout_param 3", PF_Err_NONE, ZeroParameter(3)},
    {"checkout_param 4", PF_Err_NONE, ZeroParameter(4)},
    {"checkout_param 5", PF_Err_NONE, ZeroParameter(5)},
    {"AcquireSuite PF Pixel Format Suite 1", PF_Err_NONE, kUntouched, kWorldSuiteKept},
    {"AcquireSuite PF World Suite 2", kFault, kUntouched, kFormatSuiteKept},
    {"AcquireSuite PF Iterate8 Suite 1", PF_Err_NONE, kUntouched},
    {"GetPixelFormat PF World Suite", PF_Err_NONE, kAsClean},
    {"GetPixelFormat PF Pixel Format Suite", PF_Err_NONE, kAsClean},
    {"host_new_handle 72", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"host_lock_handle 72", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"iterate_generic 3", kFault, kUntouched},
    {"row 0", kFault, kUntouched},
    {"abort", kFault, kUntouched},
    {"row 1", kFault, kUntouched},
    {"abort", kFault, kUntouched},
    {"row 2", kFault, kUntouched},
    {"abort", kFault, kUntouched},
    {"GetPixelFormat PF World Suite", PF_Err_NONE, kAsClean},
    {"GetPixelFormat PF Pixel Format Suite", PF_Err_NONE, kAsClean},
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

// A host whose iteration suite goes by pixels only: one pixel of a scratch column stands for a row, and nobody
// asks for an abort in between, as the host does it itself.
constexpr Step kPixelIteration[] = {
    {"checkout_param 1", PF_Err_NONE, ZeroParameter(1)},
    {"checkout_param 2", PF_Err_NONE, ZeroParameter(2)},
    {"checkout_param 3", PF_Err_NONE, ZeroParameter(3)},
    {"checkout_param 4", PF_Err_NONE, ZeroParameter(4)},
    {"checkout_param 5", PF_Err_NONE, ZeroParameter(5)},
    {"AcquireSuite PF Pixel Format Suite 1", PF_Err_NONE, kAsClean},
    {"AcquireSuite PF World Suite 2", kFault, kUntouched, kFormatSuiteKept},
    {"AcquireSuite PF Iterate8 Suite 1", PF_Err_NONE, kUntouched},
    {"AcquireSuite PF Iterate8 Suite 1", PF_Err_NONE, kAsClean},  // rows then go on the command's thread
    {"GetPixelFormat PF World Suite", PF_Err_NONE, kAnything},
    {"host_new_handle 72", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"host_lock_handle 72", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"new_world 1 x 3", kFault, kUntouched},
    {"iterate 3", kFault, kUntouched},
    {"row 0", kFault, kUntouched},
    {"row 1", kFault, kUntouched},
    {"row 2", kFault, kUntouched},
    {"dispose_world 1 x 3", PF_Err_NONE, kAsClean},
    {"GetPixelFormat PF World Suite", PF_Err_NONE, kUntouched},
    {"host_new_handle 288", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"host_lock_handle 288", PF_Err_OUT_OF_MEMORY, kUntouched},
    {"abort", kFault, kUntouched},
    {"new_world 1 x 3", kFault, kUntouched},
    {"iterate 3", kFault, kUntouched},
    {"row 0", kFault, kUntouched},
    {"row 1", kFault, TopRows(1)},
    {"row 2", kFault, TopRows(2)},
    {"dispose_world 1 x 3", PF_Err_NONE, kAsClean},
    {"host_unlock_handle 72", PF_Err_NONE, kAsClean},
    {"host_dispose_handle 72", PF_Err_NONE, kAsClean},
    {"host_unlock_handle 288", PF_Err_NONE, kAsClean},
    {"host_dispose_handle 288", PF_Err_NONE, kAsClean},
    {"ReleaseSuite PF Pixel Format Suite 1", PF_Err_NONE, kAsClean},
    {"ReleaseSuite PF World Suite 2", PF_Err_NONE, kAsClean},
    {"ReleaseSuite PF Iterate8 Suite 1", PF_Err_NONE, kAsClean},
    {"ReleaseSuite PF Iterate8 Suite 1", PF_Err_NONE, kAsClean},
    {"checkin_param 1", kFault, kAsClean},
    {"checkin_param 2", kFault, kAsClean},
    {"checkin_param 3", kFault, kAsClean},
    {"checkin_param 4", kFault, kAsClean},
    {"checkin_param 5", kFault, kAsClean},
};

refhost::HostOptions PixelIteration() {
    auto options = InOrder();
    options.genericIteration = false;
    return options;
}

TEST(DriverInTheEditor, CallsTheHostInOrder) {
    Scene scene(InOrder(Personality::editor));
    ExpectOrder(scene, Way::plain, kEditor);
}

TEST(DriverInTheEditor, KeepsItsPromisesWhicheverCallFails) {
    Scene scene(InOrder(Personality::editor));
    ExpectEveryFailure(scene, Way::plain, kEditor);
}

TEST(DriverWithPixelIteration, CallsTheHostInOrder) {
    Scene scene(PixelIteration());
    ExpectOrder(scene, Way::plain, kPixelIteration);
}

TEST(DriverWithPixelIteration, KeepsItsPromisesWhicheverCallFails) {
    Scene scene(PixelIteration());
    ExpectEveryFailure(scene, Way::plain, kPixelIteration);
}

TEST(DriverWithPixelIteration, RendersAsWithRowIteration) {
    Scene pixels(PixelIteration()), rows;
    EXPECT_EQ(pixels.CleanPicture(Way::smart), rows.CleanPicture(Way::smart));
}

// ---- Between host and driver
// ----------------------------------------------------------------------------------------

// A render in which the test stands between the host's basic suite and the effect. Calls of both are noted: the
// host's by the host, those that the test answers itself by `basic`.
class Driver : public testing::Test {
protected:
    explicit Driver(const refhost::PluginLibrary& library = Binary()) : scene(InOrder(), Between::Put(library)) {
        basic.onAcquire = [this](const std::string& name, std::int32_t version) { return Acquire(name, version); };
        basic.onRelease = [this](const std::string& name, std::int32_t version) {
            return theirs->ReleaseSuite(name.c_str(), version);
        };
        Between::change = [this](PF_Cmd, PF_InData& inData, void*) {
            theirs = inData.pica_basicP;
            inData.pica_basicP = &basic.suite;
            if (change) change(inData);
        };
    }
    ~Driver() override { Between::change = nullptr; }

    // The host's own answer.
    FakeBasic::Answer Acquire(const std::string& name, std::int32_t version) const {
        const void* suite = nullptr;
        const std::int32_t code = theirs->AcquireSuite(name.c_str(), version, &suite);
        return {code, suite};
    }

    // Has the host give this suite, and report an error all the same.
    void GiveWithAnError(const std::string& suite) {
        basic.onAcquire = [this, suite](const std::string& name, std::int32_t version) {
            auto answer = Acquire(name, version);
            if (name == suite) answer.code = kFault;
            return answer;
        };
    }

    PF_Err Render() {
        basic.acquired.clear();
        basic.released.clear();
        return scene.Render(Way::plain);
    }

    // The driver's own calls: all but the parameters'.
    Lines DriversCalls() {
        Lines lines = scene.Calls();
        std::erase_if(lines, [](const std::string& line) { return line.find("_param") != std::string::npos; });
        return lines;
    }

    Lines CallsThatBegin(const std::string& with) {
        Lines lines = scene.Calls();
        std::erase_if(lines, [&](const std::string& line) { return !line.starts_with(with); });
        return lines;
    }

    FakeBasic basic;
    SPBasicSuite* theirs = nullptr;
    std::function<void(PF_InData&)> change;
    Scene scene;
};

class LinkedDriver : public Driver {
protected:
    LinkedDriver() : Driver(Linked()) {}
};

// ---- Early exit
// -------------------------------------------------------------------------------------------------------

using EarlyExit = Driver;

TEST_F(EarlyExit, KeepsThePixelFormatSuiteWhenTheWorldSuiteIsMissing) {
    scene.host.options().faults = Fail("AcquireSuite PF World Suite 2");
    EXPECT_EQ(Render(), kFault);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(DriversCalls(), (Lines{"AcquireSuite PF Pixel Format Suite 1", "AcquireSuite PF World Suite 2",
                                     "host_unlock_handle", "host_unlock_handle"}));
    EXPECT_EQ(scene.Outstanding(), Lines{kFormatSuiteKept});
}

TEST_F(EarlyExit, ReturnsZeroWhenTheHostSucceedsWithoutAWorldSuite) {
    scene.host.options().faults = Fail("AcquireSuite PF World Suite 2", PF_Err_NONE);
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(scene.Outstanding(), Lines{kFormatSuiteKept});
}

TEST_F(EarlyExit, KeepsTheWorldSuiteInAnEditorWithoutThePixelFormatSuite) {
    scene.host.options().personality = Personality::editor;
    for (const PF_Err code : {kFault, PF_Err_NONE}) {
        scene.host.options().faults = Fail("AcquireSuite PF Pixel Format Suite 1", code);
        EXPECT_EQ(Render(), PF_Err_NONE);
        EXPECT_TRUE(scene.OutputUntouched());
        EXPECT_EQ(DriversCalls(), (Lines{"AcquireSuite PF Pixel Format Suite 1", "AcquireSuite PF World Suite 2",
                                         "host_unlock_handle", "host_unlock_handle"}));
        EXPECT_EQ(scene.Outstanding(), Lines{kWorldSuiteKept});
        scene.host.account().Reclaim();
    }
}

TEST_F(EarlyExit, ReturnsTheWorldSuitesErrorInAnEditorWithoutEitherSuite) {
    scene.host.options().personality = Personality::editor;
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == "AcquireSuite PF Pixel Format Suite 1") return 101;
        if (Line(call) == "AcquireSuite PF World Suite 2") return 102;
        return std::nullopt;
    };
    EXPECT_EQ(Render(), 102);
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST_F(EarlyExit, ReturnsTheWorldSuitesErrorAlsoWhenOnlyTheEditorsSuiteIsMissing) {
    scene.host.options().personality = Personality::editor;
    basic.onAcquire = [this](const std::string& name, std::int32_t version) {
        if (name == "PF Pixel Format Suite") return FakeBasic::Answer{101, nullptr};
        return FakeBasic::Answer{102, Acquire(name, version).suite};
    };
    EXPECT_EQ(Render(), 102);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(basic.released, Lines());
    EXPECT_EQ(scene.Outstanding(), Lines{kWorldSuiteKept});
}

TEST_F(EarlyExit, UnlocksTheSequenceDataAndThenTheGlobalData) {
    const PF_Handle sequence = scene.host.NewHandle(5), global = scene.host.NewHandle(9);
    change = [&](PF_InData& inData) {
        inData.sequence_data = sequence;
        inData.global_data = global;
        inData.utils->host_lock_handle(sequence);
        inData.utils->host_lock_handle(global);
    };
    scene.host.options().faults = Fail("AcquireSuite PF World Suite 2");
    EXPECT_EQ(Render(), kFault);
    EXPECT_EQ(CallsThatBegin("host_unlock_handle"), (Lines{"host_unlock_handle 5", "host_unlock_handle 9"}));
    EXPECT_EQ(scene.Outstanding(), Lines{kFormatSuiteKept}) << "neither handle is locked any more";
}

TEST_F(EarlyExit, IsTheOnlyTimeThatTheseHandlesAreUnlocked) {
    const PF_Handle sequence = scene.host.NewHandle(5), global = scene.host.NewHandle(9);
    change = [&](PF_InData& inData) {
        inData.sequence_data = sequence;
        inData.global_data = global;
    };
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(CallsThatBegin("host_unlock_handle"), (Lines{"host_unlock_handle 72", "host_unlock_handle 288"}));
}

TEST_F(EarlyExit, DoesNotKeepTheNextRenderFromSucceeding) {
    const auto clean = scene.CleanPicture(Way::plain);
    scene.host.options().faults = Fail("AcquireSuite PF World Suite 2");
    EXPECT_EQ(Render(), kFault);
    scene.host.options().faults = nullptr;
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(scene.output.Pixels(), clean);
    EXPECT_EQ(scene.Outstanding(), Lines{"suite \"PF Pixel Format Suite\" 1: acquired 2, released 1"})
        << "that of the first render, and no more";
}

// ---- Suites
// -------------------------------------------------------------------------------------------------------------

using DriverSuites = Driver;

TEST_F(DriverSuites, AreAcquiredAndReleasedInThisOrder) {
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(basic.acquired, (Lines{"PF Pixel Format Suite 1", "PF World Suite 2", "PF Iterate8 Suite 1"}));
    EXPECT_EQ(basic.released, (Lines{"PF Pixel Format Suite 1", "PF World Suite 2", "PF Iterate8 Suite 1"}));
}

TEST_F(DriverSuites, IncludeASecondIterationSuiteIfTheFirstHasNoGenericEntry) {
    scene.host.options().genericIteration = false;
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(basic.acquired,
              (Lines{"PF Pixel Format Suite 1", "PF World Suite 2", "PF Iterate8 Suite 1", "PF Iterate8 Suite 1"}));
    EXPECT_EQ(basic.released,
              (Lines{"PF Pixel Format Suite 1", "PF World Suite 2", "PF Iterate8 Suite 1", "PF Iterate8 Suite 1"}));
}

TEST_F(DriverSuites, AreNotReleasedWhereTheHostGaveNone) {
    scene.host.options().faults = Fail("AcquireSuite PF Pixel Format Suite 1");
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_FALSE(scene.OutputUntouched());
    EXPECT_EQ(basic.released, (Lines{"PF World Suite 2", "PF Iterate8 Suite 1"}));

    scene.host.options().faults = nullptr;
    scene.host.options().genericIteration = false;
    int asked = 0;
    basic.onAcquire = [&, this](const std::string& name, std::int32_t version) {
        const bool second = name == "PF Iterate8 Suite" && ++asked == 2;
        return second ? FakeBasic::Answer{0, nullptr} : Acquire(name, version);
    };
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_FALSE(scene.OutputUntouched());
    EXPECT_EQ(basic.released, (Lines{"PF Pixel Format Suite 1", "PF World Suite 2", "PF Iterate8 Suite 1"}));
}

TEST_F(DriverSuites, CountByTheirPointersNotByTheirCodes) {
    const auto clean = scene.CleanPicture(Way::plain);
    for (const char* name : {"PF Pixel Format Suite", "PF World Suite"}) {
        for (const Personality personality : {Personality::compositor, Personality::editor}) {
            scene.host.options().personality = personality;
            GiveWithAnError(name);
            EXPECT_EQ(Render(), PF_Err_NONE);
            EXPECT_EQ(scene.output.Pixels(), clean);
            EXPECT_EQ(scene.Outstanding(), Lines());
        }
    }
}

// With no conversion of the source to report something newer, the acquisition's code is the driver's.
TEST_F(DriverSuites, MakeTheWorldSuitesErrorTheRendersIfTheSourceIsNotConverted) {
    GiveWithAnError("PF World Suite");
    scene.UseFormats(0x3F3F3F3F, kFormatArgb8);
    EXPECT_EQ(Render(), kFault);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(scene.host.account().Count(refhost::Call::abort), 0);
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST_F(LinkedDriver, DropsWhatReleasesThrow) {
    const auto clean = scene.CleanPicture(Way::plain);
    basic.onRelease = [this](const std::string& name, std::int32_t version) -> std::int32_t {
        theirs->ReleaseSuite(name.c_str(), version);
        throw std::runtime_error("released, but");
    };
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(scene.output.Pixels(), clean);
    EXPECT_EQ(basic.released, (Lines{"PF Pixel Format Suite 1", "PF World Suite 2", "PF Iterate8 Suite 1"}));

    scene.host.options().faults = Fail("iterate_generic 3");
    EXPECT_EQ(Render(), kFault) << "the render's own code stays";
    EXPECT_EQ(basic.released, (Lines{"PF Pixel Format Suite 1", "PF World Suite 2", "PF Iterate8 Suite 1"}));
    EXPECT_EQ(scene.Outstanding(), Lines());
}

// ---- The job
// ------------------------------------------------------------------------------------------------------------

// Plain renders go straight to the driver, so that a test sees the job and what the driver throws.
class Job : public testing::Test {
protected:
    Job() : scene(InOrder(), {Main, Linked().pluginDataEntryFunction}) {
        job_ = {};
        thrown_ = 0;
    }

    PF_Err Render() { return scene.Render(Way::plain); }

    Scene scene;
    static inline nuv::RenderData job_;
    static inline int thrown_ = 0;
    static inline bool withoutBasicSuite_ = false;

private:
    static PF_Err Main(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[],
                       PF_LayerDef* output, void* extra) {
        if (cmd != PF_Cmd_RENDER) return nuv::Dispatch(cmd, inData, outData, params, output, extra);
        job_ = {};
        job_.sourceWorld = &params[0]->u.ld;
        job_.amount = 12.5f;
        job_.show = 3;
        if (withoutBasicSuite_) inData->pica_basicP = nullptr;
        try {
            return nuv::RenderAberration(inData, job_, output);
        } catch (int code) {
            thrown_ = code;
            return -1;
        }
    }
};

TEST_F(Job, IsCompletedFromTheCommandsRecord) {
    scene.settings.pixelAspect = {10, 11};
    scene.settings.downsampleX = {1, 2};
    scene.settings.downsampleY = {2, 3};
    scene.settings.currentTime = -45;
    scene.settings.timeScale = 30;
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(job_.pixelAspectNum, 10.0f);
    EXPECT_EQ(job_.pixelAspectDen, 11.0f);
    EXPECT_EQ(job_.downsampleX, 0.5f);
    EXPECT_EQ(job_.downsampleY, 2.0f / 3.0f);
    EXPECT_EQ(job_.timeSeconds, -1.5);
}

TEST_F(Job, DescribesBothBuffers) {
    scene.output = refhost::World({.format = kFormatArgb8, .width = 4, .height = 5, .originX = 9, .originY = 9});
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(job_.input.width, 6);
    EXPECT_EQ(job_.input.height, 3);
    EXPECT_EQ(job_.input.bitsPerChannel, 8);
    EXPECT_EQ(job_.input.rowBytes, 24);
    EXPECT_EQ(job_.input.originX, 1.0);
    EXPECT_EQ(job_.input.originY, 1.0);
    EXPECT_EQ(job_.output.width, 4);
    EXPECT_EQ(job_.output.height, 5);
    EXPECT_EQ(job_.output.bitsPerChannel, 32);
    EXPECT_EQ(job_.output.rowBytes, 64);
    EXPECT_EQ(job_.output.originX, 0.0);
    EXPECT_EQ(job_.output.originY, 0.0);
}

TEST_F(Job, KeepsWhatTheCallerHasSet) {
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(job_.amount, 12.5f);
    EXPECT_EQ(job_.show, 3);
    EXPECT_EQ(job_.sourceOffsetX, 0.0f);
}

TEST_F(Job, IsNotBegunWithoutABasicSuite) {
    withoutBasicSuite_ = true;
    EXPECT_EQ(Render(), -1);
    withoutBasicSuite_ = false;
    EXPECT_EQ(thrown_, 516);
    EXPECT_EQ(scene.Calls(), Lines());
    EXPECT_TRUE(scene.OutputUntouched());
}

TEST_F(Job, IsNotBegunWithoutTheIterationSuite) {
    for (const PF_Err code : {kFault, PF_Err_NONE}) {
        thrown_ = 0;
        scene.host.options().faults = Fail("AcquireSuite PF Iterate8 Suite 1", code);
        EXPECT_EQ(Render(), -1);
        EXPECT_EQ(thrown_, 516);
        EXPECT_EQ(scene.Calls(), (Lines{"AcquireSuite PF Pixel Format Suite 1", "AcquireSuite PF World Suite 2",
                                        "AcquireSuite PF Iterate8 Suite 1", "ReleaseSuite PF Pixel Format Suite 1",
                                        "ReleaseSuite PF World Suite 2"}));
        EXPECT_EQ(scene.Outstanding(), Lines());
        EXPECT_TRUE(scene.OutputUntouched());
    }
}

// ---- Formats and buffers
// --------------------------------------------------------------------------------------------------

using DriverBuffers = Driver;

TEST_F(DriverBuffers, HaveFourBytesAPixelForThe8BitFormatsAndSixteenForAllOthers) {
    const std::pair<PF_PixelFormat, const char*> table[] = {
        {kFormatArgb8, "72"},      {kFormatBgra8, "72"},      {kFormatArgb16, "288"},
        {kFormatArgbFloat, "288"}, {kFormatBgraFloat, "288"}, {kFormatBgraFloatLinear, "288"},
        {0x3F3F3F3F, "288"},
    };
    for (const auto& [format, bytes] : table) {
        scene.UseFormats(format, kFormatArgb8);
        EXPECT_EQ(Render(), PF_Err_NONE);
        EXPECT_EQ(CallsThatBegin("host_new_handle"),
                  (Lines{std::string("host_new_handle ") + bytes, "host_new_handle 288"}));
        EXPECT_EQ(scene.Outstanding(), Lines());
        EXPECT_EQ(scene.Misuse(), Lines());
    }
}

TEST_F(DriverBuffers, AndPassesHaveTheSizesOfTheirWorlds) {
    scene.output = refhost::World({.format = kFormatArgb8, .width = 4, .height = 5});
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(CallsThatBegin("host_new_handle"), (Lines{"host_new_handle 72", "host_new_handle 320"}));
    EXPECT_EQ(CallsThatBegin("iterate"), (Lines{"iterate_generic 3", "iterate_generic 5"}));
}

TEST_F(DriverBuffers, AreAllGivenBackWhenOneCannotBeHad) {
    for (const char* line :
         {"host_new_handle 72", "host_lock_handle 72", "host_new_handle 288", "host_lock_handle 288"}) {
        scene.host.options().faults = Fail(line);
        EXPECT_EQ(Render(), 4);
        EXPECT_TRUE(scene.OutputUntouched());
        EXPECT_EQ(scene.Outstanding(), Lines());
        EXPECT_EQ(scene.Misuse(), Lines());
    }
}

TEST_F(DriverBuffers, ThatCannotBeLockedAreNotUnlocked) {
    scene.host.options().faults = Fail("host_lock_handle 72");
    EXPECT_EQ(Render(), 4);
    EXPECT_EQ(CallsThatBegin("host_"),
              (Lines{"host_new_handle 72", "host_lock_handle 72", "host_dispose_handle 72"}));
}

using DriverFormats = Driver;

constexpr PF_PixelFormat kUnknown = 0x3F3F3F3F;

TEST_F(DriverFormats, WriteNothingIntoAnOutputOfAnUnknownFormat) {
    scene.UseFormats(kFormatArgb8, kUnknown);
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(scene.output.Surroundings(), "");
    EXPECT_EQ(CallsThatBegin("iterate"), Lines{"iterate_generic 3"});
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST_F(DriverFormats, RenderFromASourceOfAnUnknownFormat) {
    scene.UseFormats(kUnknown, kFormatArgb8);
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_FALSE(scene.OutputUntouched());
    EXPECT_EQ(CallsThatBegin("iterate"), Lines{"iterate_generic 3"});
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST_F(DriverFormats, AreTheWorldSuitesInTheCompositor) {
    scene.settings.worldSuiteFormat = kUnknown;
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(CallsThatBegin("GetPixelFormat"), Lines(2, "GetPixelFormat PF World Suite"));
}

TEST_F(DriverFormats, AreThePixelFormatSuitesInTheEditor) {
    scene.host.options().personality = Personality::editor;
    const auto clean = scene.CleanPicture(Way::plain);
    scene.settings.worldSuiteFormat = kUnknown;
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(scene.output.Pixels(), clean);
    EXPECT_EQ(CallsThatBegin("GetPixelFormat"),
              (Lines{"GetPixelFormat PF World Suite", "GetPixelFormat PF Pixel Format Suite",
                     "GetPixelFormat PF World Suite", "GetPixelFormat PF Pixel Format Suite"}));
}

TEST_F(DriverFormats, MayDifferFromFrameToFrame) {
    for (const PF_PixelFormat format : {kFormatArgb8, kFormatBgraFloat, kFormatArgb16, kFormatArgb8}) {
        scene.UseFormat(format);
        const auto first = scene.CleanPicture(Way::plain);
        EXPECT_EQ(scene.CleanPicture(Way::plain), first);
        EXPECT_EQ(scene.Outstanding(), Lines());
    }
}

// ---- Worlds
// ----------------------------------------------------------------------------------------------------------------

using DriverWorlds = Driver;

TEST_F(DriverWorlds, MayBeMissingOnTheSourcesSide) {
    scene.settings.input = nullptr;
    scene.settings.layerWidth = Scene::kWidth;
    scene.settings.layerHeight = Scene::kHeight;
    for (const Way way : {Way::smart, Way::plain}) {
        EXPECT_EQ(scene.Render(way), PF_Err_NONE);
        EXPECT_EQ(scene.output.Pixels(), std::vector<std::byte>(72)) << "transparent black";
        EXPECT_EQ(scene.Outstanding(), Lines());
        EXPECT_EQ(scene.Misuse(), Lines());
    }
}

TEST_F(DriverWorlds, MayBeEmpty) {
    for (const auto& [width, height] : {std::pair(0, 3), std::pair(6, 0), std::pair(0, 0)}) {
        scene.output = refhost::World({.format = kFormatArgb8, .width = width, .height = height, .padding = 4});
        EXPECT_EQ(Render(), PF_Err_NONE);
        EXPECT_EQ(scene.output.Surroundings(), "");
        EXPECT_EQ(scene.Outstanding(), Lines());
        EXPECT_EQ(scene.Misuse(), Lines());
    }
}

TEST_F(DriverWorlds, MayBeHigherOrLowerThanThereAreWorkers) {
    for (const int height : {1, 2, 15, 16, 17, 160}) {
        scene.output = refhost::World({.format = kFormatArgb8, .width = 2, .height = height, .padding = 4});
        EXPECT_EQ(Render(), PF_Err_NONE);
        EXPECT_EQ(scene.host.account().Count(refhost::Call::row), 3 + height);
        EXPECT_EQ(scene.Outstanding(), Lines());
    }
}

// ---- Aborts and iteration
// --------------------------------------------------------------------------------------------------

using DriverAborts = Driver;

TEST_F(DriverAborts, AreNotAskedForBetweenThePassesOnceTheFirstHasFailed) {
    scene.host.options().faults = Fail(refhost::Call::iterateGeneric, 0);
    EXPECT_EQ(Render(), kFault);
    EXPECT_EQ(scene.host.account().Count(refhost::Call::abort), 0);
}

TEST_F(DriverAborts, EndTheWorkBeforeTheOutputIsTouchedUnlessItHasBegun) {
    for (const PF_Err code : {PF_Interrupt_CANCEL, -517, 1}) {
        scene.host.options().faults = Fail(refhost::Call::abort, Scene::kHeight, code);  // the one in between
        EXPECT_EQ(Render(), code);
        EXPECT_TRUE(scene.OutputUntouched());
        EXPECT_EQ(scene.host.account().Count(refhost::Call::iterateGeneric), 1);
        EXPECT_EQ(scene.Outstanding(), Lines());
    }
}

TEST_F(DriverAborts, ConvertTheRowInProgressAllTheSame) {
    const auto clean = scene.CleanPicture(Way::plain);
    scene.host.options().faults = Fail(refhost::Call::abort, Scene::kHeight + 1);  // in the first row out
    EXPECT_EQ(Render(), kFault);
    const auto pixels = scene.output.Pixels();
    const auto rowBytes = static_cast<std::ptrdiff_t>(pixels.size()) / Scene::kHeight;
    EXPECT_TRUE(std::equal(pixels.begin(), pixels.begin() + rowBytes, clean.begin()));
    EXPECT_FALSE(std::equal(pixels.begin() + rowBytes, pixels.end(), clean.begin() + rowBytes));
}

// An iteration of the test's own: rows last first, all on the thread index that the test wants.
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
    const auto clean = scene.CleanPicture(Way::plain);
    static constexpr PF_Iterate8Suite1 kBackwards{nullptr, nullptr, nullptr, nullptr, IterateBackwards};
    basic.onAcquire = [this](const std::string& name, std::int32_t version) {
        return name == "PF Iterate8 Suite" ? FakeBasic::Answer{0, &kBackwards} : Acquire(name, version);
    };
    basic.onRelease = [this](const std::string& name, std::int32_t version) {
        return name == "PF Iterate8 Suite" ? 0 : theirs->ReleaseSuite(name.c_str(), version);
    };
    for (const auto& [index, aborts] : {std::pair(0, 2 * Scene::kHeight + 1), std::pair(1, 1), std::pair(7, 1)}) {
        threadIndex = index;
        iterationCounts.clear();
        EXPECT_EQ(Render(), PF_Err_NONE);
        EXPECT_EQ(scene.host.account().Count(refhost::Call::abort), aborts);
        EXPECT_EQ(iterationCounts, std::vector<std::int32_t>(2, Scene::kHeight));
        EXPECT_EQ(scene.output.Pixels(), clean) << "whatever the order of rows";
    }
}

using DriverIteration = Driver;

TEST_F(DriverIteration, RendersTheSameOnAnyNumberOfHostThreadsInAnyOrder) {
    const auto clean = scene.CleanPicture(Way::plain);
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
        EXPECT_EQ(final, Scene::kHeight);
        EXPECT_EQ(source, destination);
        EXPECT_EQ(source->width, 1);
        EXPECT_EQ(source->height, Scene::kHeight);
        EXPECT_EQ(area, nullptr);
        for (std::int32_t y = 0; y < final; ++y) {
            if (const PF_Err code = pixel(refcon, 0, y, nullptr, nullptr)) return code;
        }
        return PF_Err_NONE;
    };
    const auto clean = scene.CleanPicture(Way::plain);
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

// Without a second iteration suite rows go in order on the command's thread, and each asks for an abort.
TEST_F(DriverIteration, GoesRowByRowWithoutAnyIteration) {
    scene.host.options().genericIteration = false;
    const auto clean = scene.CleanPicture(Way::plain);
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        const bool second = Line(call) == "AcquireSuite PF Iterate8 Suite 1" && call.index == 3;
        return second ? std::optional(kFault) : std::nullopt;
    };
    EXPECT_EQ(Render(), PF_Err_NONE);
    EXPECT_EQ(scene.output.Pixels(), clean);
    EXPECT_EQ(scene.host.account().Count(refhost::Call::abort), 2 * Scene::kHeight + 1);
    EXPECT_EQ(CallsThatBegin("iterate"), Lines());
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
