// What faults do to their process and its threads. Each system has its own way, in linux/ and windows/.
#pragma once

#include <string>

namespace broken {

void SetVariable(const char* name, const std::string& value);  // of the environment

void StayLoaded();
void LeaveHandleOpen();
void TakeCrashHandler();
// Starts a thread that does not end. It runs code of the system only, because the library may be unloaded while it
// runs.
void LeaveThread();

// The calling thread.
void RenameThread();
void ChangePriority();    // to another one, whatever priority the thread has
void TakeOneProcessor();  // the thread then runs on that one only

}  // namespace broken
