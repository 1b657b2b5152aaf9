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

// Calls work(0) … work(threads-1), each on a thread of its own; they begin together. `work` must not throw.
void AtOnce(int threads, const std::function<void(int)>& work);

// Lets threads go on when all of them have come.
class Meeting {
public:
    explicit Meeting(int expected) : expected_(expected) {}
    // False when the others did not come in time; nobody waits any more from then on.
    bool Wait(std::chrono::milliseconds patience);
    // To be used once more, by so many.
    void Restart(int expected);

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int expected_;
    int came_ = 0;
    bool failed_ = false;
};

// One frame for each thread, in the formats by turns, and each rendered alone before anything else.
class Crowd {
public:
    // With `instances` 1 all frames are that of the scene; else each has an instance of its own. Ends the check if
    // the effect does not want several renders at once, or if one fails.
    Crowd(Context& context, Scene& scene, int frames, bool oneInstance);
    ~Crowd();

    int size() const { return static_cast<int>(frames_.size()); }
    // On any thread, each number on one at a time: reports what is not as it was when rendered alone.
    void Render(int number);
    PF_Err RenderForCode(int number);

private:
    Context& context_;
    Scene& scene_;
    std::vector<std::unique_ptr<refhost::Instance>> instances_;  // but the scene's
    std::vector<refhost::Instance*> of_;                         // by frame
    std::vector<std::unique_ptr<Frame>> frames_;
    std::vector<std::vector<std::byte>> alone_;
};

}  // namespace validator
