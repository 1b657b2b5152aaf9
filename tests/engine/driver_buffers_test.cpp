// The driver's buffers, and the worlds that they are made for.
#include "driver_fixture.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;

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

using DriverWorlds = Driver;

TEST_F(DriverWorlds, MayBeMissingOnTheSourcesSide) {
    scene.settings.input = nullptr;
    scene.settings.layerWidth = HostedScene::kWidth;
    scene.settings.layerHeight = HostedScene::kHeight;
    for (const RenderPath path : {RenderPath::smart, RenderPath::plain}) {
        EXPECT_EQ(scene.Render(path), PF_Err_NONE);
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

}  // namespace
