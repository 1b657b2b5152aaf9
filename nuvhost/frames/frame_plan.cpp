#include "frames/frame_plan.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <set>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <variant>

#include "console/errors.h"
#include "files/file_checks.h"
#include "files/output_file.h"
#include "frames/frame_range.h"
#include "frames/sequence_pattern.h"

namespace nuvhost {
namespace {

namespace fs = std::filesystem;

bool Exists(const fs::path& file) {
    std::error_code ignored;
    return fs::exists(file, ignored);
}

// Whether the output exists and is complete. An empty file or one that is not regular is rendered again: a crash or
// another tool may have left it.
bool IsFinished(const fs::path& file) {
    std::error_code error;
    return fs::is_regular_file(file, error) && fs::file_size(file, error) > 0 && !error;
}

// Whether the input exists. Throws if this cannot be determined, for example without permission for the folder.
bool InputExists(const fs::path& file) {
    std::error_code failure;
    const bool exists = fs::exists(file, failure);
    if (failure) throw std::runtime_error(file.string() + ": cannot be read: " + failure.message());
    return exists;
}

// A path or a pattern. A plain path means the same file for every frame.
struct Name {
    fs::path plain;
    std::optional<SequencePattern> pattern;

    fs::path At(int frame) const { return pattern ? pattern->At(frame) : plain; }
};

std::runtime_error NothingOf(const fs::path& sequence) {
    return std::runtime_error(sequence.string() + ": no file of this sequence exists");
}

// The frames of the sequence that exist, in ascending order.
std::vector<int> Present(const SequencePattern& sequence) {
    auto frames = sequence.Existing();
    std::error_code ignored;
    std::erase_if(frames, [&](int frame) { return !fs::is_regular_file(sequence.At(frame), ignored); });
    return frames;
}

// The frame of `frames` that is nearest to `frame`, and the earlier one if two are equally near.
int Nearest(const std::vector<int>& frames, int frame) {
    const auto above = std::lower_bound(frames.begin(), frames.end(), frame);
    if (above == frames.begin()) return *above;
    const auto below = std::prev(above);
    if (above == frames.end()) return *below;
    return std::int64_t{*above} - frame < std::int64_t{frame} - *below ? *above : *below;
}

std::vector<int> ChosenFrames(const PlanOptions& options, const SequencePattern* input) {
    auto frames = options.frames ? ParseFrames("--frames", *options.frames) : input->Existing();
    if (frames.empty()) throw NothingOf(options.input);
    if (options.clip) {
        const auto clip = ParseFrameClip("--clip-range", *options.clip);
        std::erase_if(frames, [&](int frame) { return frame < clip.first || frame > clip.last; });
    }
    return frames;
}

void CheckNames(const PlanOptions& options, bool input, bool output) {
    const auto literal = [](const fs::path& name) {
        return " (or give --literal if that is the name of " + name.string() + ")";
    };
    if (options.frames && !output && ParseFrames("--frames", *options.frames).size() > 1) {
        throw UsageError(options.output.string() +
                         ": --frames names several frames, so the output needs a place for " +
                         "their numbers, such as out.####.exr");
    }
    if (options.frames) return;
    if (input && !output) {
        throw UsageError(options.output.string() +
                         ": the input is a sequence, so the output needs a place for the " +
                         "frame's number, such as out.####.exr" + literal(options.input));
    }
    if (!input && output) {
        throw UsageError(options.output.string() +
                         ": the output is a sequence, but the input is one picture; --frames " +
                         "renders it once for each frame" + literal(options.output));
    }
    if (options.clip && !input) throw UsageError("--clip-range: the input is one picture");
}

std::string Count(std::size_t number, std::size_t of) {
    return std::to_string(number) + " of " + std::to_string(of) + (of == 1 ? " frame" : " frames");
}

// Identifies a file under all of its names: by its number in the file system if it exists, otherwise by its path.
using FileId = std::variant<std::pair<dev_t, ino_t>, fs::path>;

FileId IdOf(const fs::path& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) == 0) return std::pair(status.st_dev, status.st_ino);
    return BehindLinks(fs::absolute(file));
}

// Returns the folder if it exists, or else the nearest existing folder above it.
fs::path StandingFolder(fs::path folder) {
    while (!Exists(folder) && folder.has_relative_path())
        folder = folder.parent_path();
    return folder;
}

fs::path FolderOf(const fs::path& file) {
    return fs::absolute(file).parent_path();
}

}  // namespace

FramePlan PlanFrames(const PlanOptions& options) {
    Name input{options.input, {}}, output{options.output, {}};
    if (!options.literal) input.pattern = SequencePattern::Parse(options.input);
    // If a file has exactly the name of the pattern, the user means this file.
    const bool named = input.pattern && !options.frames && Exists(options.input);
    if (named) input.pattern.reset();
    if (!options.literal && !named) output.pattern = SequencePattern::Parse(options.output);
    CheckNames(options, input.pattern.has_value(), output.pattern.has_value());

    FramePlan plan;
    plan.numbered = options.frames || input.pattern;
    std::vector<int> frames{0};
    if (plan.numbered) frames = ChosenFrames(options, input.pattern ? &*input.pattern : nullptr);
    std::vector<int> present;
    if (input.pattern && options.missing != Missing::error) present = Present(*input.pattern);
    for (const int frame : frames) {
        FrameJob job{frame, input.At(frame), output.At(frame), {}};
        if (options.skipExisting && IsFinished(job.output)) {
            plan.existing.push_back(std::move(job));
            continue;
        }
        if (!InputExists(job.input)) {
            plan.missing.push_back(frame);
            if (options.missing == Missing::skip) continue;
            if (!present.empty()) job.blackLike = input.At(Nearest(present, frame));
        }
        plan.jobs.push_back(std::move(job));
    }

    if (plan.missing.empty()) return plan;
    if (!input.pattern) throw std::runtime_error(options.input.string() + ": no such file");
    if (options.missing == Missing::error) {
        std::sort(plan.missing.begin(), plan.missing.end());
        throw std::runtime_error(options.input.string() + ": " + Count(plan.missing.size(), plan.jobs.size()) +
                                 (plan.missing.size() == 1 ? " is" : " are") +
                                 " missing: " + FramesText(plan.missing));
    }
    if (present.empty()) throw NothingOf(options.input);
    return plan;
}

void CheckOutputs(const FramePlan& plan, bool createFolder) {
    std::map<FileId, const fs::path*> inputs;
    for (const auto& job : plan.jobs) {
        inputs.emplace(IdOf(job.source()), &job.source());
        if (job.black()) inputs.emplace(IdOf(job.input), &job.input);
    }
    std::set<FileId> outputs;
    for (const auto& job : plan.jobs) {
        CheckOutputName(job.output);
        const auto id = IdOf(job.output);
        if (const auto input = inputs.find(id); input != inputs.end()) {
            const bool own = *input->second == job.input;
            throw UsageError(job.output.string() + ": the output is the input file" +
                             (own ? "" : " " + input->second->string()));
        }
        if (!outputs.insert(id).second)
            throw UsageError(job.output.string() + ": is another frame's output as well");
        const auto folder = FolderOf(job.output);
        if (createFolder && !Exists(folder)) {
            const auto standing = StandingFolder(folder);
            std::error_code ignored;
            if (!fs::is_directory(standing, ignored) || ::access(standing.c_str(), W_OK | X_OK) != 0) {
                throw std::runtime_error(job.output.string() + ": its folder cannot be made in " +
                                         standing.string());
            }
        } else {
            CheckWritable(job.output);
        }
    }
}

void CreateFolders(const FramePlan& plan) {
    for (const auto& job : plan.jobs) {
        std::error_code error;
        fs::create_directories(FolderOf(job.output), error);
        if (error)
            throw std::runtime_error(job.output.string() + ": its folder cannot be made: " + error.message());
    }
}

}  // namespace nuvhost
