#include "console/quiet.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <mutex>

namespace nuvhost {
namespace {

struct Stderr {
    std::mutex mutex;
    int quiets = 0;
    const int user = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);  // -1 if there is no standard error
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
};

Stderr& TheStderr() {
    static Stderr stderrOfProcess;
    return stderrOfProcess;
}

void Redirect(int to) {
    std::fflush(stderr);
    if (to >= 0) ::dup2(to, STDERR_FILENO);
}

}  // namespace

QuietStderr::QuietStderr() {
    auto& state = TheStderr();
    const std::lock_guard lock(state.mutex);
    if (state.quiets++ == 0 && state.user >= 0) Redirect(state.nowhere);
}

QuietStderr::~QuietStderr() {
    auto& state = TheStderr();
    const std::lock_guard lock(state.mutex);
    if (--state.quiets == 0) Redirect(state.user);
}

int UserStderr() {
    return TheStderr().user;
}

}  // namespace nuvhost
