#include <atomic>
#include <cstring>

#include "render_fault.h"

#include <immintrin.h>

namespace broken {
namespace {

void WritesInput(RenderCall& r) {
    *Bytes(r.input) ^= 1;
}

void ChangesRecord(RenderCall& r) {
    r.input->rowbytes += 4;
}

void ChangesParameter(RenderCall& r) {
    if (r.command.params && r.command.params[1]) r.command.params[1]->flags ^= 1;
}

void ChangesSequenceData(RenderCall& r) {
    const PF_Handle handle = r.command.inData->sequence_data;
    const auto& utils = *r.command.inData->utils;
    auto* const data = static_cast<std::uint8_t*>(utils.host_lock_handle(handle));
    if (data) *data ^= 1;
    utils.host_unlock_handle(handle);
}

void FlushesToZero(RenderCall&) {
    _mm_setcsr(_mm_getcsr() | _MM_FLUSH_ZERO_ON);
}

void KeepsASuite(RenderCall& r) {
    const void* suite = nullptr;
    r.command.inData->pica_basicP->AcquireSuite("PF ANSI Suite", 1, &suite);
}

void LeavesAMessage(RenderCall& r) {
    std::strcpy(r.command.outData->return_msg, "done");
}

void Alternates(RenderCall& r) {
    static int renders = 0;
    if (++renders % 2 == 0) ChangesAPixel(r);
}

// Renders only the first instance correctly.
void KnowsOneInstance(RenderCall& r) {
    static const PF_Handle first = r.command.inData->sequence_data;
    if (r.command.inData->sequence_data != first) ChangesAPixel(r);
}

// Uses a cache that another instance has filled.
void KeepsOthersCache(RenderCall& r) {
    static PF_Handle last = r.command.inData->sequence_data;
    if (r.command.inData->sequence_data != last) ChangesAPixel(r);
    last = r.command.inData->sequence_data;
}

PF_Err KeepsOtherTimesCache(MainCall& command) {
    static std::atomic<std::int32_t> last{0};
    if (!IsRender(command)) return Effect(command);
    RenderCall render = RenderTruly(command);
    if (last.exchange(command.inData->current_time) == signs::kOtherFramesTime && render.OutputIs(OwnSize()))
        ChangesAPixel(render);
    return render.result;
}

void DiffersPlainly(RenderCall& r) {
    if (r.command.cmd == PF_Cmd_RENDER) ChangesAPixel(r);
}

// ---- Worlds that are not there, or have no pixels -----------------------------------------------------------

volatile std::uint8_t g_read;
PF_LayerDef* volatile g_nothing = nullptr;

void ReadsMissingInput(RenderCall& r) {
    if (!r.input) g_read = *Bytes(g_nothing);
    if (!r.input->data) g_read = *Bytes(r.input);
}

// A hook that runs the fault after the effect's render, if the input has the check's own size.
template <void (*fault)(RenderCall&)>
PF_Err WithInput(MainCall& command) {
    if (!IsRender(command)) return Effect(command);
    RenderCall render = RenderTruly(command);
    if (render.InputIs(OwnSize())) fault(render);
    return render.result;
}

void WritesMissingOutput(RenderCall& r) {
    if (!r.output) *Bytes(g_nothing) = 0;
}

constexpr Control kControls[] = {
    {.check = "render.input-unchanged", .fault = "writes the input", .command = With<WritesInput>},
    {.check = "render.records-unchanged", .fault = "changes the input's stride", .command = With<ChangesRecord>},
    {.check = "render.parameters-unchanged",
     .fault = "changes the first parameter's flags",
     .command = With<ChangesParameter>},
    {.check = "render.sequence-data-unchanged",
     .fault = "counts frames in the sequence data",
     .command = With<ChangesSequenceData>},
    {.check = "render.float-state",
     .fault = "flushes denormals to zero from then on",
     .command = With<FlushesToZero>},
    {.check = "render.holds-nothing", .fault = "acquires a suite and keeps it", .command = With<KeepsASuite>},
    {.check = "render.no-message", .fault = "leaves a message", .command = With<LeavesAMessage>},
    {.check = "render.repeatable", .fault = "differs from render to render", .command = With<Alternates>},
    {.check = "render.new-instance",
     .fault = "renders the first instance well only",
     .command = With<KnowsOneInstance>},
    {.check = "render.instances-apart",
     .fault = "uses what another instance has left",
     .command = With<KeepsOthersCache>},
    {.check = "render.frames-apart", .fault = "uses what another frame has left", .command = KeepsOtherTimesCache},
    {.check = "render.smart-and-plain",
     .fault = "draws another picture in a plain render",
     .command = With<DiffersPlainly>},
    {.check = "render.defaults", .fault = "leaves the last pixel out", .command = With<KeepsLastPixel>},
    {.check = "render.time-zero", .fault = "refuses the frame", .command = With<Refuses>},
    {.check = "render.time-negative", .fault = "refuses the frame", .command = With<Refuses>},
    {.check = "render.time-latest", .fault = "leaves the last pixel out", .command = With<KeepsLastPixel>},
    {.check = "render.time-earliest", .fault = "differs from render to render", .command = With<Alternates>},
    {.check = "render.step-zero", .fault = "refuses the frame", .command = With<Refuses>},
    {.check = "render.step-negative", .fault = "refuses the frame", .command = With<Refuses>},
    {.check = "render.half-resolution", .fault = "leaves the last pixel out", .command = With<KeepsLastPixel>},
    {.check = "render.unequal-resolution",
     .fault = "writes before the output",
     .command = With<WritesBeforeOutput>},
    {.check = "render.wide-pixels", .fault = "leaves the last pixel out", .command = With<KeepsLastPixel>},
    {.check = "render.narrow-pixels", .fault = "refuses the frame", .command = With<Refuses>},
    {.check = "render.input-origin", .fault = "writes the input", .command = With<WritesInput>},
    {.check = "render.output-origin", .fault = "writes before the output", .command = With<WritesBeforeOutput>},
    {.check = "render.no-input", .fault = "reads the input without a look", .command = With<ReadsMissingInput>},
    {.check = "render.no-output",
     .fault = "writes the output without a look",
     .command = WithInput<WritesMissingOutput>},
    {.check = "render.empty-input", .fault = "writes before the output", .command = With<WritesBeforeOutput>},
    {.check = "render.empty-output",
     .fault = "writes an output of no pixels",
     .command = WithInput<WritesFirstByte>},
    {.check = "render.no-rows", .fault = "writes an output of no rows", .command = With<WritesFirstByte>},
    {.check = "render.no-columns", .fault = "writes an output of no columns", .command = With<WritesFirstByte>},
};
static_assert(signs::EachHasSize(kControls, &Control::check));

}  // namespace

std::span<const Control> RenderControls() {
    return kControls;
}

}  // namespace broken
