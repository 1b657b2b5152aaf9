// What global set-up declares to each of the two hosts.
#include "lifecycle_fixture.h"

namespace {

using namespace protocol;
using refhost::Personality;

constexpr std::int32_t kCompositorFlags = 0x06008244;
constexpr std::int32_t kCompositorFlags2 = 0x08021488;
constexpr std::int32_t kEditorFlags = 0x04008244;
constexpr std::int32_t kEditorFlags2 = 0x08020488;

class GlobalSetup : public Lifecycle {
protected:
    // Expects that the effect wrote its version and these flags, and nothing else.
    void ExpectOnlyFlags(std::int32_t flags, std::int32_t flags2) {
        PF_OutData expected = PoisonedOutData();
        expected.my_version = 0x00100001;
        expected.out_flags = flags;
        expected.out_flags2 = flags2;
        EXPECT_EQ(outData.my_version, expected.my_version);
        EXPECT_EQ(outData.out_flags, expected.out_flags);
        EXPECT_EQ(outData.out_flags2, expected.out_flags2);
        EXPECT_EQ(BytesOf(outData), BytesOf(expected));
    }

    const Lines declaration{"AcquireSuite PF Pixel Format Suite 1", "ClearSupportedPixelFormats",
                            "AddSupportedPixelFormat 0x61726762", "ReleaseSuite PF Pixel Format Suite 1"};
};

TEST_F(GlobalSetup, DeclaresVersionAndFlagsInTheCompositor) {
    Prepare();
    EXPECT_EQ(Send(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
    ExpectOnlyFlags(kCompositorFlags, kCompositorFlags2);
}

TEST_F(GlobalSetup, DeclaresNoDeepAndNoFloatColourInTheEditor) {
    UsePersonality(Personality::editor);
    Prepare();
    EXPECT_EQ(Send(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
    ExpectOnlyFlags(kEditorFlags, kEditorFlags2);
}

TEST_F(GlobalSetup, CallsNothingOfAHostThatIsNotTheEditor) {
    for (const std::int32_t id : {kAppIdCompositor, 0, 0x724D7250 /* the editor's, bytes reversed */, -1}) {
        Prepare();
        inData.appl_id = id;
        inData.pica_basicP = nullptr;
        EXPECT_EQ(Send(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
        ExpectOnlyFlags(kCompositorFlags, kCompositorFlags2);
        EXPECT_EQ(Calls(), Lines());
    }
}

TEST_F(GlobalSetup, DoesNotAcquireThePixelFormatSuiteOutsideTheEditor) {
    Prepare();
    EXPECT_EQ(Send(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
    EXPECT_EQ(host.account().Count(refhost::Call::acquireSuite), 0);
}

TEST_F(GlobalSetup, ClearsTheEditorsFormatsThenAddsBgra8) {
    UsePersonality(Personality::editor);
    Prepare();
    EXPECT_EQ(Send(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
    EXPECT_EQ(Calls(), declaration);
    EXPECT_EQ(host.supportedFormats(), std::vector<PF_PixelFormat>{kFormatBgra8});
    ExpectBalanced();
}

TEST_F(GlobalSetup, PassesTheEffectReferenceWhenItDeclaresFormats) {
    static PF_ProgPtr cleared, added;
    static PF_PixelFormat format;
    cleared = added = nullptr;
    PF_PixelFormatSuite1 formats{};
    formats.ClearSupportedPixelFormats = [](PF_ProgPtr ref) -> PF_Err { return cleared = ref, 0; };
    formats.AddSupportedPixelFormat = [](PF_ProgPtr ref, PF_PixelFormat f) -> PF_Err {
        return added = ref, format = f, 0;
    };
    FakeBasic basic;
    basic.onAcquire = [&](const std::string&, std::int32_t) { return FakeBasic::Answer{0, &formats}; };
    UsePersonality(Personality::editor);
    Prepare();
    inData.effect_ref = reinterpret_cast<PF_ProgPtr>(&host);
    inData.pica_basicP = &basic.suite;
    EXPECT_EQ(Send(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
    EXPECT_EQ(cleared, inData.effect_ref);
    EXPECT_EQ(added, inData.effect_ref);
    EXPECT_EQ(format, 0x61726762);
}

TEST_F(GlobalSetup, SucceedsInAnEditorWithoutThePixelFormatSuite) {
    UsePersonality(Personality::editor);
    for (const PF_Err code : {kFault, PF_Err_NONE}) {  // the host fails, or succeeds without a suite
        host.options().faults = Fail("AcquireSuite PF Pixel Format Suite 1", code);
        Prepare();
        EXPECT_EQ(Send(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
        ExpectOnlyFlags(kEditorFlags, kEditorFlags2);
        EXPECT_EQ(Calls(), Lines{"AcquireSuite PF Pixel Format Suite 1"});
        ExpectBalanced();
    }
}

TEST_F(GlobalSetup, SucceedsInAnEditorWithoutABasicSuite) {
    UsePersonality(Personality::editor);
    Prepare();
    inData.pica_basicP = nullptr;
    EXPECT_EQ(Send(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
    ExpectOnlyFlags(kEditorFlags, kEditorFlags2);
}

TEST_F(GlobalSetup, UsesAPixelFormatSuiteThatComesWithAnError) {
    static int declared;
    declared = 0;
    PF_PixelFormatSuite1 formats{};
    formats.ClearSupportedPixelFormats = [](PF_ProgPtr) -> PF_Err { return ++declared, 0; };
    formats.AddSupportedPixelFormat = [](PF_ProgPtr, PF_PixelFormat) -> PF_Err { return ++declared, 0; };
    FakeBasic basic;
    basic.onAcquire = [&](const std::string&, std::int32_t) { return FakeBasic::Answer{kFault, &formats}; };
    UsePersonality(Personality::editor);
    Prepare();
    inData.pica_basicP = &basic.suite;
    EXPECT_EQ(Send(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
    EXPECT_EQ(declared, 2);
    EXPECT_EQ(basic.released, Lines{"PF Pixel Format Suite 1"});
}

TEST_F(GlobalSetup, IgnoresTheCodesOfTheDeclarationsAndOfTheRelease) {
    UsePersonality(Personality::editor);
    host.options().faults = [](const refhost::CallRecord& call) {
        return call.call == refhost::Call::acquireSuite ? std::nullopt : std::optional(kFault);
    };
    Prepare();
    EXPECT_EQ(Send(PF_Cmd_GLOBAL_SETUP), PF_Err_NONE);
    EXPECT_EQ(Calls(), declaration);
    ExpectOnlyFlags(kEditorFlags, kEditorFlags2);
    ExpectBalanced();
}

}  // namespace
