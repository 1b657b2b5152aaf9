#include "engine/worker_thread.h"

#include <windows.h>

#include <process.h>

#include <cerrno>
#include <system_error>

namespace nuv {

WorkerThread::~WorkerThread() {
    if (handle_ == 0) return;
    WaitForSingleObject(reinterpret_cast<HANDLE>(handle_), INFINITE);
    CloseHandle(reinterpret_cast<HANDLE>(handle_));
}

unsigned WorkerThread::Run(void* self) {
    const auto& thread = *static_cast<const WorkerThread*>(self);
    thread.work_(thread.argument_);
    return 0;
}

void WorkerThread::Start(Work work, void* argument) {
    work_ = work;
    argument_ = argument;
    handle_ = _beginthreadex(nullptr, 0, Run, this, 0, nullptr);
    if (handle_ == 0) throw std::system_error(errno, std::generic_category());
}

void WorkerThread::Join() {
    if (WaitForSingleObject(reinterpret_cast<HANDLE>(handle_), INFINITE) != WAIT_OBJECT_0) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
    }
    CloseHandle(reinterpret_cast<HANDLE>(handle_));
    handle_ = 0;
}

}  // namespace nuv
