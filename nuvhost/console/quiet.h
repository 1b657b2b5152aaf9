// Keeps picture libraries from writing to standard error on their own.
#pragma once

namespace nuvhost {

// While any lives, on whichever thread, the whole process's standard error goes nowhere. libpng and others print
// there what they report to their caller as well, and the tool owes its user a single line.
class QuietStderr {
public:
    QuietStderr();
    ~QuietStderr();
    QuietStderr(const QuietStderr&) = delete;
    QuietStderr& operator=(const QuietStderr&) = delete;
};

// The descriptor of the user's standard error, quiet or not. Any thread.
int UserStderr();

}  // namespace nuvhost
