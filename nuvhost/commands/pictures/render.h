// The command `render`: its options, and what rendering files and rendering a stream have in common.
#pragma once

#include <algorithm>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "effect/effect_runner.h"
#include "effect/look.h"
#include "frames/frame_plan.h"
#include "frames/frame_settings.h"
#include "frames/progress.h"

namespace CLI {
class App;
}

namespace nuvhost {

// Groups of options, as --help shows them. Options for streams are refused with files, and options for files with a
// stream.
inline constexpr auto kEffectGroup = "The effect";
inline constexpr auto kFileGroup = "Files";
inline constexpr auto kSequenceGroup = "Sequences";
inline constexpr auto kStreamGroup = "Streams";
inline constexpr auto kRunGroup = "The run";

inline constexpr int kMostThreads = 256;

struct RenderOptions {
    PlanOptions plan;
    ParameterTexts parameters;
    std::optional<std::filesystem::path> settings, saveSettings;
    FrameSettings frames;
    std::filesystem::path plugin;
    std::string size;
    // Choices from lists of words, counted from 1. If `pixel` is 0, the option was not given.
    int host = 1, missing = 1, alpha = 1, channels = 1, metadata = 1, progress = 1, pixel = 0;
    bool plain = false, dryRun = false, quiet = false, verbose = false;
    int threads = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMostThreads);
    CLI::App* command = nullptr;

    bool editor() const { return host == 2; }
    bool stream() const { return plan.input == "-" || plan.output == "-"; }
    std::filesystem::path Plugin() const { return plugin.empty() ? FindPlugin() : plugin; }
    refhost::Personality Personality() const {
        return editor() ? refhost::Personality::editor : refhost::Personality::compositor;
    }
    ProgressOptions Progress() const {
        return {.mode = static_cast<ProgressMode>(progress), .quiet = quiet, .verbose = verbose};
    }
};

// Throws UsageError if an option of these groups was given.
void RefuseGiven(const RenderOptions& options, std::initializer_list<std::string_view> groups, const char* why);

// Checks --save-settings; `taken` are the other files of the run.
void CheckSave(const RenderOptions& options, std::vector<std::filesystem::path> taken);

// Carries out --save-settings.
inline void Save(const RenderOptions& options, Look& look, const EffectRunner& runner) {
    if (!options.saveSettings) return;
    look.sequenceData = runner.SequenceData();
    SaveLook(*options.saveSettings, look);
}

// Carries out the command. Calls RunStream for a stream, and otherwise RunFiles.
void Render(RenderOptions& options);
void RunFiles(const RenderOptions& options, Look& look);
void RunStream(const RenderOptions& options, Look& look);

}  // namespace nuvhost
