#include <csignal>

#include "commands/pictures/render.h"
#include "console/errors.h"
#include "files/file_checks.h"
#include "picture_module/picture_module.h"

namespace nuvhost {
namespace {

std::vector<std::filesystem::path> FilesOf(const FramePlan& plan) {
    std::vector<std::filesystem::path> files;
    for (const auto* jobs : {&plan.jobs, &plan.existing}) {
        for (const auto& job : *jobs) {
            files.insert(files.end(), {job.input, job.output});
        }
    }
    return files;
}

// Checks only that the files can be read. The picture module checks whether they are pictures.
void CheckInputFiles(const FramePlan& plan) {
    const std::filesystem::path* last = nullptr;  // a still picture is the input of every frame
    for (const auto& job : plan.jobs) {
        if (!last || *last != job.source()) CheckReadable(job.source());
        last = &job.source();
    }
}

}  // namespace

void RunFiles(const RenderOptions& options, Look& look) {
    RefuseGiven(options, {kStreamGroup}, "is for a stream, with - as IN and OUT");
    std::signal(SIGPIPE, SIG_IGN);  // if the reader of the progress ends, the render goes on
    const FramePlan plan = PlanFrames(options.plan);
    if (!plan.numbered && look.settings.moves()) {
        throw UsageError("the settings move over frames, but the picture has no number; give it with --frames");
    }
    if (plan.jobs.empty()) CheckOutputName(options.plan.output);
    CheckOutputs(plan, options.plan.createFolder);
    CheckInputFiles(plan);
    CheckSave(options, FilesOf(plan));
    LoadPictureModule().renderFiles(options, plan, look);
}

}  // namespace nuvhost
