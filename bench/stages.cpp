#include "stages.h"

#include "engine/kernels/cpu_kernels.h"
#include "engine/worker_threads.h"
#include "two_threads.h"

namespace bench {
namespace {

std::byte* Row(const nuv::ImageBuffer& buffer, int y) {
    return buffer.pixels + std::ptrdiff_t{buffer.rowBytes} * y;
}

}  // namespace

Stages::Stages(Size size, const Depth& depth)
    : size_(size), depth_(depth), kernels_(nuv::SelectKernels(static_cast<std::uint64_t>(size.pixels() * 16))) {
    const bool bytes = depth.format == kFormatArgb8;
    const bool deep = depth.format == kFormatArgb16;
    in_ = bytes ? kernels_.copyArgb8ToRgba8 : deep ? kernels_.argb16ToRgbaF : kernels_.argbFToRgbaF;
    out_ = bytes ? kernels_.rgbaFToArgb8 : deep ? kernels_.rgbaFToArgb16 : kernels_.rgbaFToArgbF;
    working_ = Buffer(job_.input, bytes ? 8 : 32);
    result_ = Buffer(job_.output, 32);
    job_.downsampleX = job_.downsampleY = 1;
    job_.centerX = size_.width / 2;
    job_.centerY = size_.height / 2;
    job_.amount = static_cast<float>(kAmount);
    In();
    Workers(linear);
}

void Stages::In() {
    Worlds& worlds = WorldsOf(size_, depth_);
    OnTwoThreads(size_.height, [&](int first, int end) {
        for (int y = first; y < end; ++y)
            in_(worlds.input.Row(y).data(), Row(job_.input, y), size_.width, 1.0f);
    });
}

void Stages::Workers(Scaling scaling) {
    job_.scaling = scaling;
    nuv::RunWorkers(kernels_.renderRows, job_);
}

void Stages::Out() {
    Worlds& worlds = WorldsOf(size_, depth_);
    OnTwoThreads(size_.height, [&](int first, int end) {
        for (int y = first; y < end; ++y)
            out_(Row(job_.output, y), worlds.output.Row(y).data(), size_.width, 1.0f);
    });
}

std::unique_ptr<std::byte[]> Stages::Buffer(nuv::ImageBuffer& buffer, int bits) const {
    buffer.width = size_.width;
    buffer.height = size_.height;
    buffer.bitsPerChannel = bits;
    buffer.rowBytes = size_.width * bits / 2;
    auto memory = std::make_unique<std::byte[]>(static_cast<std::size_t>(buffer.rowBytes) *
                                                static_cast<std::size_t>(size_.height));
    buffer.pixels = memory.get();
    return memory;
}

}  // namespace bench
