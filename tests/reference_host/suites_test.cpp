// The reference host's suites, and its text callbacks.
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "support/host_fixture.h"

namespace refhost {
namespace {

TEST_F(HostTest, SuitesAreCountedByNameAndVersion) {
    Do([](const Arguments& a) {
        const void* suite = nullptr;
        const auto& basic = *a.in->pica_basicP;
        for (const auto& [name, version] : {std::pair{"PF ANSI Suite", 1},
                                            {"PF Handle Suite", 2},
                                            {"PF Iterate8 Suite", 1},
                                            {"PF Pixel Format Suite", 1},
                                            {"PF World Suite", 2}}) {
            EXPECT_EQ(basic.AcquireSuite(name, version, &suite), 0);
            EXPECT_NE(suite, nullptr);
        }
        EXPECT_NE(basic.AcquireSuite("PF World Suite", 1, &suite), 0);
        EXPECT_EQ(suite, nullptr);
        basic.ReleaseSuite("PF ANSI Suite", 1);
        basic.ReleaseSuite("PF Handle Suite", 2);
        basic.ReleaseSuite("PF Iterate8 Suite", 1);
        basic.ReleaseSuite("PF Pixel Format Suite", 1);
    });
    EXPECT_EQ(Outstanding(), Lines{"suite \"PF World Suite\" 2: acquired 1, released 0"});
    EXPECT_EQ(Misuse(), Lines{});

    host.account().Reset();
    EXPECT_EQ(Outstanding(), Lines{"suite \"PF World Suite\" 2: acquired 1, released 0"});
    Do([](const Arguments& a) {
        a.in->pica_basicP->ReleaseSuite("PF World Suite", 2);
        a.in->pica_basicP->ReleaseSuite("PF World Suite", 2);
    });
    EXPECT_EQ(Outstanding(), Lines{"suite \"PF World Suite\" 2: acquired 1, released 2"});
    EXPECT_EQ(Misuse(), Lines{"ReleaseSuite: PF World Suite 2 is not acquired"});
}

TEST_F(HostTest, SuitesThatThereAreNotAreNamed) {
    Do([](const Arguments& a) {
        const void* suite = nullptr;
        a.in->pica_basicP->AcquireSuite("PF Iterate16 Suite", 1, &suite);
        a.in->pica_basicP->AcquireSuite("PF World Suite", 2, &suite);
        a.in->pica_basicP->AcquireSuite("PF Iterate16 Suite", 1, &suite);
    });
    host.account().Reset();
    EXPECT_EQ(host.account().MissingSuites(), Lines{"\"PF Iterate16 Suite\" 1"});
}

TEST_F(HostTest, MathIsTheCLibrarys) {
    Do([](const Arguments& a) {
        const void* suite = nullptr;
        a.in->pica_basicP->AcquireSuite("PF ANSI Suite", 1, &suite);
        const auto& ansi = *static_cast<const PF_ANSICallbacksSuite1*>(suite);
        EXPECT_EQ(ansi.sin(0.5), std::sin(0.5));
        EXPECT_EQ(ansi.acos(0.5), std::acos(0.5));
        EXPECT_EQ(a.in->utils->ansi.atan2(1, -2), std::atan2(1, -2));
        EXPECT_EQ(a.in->utils->ansi.pow(2, 0.5), std::pow(2, 0.5));
        a.in->pica_basicP->ReleaseSuite("PF ANSI Suite", 1);
    });
}

TEST_F(HostTest, ColoursAreGivenInEachFormat) {
    Do([](const Arguments& a) {
        const void* suite = nullptr;
        a.in->pica_basicP->AcquireSuite("PF Pixel Format Suite", 1, &suite);
        const auto& formats = *static_cast<const PF_PixelFormatSuite1*>(suite);
        std::uint8_t bytes[4];
        EXPECT_EQ(formats.ConvertColorToPixelFormattedData(kFormatBgra8, 1, 0.2f, 2, -1, bytes), 0);
        EXPECT_EQ(std::to_array(bytes), (std::array<std::uint8_t, 4>{0, 255, 51, 255}));
        std::uint16_t words[4];
        EXPECT_EQ(formats.GetWhiteForPixelFormat(kFormatArgb16, words), 0);
        EXPECT_EQ(std::to_array(words), (std::array<std::uint16_t, 4>{32768, 32768, 32768, 32768}));
        float floats[4];
        EXPECT_EQ(formats.GetBlackForPixelFormat(kFormatBgraFloat, floats), 0);
        EXPECT_EQ(std::to_array(floats), (std::array<float, 4>{0, 0, 0, 1}));
        EXPECT_EQ(formats.GetBlackForPixelFormat(77, floats), PF_Err_BAD_CALLBACK_PARAM);
        a.in->pica_basicP->ReleaseSuite("PF Pixel Format Suite", 1);
    });
}

TEST_F(HostTest, TextCallbacksCopyAndFormat) {
    Do([](const Arguments& a) {
        char text[32];
        a.in->utils->ansi.strcpy(text, "plain");
        EXPECT_STREQ(text, "plain");
        a.in->utils->ansi.sprintf(text, "%s, v%d.%d", "x", 2, 0);
        EXPECT_STREQ(text, "x, v2.0");
    });
}

TEST_F(HostTest, SuitesCanDisagreeAboutTheFormat) {
    Instance instance(host);
    World input({.format = kFormatBgra8, .width = 1, .height = 1});
    RenderSettings settings{.input = &input};
    settings.worldSuiteFormat = kFormatArgb8;
    g_effect = [](const Arguments& a) {
        PF_PixelFormat format = 0;
        EXPECT_EQ(WorldSuite(a).PF_GetPixelFormat(&a.params[0]->u.ld, &format), 0);
        EXPECT_EQ(format, kFormatArgb8);
        const void* suite = nullptr;
        a.in->pica_basicP->AcquireSuite("PF Pixel Format Suite", 1, &suite);
        a.in->pica_basicP->ReleaseSuite("PF Pixel Format Suite", 1);
        const auto& formats = *static_cast<const PF_PixelFormatSuite1*>(suite);
        EXPECT_EQ(formats.GetPixelFormat(&a.params[0]->u.ld, &format), 0);
        EXPECT_EQ(format, kFormatBgra8);
        return 0;
    };
    instance.PlainRender(settings);
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, FormatsAreDeclaredInGlobalSetUp) {
    const auto declare = [](const Arguments& a) {
        const void* suite = nullptr;
        a.in->pica_basicP->AcquireSuite("PF Pixel Format Suite", 1, &suite);
        const auto& formats = *static_cast<const PF_PixelFormatSuite1*>(suite);
        formats.AddSupportedPixelFormat(a.in->effect_ref, kFormatArgb8);
        formats.ClearSupportedPixelFormats(a.in->effect_ref);
        formats.AddSupportedPixelFormat(a.in->effect_ref, kFormatBgra8);
        a.in->pica_basicP->ReleaseSuite("PF Pixel Format Suite", 1);
    };
    Do(declare, PF_Cmd_GLOBAL_SETUP);
    EXPECT_EQ(host.supportedFormats(), std::vector{kFormatBgra8});
    EXPECT_EQ(Misuse(), Lines{});
    Do(declare, PF_Cmd_RENDER);
    EXPECT_EQ(Misuse(),
              (Lines{"AddSupportedPixelFormat: called in render", "ClearSupportedPixelFormats: called in render",
                     "AddSupportedPixelFormat: called in render"}));
}

}  // namespace
}  // namespace refhost
