// The plan of a render: which frames are made from which files into which files. It is checked before anything is
// rendered.
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
    bool literal = false;       // a name with #, @ or % is not a pattern
    bool skipExisting = false;  // frames whose output exists and is not empty are not rendered
    bool createFolder = false;
};

struct FrameJob {
    int frame = 0;  // 0 for a picture without a number
    std::filesystem::path input;
    std::filesystem::path output;
    // If not empty: the input is missing, and a black picture like this file replaces it.
    std::filesystem::path blackLike;

    bool black() const { return !blackLike.empty(); }
    const std::filesystem::path& source() const { return black() ? blackLike : input; }  // the file that is read
};

struct FramePlan {
    bool numbered = false;  // whether frames have numbers; otherwise there is one picture
    std::vector<FrameJob> jobs;
    std::vector<FrameJob> existing;  // not rendered, because the output exists
    std::vector<int> missing;        // left out or black
};

// Makes the list of frames and finds their files. A frame is rendered in the same way whichever other frames are
// chosen: a black frame is like the nearest existing one of the whole sequence. Throws UsageError if names and
// ranges do not fit together. Throws std::runtime_error for missing inputs, all of them on one line, and if no
// frame of the sequence exists.
FramePlan PlanFrames(const PlanOptions& options);

// Throws UsageError if an output is a folder or has no extension, or if it is also the input of any frame or the
// output of another frame, even under another name. Throws std::runtime_error if an output cannot be written. Does
// not check whether a picture format has the extension.
void CheckOutputs(const FramePlan& plan, bool createFolder);

// Makes the folders of all outputs. Throws std::runtime_error.
void CreateFolders(const FramePlan& plan);

}  // namespace nuvhost
