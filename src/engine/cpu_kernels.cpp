#include "engine/cpu_kernels.h"

#if defined(_MSC_VER) && !defined(__clang__)
#include <immintrin.h>
#include <intrin.h>
#endif

namespace nuv {
namespace {

// Whether the processor has AVX2 and the system keeps its registers.
bool HasAvx2() {
#if defined(_MSC_VER) && !defined(__clang__)
    int info[4];
    __cpuid(info, 0);
    if (info[0] < 7) return false;
    __cpuid(info, 1);
    constexpr int kOsxsave = 1 << 27, kAvx = 1 << 28;
    if ((info[2] & kOsxsave) == 0 || (info[2] & kAvx) == 0) return false;
    constexpr unsigned kSseAndAvxState = 6;
    if ((_xgetbv(0) & kSseAndAvxState) != kSseAndAvxState) return false;
    __cpuidex(info, 7, 0);
    return (info[1] & (1 << 5)) != 0;
#else
    return __builtin_cpu_supports("avx2") != 0;
#endif
}

#if defined(NUV_SCALAR_ONLY)
constexpr bool kScalarOnly = true;  // a build to compare with
#else
constexpr bool kScalarOnly = false;
#endif

// A result of this size is out of the second-level cache long before it is converted.
constexpr std::uint64_t kStreamingBytes = std::uint64_t{4} << 20;

constexpr const RowKernels* kTables[] = {
    &kScalarKernels, &kSse2Kernels, &kSse2StreamingKernels, &kAvx2Kernels, &kAvx2StreamingKernels,
};

}  // namespace

std::span<const RowKernels* const> AvailableKernels() {
    const std::span all(kTables);
    return kScalarOnly ? all.first(1) : HasAvx2() ? all : all.first(3);
}

const RowKernels& SelectKernels(std::uint64_t resultBytes) {
    const auto available = AvailableKernels();
    const bool large = resultBytes >= kStreamingBytes;
    return *available[available.size() == 1 || large ? available.size() - 1 : available.size() - 2];
}

}  // namespace nuv
