// The sixteen threads of one frame.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <thread>

#include "engine/row_kernels.h"

namespace nuv {

inline constexpr std::size_t kWorkerCount = 16;

// Rows first to end-1; none if first is not below end.
struct RowBand {
    std::int32_t first;
    std::int32_t end;
};

// Band `index` of `height` rows: floor(height / 16) + 1 rows each, the last ones shorter or empty. The quotient is
// taken in single precision.
inline RowBand WorkerBand(std::size_t index, std::int32_t height) {
    const std::int64_t rows = static_cast<std::int64_t>(std::floor(static_cast<float>(height) * 0.0625f)) + 1;
    const auto row = [&](std::size_t band) {
        return static_cast<std::int32_t>(std::min<std::int64_t>(static_cast<std::int64_t>(band) * rows, height));
    };
    return {row(index), row(index + 1)};
}

// Runs `worker` over the job's rows, one band a thread; returns when all have ended. Throws std::system_error when
// a thread cannot be started or joined, and std::bad_alloc, after those that run have ended.
inline void RunWorkers(RowWorker worker, const RenderData& job) {
    struct Team {
        std::array<std::thread, kWorkerCount> threads;

        ~Team() {
            for (std::thread& thread : threads) {
                if (thread.joinable()) thread.join();
            }
        }
    } team;
    for (std::size_t i = 0; i < kWorkerCount; ++i) {
        const RowBand band = WorkerBand(i, job.output.height);
        team.threads[i] = std::thread(worker, std::cref(job), band.first, band.end);
    }
    for (std::thread& thread : team.threads)
        thread.join();
}

}  // namespace nuv
