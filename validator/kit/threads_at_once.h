// Frames rendered at once, and a place for threads to wait for one another.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "validator/kit/scene.h"

namespace validator {

// Calls work(0) … work(threads-1), each on its own thread. All begin together. `work` must not throw.
void AtOnce(int threads, const std::function<void(int)>& work);

// A place where threads wait until all of them have come.
class Meeting {
public:
    explicit Meeting(int expected) : expected_(expected) {}
    // Returns false if the others did not come in time. From then on, Wait returns false at once for every thread.
    bool Wait(std::chrono::milliseconds patience);
    // Begins another round, in which `expected` threads meet.
    void Restart(int expected);

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int expected_;
    int came_ = 0;
    bool failed_ = false;
};

// One frame for each thread. The formats are given to the frames in turn. Each frame is first rendered alone, for
// comparison.
class Crowd {
public:
    // With `oneInstance` the scene's instance renders all frames. Otherwise each frame has its own instance. Ends
    // the check if the effect does not want several renders at once, or if one fails.
    Crowd(Context& context, HostedScene& scene, int frames, bool oneInstance);
    ~Crowd();

    int size() const { return static_cast<int>(frames_.size()); }
    // Any thread may call these, but only one at a time for the same number. Render reports what differs from the
    // frame that was rendered alone.
    void Render(int number);
    PF_Err RenderForCode(int number);

private:
    Context& context_;
    HostedScene& scene_;
    std::vector<std::unique_ptr<refhost::Instance>> instances_;  // all except the scene's own
    std::vector<refhost::Instance*> of_;                         // the instance of each frame
    std::vector<std::unique_ptr<Frame>> frames_;
    std::vector<std::vector<std::byte>> alone_;
};

}  // namespace validator
