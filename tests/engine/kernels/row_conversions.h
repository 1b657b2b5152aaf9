// The row conversions of a table of kernels.
#pragma once

#include <iterator>

#include "engine/kernels/row_kernels.h"

struct ConversionKernel {
    const char* name;
    nuv::RowConversion nuv::RowKernels::*kernel;
    int from, to;      // bytes of a pixel
    int channelBytes;  // of the source
};

#define NUV_CONVERSION(name, from, to, channelBytes) \
    { #name, &nuv::RowKernels::name, from, to, channelBytes }
inline constexpr ConversionKernel kConversions[] = {
    NUV_CONVERSION(copyArgb8ToRgba8, 4, 4, 1), NUV_CONVERSION(copyBgra8ToRgba8, 4, 4, 1),
    NUV_CONVERSION(argb16ToRgbaF, 8, 16, 2),   NUV_CONVERSION(argbFToRgbaF, 16, 16, 4),
    NUV_CONVERSION(bgraFToRgbaF, 16, 16, 4),   NUV_CONVERSION(rgbaFToArgb8, 16, 4, 4),
    NUV_CONVERSION(rgbaFToBgra8, 16, 4, 4),    NUV_CONVERSION(rgbaFToArgb16, 16, 8, 4),
    NUV_CONVERSION(rgbaFToArgbF, 16, 16, 4),   NUV_CONVERSION(rgbaFToBgraF, 16, 16, 4),
};
#undef NUV_CONVERSION
// A table of kernels holds a name, the row worker and the conversions.
static_assert(std::size(kConversions) == sizeof(nuv::RowKernels) / sizeof(nuv::RowConversion) - 2);
