// When the effect makes, resizes and frees the block of an instance's sequence data.
#include <array>

#include "lifecycle_fixture.h"

namespace {

using namespace protocol;

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

TEST_P(NewSequenceBlock, LeavesEverythingElseUnchanged) {
    Prepare();
    const auto inBefore = BytesOf(inData);
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_EQ(BytesOf(inData), inBefore);
    PF_OutData expected = PoisonedOutData();
    expected.sequence_data = outData.sequence_data;
    expected.flat_sdata_size = 4;
    EXPECT_EQ(BytesOf(outData), BytesOf(expected));
}

TEST_P(NewSequenceBlock, IsNewForEveryInstance) {
    Prepare();
    EXPECT_EQ(Send(), PF_Err_NONE);
    const PF_Handle first = outData.sequence_data;
    Prepare();
    EXPECT_EQ(Send(), PF_Err_NONE);
    EXPECT_NE(outData.sequence_data, first);
    EXPECT_TRUE(host.IsLive(first));
}

TEST_P(NewSequenceBlock, WithoutMemoryYields512AMessageAndItsFlag) {
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
    // Makes a block in the host, filled with 1, 2, 3, …
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
    EXPECT_EQ(BytesOf(outData), outBefore) << "the effect writes nothing, not even sequence_data";
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

TEST_F(SequenceSetup, IgnoresAResizeThatFails) {
    PrepareBlock(8);
    host.options().faults = Fail(refhost::Call::resizeHandle, 0);
    EXPECT_EQ(Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_NONE);
    EXPECT_EQ(host.HandleSize(block), 8u);
    EXPECT_EQ(BytesOf(outData), outBefore);
}

TEST_F(SequenceResetup, LeavesAnExistingBlockOfAnySizeAlone) {
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

TEST_F(SequenceSetdown, ChangesNothingWithoutSequenceData) {
    Prepare();
    const auto inBytes = BytesOf(inData);
    const auto outBytes = BytesOf(outData);
    EXPECT_EQ(Send(PF_Cmd_SEQUENCE_SETDOWN), PF_Err_NONE);
    EXPECT_EQ(BytesOf(inData), inBytes);
    EXPECT_EQ(BytesOf(outData), outBytes);
    EXPECT_EQ(Calls(), Lines());
}

TEST_F(SequenceSetdown, FreesTheBlockAndSetsBothFieldsToNull) {
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

// A host may replace the handle when it resizes a block. The block is then the handle that inData holds.
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

TEST_F(SequenceSetup, KeepsTheHandleThatTheResizeReturned) {
    PF_UtilCallbacks utils = ReplacingUtils();
    Prepare();
    inData.utils = &utils;
    inData.sequence_data = &replaceable[0];
    EXPECT_EQ(Send(PF_Cmd_SEQUENCE_SETUP), PF_Err_NONE);
    EXPECT_EQ(inData.sequence_data, &replaceable[1]);
    inData.sequence_data = nullptr;
}

TEST_F(SequenceSetdown, FreesTheHandleThatTheResizeReturned) {
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

}  // namespace
