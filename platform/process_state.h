// Settings that all code of a process, or of a thread, shares. They are given as texts, so that a check can compare
// them before and after a call.
#pragma once

#include <string>

namespace platform {

// Settings of the process.
std::string LocaleName();  // of all categories
std::string WorkingFolder();
std::string CrashHandlers();

// Settings of the calling thread.
std::string FloatState();  // rounding, flushing and masks
std::string ThreadName();  // empty where the system has none
std::string ThreadPriority();
std::string ThreadAffinity();

}  // namespace platform
