#include "engine/render_aberration.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "engine/conversion_callbacks.h"
#include "engine/host_buffer.h"
#include "engine/kernels/cpu_kernels.h"
#include "engine/plain_floats.h"
#include "engine/worker_threads.h"
#include "host/host_call.h"
#include "host/host_suite_handler.h"
#include "host/require.h"
#include "host/scoped_suite.h"

namespace nuv {
namespace {

// What the driver has acquired from the host. C++ destroys members in reverse order, and the host sees that order:
// first the input buffer, then the result buffer, then the directly acquired suites, and last the suites of the
// handler.
struct Holdings {
    explicit Holdings(PF_InData* inData)
        : suites(inData->pica_basicP),
          directIterate(inData->pica_basicP, "PF Iterate8 Suite", 1),
          worlds(inData->pica_basicP, "PF World Suite", 2),
          formats(inData->pica_basicP, "PF Pixel Format Suite", 1),
          result(UtilitiesOf(inData)),
          input(UtilitiesOf(inData)) {}

    HostSuiteHandler suites;
    ScopedSuite<PF_Iterate8Suite1> directIterate;
    ScopedSuite<PF_WorldSuite2> worlds;
    ScopedSuite<PF_PixelFormatSuite1> formats;
    HostBuffer result;
    HostBuffer input;
};

// Whether the world is there and has memory for every pixel that it claims.
bool IsUsable(const PF_EffectWorld* world) {
    return world != nullptr && (world->data != nullptr || world->width <= 0 || world->height <= 0);
}

float Quotient(const PF_RationalScale& scale) {
    return static_cast<float>(scale.num) / static_cast<float>(scale.den);
}

void FillFrame(RenderData& job, const PF_InData& inData) {
    const PlainFloats floats;
    job.pixelAspectNum = static_cast<float>(inData.pixel_aspect_ratio.num);
    job.pixelAspectDen = static_cast<float>(inData.pixel_aspect_ratio.den);
    job.downsampleX = Quotient(inData.downsample_x);
    job.downsampleY = Quotient(inData.downsample_y);
    job.timeSeconds = static_cast<double>(inData.current_time) / static_cast<double>(inData.time_scale);
}

// Returns null for a format that the engine does not know. In the editing host, the pixel format suite decides.
const FormatConversions* ConversionsOf(PF_EffectWorld* world, const Holdings& held, bool editor) {
    PF_PixelFormat format = 0;
    CallHost(held.worlds->PF_GetPixelFormat, world, &format);
    if (editor) CallHost(held.formats->GetPixelFormat, world, &format);
    return FindConversions(format);
}

// Sets the layout of `buffer` by its width and height, and gives it memory. Returns false if the host gives no
// memory, or if a row does not fit into a 32-bit stride.
bool GiveMemory(ImageBuffer& buffer, std::int32_t bitsPerChannel, HostBuffer& memory) {
    const std::int64_t rowBytes = std::int64_t{bitsPerChannel} / 2 * std::max(buffer.width, 0);
    if (rowBytes > std::numeric_limits<std::int32_t>::max()) return false;
    buffer.bitsPerChannel = bitsPerChannel;
    buffer.rowBytes = static_cast<std::int32_t>(rowBytes);
    if (!memory.Allocate(static_cast<std::uint64_t>(rowBytes) *
                         static_cast<std::uint64_t>(std::max(buffer.height, 0)))) {
        return false;
    }
    buffer.pixels = memory.pixels();
    return true;
}

// Sets the rows from `end` on to zero, because no worker writes them. Only a buffer of 2^29 rows or more can have
// such rows: the workers' bands are computed in single precision, and may then be too short.
void ClearBelow(std::int32_t end, const ImageBuffer& buffer) {
    if (end >= buffer.height) return;
    std::memset(buffer.pixels + std::ptrdiff_t{buffer.rowBytes} * end, 0,
                static_cast<std::size_t>(buffer.rowBytes) * static_cast<std::size_t>(buffer.height - end));
}

std::uint64_t ResultBytes(const PF_EffectWorld& output) {
    return std::uint64_t{16} * static_cast<std::uint32_t>(std::max(output.width, 0)) *
           static_cast<std::uint32_t>(std::max(output.height, 0));
}

PF_EffectWorld AsWorld(const ImageBuffer& buffer) {
    PF_EffectWorld world{};
    world.data = reinterpret_cast<PF_Pixel*>(buffer.pixels);
    world.rowbytes = buffer.rowBytes;
    world.width = buffer.width;
    world.height = buffer.height;
    return world;
}

}  // namespace

PF_Err RenderAberration(PF_InData* inData, RenderData& job, PF_EffectWorld* sourceWorld, PF_EffectWorld* output) {
    Holdings held(inData);
    const bool editor = inData->appl_id == kAppIdEditor;

    held.formats.Acquire();
    PF_Err status = held.worlds.Acquire();
    if (!held.worlds || (editor && !held.formats)) {
        // This exit keeps the suites that it acquired, and unlocks handles that it never locked. That is part of
        // the effect's contract with its hosts.
        held.formats.Abandon();
        held.worlds.Abandon();
        CallHost(inData->utils->host_unlock_handle, inData->sequence_data);
        CallHost(inData->utils->host_unlock_handle, inData->global_data);
        return status;
    }

    ConvertContext context;
    context.inData = inData;
    const PF_Iterate8Suite1& iteration = *held.suites.Suite<"PF Iterate8 Suite", 1>();
    const bool generic = iteration.iterate_generic != nullptr;
    if (!generic) {
        held.directIterate.Acquire();
        context.iterateSuite = held.directIterate.get();
    }
    const auto convertRows = [&](const PF_EffectWorld& from, const PF_EffectWorld& to, PF_IterateRowFunc callback) {
        context.source = from;
        context.destination = to;
        return generic ? CallHost(iteration.iterate_generic, from.height, &context, callback)
                       : IterateRowsFallback(from.height, context, callback);
    };

    FillFrame(job, *inData);

    if (!IsUsable(output)) return PF_Err_BAD_CALLBACK_PARAM;
    // Both worlds are copied, because the host can change its records in every callback. The buffers would then be
    // too small for the new size.
    const PF_EffectWorld target = *output;
    context.kernels = &SelectKernels(ResultBytes(target));
    // For an empty layer, hosts give no world, or one without memory. Then all pixels lie outside the source.
    if (IsUsable(sourceWorld)) {
        const PF_EffectWorld source = *sourceWorld;
        job.input.width = source.width;
        job.input.height = source.height;
        job.input.originX = source.origin_x;
        job.input.originY = source.origin_y;
        const FormatConversions* const from = ConversionsOf(sourceWorld, held, editor);
        if (!GiveMemory(job.input, from != nullptr ? from->workingBits : 32, held.input)) {
            return PF_Err_OUT_OF_MEMORY;
        }
        if (from != nullptr) status = convertRows(source, AsWorld(job.input), from->in);
    }

    const FormatConversions* const to = ConversionsOf(output, held, editor);
    job.output.width = target.width;
    job.output.height = target.height;
    if (!GiveMemory(job.output, 32, held.result)) return PF_Err_OUT_OF_MEMORY;

    if (status == PF_Err_NONE) status = CallHost(inData->inter.abort, inData->effect_ref);
    if (status != PF_Err_NONE) return status;

    {
        const PlainFloats floats;
        ClearBelow(WorkerBand(kWorkerCount - 1, job.output.height).end, job.output);
        RunWorkers(context.kernels->renderRows, job);
    }
    if (to != nullptr) status = convertRows(AsWorld(job.output), target, to->out);
    return status;
}

}  // namespace nuv
