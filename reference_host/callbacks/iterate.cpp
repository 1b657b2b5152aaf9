#include <algorithm>
#include <atomic>
#include <exception>
#include <numeric>
#include <string>

#include "reference_host/callbacks/callbacks.h"
#include "reference_host/internal/host_impl.h"
#include "reference_host/rects.h"

namespace refhost {
namespace {

// Calls the effect's function for one row. `thread` is the calling thread's number in the iteration.
using RowWork = std::function<PF_Err(std::int32_t thread, std::int32_t row)>;

// The order in which rows are handed out. It contains each number from 0 to count - 1 once.
class RowOrder {
public:
    RowOrder(std::uint32_t seed, std::int32_t count) : count_(count) {
        if (seed == 0) return;
        const std::uint64_t mixed = seed * std::uint64_t{0x9E3779B97F4A7C15};
        offset_ = static_cast<std::int64_t>((mixed >> 33) % static_cast<std::uint64_t>(count));
        step_ = 1 + static_cast<std::int64_t>((mixed & 0x7FFFFFFF) % static_cast<std::uint64_t>(count));
        while (std::gcd(step_, count_) != 1)
            ++step_;
    }

    std::int32_t operator[](std::int64_t slot) const {
        return static_cast<std::int32_t>((slot * step_ + offset_) % count_);
    }

private:
    std::int64_t count_;
    std::int64_t offset_ = 0;
    std::int64_t step_ = 1;
};

// A running iteration. Its threads share it.
class Iteration {
public:
    Iteration(Command& command, std::int32_t rows, const RowWork& work)
        : command_(command), rows_(rows), work_(work), order_(command.host.options.rowOrder, rows) {}

    PF_Err Run() {
        const auto threads =
            static_cast<int>(std::clamp<std::int64_t>(command_.host.options.iterationThreads, 1, rows_));
        command_.host.team.Run(threads, [this](int thread) {
            if (thread == 0) return TakeRows(0);  // this thread already belongs to the command
            const IterationScope scope(command_);
            TakeRows(thread);
        });
        if (thrown_) std::rethrow_exception(thrown_);
        return result_;
    }

private:
    void TakeRows(int thread) {
        std::int64_t untold = 0;
        // Slot 0 is reserved for the command's thread (thread 0). So this thread gets at least one row, even if the
        // other threads are faster.
        for (std::int64_t slot = thread == 0 ? 0 : next_++; slot < rows_; slot = next_++) {
            const std::int32_t row = order_[slot];
            if (!command_.traced) ++untold;
            try {
                std::optional<PF_Err> stop;
                if (command_.traced) stop = Callback(Call::row).Fate([row] { return std::to_string(row); });
                if (!stop) stop = CallTheEffect(thread, row);
                if (!stop) continue;
                Stop(*stop);
            } catch (...) {
                Stop(-1, std::current_exception());
            }
            break;
        }
        auto& count = command_.state->counts[static_cast<std::size_t>(Call::row)];
        if (untold > 0) count.fetch_add(untold, std::memory_order_relaxed);
    }

    // Returns the code with which the iteration stops, or nothing if it goes on.
    std::optional<PF_Err> CallTheEffect(int thread, std::int32_t row) {
        try {
            const PF_Err code = work_(thread, row);
            return code == PF_Err_NONE ? std::nullopt : std::optional(code);
        } catch (...) {
            command_.state->AddMisuse("an exception left the effect's function in row " + std::to_string(row));
            return -1;
        }
    }

    void Stop(PF_Err code, std::exception_ptr thrown = nullptr) {
        if (!stopped_.exchange(true)) {
            result_ = code;
            thrown_ = std::move(thrown);
        }
        next_ = rows_;
    }

    Command& command_;
    const std::int64_t rows_;
    const RowWork& work_;
    const RowOrder order_;
    // All threads write this member. It is not in the cache line of the members above, which they only read.
    alignas(64) std::atomic<std::int64_t> next_{1};
    std::atomic<bool> stopped_{false};
    PF_Err result_ = PF_Err_NONE;  // written by the first thread that stops
    std::exception_ptr thrown_;    // by the fault plan; written by the same thread
};

PF_Err RunRows(Command& command, std::int32_t rows, const RowWork& work) {
    return rows < 1 ? PF_Err_NONE : Iteration(command, rows, work).Run();
}

PF_Pixel* PixelOf(const PF_EffectWorld* world, std::int32_t x, std::int32_t y) {
    if (!world) return nullptr;
    return reinterpret_cast<PF_Pixel*>(reinterpret_cast<std::byte*>(world->data) +
                                       std::ptrdiff_t{world->rowbytes} * y) +
           x;
}

}  // namespace

PF_Err IterateRows(std::int32_t iterations, void* refcon, PF_IterateRowFunc rowFunction) {
    const Callback callback(Call::iterateGeneric);
    if (const auto fate = callback.Fate([&] { return std::to_string(iterations); })) return *fate;
    if (!rowFunction) {
        callback.ReportMisuse("no function to call");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    return RunRows(callback.command(), iterations, [=](std::int32_t thread, std::int32_t row) {
        return rowFunction(refcon, thread, row, iterations);
    });
}

PF_Err IteratePixels(PF_InData* inData, std::int32_t, std::int32_t, PF_EffectWorld* source, const PF_Rect* area,
                     void* refcon, PF_IteratePixel8Func pixelFunction, PF_EffectWorld* destination) {
    const Callback callback = inData ? Callback(Call::iterate, inData->effect_ref) : Callback(Call::iterate);
    // The source or the destination may be null. The effect's function then gets a null pixel instead.
    const PF_EffectWorld* either = source ? source : destination;
    PF_Rect pixels{};
    if (either) pixels = {0, 0, either->width, either->height};
    if (source && destination) {
        pixels = Intersection(pixels, {0, 0, destination->width, destination->height});
    }
    if (area) pixels = Intersection(pixels, *area);
    const std::int32_t rows = std::max(pixels.bottom - pixels.top, 0);

    if (const auto fate = callback.Fate([&] { return std::to_string(rows); })) return *fate;
    if (!inData || !pixelFunction || !either) {
        callback.ReportMisuse("no record, no function to call, or no world");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    return RunRows(callback.command(), rows, [=](std::int32_t, std::int32_t row) {
        const std::int32_t y = pixels.top + row;
        for (std::int32_t x = pixels.left; x < pixels.right; ++x) {
            const PF_Err code = pixelFunction(refcon, x, y, PixelOf(source, x, y), PixelOf(destination, x, y));
            if (code != PF_Err_NONE) return code;
        }
        return PF_Err_NONE;
    });
}

}  // namespace refhost
