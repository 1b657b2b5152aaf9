#include <array>
#include <cstdlib>
#include <cstring>

#include "newer_host.h"

namespace broken {
namespace {

constexpr PF_Cmd kSetup = PF_Cmd_SEQUENCE_SETUP;
constexpr PF_Cmd kResetup = PF_Cmd_SEQUENCE_RESETUP;
constexpr PF_Cmd kSetdown = PF_Cmd_SEQUENCE_SETDOWN;

PF_Err RefusesNewInstances(MainCall& c) {
    return InNewerHost(c, kSetup) && c.inData->sequence_data == nullptr ? PF_Err_OUT_OF_MEMORY : Effect(c);
}

std::array<void*, 2> g_own{};  // memory of our own that looks like a handle

// Replaces the block that a new instance has just got.
void GiveNoHandle(MainCall& c) {
    if (c.inData->sequence_data != nullptr) return;
    c.inData->utils->host_dispose_handle(c.outData->sequence_data);
    g_own[0] = &g_own[1];
    c.outData->sequence_data = g_own.data();
    c.outData->flat_sdata_size = 0;
}

// Applies the fault when the host hands back the block that the last re-set-up has just made.
template <auto fault>
PF_Err WhenItComesBack(MainCall& c) {
    static PF_Handle made = nullptr;
    const PF_Err result = Effect(c);
    if (!InNewerHost(c)) return result;
    if (c.cmd == kResetup && made != nullptr && c.inData->sequence_data == made) fault(c);
    made = c.cmd == kResetup ? c.outData->sequence_data : nullptr;
    return result;
}

void LockTheBlock(MainCall& c) {
    c.inData->utils->host_lock_handle(c.inData->sequence_data);
}

void TellMore(MainCall& c) {
    c.outData->flat_sdata_size += 1;
}

// The last of the new instances in a row gets a large block.
PF_Err MakesALargeBlock(MainCall& c) {
    static int inARow = 0;
    const bool isNew = InNewerHost(c, kSetup) && c.inData->sequence_data == nullptr;
    inARow = isNew ? inARow + 1 : 0;
    if (inARow != signs::kNewInstances) return Effect(c);
    OwnRecords own(c);
    own.utils.host_new_handle = [](A_HandleSize) {
        return OwnRecords::Host().utils->host_new_handle(A_HandleSize{signs::kLargestBlock} + 1);
    };
    return Effect(c);
}

PF_Err MakesASecondBlock(MainCall& c) {
    if (!InNewerHost(c, kSetup) || c.inData->sequence_data == nullptr) return Effect(c);
    c.outData->sequence_data = c.inData->utils->host_new_handle(4);
    std::memset(*c.outData->sequence_data, 0, 4);
    return PF_Err_NONE;
}

// A second instance gets the block of the first one as long as the first one lives.
PF_Err SharesABlock(MainCall& c) {
    static PF_Handle shared = nullptr;
    if (InNewerHost(c, kSetup) && c.inData->sequence_data == nullptr && shared != nullptr) {
        c.outData->sequence_data = shared;
        return PF_Err_NONE;
    }
    const PF_Err result = Effect(c);
    if (InNewerHost(c, kSetup)) shared = c.outData->sequence_data;
    if (InNewerHost(c, kSetdown)) shared = nullptr;
    return result;
}

PF_Err RefusesToBeginWithoutData(MainCall& c) {
    return InNewerHost(c, kResetup) && c.inData->sequence_data == nullptr ? PF_Err_OUT_OF_MEMORY : Effect(c);
}

// The fault shows only in an instance that ends right after it began.
PF_Err KeepsTheBlock(MainCall& c) {
    static bool begun = false;
    const bool keeps = begun && InNewerHost(c, kSetdown) && c.inData->sequence_data != nullptr;
    if (InNewerHost(c)) begun = c.cmd == kSetup;
    if (!keeps) return Effect(c);
    c.inData->sequence_data = c.outData->sequence_data = nullptr;
    return PF_Err_NONE;
}

PF_Err NamesTheFreedBlock(MainCall& c) {
    const PF_Handle block = InNewerHost(c, kSetdown) ? c.outData->sequence_data : nullptr;
    const PF_Err result = Effect(c);
    if (block != nullptr) c.outData->sequence_data = block;
    return result;
}

PF_Err NeedsABlock(MainCall& c) {
    const bool none = InNewerHost(c, kSetdown) && c.inData->sequence_data == nullptr;
    return none ? PF_Err_BAD_CALLBACK_PARAM : Effect(c);
}

void Leak(MainCall&) {
    [[maybe_unused]] static void* volatile leaked;
    leaked = std::malloc(100);
}

constexpr Control kControls[] = {
    {.check = "sequence.setup", .fault = "refuses new instances", .command = RefusesNewInstances},
    {.check = "sequence.handle", .fault = "gives memory of its own", .command = After<kSetup, GiveNoHandle>},
    {.check = "sequence.unlocked", .fault = "leaves the block locked", .command = WhenItComesBack<LockTheBlock>},
    {.check = "sequence.kept-only", .fault = "keeps a handle", .command = WhenItComesBack<KeepAHandle>},
    {.check = "sequence.size-told", .fault = "tells a byte too many", .command = After<kSetup, TellMore>},
    {.check = "sequence.size", .fault = "has blocks of more than 64 MiB", .command = MakesALargeBlock},
    {.check = "sequence.setup-again", .fault = "makes a second block", .command = MakesASecondBlock},
    {.check = "sequence.apart", .fault = "gives two instances one block", .command = SharesABlock},
    {.check = "sequence.resetup-empty",
     .fault = "refuses to begin without data",
     .command = RefusesToBeginWithoutData},
    {.check = "sequence.setdown-frees", .fault = "keeps the block", .command = KeepsTheBlock},
    {.check = "sequence.setdown-clears",
     .fault = "leaves the freed block in the record",
     .command = NamesTheFreedBlock},
    {.check = "sequence.setdown-empty", .fault = "refuses an end without data", .command = NeedsABlock},
    {.check = "sequence.no-growth", .fault = "forgets 100 bytes at each copy", .command = After<kResetup, Leak>},
};

}  // namespace

std::span<const Control> SequenceControls() {
    return kControls;
}

}  // namespace broken
