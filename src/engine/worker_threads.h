// The sixteen threads of one frame.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "engine/kernels/row_kernels.h"
#include "engine/plain_floats.h"
#include "engine/worker_thread.h"

namespace nuv {

inline constexpr std::size_t kWorkerCount = 16;

// The rows from first to end - 1. The band is empty if `first` is not below `end`.
struct RowBand {
    std::int32_t first;
    std::int32_t end;
};

// Band `index` of `height` rows. Each band has floor(height / 16) + 1 rows; the last bands are shorter or empty.
// The quotient is computed in single precision.
inline RowBand WorkerBand(std::size_t index, std::int32_t height) {
    const std::int64_t rows = static_cast<std::int64_t>(std::floor(static_cast<float>(height) * 0.0625f)) + 1;
    const auto row = [&](std::size_t band) {
        return static_cast<std::int32_t>(std::min<std::int64_t>(static_cast<std::int64_t>(band) * rows, height));
    };
    return {row(index), row(index + 1)};
}

// Runs `worker` over the job's rows, one band on each thread, and returns when all threads have ended. Throws
// std::system_error when a thread cannot be started or joined, and std::bad_alloc; the threads that run have ended
// by then.
inline void RunWorkers(RowWorker worker, const RenderData& job) {
    struct Share {
        RowWorker worker;
        const RenderData* job;
        RowBand band;
    };
    std::array<Share, kWorkerCount> shares;
    std::array<WorkerThread, kWorkerCount> threads;  // destroyed before `shares`, and thereby joined
    for (std::size_t i = 0; i < kWorkerCount; ++i) {
        shares[i] = {worker, &job, WorkerBand(i, job.output.height)};
        threads[i].Start(
            [](void* argument) {
                const PlainFloats floats;  // on some systems a new thread inherits its creator's state
                const Share& share = *static_cast<const Share*>(argument);
                share.worker(*share.job, share.band.first, share.band.end);
            },
            &shares[i]);
    }
    for (WorkerThread& thread : threads)
        thread.Join();
}

}  // namespace nuv
