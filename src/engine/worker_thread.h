// A thread that leaves nothing behind in the thread that starts and joins it.
#pragma once

#include <cstdint>
#include <thread>

namespace nuv {

// std::thread, except on Windows: there its runtime gives the joining thread handles and memory of its own, and
// frees them only where libraries are told that threads end. Hosts render a frame on a thread and end it.
class WorkerThread {
public:
    using Work = void (*)(void* argument);  // must not throw

    WorkerThread() = default;
    ~WorkerThread();  // joins
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    // Runs work(argument) on a new thread. Once. Throws std::system_error when the thread cannot be started, and
    // std::bad_alloc.
    void Start(Work work, void* argument);
    // After Start, once. Throws std::system_error.
    void Join();

private:
#if defined(_WIN32)
    static unsigned Run(void* self);

    Work work_ = nullptr;
    void* argument_ = nullptr;
    std::uintptr_t handle_ = 0;  // 0: not started, or joined
#else
    std::thread thread_;
#endif
};

}  // namespace nuv
