// The three stages of a 4K frame, each alone, with the kernels that a plug-in of that tier would choose.
#pragma once

#include <memory>

#include "engine/kernels/row_kernels.h"
#include "frames.h"

namespace bench {

// Has the buffers of one frame. The conversions run on two threads, and the workers on sixteen, as in a frame.
class Stages {
public:
    explicit Stages(const Depth& depth);

    void In(const Variant& variant);
    void Workers(const Variant& variant, Scaling scaling);
    void Out(const Variant& variant);

private:
    std::unique_ptr<std::byte[]> Buffer(nuv::ImageBuffer& buffer, int bits) const;

    const Depth& depth_;
    nuv::RenderData job_;
    std::unique_ptr<std::byte[]> working_, result_;
};

}  // namespace bench
