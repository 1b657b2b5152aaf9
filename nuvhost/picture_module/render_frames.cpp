#include "picture_module/render_frames.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "frames/frame_range.h"
#include "picture_module/files/picture_file.h"

namespace nuvhost {
namespace {

class Stopwatch {
public:
    double Lap() {
        const auto now = std::chrono::steady_clock::now();
        return std::chrono::duration<double>(now - std::exchange(last_, now)).count();
    }

private:
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

FrameTimes RenderFrame(const FrameJob& job, const FrameSettings& settings, EffectRunner& runner) {
    FrameTimes times;
    Stopwatch watch;
    PictureFile file =
        job.black() ? BlackLike(ReadHeader(job.source(), settings.read)) : ReadPicture(job.source(), settings.read);
    Reduce(file, settings.reduction);
    CheckChannels(job.output, file);
    times.read = watch.Lap();
    if (!job.black()) {
        runner.Render(file.picture, FrameOf(file), settings.effect.At(job.frame), settings.path);
        times.render = watch.Lap();
    }
    WritePicture(job.output, file);
    times.write = watch.Lap();
    return times;
}

}  // namespace

void RenderFrames(const FramePlan& plan, const FrameSettings& settings, EffectRunner& runner, int threads,
                  Progress& progress) {
    // Blocks above this size go back to the system when they are freed. Otherwise the allocator would keep the
    // memory of finished pictures in pieces that are too small for the next pictures.
    constexpr int kMapped = 1 << 20;
    ::mallopt(M_MMAP_THRESHOLD, kMapped);  // NOLINT(concurrency-mt-unsafe): called before the workers start

    std::atomic<std::size_t> next = 0;
    std::atomic<bool> stopped = false;
    std::mutex mutex;
    std::vector<int> failed;
    std::string firstFailure;

    const auto fail = [&](const FrameJob& job, const std::string& why) {
        const std::lock_guard lock(mutex);
        if (failed.empty()) firstFailure = plan.numbered ? "frame " + std::to_string(job.frame) + ": " + why : why;
        failed.push_back(job.frame);
        if (!settings.keepGoing) stopped = true;
        progress.Failed(job, why, settings.keepGoing && plan.numbered);
    };
    const auto work = [&] {
        while (!stopped) {
            const std::size_t i = next++;
            if (i >= plan.jobs.size()) return;
            const auto& job = plan.jobs[i];
            try {
                progress.Done(job, RenderFrame(job, settings, runner));
            } catch (const std::bad_alloc&) {
                fail(job, "out of memory");
            } catch (const std::exception& error) {
                fail(job, error.what());
            }
        }
    };

    for (const auto& job : plan.existing) {
        progress.Skipped(job);
    }
    if (threads == 1) {
        work();
    } else {
        std::vector<std::jthread> workers;
        workers.reserve(static_cast<std::size_t>(threads));
        for (int i = 0; i < threads; ++i) {
            workers.emplace_back(work);
        }
    }
    progress.End();
    if (failed.empty()) return;
    if (!settings.keepGoing || !plan.numbered) throw std::runtime_error(firstFailure);
    std::sort(failed.begin(), failed.end());
    throw std::runtime_error(std::to_string(failed.size()) + " of " + std::to_string(plan.jobs.size()) +
                             " frames failed: " + FramesText(failed));
}

}  // namespace nuvhost
