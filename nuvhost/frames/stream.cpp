#include "frames/stream.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstring>
#include <exception>
#include <limits>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "picture/alpha.h"

namespace nuvhost {
namespace {

[[noreturn]] void FailSystem(const std::string& what) {
    throw std::runtime_error(what + ": " + std::generic_category().message(errno));
}

// Returns the number of bytes read, which is smaller than asked for only at the end of the input.
std::size_t ReadFully(std::vector<std::byte>& bytes) {
    std::size_t at = 0;
    while (at < bytes.size()) {
        const auto got = ::read(STDIN_FILENO, bytes.data() + at, bytes.size() - at);
        if (got == 0) break;
        if (got < 0 && errno != EINTR) FailSystem("standard input cannot be read");
        if (got > 0) at += static_cast<std::size_t>(got);
    }
    return at;
}

void WriteFully(const std::vector<std::byte>& bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        const auto put = ::write(STDOUT_FILENO, bytes.data() + at, bytes.size() - at);
        if (put < 0 && errno == EPIPE) {
            std::signal(SIGPIPE, SIG_DFL);
            std::raise(SIGPIPE);
        }
        if (put < 0 && errno != EINTR) FailSystem("standard output cannot be written");
        if (put > 0) at += static_cast<std::size_t>(put);
    }
}

// Where each channel of a pixel, R, G, B or A, lies among planes in the order G, B, R, A.
constexpr std::array<std::size_t, 4> kPlaneOf{2, 0, 1, 3};

std::vector<std::byte> Interleaved(const std::vector<std::byte>& planes) {
    constexpr std::size_t kBytes = sizeof(float);
    std::vector<std::byte> pixels(planes.size());
    const std::size_t plane = planes.size() / 4;
    for (std::size_t at = 0; at < planes.size(); at += kBytes) {
        const std::size_t pixel = at / (4 * kBytes), channel = at / kBytes % 4;
        std::memcpy(pixels.data() + at, planes.data() + kPlaneOf[channel] * plane + pixel * kBytes, kBytes);
    }
    return pixels;
}

std::vector<std::byte> Planes(const std::vector<std::byte>& pixels) {
    constexpr std::size_t kBytes = sizeof(float);
    std::vector<std::byte> planes(pixels.size());
    const std::size_t plane = pixels.size() / 4;
    for (std::size_t at = 0; at < pixels.size(); at += kBytes) {
        const std::size_t pixel = at / (4 * kBytes), channel = at / kBytes % 4;
        std::memcpy(planes.data() + kPlaneOf[channel] * plane + pixel * kBytes, pixels.data() + at, kBytes);
    }
    return planes;
}

class Stream {
public:
    Stream(const StreamSettings& settings, EffectRunner& runner, Progress& progress)
        : settings_(settings), runner_(runner), progress_(progress) {}

    void Run(int threads) {
        {
            std::vector<std::jthread> workers;
            for (int i = 1; i < threads; ++i) {
                workers.emplace_back([this] { Work(); });
            }
            Work();
        }
        progress_.End();
        if (failure_) std::rethrow_exception(failure_);
        if (read_ == 0) throw std::runtime_error("standard input: there is no frame");
    }

private:
    void Work() {
        Picture picture;
        while (const auto frame = Read(picture)) {
            try {
                Render(picture, *frame);
                Write(picture, *frame);
            } catch (...) {
                End(*frame, std::current_exception());
            }
        }
    }

    // Returns the frame's number, or nullopt at the end of the input.
    std::optional<int> Read(Picture& picture) {
        const std::lock_guard lock(input_);
        if (ended_) return std::nullopt;
        try {
            const auto [width, height] = settings_.size;
            picture = {width, height, settings_.format.depth, {}};
            picture.pixels.resize(picture.pixelCount() * picture.bytesPerPixel());
            const std::size_t bytes = ReadFully(picture.pixels);
            if (bytes == picture.pixels.size()) return read_++;
            ended_ = true;
            if (bytes == 0) return std::nullopt;
            throw std::runtime_error("standard input: frame " + std::to_string(read_) +
                                     " is short: " + std::to_string(bytes) + " of " +
                                     std::to_string(picture.pixels.size()) + " bytes");
        } catch (...) {
            ended_ = true;
            const std::lock_guard outputLock(output_);
            if (!failure_) failure_ = std::current_exception();
            return std::nullopt;
        }
    }

    void Render(Picture& picture, int frame) {
        if (settings_.format.planar) picture.pixels = Interleaved(picture.pixels);
        const bool premultiplied = settings_.premultiply && !Opaque(picture);
        if (premultiplied) Premultiply(picture);
        const Window whole{0, 0, picture.width, picture.height};
        runner_.Render(picture, whole, settings_.effect.At(frame), settings_.path);
        if (premultiplied) Unpremultiply(picture);
        if (settings_.format.planar) picture.pixels = Planes(picture.pixels);
    }

    // Waits until all earlier frames are written, and then writes this one.
    void Write(const Picture& picture, int frame) {
        std::unique_lock lock(output_);
        turn_.wait(lock, [&] { return written_ == frame || frame > lost_; });
        if (frame > lost_) return;
        WriteFully(picture.pixels);
        ++written_;
        turn_.notify_all();
        FrameJob job;
        job.frame = frame;
        job.output = "-";
        progress_.Done(job, {});
    }

    // After a frame that failed, no frame is read and no later frame is written.
    void End(int frame, const std::exception_ptr& failure) {
        ended_ = true;
        const std::lock_guard lock(output_);
        if (frame < lost_) failure_ = failure;
        lost_ = std::min(lost_, frame);
        turn_.notify_all();
    }

    const StreamSettings& settings_;
    EffectRunner& runner_;
    Progress& progress_;

    std::mutex input_;
    std::atomic<bool> ended_ = false;
    int read_ = 0;

    std::mutex output_;
    std::condition_variable turn_;
    int lost_ = std::numeric_limits<int>::max();  // the first frame that could not be rendered or written
    int written_ = 0;
    std::exception_ptr failure_;
};

}  // namespace

void RenderStream(const StreamSettings& settings, EffectRunner& runner, int threads, Progress& progress) {
    Stream(settings, runner, progress).Run(threads);
}

}  // namespace nuvhost
