// Prevents picture libraries from writing to standard error.
#pragma once

namespace nuvhost {

// While at least one object of this class exists, on any thread, the standard error of the whole process is
// discarded. libpng and others print errors there that they also report to their caller, but the tool must print a
// single line.
class QuietStderr {
public:
    QuietStderr();
    ~QuietStderr();
    QuietStderr(const QuietStderr&) = delete;
    QuietStderr& operator=(const QuietStderr&) = delete;
};

// The descriptor of the real standard error, also while it is discarded. Any thread.
int UserStderr();

}  // namespace nuvhost
