// The data of an instance, from set-up to set-down.
#include <array>

#include "platform/process_usage.h"
#include "validator/kit/heap_count.h"
#include "validator/kit/sequence_host.h"
#include "validator/registry.h"

namespace validator {
namespace {

using namespace sequence;

constexpr int kCycles = 1000;

// ---- A new instance -------------------------------------------------------------------------------------------

template <PF_Cmd cmd>
void Succeeds(Context& context) {
    InEachHost(context, [&](Interview& host) {
        PF_Handle block = nullptr;
        ExpectCode(context, host, host.Send(cmd, &block));
    });
}

void IsAHandle(Context& context) {
    InEachHost(context, [&](Interview& host) {
        host.Send(PF_Cmd_SEQUENCE_SETUP);
        const PF_Handle said = host.out.sequence_data;
        context.Expect(said == nullptr || host.host.IsLive(said), In(host) + "the record holds no handle");
    });
}

std::vector<std::string> LeftBySetups(Interview& host, bool locked) {
    for (const PF_Cmd cmd : {PF_Cmd_SEQUENCE_SETUP, PF_Cmd_SEQUENCE_RESETUP}) {
        PF_Handle block = nullptr;
        host.Send(cmd, &block);
        host.Send(PF_Cmd_SEQUENCE_RESETUP, &block);
    }
    auto lines = host.host.account().Outstanding();
    std::erase_if(lines, [&](const std::string& line) { return line.ends_with("locked") != locked; });
    return lines;
}

void IsNotLeftLocked(Context& context) {
    InEachHost(context, [&](Interview& host) { context.ExpectNone(LeftBySetups(host, true), "left locked"); });
}

void KeepsNothingElse(Context& context) {
    InEachHost(context, [&](Interview& host) { context.ExpectNone(LeftBySetups(host, false), "kept"); });
}

void TellsItsSize(Context& context) {
    InEachHost(context, [&](Interview& host) {
        PF_Handle block = nullptr;
        host.Send(PF_Cmd_SEQUENCE_SETUP, &block);
        const std::int32_t told = host.out.flat_sdata_size;
        const std::size_t size = Saved(host, block).size();
        context.Expect(
            told >= 0 && static_cast<std::size_t>(told) <= size,
            In(host) + "it reports " + std::to_string(told) + " bytes for a block of " + std::to_string(size));
    });
}

void AreOfSaneSize(Context& context) {
    InEachHost(context, [&](Interview& host) {
        for (int i = 0; i < signs::kNewInstances; ++i) {
            PF_Handle block = nullptr;
            host.Send(PF_Cmd_SEQUENCE_SETUP, &block);
            const std::uint64_t size = host.host.HandleSize(block);
            context.Expect(size <= signs::kLargestBlock, In(host) + "it has " + std::to_string(size) + " bytes");
        }
    });
}

void KeepsABlockThatIsThere(Context& context) {
    WithBlock(context, [&](Interview& host, PF_Handle block) {
        const PF_Handle first = block;
        ExpectCode(context, host, host.Send(PF_Cmd_SEQUENCE_SETUP, &block));
        context.Expect(host.host.IsLive(block), In(host) + "the block is gone");
        context.Expect(block == first || !host.host.IsLive(first), In(host) + "there are two blocks");
        ExpectWellUsed(context, host);
    });
}

void AreApart(Context& context) {
    WithBlock(context, [&](Interview& host, PF_Handle first) {
        PF_Handle second = nullptr;
        host.Send(PF_Cmd_SEQUENCE_SETUP, &second);
        context.Require(second != first, In(host) + "two instances share a block");
        const Bytes before = host.Bytes(first);
        host.Send(PF_Cmd_SEQUENCE_RESETUP, &second);
        host.Send(PF_Cmd_SEQUENCE_SETDOWN, &second);
        context.Expect(host.host.IsLive(first) && host.Bytes(first) == before,
                       In(host) + "the end of one instance touches the other");
    });
}

// ---- The end --------------------------------------------------------------------------------------------------

void SetdownFrees(Context& context) {
    WithBlock(context, [&](Interview& host, PF_Handle block) {
        const PF_Handle given = block;
        ExpectCode(context, host, host.Send(PF_Cmd_SEQUENCE_SETDOWN, &block));
        context.Expect(!host.host.IsLive(given), In(host) + "the block is still there");
        context.ExpectNone(host.host.account().Outstanding(), In(host) + "kept");
        ExpectWellUsed(context, host);
    });
}

// The host puts the block into both records, and afterwards reads it from out_data.
void SetdownClears(Context& context) {
    WithBlock(context, [&](Interview& host, PF_Handle block) {
        host.Prepare();
        host.in.sequence_data = host.out.sequence_data = block;
        host.host.Send(PF_Cmd_SEQUENCE_SETDOWN, &host.in, &host.out);
        context.Expect(host.out.sequence_data == nullptr, In(host) + "the record still names the block");
    });
}

void SetdownWithoutData(Context& context) {
    InEachHost(context, [&](Interview& host) {
        PF_Handle block = nullptr;
        ExpectCode(context, host, host.Send(PF_Cmd_SEQUENCE_SETDOWN, &block));
        context.ExpectNone(host.host.account().Outstanding(), In(host) + "kept");
        ExpectWellUsed(context, host);
    });
}

void DoesNotGrow(Context& context) {
    constexpr std::int64_t kGrowth = 4096;
    constexpr int kWarmUp = 4 * kCycles;  // until the list of freed handles in the reference host no longer grows
    std::array<std::int64_t, 2> used{};
    RequireHeapCount(context);
    InEachHost(context, [&](Interview& host) {
        host.host.options().recordCalls = false;
        for (int i = 0; i < kWarmUp + kCycles; ++i) {
            if (i == kWarmUp) used[0] = platform::HeapBytesInUse();
            PF_Handle block = nullptr;
            host.Send(PF_Cmd_SEQUENCE_SETUP, &block);
            PF_Handle copy = block == nullptr ? nullptr : host.NewBlock(Saved(host, block));
            host.Send(PF_Cmd_SEQUENCE_RESETUP, &block);
            host.Send(PF_Cmd_SEQUENCE_RESETUP, &copy);
            host.Send(PF_Cmd_SEQUENCE_SETDOWN, &copy);
            host.Send(PF_Cmd_SEQUENCE_SETDOWN, &block);
        }
        used[1] = platform::HeapBytesInUse();
        context.Expect(used[1] - used[0] < kGrowth,
                       In(host) + "the heap holds " + std::to_string(used[1] - used[0]) + " bytes more");
        context.ExpectNone(host.host.account().Outstanding(), In(host) + "kept");
    });
}

constexpr Check kChecks[] = {
    {"sequence.setup", "Sequence set-up succeeds.", Where::both, Succeeds<PF_Cmd_SEQUENCE_SETUP>},
    {"sequence.handle", "Sequence data are a handle of the host, or the effect has none.", Where::both, IsAHandle},
    {"sequence.unlocked", "No sequence command leaves a block locked.", Where::both, IsNotLeftLocked},
    {"sequence.kept-only", "An instance keeps one block of memory and nothing else of the host.", Where::both,
     KeepsNothingElse},
    {"sequence.size-told", "Set-up reports at most as many bytes as the block has.", Where::both, TellsItsSize},
    {"sequence.size", "A new instance's block has at most 64 MiB.", Where::both, AreOfSaneSize},
    {"sequence.setup-again", "An instance that is set up again still has exactly one block.", Where::both,
     KeepsABlockThatIsThere},
    {"sequence.apart", "Instances share no block, and the end of one does not change another.", Where::both,
     AreApart},
    {"sequence.resetup-empty", "Re-set-up of an instance without data succeeds.", Where::both,
     Succeeds<PF_Cmd_SEQUENCE_RESETUP>},
    {"sequence.setdown-frees", "Set-down frees the block.", Where::both, SetdownFrees},
    {"sequence.setdown-clears", "Set-down clears the freed block from the record.", Where::both, SetdownClears},
    {"sequence.setdown-empty", "Set-down of an instance without data succeeds.", Where::both, SetdownWithoutData},
    {"sequence.no-growth", "1,000 instances set up, copied and set down leave the heap as it was.", Where::both,
     DoesNotGrow, Kind::slow},
};

}  // namespace

std::span<const Check> SequenceChecks() {
    return kChecks;
}

}  // namespace validator
