#include <cstdlib>
#include <cstring>

#include "newer_host.h"

namespace broken {
namespace {

constexpr PF_Cmd kSetup = PF_Cmd_SEQUENCE_SETUP;
constexpr PF_Cmd kResetup = PF_Cmd_SEQUENCE_RESETUP;

PF_Err NumbersItsInstances(MainCall& c) {
    static std::uint32_t number = 0;
    const PF_Err result = Effect(c);
    if (InNewerHost(c, kSetup) && c.inData->sequence_data == nullptr) {
        std::memcpy(*c.outData->sequence_data, &++number, sizeof number);
    }
    return result;
}

// The block that the host hands back, or null.
PF_Handle HandedBack(const MainCall& c) {
    return InNewerHost(c, kResetup) ? c.inData->sequence_data : nullptr;
}
std::uint64_t HandedBackSize(const MainCall& c) {
    return HandedBack(c) ? c.inData->utils->host_get_handle_size(HandedBack(c)) : 4;
}

PF_Err RefusesSavedData(MainCall& c) {
    static PF_Handle made = nullptr;
    if (HandedBack(c) != nullptr && HandedBack(c) != made && HandedBackSize(c) == 4) return PF_Err_OUT_OF_MEMORY;
    const PF_Err result = Effect(c);
    if (InNewerHost(c, kSetup)) made = c.outData->sequence_data;
    return result;
}

PF_Err CountsResetups(MainCall& c) {
    const PF_Err result = Effect(c);
    if (HandedBack(c) != nullptr && HandedBackSize(c) == 4) static_cast<unsigned char*>(*HandedBack(c))[3] ^= 1;
    return result;
}

// Writes as if every block had the right size.
PF_Err TrustsTheSize(MainCall& c) {
    if (HandedBackSize(c) < 4) std::memset(*HandedBack(c), 0, 4);
    return Effect(c);
}

PF_Err FallsOverLargeBlocks(MainCall& c) {
    if (HandedBackSize(c) >= signs::kForeignBlock) std::abort();
    return Effect(c);
}

PF_Err FallsOverGarbage(MainCall& c) {
    std::uint32_t first = 0;
    if (HandedBack(c) != nullptr && HandedBackSize(c) == 4) std::memcpy(&first, *HandedBack(c), sizeof first);
    if (first > 1000) std::abort();
    return Effect(c);
}

// Renders no more once a block has been handed back twice in a row.
PF_Err WearsOut(MainCall& c) {
    static PF_Handle last = nullptr;
    static bool wornOut = false;
    if (c.cmd == kResetup && c.inData != nullptr) {
        wornOut = wornOut || (last != nullptr && last == c.inData->sequence_data);
        last = c.inData->sequence_data;
    }
    const bool renders = c.cmd == PF_Cmd_RENDER || c.cmd == PF_Cmd_SMART_RENDER;
    return renders && wornOut ? PF_Err_INTERNAL_STRUCT_DAMAGED : Effect(c);
}

void Overwrite(MainCall& c) {
    if (c.inData->sequence_data != nullptr) std::memset(*c.inData->sequence_data, 1, 1);
}

constexpr Control kControls[] = {
    {.check = "sequence.saved-alike", .fault = "numbers its instances", .command = NumbersItsInstances},
    {.check = "sequence.resetup", .fault = "refuses what it has saved", .command = RefusesSavedData},
    {.check = "sequence.resetup-same", .fault = "counts how often it was loaded", .command = CountsResetups},
    {.check = "sequence.resetup-short", .fault = "writes into blocks of any size", .command = TrustsTheSize},
    {.check = "sequence.resetup-foreign", .fault = "falls over a large block", .command = FallsOverLargeBlocks},
    {.check = "sequence.resetup-garbage", .fault = "falls over random numbers", .command = FallsOverGarbage},
    {.check = "sequence.resetup-renders", .fault = "renders no more after a copy", .command = WearsOut},
    {.check = "sequence.flatten", .fault = "refuses to flatten", .command = Refuses<PF_Cmd_SEQUENCE_FLATTEN>},
    {.check = "sequence.flat-copy",
     .fault = "changes the block when a copy is asked for",
     .command = After<PF_Cmd_GET_FLATTENED_SEQUENCE_DATA, Overwrite>},
};

}  // namespace

std::span<const Control> SequenceDataControls() {
    return kControls;
}

}  // namespace broken
