#include "engine/kernels/cpu_kernels.h"

#if defined(_MSC_VER) && !defined(__clang__)
#include <immintrin.h>
#include <intrin.h>
#endif

namespace nuv {
namespace {

// Instruction sets, each with all of those before it.
enum class Level { baseline, avx2, avx512 };

// What the processor has and the system keeps the registers of. AVX-512 counts where both VBMI and BF16 are:
// processors without the first lower the clock of all that runs on them when they meet it, and on those without the
// second microcode has made gathering slow to keep it safe.
Level LevelOfProcessor() {
#if defined(_MSC_VER) && !defined(__clang__)
    int first[4], info[4];
    __cpuid(first, 0);
    if (first[0] < 7) return Level::baseline;
    __cpuid(info, 1);
    constexpr int kOsxsave = 1 << 27, kAvx = 1 << 28;
    if ((info[2] & kOsxsave) == 0 || (info[2] & kAvx) == 0) return Level::baseline;
    const unsigned long long kept = _xgetbv(0);
    __cpuidex(info, 7, 0);
    const auto has = [](unsigned long long bits, unsigned long long all) { return (bits & all) == all; };
    constexpr unsigned long long kSseAndAvx = 0x6, kAll = 0xE6;
    constexpr unsigned kAvx2 = 1u << 5, kFoundation = 1u << 16, kDwords = 1u << 17, kBytes = 1u << 30,
                       kShorter = 1u << 31, kVbmi = 1u << 1, kBf16 = 1u << 5;
    const auto ebx = static_cast<unsigned>(info[1]), ecx = static_cast<unsigned>(info[2]);
    const bool more = info[0] >= 1;
    __cpuidex(info, 7, 1);
    const unsigned eax = more ? static_cast<unsigned>(info[0]) : 0;
    if (!has(kept, kSseAndAvx) || !has(ebx, kAvx2)) return Level::baseline;
    const bool wide = has(kept, kAll) && has(ebx, kFoundation | kDwords | kBytes | kShorter) && has(ecx, kVbmi) &&
                      has(eax, kBf16);
    return wide ? Level::avx512 : Level::avx2;
#else
    if (!__builtin_cpu_supports("avx2")) return Level::baseline;
    const bool wide = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                      __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
                      __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512bf16");
    return wide ? Level::avx512 : Level::avx2;
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
    &kScalarKernels,        &kSse2Kernels,   &kSse2StreamingKernels,   &kAvx2Kernels,
    &kAvx2StreamingKernels, &kAvx512Kernels, &kAvx512StreamingKernels,
};

}  // namespace

std::span<const RowKernels* const> AvailableKernels() {
    if (kScalarOnly) return std::span(kTables).first(1);
    return std::span(kTables).first(3 + 2 * static_cast<std::size_t>(LevelOfProcessor()));
}

const RowKernels& SelectKernels(std::uint64_t resultBytes) {
    const auto available = AvailableKernels();
    const bool large = resultBytes >= kStreamingBytes;
    return *available[available.size() == 1 || large ? available.size() - 1 : available.size() - 2];
}

}  // namespace nuv
