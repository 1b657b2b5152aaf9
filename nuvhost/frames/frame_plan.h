// Which frames are rendered from what into what, known and checked before anything is.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace nuvhost {

enum class Missing { error = 1, skip, black };

struct PlanOptions {
    std::filesystem::path input, output;  // either may be a pattern
    std::optional<std::string> frames, clip;
    Missing missing = Missing::error;
    bool literal = false;       // names are no patterns
    bool skipExisting = false;  // frames whose output is there and not empty are left alone
    bool createFolder = false;
};

struct FrameJob {
    int frame = 0;  // 0 for a picture without a number
    std::filesystem::path input;
    std::filesystem::path output;
    std::filesystem::path blackLike;  // if the input is missing and a black picture like this one takes its place

    bool black() const { return !blackLike.empty(); }
    const std::filesystem::path& source() const { return black() ? blackLike : input; }  // what is read
};

struct FramePlan {
    bool numbered = false;  // whether frames have numbers; else there is one picture
    std::vector<FrameJob> jobs;
    std::vector<FrameJob> existing;  // left alone: the output is there
    std::vector<int> missing;        // left out or black
};

// Works out the frames and finds their files. What becomes of a frame does not depend on which others are asked
// for: a black one is like the nearest of the sequence that exists. Throws UsageError for names and ranges that do
// not fit together, and std::runtime_error for missing inputs, all of them on one line, or if nothing of the
// sequence exists.
FramePlan PlanFrames(const PlanOptions& options);

// Throws UsageError if an output is a folder, the input of any frame or the output of another one, under whatever
// name; std::runtime_error if one cannot be written. Does not know which formats there are.
void CheckOutputs(const FramePlan& plan, bool createFolder);

// Makes the folders of all outputs. Throws std::runtime_error.
void CreateFolders(const FramePlan& plan);

}  // namespace nuvhost
