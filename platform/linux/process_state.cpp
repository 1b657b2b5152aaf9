#include "platform/process_state.h"

#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>

#include <cstdint>

namespace platform {

std::string CrashHandlers() {
    std::string text;
    for (const int number : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTERM, SIGINT}) {
        struct sigaction action {};
        ::sigaction(number, nullptr, &action);
        text += std::to_string(reinterpret_cast<std::uintptr_t>(action.sa_handler)) + " ";
    }
    return text;
}

std::string ThreadName() {
    char name[16] = "";
    ::pthread_getname_np(::pthread_self(), name, sizeof name);
    return name;
}

// Asks the kernel, because pthread_getschedparam does not notice changes that are made by a direct system call.
std::string ThreadPriority() {
    sched_param param{};
    ::sched_getparam(0, &param);
    return std::to_string(::sched_getscheduler(0)) + ":" + std::to_string(param.sched_priority) + ":" +
           std::to_string(::getpriority(PRIO_PROCESS, 0));
}

std::string ThreadAffinity() {
    cpu_set_t processors;
    CPU_ZERO(&processors);
    ::sched_getaffinity(0, sizeof processors, &processors);
    std::string text;
    for (std::size_t i = 0; i < CPU_SETSIZE; ++i) {
        if (CPU_ISSET(i, &processors)) text += (text.empty() ? "" : ",") + std::to_string(i);
    }
    return text;
}

}  // namespace platform
