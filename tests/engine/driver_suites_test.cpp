// Which suites the driver acquires and releases.
#include <stdexcept>

#include "driver_fixture.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;
using refhost::Personality;

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
    const auto clean = scene.CleanPicture(RenderPath::plain);
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

// The driver returns the code of the acquisition, since no conversion of the source reports a newer one.
TEST_F(DriverSuites, MakeTheWorldSuitesErrorTheRendersIfTheSourceIsNotConverted) {
    GiveWithAnError("PF World Suite");
    scene.UseFormats(0x3F3F3F3F, kFormatArgb8);
    EXPECT_EQ(Render(), kFault);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(scene.host.account().Count(refhost::Call::abort), 0);
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST_F(LinkedDriver, DropsWhatReleasesThrow) {
    const auto clean = scene.CleanPicture(RenderPath::plain);
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

}  // namespace
