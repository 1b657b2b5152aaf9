// The three stages of a frame, each alone, with the kernels that a frame of that size would choose.
#pragma once

#include <memory>

#include "engine/kernels/row_kernels.h"
#include "frames.h"

namespace bench {

// Has the buffers of one frame. The conversions run on two threads, and the workers on sixteen, as in a frame.
class Stages {
public:
    Stages(Size size, const Depth& depth);

    void In();
    void Workers(Scaling scaling);
    void Out();

private:
    std::unique_ptr<std::byte[]> Buffer(nuv::ImageBuffer& buffer, int bits) const;

    const Size size_;
    const Depth& depth_;
    const nuv::RowKernels& kernels_;
    nuv::RowConversion in_ = nullptr, out_ = nullptr;
    nuv::RenderData job_;
    std::unique_ptr<std::byte[]> working_, result_;
};

}  // namespace bench
