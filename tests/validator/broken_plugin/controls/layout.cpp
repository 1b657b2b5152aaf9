#include <cstdint>
#include <cstdlib>

#include "render_fault.h"

namespace broken {
namespace {

template <bool (*when)(const RenderCall&)>
void ChangesAPixelWhen(RenderCall& render) {
    if (when(render)) ChangesAPixel(render);
}

bool InputSpread(const RenderCall& r) {
    return r.IsSpread(r.input);
}
bool OutputSpread(const RenderCall& r) {
    return r.IsSpread(r.output);
}
bool InputBottomUp(const RenderCall& r) {
    return r.input->rowbytes < 0;
}
bool OutputBottomUp(const RenderCall& r) {
    return r.output->rowbytes < 0;
}
bool BothBottomUp(const RenderCall& r) {
    return InputBottomUp(r) && OutputBottomUp(r);
}
bool IsUnaligned(const PF_EffectWorld* world) {
    return reinterpret_cast<std::uintptr_t>(world->data) % 64 != 0;
}
bool InputUnaligned(const RenderCall& r) {
    return IsUnaligned(r.input);
}
bool OutputUnaligned(const RenderCall& r) {
    return IsUnaligned(r.output);
}

void ReadsPadding(RenderCall& r) {
    const bool odd = InputSpread(r) && Bytes(r.input)[r.input->width * r.pixelBytes] % 2 != 0;
    if (odd) ChangesAPixel(r);
}

volatile std::uint8_t g_read;

template <PF_EffectWorld* RenderCall::*world>
void ReadsBefore(RenderCall& r) {
    g_read = *(Bytes(r.*world) - 1);
}
template <PF_EffectWorld* RenderCall::*world>
void ReadsBehind(RenderCall& r) {
    g_read = Bytes(r.*world)[(r.*world)->rowbytes * (r.*world)->height];
}

// A field's stride covers two rows, so the other field's row lies half a stride further.
void WritesOtherField(RenderCall& r) {
    if (OutputSpread(r)) Bytes(r.output)[r.output->rowbytes / 2] = 0;
}

constexpr Control kControls[] = {
    {.check = "layout.input-padded",
     .fault = "mistakes padding for pixels",
     .command = With<ChangesAPixelWhen<InputSpread>>},
    {.check = "layout.output-padded",
     .fault = "takes the output's rows for as far apart as the input's",
     .command = With<ChangesAPixelWhen<OutputSpread>>},
    {.check = "layout.input-bottom-up",
     .fault = "draws another picture of an input stored bottom up",
     .command = With<ChangesAPixelWhen<InputBottomUp>>},
    {.check = "layout.output-bottom-up",
     .fault = "draws another picture into an output stored bottom up",
     .command = With<ChangesAPixelWhen<OutputBottomUp>>},
    {.check = "layout.both-bottom-up",
     .fault = "draws another picture where both are stored bottom up",
     .command = With<ChangesAPixelWhen<BothBottomUp>>},
    {.check = "layout.input-at-any-pixel",
     .fault = "rounds the input's address",
     .command = With<ChangesAPixelWhen<InputUnaligned>>},
    {.check = "layout.output-at-any-pixel",
     .fault = "rounds the output's address",
     .command = With<ChangesAPixelWhen<OutputUnaligned>>},
    {.check = "layout.input-at-any-channel",
     .fault = "rounds the input's address to a pixel's",
     .command = With<ChangesAPixelWhen<InputUnaligned>>},
    {.check = "layout.output-at-any-channel",
     .fault = "rounds the output's address to a pixel's",
     .command = With<ChangesAPixelWhen<OutputUnaligned>>},
    {.check = "layout.input-odd-stride",
     .fault = "counts the input's stride in pixels",
     .command = With<ChangesAPixelWhen<InputSpread>>},
    {.check = "layout.output-odd-stride",
     .fault = "counts the output's stride in pixels",
     .command = With<ChangesAPixelWhen<OutputSpread>>},
    {.check = "layout.padding-untouched",
     .fault = "writes a byte behind the first row",
     .command = With<WritesBehindFirstRow>},
    {.check = "layout.padding-unread",
     .fault = "reads a pixel behind the first row",
     .command = With<ReadsPadding>},
    {.check = "layout.input-begin",
     .fault = "reads a byte before the input",
     .command = With<ReadsBefore<&RenderCall::input>>},
    {.check = "layout.input-end",
     .fault = "reads a byte behind the input",
     .command = With<ReadsBehind<&RenderCall::input>>},
    {.check = "layout.output-begin",
     .fault = "reads a byte before the output",
     .command = With<ReadsBefore<&RenderCall::output>>},
    {.check = "layout.output-end",
     .fault = "reads a byte behind the output",
     .command = With<ReadsBehind<&RenderCall::output>>},
    {.check = "layout.input-cut-out",
     .fault = "draws another picture of a part of a world",
     .command = With<ChangesAPixelWhen<InputSpread>>},
    {.check = "layout.output-cut-out",
     .fault = "writes the pixel to the right of the first row",
     .command = With<WritesBehindFirstRow>},
    {.check = "layout.upper-field", .fault = "writes into the lower field", .command = With<WritesOtherField>},
    {.check = "layout.lower-field", .fault = "writes into the upper field", .command = With<WritesOtherField>},
    {.check = "layout.input-past-2-gib",
     .fault = "computes the input's addresses in 32 bits",
     .command = With<ChangesAPixelWhen<InputSpread>>},
    {.check = "layout.output-past-2-gib",
     .fault = "computes the output's addresses in 32 bits",
     .command = With<ChangesAPixelWhen<OutputSpread>>},
};
static_assert(signs::EachHasSize(kControls, &Control::check));

}  // namespace

std::span<const Control> LayoutControls() {
    return kControls;
}

}  // namespace broken
