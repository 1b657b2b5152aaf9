#include "picture_module/render_files.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>

#include "console/one_line.h"
#include "files/output_file.h"
#include "frames/frame_range.h"
#include "picture_module/files/picture_file.h"
#include "picture_module/render_frames.h"

namespace nuvhost {
namespace {

// Divides the threads: if several pictures are rendered at the same time, each has its own thread, and the picture
// library needs few threads or none for each of them.
void ShareThreads(int threads, int workers) {
    OIIO::attribute("threads", std::max(1, threads / workers));
    OIIO::attribute("exr_threads", workers > 1 ? -1 : threads);
}

constexpr auto kNothing = "nothing to do: no frame lies in --clip-range";

bool Nothing(const FramePlan& plan) {
    return plan.jobs.empty() && plan.existing.empty() && plan.missing.empty();
}

void PrintPlan(const FramePlan& plan, bool black) {
    const auto name = [&](const FrameJob& job) {
        return plan.numbered ? "frame " + std::to_string(job.frame) + ": " : std::string();
    };
    if (Nothing(plan)) std::puts(kNothing);
    for (const auto& job : plan.existing) {
        std::printf("%sskipped, exists: %s\n", name(job).c_str(), OneLine(job.output.string()).c_str());
    }
    for (const auto& job : plan.jobs) {
        std::printf("%s%s -> %s\n", name(job).c_str(), job.black() ? "black" : OneLine(job.input.string()).c_str(),
                    OneLine(job.output.string()).c_str());
    }
    if (!black && !plan.missing.empty()) std::printf("missing, left out: %s\n", FramesText(plan.missing).c_str());
}

// Checks every input before anything is rendered. With --keep-going, a file that cannot be read does not end the
// run here; its frame fails later. Returns the depth of the first input.
std::optional<Depth> CheckInputs(const RenderOptions& options, const FramePlan& plan,
                                 const MovingSettings& settings) {
    std::optional<Depth> depth;
    const std::filesystem::path* last = nullptr;  // a still picture is the input of every frame
    for (const auto& job : plan.jobs) {
        if (last && *last == job.source()) continue;
        last = &job.source();
        PictureFile header;
        try {
            header = ReadHeader(job.source(), options.frames.read);
        } catch (const std::runtime_error&) {
            if (options.frames.keepGoing && plan.numbered && !options.dryRun) continue;
            throw;
        }
        for (const auto& key : settings.center) {
            CheckCenter(key.value, FrameOf(header));
        }
        Reduce(header, options.frames.reduction);
        CheckChannels(job.output, header);
        if (!depth) depth = header.picture.depth;
    }
    return depth;
}

}  // namespace

void RenderFiles(const RenderOptions& options, const FramePlan& plan, Look& look) {
    RemoveTemporariesOnSignal(WipeBarForGood);
    auto shown = options.Progress();
    shown.single = !plan.numbered;
    const auto tellMissing = [&](Progress& progress) {
        if (plan.missing.empty()) return;
        progress.Note(options.plan.input.string() + ": missing, " +
                      (options.plan.missing == Missing::black ? "black instead: " : "left out: ") +
                      FramesText(plan.missing));
    };
    if (plan.jobs.empty()) CheckFormat(options.plan.output);
    for (const auto& job : plan.jobs) {
        CheckFormat(job.output);
    }
    const auto depth = CheckInputs(options, plan, look.settings);
    const auto most = static_cast<std::size_t>(options.threads);
    const int workers = static_cast<int>(std::clamp<std::size_t>(plan.jobs.size(), 1, most));
    ShareThreads(options.threads, workers);
    EffectRunner runner(options.Plugin(), options.Personality(), workers, look.sequenceData);
    if (options.dryRun) {
        PrintPlan(plan, options.plan.missing == Missing::black);
        return runner.Close();
    }
    if (options.plan.createFolder) CreateFolders(plan);
    Save(options, look, runner);

    Progress progress(shown, plan.jobs.size() + plan.existing.size());
    tellMissing(progress);
    if (Nothing(plan)) progress.Note(kNothing);
    progress.Verbose(options.Plugin().string() + ", " + std::to_string(workers) + " frames at once" +
                     (depth ? ", " + std::to_string(static_cast<int>(*depth)) + " bits per channel" : ""));
    RenderFrames(plan, options.frames, runner, workers, progress);
    runner.Close();
}

}  // namespace nuvhost
