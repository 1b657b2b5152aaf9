// What a process holds, and the settings that all of its code shares: to be compared before and after.
#pragma once

#include <cstdint>
#include <string>

#include "validator/check.h"

namespace validator {

std::int64_t HeapBytesInUse();  // all heaps of the C runtime
// Ends the check in a build whose heap is a sanitizer's, which the C runtime knows nothing of.
void RequireHeapCount(Context& context);
std::int64_t OpenHandles();      // file descriptors on Linux
std::int64_t MemoryAvailable();  // bytes that the machine can give before it has to swap
int ProcessorCount();            // those that this process may run on
int ThreadCount();
// How many threads there are beyond `before`. Threads that are just ending get two seconds for it: the system may
// list one that has been joined.
int ThreadsBeyond(int before);

std::string FloatState();  // rounding, flushing and masks of the calling thread, as text
// Of the calling thread, as text. The name is empty where the system has none.
std::string ThreadName();
std::string ThreadPriority();
std::string ThreadAffinity();
std::string LocaleName();  // of all categories
std::string WorkingFolder();
std::string CrashHandlers();  // who is told of a crash, as text

}  // namespace validator
