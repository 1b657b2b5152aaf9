#include "system.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>

namespace broken {

void SetVariable(const char* name, const std::string& value) {
    ::setenv(name, value.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): called before there are other threads
}

void StayLoaded() {
    Dl_info self{};
    ::dladdr(reinterpret_cast<void*>(&StayLoaded), &self);
    ::dlopen(self.dli_fname, RTLD_NOW | RTLD_NODELETE);
}

void LeaveHandleOpen() {
    [[maybe_unused]] static volatile int left;
    left = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

void TakeCrashHandler() {
    std::signal(SIGSEGV, SIG_IGN);
}

void LeaveThread() {
    const auto sleep = reinterpret_cast<void* (*)(void*)>(reinterpret_cast<void (*)()>(&::sleep));
    pthread_t thread;
    ::pthread_create(&thread, nullptr, sleep, reinterpret_cast<void*>(std::uintptr_t{1'000'000}));
    ::pthread_detach(thread);
}

void RenameThread() {
    ::pthread_setname_np(::pthread_self(), "render");
}

void ChangePriority() {
    const sched_param param{};
    const bool batch = ::sched_getscheduler(0) == SCHED_BATCH;
    ::sched_setscheduler(0, batch ? SCHED_OTHER : SCHED_BATCH, &param);
}

void TakeOneProcessor() {
    cpu_set_t all, one;
    ::sched_getaffinity(0, sizeof all, &all);
    CPU_ZERO(&one);
    for (std::size_t i = 0; i < CPU_SETSIZE && CPU_COUNT(&one) == 0; ++i) {
        if (CPU_ISSET(i, &all)) CPU_SET(i, &one);
    }
    ::sched_setaffinity(0, sizeof one, &one);
}

}  // namespace broken
