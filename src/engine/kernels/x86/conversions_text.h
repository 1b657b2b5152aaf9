// The row conversions of an instruction set. One file for each instruction set includes this text after its vector
// operations. Because of the unnamed namespace, each of these files has functions of its own. The scalar kernels
// convert the ends of rows.
#pragma once

#include "engine/kernels/x86/tile_kernels.h"

namespace nuv {
namespace {

struct Conversions : Vectors {
    // The number of bytes of a pixel in source and destination, and the scalar kernel for the same conversion. Each
    // conversion below adds a function Convert, which returns one register of the destination.
    template <int kFromBytes, int kToBytes, RowConversion RowKernels::*kKernel>
    struct Conversion {
        static constexpr int kFrom = kFromBytes, kTo = kToBytes;
        static constexpr RowConversion RowKernels::*kScalar = kKernel;
    };

    template <int kOrder, RowConversion RowKernels::*kKernel>
    struct BytesIn : Conversion<4, 4, kKernel> {
        static Integers Convert(const std::byte* source, Floats) { return OrderBytes<kOrder>(Load(source)); }
    };

    struct Argb16In : Conversion<8, 16, &RowKernels::argb16ToRgbaF> {
        static Floats Convert(const std::byte* source, Floats scale) {
            return OrderFloats<kArgbToRgba>(ToFloats(LoadWords(source)) * Repeat(3.0517578e-5f)) * scale;
        }
    };

    template <int kOrder, RowConversion RowKernels::*kKernel>
    struct FloatIn : Conversion<16, 16, kKernel> {
        static Floats Convert(const std::byte* source, Floats scale) {
            return OrderFloats<kOrder>(LoadFloats(source)) * scale;
        }
    };

    // Returns integers from 0 to `white`. Not-a-number becomes 0, because Larger then returns its second operand.
    static Integers ToIntegers(Floats value, float white) {
        const Floats clamped = Smaller(Larger(value, Repeat(0.0f)), Repeat(1.0f));
        return Truncate(clamped * Repeat(white) + Repeat(0.5f));
    }

    template <int kOrder, RowConversion RowKernels::*kKernel>
    struct BytesOut : Conversion<16, 4, kKernel> {
        static Integers Convert(const std::byte* source, Floats scale) {
            const auto part = [&](int i) {
                return ToIntegers(LoadFloats(source + i * kLanes * 4) * scale, 255.0f);
            };
            return OrderBytes<kOrder>(PackBytes(part(0), part(1), part(2), part(3)));
        }
    };

    struct Argb16Out : Conversion<16, 8, &RowKernels::rgbaFToArgb16> {
        static Integers Convert(const std::byte* source, Floats scale) {
            const auto part = [&](int i) {
                const Floats argb = OrderFloats<kRgbaToArgb>(LoadFloats(source + i * kLanes * 4));
                return ToIntegers(argb * scale, 32768.0f);
            };
            return PackWords(part(0), part(1));
        }
    };

    // A mask sets negative values and not-a-number to zero. Larger would also change minus zero, which must stay.
    template <int kOrder, RowConversion RowKernels::*kKernel>
    struct FloatOut : Conversion<16, 16, kKernel> {
        static Floats Convert(const std::byte* source, Floats scale) {
            const Floats value = LoadFloats(source) * scale;
            return OrderFloats<kOrder>(Smaller(ValueOrZero(IsAtLeastZero(value), value), Repeat(1.0f)));
        }
    };

    template <class Type, bool kStream>
    static void ConvertRow(const std::byte* source, std::byte* destination, std::int32_t width, float scale) {
        if (width < 1) return;
        // Streaming stores bypass the cache and write whole cache lines. The ends of the row are written through
        // the cache. The middle begins and ends at a cache line, because it is slow to write one line in both ways.
        constexpr int kLine = 64;
        constexpr int kGroup = kStream ? 16 : kLanes;  // in pixels; for streaming stores at least one cache line
        const auto scalar = [&](std::int32_t pixels) {
            (kScalarKernels.*Type::kScalar)(source, destination, pixels, scale);
            source += std::ptrdiff_t{pixels} * Type::kFrom;
            destination += std::ptrdiff_t{pixels} * Type::kTo;
            width -= pixels;
        };
        if constexpr (kStream) {
            const auto misaligned = static_cast<int>(reinterpret_cast<std::uintptr_t>(destination) % kLine);
            if (misaligned % Type::kTo != 0) {
                return ConvertRow<Type, false>(source, destination, width, scale);
            }
            const int head = (kLine - misaligned) % kLine / Type::kTo;
            scalar(head < width ? head : width);
        }
        const Floats scales = Repeat(scale);
        for (; width >= kGroup; width -= kGroup) {
            if (width > kPrefetchBytes / Type::kFrom) {
                for (int i = 0; i < kGroup * Type::kFrom; i += kLine)
                    _mm_prefetch(reinterpret_cast<const char*>(source + kPrefetchBytes + i), _MM_HINT_T1);
            }
            for (int i = 0; i < kGroup; i += kLanes) {
                constexpr int kRegisters = Type::kTo / 4;
                const auto convert = [&](int k) {
                    Store<kStream>(destination + k * kLanes * 4,
                                   Type::Convert(source + k * (kLanes / kRegisters) * Type::kFrom, scales));
                };
                // This is not a loop over the registers. A loop makes the SSE2 conversion from 16 bits a fifth
                // slower.
                convert(0);
                if constexpr (kRegisters > 1) convert(1);
                if constexpr (kRegisters > 2) {
                    convert(2);
                    convert(3);
                }
                source += kLanes * Type::kFrom;
                destination += kLanes * Type::kTo;
            }
        }
        if constexpr (kStream) _mm_sfence();
        scalar(width);
    }

    template <bool kStream>
    static constexpr RowKernels TableOf(const char* name, RowWorker renderRows) {
        return {
            .name = name,
            .copyArgb8ToRgba8 = ConvertRow<BytesIn<kArgbToRgba, &RowKernels::copyArgb8ToRgba8>, kStream>,
            .copyBgra8ToRgba8 = ConvertRow<BytesIn<kSwapRedBlue, &RowKernels::copyBgra8ToRgba8>, kStream>,
            .argb16ToRgbaF = ConvertRow<Argb16In, kStream>,
            .argbFToRgbaF = ConvertRow<FloatIn<kArgbToRgba, &RowKernels::argbFToRgbaF>, kStream>,
            .bgraFToRgbaF = ConvertRow<FloatIn<kSwapRedBlue, &RowKernels::bgraFToRgbaF>, kStream>,
            .renderRows = renderRows,
            .rgbaFToArgb8 = ConvertRow<BytesOut<kRgbaToArgb, &RowKernels::rgbaFToArgb8>, kStream>,
            .rgbaFToBgra8 = ConvertRow<BytesOut<kSwapRedBlue, &RowKernels::rgbaFToBgra8>, kStream>,
            .rgbaFToArgb16 = ConvertRow<Argb16Out, kStream>,
            .rgbaFToArgbF = ConvertRow<FloatOut<kRgbaToArgb, &RowKernels::rgbaFToArgbF>, kStream>,
            .rgbaFToBgraF = ConvertRow<FloatOut<kSwapRedBlue, &RowKernels::rgbaFToBgraF>, kStream>,
        };
    }
};

}  // namespace
}  // namespace nuv
