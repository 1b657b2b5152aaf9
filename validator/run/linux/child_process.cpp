#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "validator/run/child_process.h"
#include "validator/run/isolation.h"

// The first is there in builds that look for leaks, the second in builds that count what runs.
// NOLINTBEGIN(bugprone-reserved-identifier): the compiler's runtime chose these names
extern "C" __attribute__((weak)) void __lsan_do_leak_check();
extern "C" __attribute__((weak)) int __llvm_profile_write_file();
// NOLINTEND(bugprone-reserved-identifier)

namespace validator {
namespace {

using Clock = std::chrono::steady_clock;

// Ends the process without the exit handlers of the parent's libraries. These would wait for threads that this copy
// does not have.
[[noreturn]] void End(int code) {
    std::fflush(nullptr);
    if (__llvm_profile_write_file) __llvm_profile_write_file();
    ::_exit(code);
}

[[noreturn]] void BeChild(const Job& job, int output) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::setpgid(0, 0);
    ::on_exit([](int code, void*) { End(code); }, nullptr);  // runs last, after the effect's own exit handlers
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    ::close(output);
    RunAsChild(job);
    if (__lsan_do_leak_check) __lsan_do_leak_check();  // ends the process with an exit code if there are leaks
    End(0);
}

std::string HowEnded(int status) {
    if (WIFSIGNALED(status)) {
        const char* name = ::sigabbrev_np(WTERMSIG(status));
        return std::string("crashed with ") +
               (name ? std::string("SIG") + name : "signal " + std::to_string(WTERMSIG(status)));
    }
    if (WEXITSTATUS(status) != 0) return "ended with exit code " + std::to_string(WEXITSTATUS(status));
    return "";
}

// Reads until the child has closed its end of the pipe. Returns false if the deadline comes first.
bool ReadAll(int input, Clock::time_point deadline, std::string& output) {
    char bytes[4096];
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd wait{input, POLLIN, 0};
        const int ready = left > 0 ? ::poll(&wait, 1, static_cast<int>(left)) : 0;
        if (ready == 0) return false;
        if (ready < 0 && errno == EINTR) continue;
        const ssize_t count = ::read(input, bytes, sizeof bytes);
        if (count <= 0) return true;
        output.append(bytes, static_cast<std::size_t>(count));
    }
}

// Waits until the child has ended, because it may hang after it has closed its output. Returns false if the
// deadline comes first.
bool WaitUntil(pid_t child, Clock::time_point deadline, int& status) {
    for (useconds_t pause = 50;; pause = pause < 10'000 ? pause * 2 : pause) {
        if (::waitpid(child, &status, WNOHANG) == child) return true;
        if (Clock::now() >= deadline) return false;
        ::usleep(pause);
    }
}

}  // namespace

ChildEnd RunChild(const Job& job, std::chrono::milliseconds limit, const std::filesystem::path&) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe: " + std::system_category().message(errno));
    std::fflush(nullptr);  // otherwise the child would print what is in the buffers once more
    const auto deadline = Clock::now() + limit;
    const pid_t child = ::fork();
    if (child < 0) {
        const int reason = errno;
        ::close(ends[0]);
        ::close(ends[1]);
        throw std::runtime_error("fork: " + std::system_category().message(reason));
    }
    if (child == 0) {
        ::close(ends[0]);
        BeChild(job, ends[1]);
    }
    ::close(ends[1]);
    ::setpgid(child, child);  // the child does the same; the group must exist whichever of the two is first

    ChildEnd end;
    int status = 0;
    const bool inTime = ReadAll(ends[0], deadline, end.output) && WaitUntil(child, deadline, status);
    ::close(ends[0]);
    if (inTime) {
        end.how = HowEnded(status);
    } else {
        ::kill(-child, SIGKILL);  // also ends the processes that the effect has started
        ::waitpid(child, &status, 0);
        end.how = "was still running after " + std::to_string(limit.count()) + " ms";
    }
    return end;
}

}  // namespace validator
