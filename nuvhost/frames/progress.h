// Tells how far a render has come: to a person, to a queue manager, to a program.
#pragma once

#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "frames/frame_plan.h"

namespace nuvhost {

enum class ProgressMode {
    automatic = 1,  // a bar where standard error is a terminal; lines where it is not, or standard output is none
    json,           // an object a line: "start", "frame" for each frame, "end"
    none,
};

struct ProgressOptions {
    ProgressMode mode = ProgressMode::automatic;
    bool quiet = false;    // errors only
    bool verbose = false;  // and what was done how, on standard error
    bool single = false;   // one picture without a number: only json tells of it
    bool stream = false;   // standard output is for pictures: lines go to standard error
};

struct FrameTimes {
    double read = 0, render = 0, write = 0;  // seconds
};

// All members from any thread. Every line is written at once and whole.
class Progress {
public:
    // nullopt: nobody knows how many frames will come.
    Progress(const ProgressOptions& options, std::optional<std::size_t> total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Done(const FrameJob& job, const FrameTimes& times);
    void Skipped(const FrameJob& job);  // its output exists
    // Tells it only if the render goes on; the last word is the caller's otherwise.
    void Failed(const FrameJob& job, const std::string& why, bool goesOn);
    void Note(const std::string& text);     // unless quiet
    void Verbose(const std::string& text);  // only if verbose
    void End();                             // the summary

private:
    using Clock = std::chrono::steady_clock;
    void Tell(const FrameJob& job, const char* status, const std::string& line, const std::string& error);
    void Line(const std::string& text);  // of the program's own, where lines go
    void Log(const std::string& text);   // on standard error
    void DrawBar();
    void WipeBar();
    std::string Share() const;  // "3/100, 3%"
    double Seconds() const;

    const ProgressOptions options_;
    const std::optional<std::size_t> total_;
    const bool bar_, lines_, json_;
    const Clock::time_point start_ = Clock::now();
    std::mutex mutex_;
    std::size_t told_ = 0, done_ = 0, skipped_ = 0;
    std::vector<int> failed_;
};

// For a process about to die: no bar stays on the terminal, and none comes any more. From any thread; waits for no
// terminal.
void WipeBarForGood();

}  // namespace nuvhost
