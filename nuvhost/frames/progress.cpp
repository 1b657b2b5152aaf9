#include "frames/progress.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <thread>

#include "console/one_line.h"
#include "console/quiet.h"

namespace nuvhost {
namespace {

using Json = nlohmann::ordered_json;

void WriteWhole(int descriptor, const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const auto written = ::write(descriptor, text.data() + at, text.size() - at);
        if (written < 0 && errno != EINTR) return;  // nobody reads it; the render goes on
        if (written > 0) at += static_cast<std::size_t>(written);
    }
}

constexpr auto kWipe = "\r\x1b[K";

struct Bar {
    std::mutex mutex;  // also locked while the bar is drawn or wiped
    bool stands = false;
};

// There is one bar, because there is one terminal.
Bar& TheBar() {
    static auto& bar = *new Bar;  // never destroyed, because the thread that waits for signals uses it to the end
    return bar;
}

bool ShowsBar(const ProgressOptions& options) {
    const bool wanted = options.mode == ProgressMode::automatic || options.mode == ProgressMode::bar;
    return wanted && !options.quiet && !options.single && ::isatty(UserStderr()) == 1;
}

bool ShowsLines(const ProgressOptions& options) {
    if (options.mode != ProgressMode::automatic || options.quiet || options.single) return false;
    const bool toTerminal = options.stream || ::isatty(STDOUT_FILENO) == 1;
    return !(toTerminal && ShowsBar(options));
}

std::string Fixed(double number, const char* format) {
    char text[64];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

std::string Duration(double seconds) {
    const auto whole = std::llround(seconds);
    char text[64];
    if (whole >= 3600) {
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
    } else {
        std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
    }
    return text;
}

std::string Dump(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

Progress::Progress(const ProgressOptions& options, std::optional<std::size_t> total)
    : options_(options),
      total_(total),
      bar_(ShowsBar(options)),
      lines_(ShowsLines(options)),
      json_(options.mode == ProgressMode::json && !options.quiet) {
    if (json_) Line(Dump({{"event", "start"}, {"total", total ? Json(*total) : Json()}}));
}

Progress::~Progress() {
    WipeBar();
}

void Progress::Done(const FrameJob& job, const FrameTimes& times) {
    const std::lock_guard lock(mutex_);
    ++done_;
    if (options_.verbose) {
        Log("frame " + std::to_string(job.frame) + ": read " + Fixed(times.read * 1000, "%.0f ms") + ", rendered " +
            Fixed(times.render * 1000, "%.0f ms") + ", wrote " + Fixed(times.write * 1000, "%.0f ms"));
    }
    Tell(job, job.black() ? "black" : "done", " -> " + job.output.string() + (job.black() ? " black" : ""), "");
}

void Progress::Skipped(const FrameJob& job) {
    const std::lock_guard lock(mutex_);
    ++skipped_;
    Tell(job, "skipped", " skipped, exists: " + job.output.string(), "");
}

void Progress::Failed(const FrameJob& job, const std::string& why, bool goesOn) {
    const std::lock_guard lock(mutex_);
    failed_.push_back(job.frame);
    Tell(job, "failed", " failed: " + job.output.string(), why);
    if (goesOn) Log("frame " + std::to_string(job.frame) + ": " + why);
}

void Progress::Note(const std::string& text) {
    const std::lock_guard lock(mutex_);
    if (!options_.quiet) Log(text);
}

void Progress::Verbose(const std::string& text) {
    if (options_.verbose) Note(text);
}

void Progress::End() {
    const std::lock_guard lock(mutex_);
    WipeBar();
    if (json_) {
        Line(Dump({{"event", "end"},
                   {"rendered", done_},
                   {"skipped", skipped_},
                   {"failed", failed_},
                   {"seconds", Seconds()}}));
    }
    if (bar_ || (options_.verbose && !options_.quiet)) {
        Log(std::to_string(done_) + " " + options_.unit + (done_ == 1 ? " in " : "s in ") +
            Fixed(Seconds(), "%.1f s, ") + RateText());
    }
}

void Progress::Tell(const FrameJob& job, const char* status, const std::string& line, const std::string& error) {
    ++told_;
    if (json_) {
        Json event{{"event", "frame"}, {"frame", options_.single ? Json() : Json(job.frame)}, {"status", status}};
        if (!options_.stream) event.update({{"input", job.input.string()}, {"output", job.output.string()}});
        if (!error.empty()) event["error"] = error;
        event["count"] = told_;
        if (total_) event.update({{"total", *total_}, {"percent", 100 * told_ / *total_}});
        Line(Dump(event));
    }
    if (lines_) Line("frame " + std::to_string(job.frame) + OneLine(line) + " (" + Share() + ")\n");
    if (bar_) DrawBar();
}

void Progress::Line(const std::string& text) {
    WriteWhole(options_.stream ? UserStderr() : STDOUT_FILENO, text);
}

void Progress::Log(const std::string& text) {
    WipeBar();
    WriteWhole(UserStderr(), "nuvhost: " + OneLine(text) + "\n");
}

void Progress::DrawBar() {
    std::string text = Share();
    if (done_ > 0) {  // the speed does not count skipped frames, which took no time
        text += "  " + RateText();
        if (total_) text += "  " + Duration(static_cast<double>(*total_ - told_) / Rate()) + " left";
    }
    winsize size{};
    const bool known = ::ioctl(UserStderr(), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    const std::size_t columns = known ? size.ws_col : 80;
    if (total_) {
        const std::size_t cells =
            std::min<std::size_t>(40, columns > text.size() + 4 ? columns - text.size() - 4 : 0);
        const std::size_t full = cells * told_ / *total_;
        if (cells >= 5) text = "[" + std::string(full, '#') + std::string(cells - full, '.') + "] " + text;
    }
    text.resize(std::min(text.size(), columns));  // kWipe clears only one line of the terminal
    auto& bar = TheBar();
    const std::lock_guard lock(bar.mutex);
    WriteWhole(UserStderr(), kWipe + text);
    bar.stands = true;
}

void Progress::WipeBar() {
    auto& bar = TheBar();
    const std::lock_guard lock(bar.mutex);
    if (bar.stands) WriteWhole(UserStderr(), kWipe);
    bar.stands = false;
}

void WipeBarForGood() {
    auto& bar = TheBar();
    // If the lock is not free for a tenth of a second, its owner waits for a terminal that the user has stopped.
    std::unique_lock lock(bar.mutex, std::try_to_lock);
    for (int i = 0; i < 10 && !lock; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        lock.try_lock();
    }
    pollfd terminal{UserStderr(), POLLOUT, 0};
    if (lock && bar.stands && ::poll(&terminal, 1, 0) == 1) WriteWhole(UserStderr(), kWipe);
    lock.release();
}

std::string Progress::Share() const {
    if (!total_) return std::to_string(told_);
    return std::to_string(told_) + "/" + std::to_string(*total_) + ", " + std::to_string(100 * told_ / *total_) +
           "%";
}

double Progress::Rate() const {
    return static_cast<double>(done_) / std::max(Seconds(), 1e-9);
}

std::string Progress::RateText() const {
    return Fixed(Rate(), "%.1f ") + options_.unit + "s/s";
}

double Progress::Seconds() const {
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

}  // namespace nuvhost
