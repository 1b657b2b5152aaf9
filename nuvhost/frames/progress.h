// Reports the progress of a render to a person, a queue manager or a program.
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
    automatic = 1,  // a bar if standard error is a terminal; lines if it is not, or if lines go to a file or pipe
    json,           // one JSON object in each line: "start", "frame" for each frame, "end"
    none,
    bar,  // a bar if standard error is a terminal, otherwise nothing
};

struct ProgressOptions {
    ProgressMode mode = ProgressMode::automatic;
    bool quiet = false;          // errors only
    bool verbose = false;        // also tells on standard error how each frame was made
    bool single = false;         // one picture without a number: only json reports it
    bool stream = false;         // standard output carries pictures, so lines go to standard error
    std::string unit = "frame";  // what is counted
};

struct FrameTimes {
    double read = 0, render = 0, write = 0;  // seconds
};

// Any thread may call all members. Each line is written at once, so lines never mix.
class Progress {
public:
    // `nullopt` if the number of frames is not known.
    Progress(const ProgressOptions& options, std::optional<std::size_t> total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Done(const FrameJob& job, const FrameTimes& times);
    void Skipped(const FrameJob& job);  // its output exists
    // Prints the error only if the render goes on. Otherwise the caller prints it at the end.
    void Failed(const FrameJob& job, const std::string& why, bool goesOn);
    void Note(const std::string& text);     // unless quiet
    void Verbose(const std::string& text);  // only if verbose
    void End();                             // the summary

private:
    using Clock = std::chrono::steady_clock;
    void Tell(const FrameJob& job, const char* status, const std::string& line, const std::string& error);
    void Line(const std::string& text);  // on standard output, or on standard error for a stream
    void Log(const std::string& text);   // on standard error
    void DrawBar();
    void WipeBar();
    std::string Share() const;     // "3/100, 3%"
    double Rate() const;           // in a second
    std::string RateText() const;  // "1.5 frames/s"
    double Seconds() const;

    const ProgressOptions options_;
    const std::optional<std::size_t> total_;
    const bool bar_, lines_, json_;
    const Clock::time_point start_ = Clock::now();
    std::mutex mutex_;
    std::size_t told_ = 0, done_ = 0, skipped_ = 0;
    std::vector<int> failed_;
};

// Removes the bar from the terminal and prevents a new one. Call it when the process is about to die, from any
// thread. It does not wait for a stopped terminal.
void WipeBarForGood();

}  // namespace nuvhost
