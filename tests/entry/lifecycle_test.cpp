// Global set-up, the instances' sequence data, and the About text.
#include <array>

#include "support/protocol_support.h"

namespace {

using namespace protocol;
using refhost::Personality;

constexpr std::int32_t kCompositorFlags = 0x06008244;
constexpr std::int32_t kCompositorFlags2 = 0x08021488;
constexpr std::int32_t kEditorFlags = 0x04008244;
constexpr std::int32_t kEditorFlags2 = 0x08020488;

// A host with one effect, to which a test sends commands with records of its own.
class Lifecycle : public testing::Test {
protected:
    void UsePersonality(Personality personality) { host.options().personality = personality; }

    PF_Err Send(PF_Cmd cmd) { return host.Send(cmd, &inData, &outData); }

    // The records of the next command: what the host passes, and a poisoned one to write to.
    void Prepare() {
        inData = host.InData();
        outData = PoisonedOutData();
        host.account().Reset();
    }

    Lines Calls() { return CallsOf(host.account()); }

    void ExpectBalanced() {
        EXPECT_EQ(host.account().Outstanding(), Lines());
        EXPECT_EQ(host.account().Misuse(), Lines());
    }

    refhost::Host host{Binary(), InOrder()};
    PF_InData inData{};
    PF_OutData outData{};
};

// ---- Global set-up --------------------------------------------------------------------------------------------

class GlobalSetup : public Lifecycle {
protected:
    // Nothing but version and flags has been written.
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
    for (const PF_Err code : {kFault, PF_Err_NONE}) {  // 0: the host succeeds and gives nothing
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

TEST_F(GlobalSetup, LooksAtThePixelFormatSuitesPointerNotAtTheCode) {
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

TEST_F(GlobalSetup, IgnoresWhatTheDeclarationsAndTheReleaseAnswer) {
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

// ---- Sequence data: a new block ---------------------------------------------------------------------------------

struct MakingCommand {
    PF_Cmd cmd;
    const char* name;
};

class NewSequenceBlock : public Lifecycle, public testing::WithParamInterface<MakingCommand> {
protected:
    PF_Err Send() { return Lifecycle::Send(GetParam().cmd); }
};

TEST_P(NewSequenceBlock, IsFourBytesHoldingZero) {
    Prepare();
    EXPECT_EQ(Send(), PF_Err_NONE);
    ASSERT_TRUE(host.IsLive(outData.sequence_data));
    EXPECT_EQ(host.HandleSize(outData.sequence_data), 4u);
    const auto bytes = host.HandleBytes(outData.sequence_data);
    EXPECT_TRUE(std::ranges::all_of(bytes, [](std::byte b) { return b == std::byte{0}; }));
    EXPECT_EQ(outData.flat_sdata_size, 4);
    host.DisposeHandle(outData.sequence_data);
    ExpectBalanced();
}

TEST_P(NewSequenceBlock, IsAskedForOnceAndNotLocked) {
    Prepare();
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(Calls(), Lines{"host_new_handle 4"});
}

TEST_P(NewSequenceBlock, IsAllThatIsWritten) {
    Prepare();
    const auto inBefore = BytesOf(inData);
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(BytesOf(inData), inBefore);
    PF_OutData expected = PoisonedOutData();
    expected.sequence_data = outData.sequence_data;
    expected.flat_sdata_size = 4;
    EXPECT_EQ(BytesOf(outData), BytesOf(expected));
}

TEST_P(NewSequenceBlock, IsEachInstancesOwn) {
    Prepare();
    EXPECT_EQ(Send(), PF_Err_NONE);
    const PF_Handle first = outData.sequence_data;
    Prepare();
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_NE(outData.sequence_data, first);
    EXPECT_TRUE(host.IsLive(first));
}

TEST_P(NewSequenceBlock, WithoutMemoryYieldsInternalErrorItsFlagAnd512) {
    Prepare();
    outData.out_flags = 0x40;
    host.options().faults = Fail(refhost::Call::newHandle, 0);
    EXPECT_EQ(Send(), 512);
    EXPECT_STREQ(outData.return_msg, "Internal Error");
    EXPECT_EQ(outData.out_flags, 0x140);
    EXPECT_EQ(outData.sequence_data, nullptr);
    EXPECT_EQ(Calls(), (Lines{"host_new_handle 4", "strcpy Internal Error"}));
    ExpectBalanced();
}

TEST_P(NewSequenceBlock, WithoutMemoryWritesNothingElse) {
    Prepare();
    PF_OutData expected = outData;
    host.options().faults = Fail(refhost::Call::newHandle, 0);
    EXPECT_EQ(Send(), 512);
    expected.sequence_data = nullptr;
    expected.out_flags |= 0x100;
    std::strcpy(expected.return_msg, "Internal Error");
    EXPECT_EQ(BytesOf(outData), BytesOf(expected));
}

INSTANTIATE_TEST_SUITE_P(At, NewSequenceBlock,
                         testing::Values(MakingCommand{PF_Cmd_SEQUENCE_SETUP, "Setup"},
                                         MakingCommand{PF_Cmd_SEQUENCE_RESETUP, "Resetup"}),
                         [](const auto& instance) { return instance.param.name; });

// ---- Sequence data: an existing block ---------------------------------------------------------------------------

class ExistingBlock : public Lifecycle {
protected:
    // A block of the host's, filled with 1, 2, 3, …
    void PrepareBlock(std::uint64_t size) {
        Prepare();
        inData.sequence_data = block = host.NewHandle(size);
        std::uint8_t value = 0;
        for (auto& byte : host.HandleBytes(block))
            byte = std::byte{++value};
        outBefore = BytesOf(outData);
        host.account().Reset();
    }

    void ExpectContents(const std::vector<std::uint8_t>& expected) {
        std::vector<std::uint8_t> contents;
        for (const auto byte : host.HandleBytes(block))
            contents.push_back(std::to_integer<std::uint8_t>(byte));
        EXPECT_EQ(contents, expected);
    }

    PF_Handle block = nullptr;
    std::vector<std::byte> outBefore;
};

using SequenceSetup = ExistingBlock;
using SequenceResetup = ExistingBlock;
using SequenceSetdown = ExistingBlock;

TEST_F(SequenceSetup, BringsAnExistingBlockOfAnotherSizeToFourBytes) {
    PrepareBlock(8);
    EXPECT_EQ(Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_NONE);
    EXPECT_EQ(host.HandleSize(block), 4u);
    EXPECT_EQ(BytesOf(outData), outBefore) << "neither sequence_data nor anything else is written";
    EXPECT_EQ(Calls(), (Lines{"host_get_handle_size 8", "host_resize_handle 4"}));
    ExpectContents({1, 2, 3, 4});
    ExpectBalanced();
}

TEST_F(SequenceSetup, BringsBlocksOfEveryOtherSizeToFourBytes) {
    for (const std::uint64_t size : {0u, 1u, 3u, 5u, 4096u}) {
        PrepareBlock(size);
        EXPECT_EQ(Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_NONE);
        EXPECT_EQ(host.HandleSize(block), 4u);
        EXPECT_EQ(BytesOf(outData), outBefore);
        ExpectBalanced();
        host.DisposeHandle(block);
    }
}

TEST_F(SequenceSetup, LeavesAnExistingBlockOfFourBytesAlone) {
    PrepareBlock(4);
    EXPECT_EQ(Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_NONE);
    EXPECT_EQ(inData.sequence_data, block);
    EXPECT_EQ(BytesOf(outData), outBefore);
    EXPECT_EQ(Calls(), Lines{"host_get_handle_size 4"});
    ExpectContents({1, 2, 3, 4});
}

TEST_F(SequenceSetup, DoesNotNoticeAFailingResize) {
    PrepareBlock(8);
    host.options().faults = Fail(refhost::Call::resizeHandle, 0);
    EXPECT_EQ(Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_NONE);
    EXPECT_EQ(host.HandleSize(block), 8u);
    EXPECT_EQ(BytesOf(outData), outBefore);
}

TEST_F(SequenceResetup, TakesAnExistingBlockOfAnySizeAsItIs) {
    for (const std::uint64_t size : {0u, 1u, 4u, 8u, 4096u}) {
        PrepareBlock(size);
        EXPECT_EQ(Send(PF_Cmd_SEQUENCE_RESETUP), PF_Err_NONE);
        EXPECT_EQ(inData.sequence_data, block);
        EXPECT_EQ(host.HandleSize(block), size);
        EXPECT_EQ(BytesOf(outData), outBefore);
        EXPECT_EQ(Calls(), Lines());
        host.DisposeHandle(block);
    }
}

TEST_F(SequenceSetdown, TouchesNothingWithoutSequenceData) {
    Prepare();
    const auto inBytes = BytesOf(inData);
    const auto outBytes = BytesOf(outData);
    EXPECT_EQ(Send(PF_Cmd_SEQUENCE_SETDOWN), PF_Err_NONE);
    EXPECT_EQ(BytesOf(inData), inBytes);
    EXPECT_EQ(BytesOf(outData), outBytes);
    EXPECT_EQ(Calls(), Lines());
}

TEST_F(SequenceSetdown, FreesTheBlockAndNullsBothFields) {
    PrepareBlock(4);
    EXPECT_EQ(Send(PF_Cmd_SEQUENCE_SETDOWN), PF_Err_NONE);
    EXPECT_FALSE(host.IsLive(block));
    EXPECT_EQ(inData.sequence_data, nullptr);
    PF_OutData expected = PoisonedOutData();
    expected.sequence_data = nullptr;
    EXPECT_EQ(BytesOf(outData), BytesOf(expected));
    EXPECT_EQ(Calls(), (Lines{"host_get_handle_size 4", "host_dispose_handle 4"}));
    ExpectBalanced();
}

TEST_F(SequenceSetdown, BringsABlockOfAnotherSizeToFourBytesBeforeItFreesIt) {
    PrepareBlock(8);
    EXPECT_EQ(Send(PF_Cmd_SEQUENCE_SETDOWN), PF_Err_NONE);
    EXPECT_EQ(Calls(), (Lines{"host_get_handle_size 8", "host_resize_handle 4", "host_dispose_handle 4"}));
    EXPECT_FALSE(host.IsLive(block));
    EXPECT_EQ(inData.sequence_data, nullptr);
    EXPECT_EQ(outData.sequence_data, nullptr);
    ExpectBalanced();
}

TEST_F(SequenceSetdown, FreesABlockThatCannotBeResized) {
    PrepareBlock(8);
    host.options().faults = Fail(refhost::Call::resizeHandle, 0);
    EXPECT_EQ(Send(PF_Cmd_SEQUENCE_SETDOWN), PF_Err_NONE);
    EXPECT_EQ(Calls(), (Lines{"host_get_handle_size 8", "host_resize_handle 4", "host_dispose_handle 8"}));
    EXPECT_FALSE(host.IsLive(block));
    EXPECT_EQ(inData.sequence_data, nullptr);
    EXPECT_EQ(outData.sequence_data, nullptr);
}

// A host may answer a resize with another handle; the block is then what the record holds.
std::array<void*, 2> replaceable;
PF_Handle disposed;

PF_UtilCallbacks ReplacingUtils() {
    PF_UtilCallbacks utils{};
    utils.host_get_handle_size = [](PF_Handle) -> A_HandleSize { return 8; };
    utils.host_resize_handle = [](A_HandleSize, PF_Handle* handle) -> PF_Err {
        *handle = &replaceable[1];
        return PF_Err_NONE;
    };
    utils.host_dispose_handle = [](PF_Handle handle) { disposed = handle; };
    return utils;
}

TEST_F(SequenceSetup, LeavesTheHandleThatTheResizeGaveInTheRecord) {
    PF_UtilCallbacks utils = ReplacingUtils();
    Prepare();
    inData.utils = &utils;
    inData.sequence_data = &replaceable[0];
    EXPECT_EQ(Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_NONE);
    EXPECT_EQ(inData.sequence_data, &replaceable[1]);
    inData.sequence_data = nullptr;
}

TEST_F(SequenceSetdown, FreesTheHandleThatTheResizeGave) {
    PF_UtilCallbacks utils = ReplacingUtils();
    disposed = nullptr;
    Prepare();
    inData.utils = &utils;
    inData.sequence_data = &replaceable[0];
    EXPECT_EQ(Send(PF_Cmd_SEQUENCE_SETDOWN), PF_Err_NONE);
    EXPECT_EQ(disposed, &replaceable[1]);
    EXPECT_EQ(inData.sequence_data, nullptr);
}

TEST(Instance, KeepsItsSequenceDataThroughSavingAndLoading) {
    refhost::Host host(Binary(), InOrder());
    host.SetUp();
    refhost::Instance instance(host);
    ASSERT_EQ(instance.SequenceSetup(), PF_Err_NONE);
    const auto saved = instance.Save();
    EXPECT_EQ(saved.sequenceData, std::vector<std::byte>(4));

    refhost::Instance loaded(host);
    loaded.Load(saved);
    ASSERT_NE(loaded.sequenceData(), nullptr);
    EXPECT_NE(loaded.sequenceData(), instance.sequenceData());
    EXPECT_EQ(loaded.SequenceResetup(), PF_Err_NONE);
    EXPECT_EQ(host.HandleSize(loaded.sequenceData()), 4u);

    EXPECT_EQ(instance.SequenceSetdown(), PF_Err_NONE);
    EXPECT_EQ(loaded.SequenceSetdown(), PF_Err_NONE);
    EXPECT_EQ(loaded.sequenceData(), nullptr);
    EXPECT_EQ(host.account().Outstanding(), Lines());
    EXPECT_EQ(host.account().Misuse(), Lines());
}

// ---- About ------------------------------------------------------------------------------------------------------

using About = Lifecycle;

TEST_F(About, WritesNameAndVersionInTheCompositor) {
    Prepare();
    EXPECT_EQ(Send(PF_Cmd_ABOUT), PF_Err_NONE);
    PF_OutData expected = PoisonedOutData();
    std::strcpy(expected.return_msg, "NUV Chromatic Aberration, v2.0");
    EXPECT_STREQ(outData.return_msg, expected.return_msg);
    EXPECT_EQ(BytesOf(outData), BytesOf(expected)) << "no flag is set";
}

TEST_F(About, HasTheHostFormatTheText) {
    Prepare();
    EXPECT_EQ(Send(PF_Cmd_ABOUT), PF_Err_NONE);
    EXPECT_EQ(Calls(),
              (Lines{"AcquireSuite PF ANSI Suite 1", "sprintf %s, v%d.%d", "ReleaseSuite PF ANSI Suite 1"}));
    ExpectBalanced();
}

TEST_F(About, WritesNothingInTheEditor) {
    UsePersonality(Personality::editor);
    Prepare();
    inData.pica_basicP = nullptr;
    EXPECT_EQ(Send(PF_Cmd_ABOUT), PF_Err_NONE);
    EXPECT_EQ(BytesOf(outData), BytesOf(PoisonedOutData()));
    EXPECT_EQ(Calls(), Lines());
}

TEST_F(About, Yields516WithoutABasicSuite) {
    Prepare();
    inData.pica_basicP = nullptr;
    EXPECT_EQ(Send(PF_Cmd_ABOUT), 516);
    EXPECT_EQ(BytesOf(outData), BytesOf(PoisonedOutData()));
}

TEST_F(About, Yields516WithoutTheAnsiSuite) {
    for (const PF_Err code : {kFault, PF_Err_NONE}) {  // 0: the host succeeds and gives nothing
        host.options().faults = Fail("AcquireSuite PF ANSI Suite 1", code);
        Prepare();
        EXPECT_EQ(Send(PF_Cmd_ABOUT), 516);
        EXPECT_EQ(BytesOf(outData), BytesOf(PoisonedOutData()));
        EXPECT_EQ(Calls(), Lines{"AcquireSuite PF ANSI Suite 1"});
        ExpectBalanced();
    }
}

int ThrowingSprintf(char*, const char*, ...) {
    throw 99;
}

TEST(AboutInternals, GiveTheSuiteBackWhenAnExceptionPasses) {
    PF_ANSICallbacksSuite1 ansi{};
    ansi.sprintf = ThrowingSprintf;
    FakeBasic basic;
    basic.onAcquire = [&](const std::string&, std::int32_t) { return FakeBasic::Answer{0, &ansi}; };
    PF_InData inData{};
    inData.pica_basicP = &basic.suite;
    PF_OutData outData{};
    EXPECT_EQ(nuv::Dispatch(PF_Cmd_ABOUT, &inData, &outData, nullptr, nullptr, nullptr), 99);
    EXPECT_EQ(basic.released, Lines{"PF ANSI Suite 1"});
}

}  // namespace
