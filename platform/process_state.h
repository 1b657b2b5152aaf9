// Settings that all code of a process or of a thread shares, as texts to be compared before and after.
#pragma once

#include <string>

namespace platform {

// Of the process.
std::string LocaleName();  // of all categories
std::string WorkingFolder();
std::string CrashHandlers();

// Of the calling thread.
std::string FloatState();  // rounding, flushing and masks
std::string ThreadName();  // empty where the system has none
std::string ThreadPriority();
std::string ThreadAffinity();

}  // namespace platform
