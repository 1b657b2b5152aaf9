#include "stages.h"

#include "engine/kernels/cpu_kernels.h"
#include "engine/worker_threads.h"
#include "two_threads.h"

namespace bench {
namespace {

// A frame of 4K is large enough for the streaming tables.
const nuv::RowKernels& KernelsOf(const Variant& variant) {
    return *nuv::AvailableTiers()[variant.tier].streaming;
}

std::byte* Row(const nuv::ImageBuffer& buffer, int y) {
    return buffer.pixels + std::ptrdiff_t{buffer.rowBytes} * y;
}

}  // namespace

Stages::Stages(const Depth& depth) : depth_(depth) {
    working_ = Buffer(job_.input, depth.format == kFormatArgb8 ? 8 : 32);
    result_ = Buffer(job_.output, 32);
    job_.downsampleX = job_.downsampleY = 1;
    job_.centerX = kFull.width / 2;
    job_.centerY = kFull.height / 2;
    In({});
    Workers({}, linear);
}

void Stages::In(const Variant& variant) {
    const auto& table = KernelsOf(variant);
    const auto convert = depth_.format == kFormatArgb8    ? table.copyArgb8ToRgba8
                         : depth_.format == kFormatArgb16 ? table.argb16ToRgbaF
                                                          : table.argbFToRgbaF;
    Worlds& worlds = WorldsOf(kFull, depth_);
    OnTwoThreads(kFull.height, [&](int first, int end) {
        for (int y = first; y < end; ++y)
            convert(worlds.input.Row(y).data(), Row(job_.input, y), kFull.width, 1.0f);
    });
}

void Stages::Workers(const Variant& variant, Scaling scaling) {
    job_.amount = static_cast<float>(variant.amount);
    job_.scaling = scaling;
    nuv::RunWorkers(KernelsOf(variant).renderRows, job_);
}

void Stages::Out(const Variant& variant) {
    const auto& table = KernelsOf(variant);
    const auto convert = depth_.format == kFormatArgb8    ? table.rgbaFToArgb8
                         : depth_.format == kFormatArgb16 ? table.rgbaFToArgb16
                                                          : table.rgbaFToArgbF;
    Worlds& worlds = WorldsOf(kFull, depth_);
    OnTwoThreads(kFull.height, [&](int first, int end) {
        for (int y = first; y < end; ++y)
            convert(Row(job_.output, y), worlds.output.Row(y).data(), kFull.width, 1.0f);
    });
}

std::unique_ptr<std::byte[]> Stages::Buffer(nuv::ImageBuffer& buffer, int bits) const {
    buffer.width = kFull.width;
    buffer.height = kFull.height;
    buffer.bitsPerChannel = bits;
    buffer.rowBytes = kFull.width * bits / 2;
    auto memory = std::make_unique<std::byte[]>(static_cast<std::size_t>(buffer.rowBytes) *
                                                static_cast<std::size_t>(kFull.height));
    buffer.pixels = memory.get();
    return memory;
}

}  // namespace bench
