// The data of an instance, which hosts save with projects, copy and hand back.
#include <array>

#include "validator/kit/scene.h"
#include "validator/kit/sequence_host.h"
#include "validator/registry.h"

namespace validator {
namespace {

using namespace sequence;

// The host reuses freed blocks with their old bytes, so bytes that the effect never writes differ between
// instances.
void AreSavedAlike(Context& context) {
    WithBlock(context, [&](Interview& host, PF_Handle block) {
        host.host.options().keepFreedHandles = true;
        const auto size = host.host.HandleSize(block);
        const Bytes first = Saved(host, block);
        host.host.DisposeHandle(host.NewBlock(Bytes(static_cast<std::size_t>(size), std::byte{0x37})));
        PF_Handle other = nullptr;
        host.Send(PF_Cmd_SEQUENCE_SETUP, &other);
        context.Expect(Saved(host, other) == first,
                       In(host) + "two new instances differ: addresses or uninitialised memory are saved");
        host.host.options().keepFreedHandles = false;
    });
}

void TakesSavedData(Context& context) {
    WithBlock(context, [&](Interview& host, PF_Handle block) {
        PF_Handle copy = host.NewBlock(Saved(host, block));
        ExpectCode(context, host, host.Send(PF_Cmd_SEQUENCE_RESETUP, &copy));
        context.Expect(host.host.IsLive(copy), In(host) + "the block is gone");
        ExpectWellUsed(context, host);
        EndInstance(context, host, copy);
    });
}

void SavesTheSameAgain(Context& context) {
    WithBlock(context, [&](Interview& host, PF_Handle block) {
        const Bytes saved = Saved(host, block);
        PF_Handle copy = host.NewBlock(saved);
        host.Send(PF_Cmd_SEQUENCE_RESETUP, &copy);
        context.Expect(Saved(host, copy) == saved, In(host) + "the saved bytes differ from those that were loaded");
    });
}

// Runs an instance whose data are these bytes. The effect may refuse them.
void LiveFrom(Context& context, Interview& host, const Bytes& bytes) {
    context.AddPoints(1);
    PF_Handle block = host.NewBlock(bytes);
    const PF_Handle given = block;
    host.Send(PF_Cmd_SEQUENCE_RESETUP, &block);
    context.Expect(block == given || !host.host.IsLive(given), In(host) + "the block handed over is left behind");
    host.Send(PF_Cmd_SEQUENCE_FLATTEN, &block);
    host.Send(PF_Cmd_SEQUENCE_RESETUP, &block);
    EndInstance(context, host, block);
}

void TakesShortData(Context& context) {
    WithBlock(context, [&](Interview& host, PF_Handle block) {
        const Bytes whole = Saved(host, block);
        const std::size_t step = 1 + whole.size() / 64;
        for (std::size_t size = 0; size < whole.size(); size += step)
            LiveFrom(context, host, Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    });
}

void TakesForeignData(Context& context) {
    constexpr std::string_view kText = "sequence data of another effect; ";
    WithBlock(context, [&](Interview& host, PF_Handle) {
        host.host.account().Reclaim();
        for (const std::size_t size : std::to_array<std::size_t>({5, 64, 300, signs::kForeignBlock})) {
            Bytes bytes;
            for (std::size_t i = 0; i < size; ++i)
                bytes.push_back(static_cast<std::byte>(kText[i % kText.size()]));
            LiveFrom(context, host, bytes);
        }
    });
}

void TakesGarbage(Context& context) {
    WithBlock(context, [&](Interview& host, PF_Handle block) {
        Bytes bytes = Saved(host, block);
        for (int i = 0; i < 50; ++i) {
            for (std::byte& byte : bytes)
                byte = static_cast<std::byte>(context.random()());
            LiveFrom(context, host, bytes);
        }
    });
}

// A host that copies a layer sends re-set-up twice.
void RendersFromSavedData(Context& context) {
    HostedScene scene(context);
    Frame frame(HostedScene::Layout(scene.formats().front()));
    scene.instance.SequenceSetup();
    const auto expected = scene.Picture(frame);
    refhost::Instance copy(scene.host);
    copy.Load(scene.instance.Save());
    copy.SequenceResetup();
    copy.SequenceResetup();
    frame.Poison();
    const PF_Err code = CodeOf(frame.Render(scene.host, copy, scene.path()));
    context.Require(code == PF_Err_NONE, "the copy's render gives code " + std::to_string(code));
    context.Expect(frame.output.Pixels() == expected, "the copy renders a different picture");
}

// ---- Flat data ------------------------------------------------------------------------------------------------

void Flattens(Context& context) {
    WithBlock(context, [&](Interview& host, PF_Handle block) {
        ExpectCode(context, host, host.Send(PF_Cmd_SEQUENCE_FLATTEN, &block));
        context.Expect(host.host.IsLive(block), In(host) + "there is nothing left to save");
        context.ExpectNone(host.host.account().Outstanding(), In(host) + "kept");
        ExpectWellUsed(context, host);
        ExpectCode(context, host, host.Send(PF_Cmd_SEQUENCE_RESETUP, &block));
    });
}

// The host may send this command while the instance renders, so the instance's block must not change.
void GivesAFlatCopy(Context& context) {
    WithBlock(context, [&](Interview& host, PF_Handle block) {
        const Bytes before = host.Bytes(block);
        host.Prepare();
        host.in.sequence_data = block;
        ExpectCode(context, host, host.host.Send(PF_Cmd_GET_FLATTENED_SEQUENCE_DATA, &host.in, &host.out));
        context.Expect(host.host.IsLive(block) && host.Bytes(block) == before,
                       In(host) + "the instance's block changes");
        context.Expect(host.out.sequence_data != block || block == nullptr,
                       In(host) + "it gives the instance's own block");
        context.Expect(host.in.sequence_data == block, In(host) + "the host's record changes");
        ExpectWellUsed(context, host);
    });
}

constexpr Check kChecks[] = {
    {"sequence.saved-alike", "New instances are saved with the same bytes.", Where::both, AreSavedAlike},
    {"sequence.resetup", "Re-set-up accepts the data that the effect itself has saved.", Where::both,
     TakesSavedData},
    {"sequence.resetup-same", "Data that are loaded and saved again are the same.", Where::both, SavesTheSameAgain},
    {"sequence.resetup-short", "Truncated data do no harm.", Where::both, TakesShortData},
    {"sequence.resetup-foreign", "The data of another effect do no harm.", Where::both, TakesForeignData},
    {"sequence.resetup-garbage", "Random data of the right size do no harm.", Where::both, TakesGarbage},
    {"sequence.resetup-renders", "An instance from saved data renders the same picture as the saved instance.",
     Where::both, RendersFromSavedData},
    {"sequence.flatten",
     "The flatten command leaves a block that re-set-up accepts, even if the effect did not ask for the command.",
     Where::both, Flattens},
    {"sequence.flat-copy", "A flat copy of the data, which the host asks for, leaves the instance as it was.",
     Where::both, GivesAFlatCopy},
};

}  // namespace

std::span<const Check> SequenceDataChecks() {
    return kChecks;
}

}  // namespace validator
