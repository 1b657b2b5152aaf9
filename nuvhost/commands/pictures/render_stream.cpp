#include <unistd.h>

#include <optional>
#include <string>

#include "commands/pictures/render.h"
#include "console/descriptors.h"
#include "console/errors.h"
#include "files/output_file.h"
#include "frames/progress.h"
#include "frames/stream.h"

namespace nuvhost {
namespace {

constexpr int kMostSide = 30000;  // pixels; no host has a larger layer

}  // namespace

void RunStream(const RenderOptions& options, Look& look) {
    if (options.plan.input != options.plan.output) {
        throw UsageError("for a stream, IN and OUT are both -; ffmpeg can read and write the files");
    }
    RefuseGiven(options, {kFileGroup, kSequenceGroup}, "is for files, not for a stream");
    if (options.size.empty()) throw UsageError("--size: a stream needs the size of its frames");
    if (options.pixel == 0) throw UsageError("--pixel: a stream needs the format of its pixels");

    StreamSettings settings;
    settings.effect = look.settings;
    settings.size = ParseSize("--size", options.size, 1, kMostSide);
    settings.format = kRawFormats[static_cast<std::size_t>(options.pixel - 1)];
    settings.path = options.frames.path;
    settings.premultiply = options.frames.read.premultiply;
    if (options.editor() && settings.format.depth != Depth::bits8) {
        throw UsageError("--pixel: the editor host hands out 8-bit pixels only");
    }
    for (const auto& key : look.settings.center) {
        CheckCenter(key.value, {0, 0, settings.size.width, settings.size.height});
    }
    if (!Readable(STDIN_FILENO)) throw UsageError("standard input is not open for reading");
    if (!Writable(STDOUT_FILENO)) throw UsageError("standard output is not open for writing");
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO}) {
        if (::isatty(descriptor) == 1) {
            throw UsageError(std::string(descriptor == STDIN_FILENO ? "standard input" : "standard output") +
                             " is a terminal; a stream comes from one program and goes to another");
        }
    }
    CheckSave(options, {"/dev/stdin", "/dev/stdout"});  // they may be redirected from or to a file
    RemoveTemporariesOnSignal(WipeBarForGood);
    EffectRunner runner(options.Plugin(), options.Personality(), options.threads, look.sequenceData);
    Save(options, look, runner);
    auto shown = options.Progress();
    shown.stream = true;
    Progress progress(shown, std::nullopt);
    RenderStream(settings, runner, options.threads, progress);
    runner.Close();
}

}  // namespace nuvhost
