// A thread that leaves nothing behind in the thread that starts and joins it.
#pragma once

#include <cstdint>
#include <thread>

namespace nuv {

// This is std::thread, except on Windows. There std::thread allocates handles and memory for the thread that joins,
// and frees them only if the library is told when that thread ends. A host may start a new thread for each frame,
// so the process would lose handles and memory with every frame.
class WorkerThread {
public:
    using Work = void (*)(void* argument);  // it must not throw

    WorkerThread() = default;
    ~WorkerThread();  // joins
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

    // Runs work(argument) on a new thread. Call it once. Throws std::system_error when the thread cannot be
    // started, and std::bad_alloc.
    void Start(Work work, void* argument);
    // Call it once, after Start. Throws std::system_error.
    void Join();

private:
#if defined(_WIN32)
    static unsigned Run(void* self);

    Work work_ = nullptr;
    void* argument_ = nullptr;
    std::uintptr_t handle_ = 0;  // 0 before Start and after Join
#else
    std::thread thread_;
#endif
};

}  // namespace nuv
