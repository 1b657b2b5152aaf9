// Faults that only show in the newer of the two hosts in which checks ask. Checks that ask only in the older one do
// not see them.
#pragma once

#include "control.h"

namespace broken {

inline bool InNewerHost(const MainCall& c) {
    return c.inData != nullptr && c.inData->version.minor == signs::kNewerHost.minor;
}
inline bool InNewerHost(const MainCall& c, PF_Cmd cmd) {
    return c.cmd == cmd && InNewerHost(c);
}
inline bool InEditor(const MainCall& c) {
    return c.inData != nullptr && c.inData->appl_id == kAppIdEditor;
}

// Passes the command on. If it is `cmd`, then runs the fault on its records.
template <PF_Cmd cmd, auto fault>
PF_Err After(MainCall& c) {
    const PF_Err result = Effect(c);
    if (InNewerHost(c, cmd)) fault(c);
    return result;
}

// Faults for After.
inline void WriteAWidth(MainCall& c) {
    c.outData->width = 1;
}
inline void KeepAHandle(MainCall& c) {
    c.inData->utils->host_new_handle(64);
}

// Passes the command on. If it is `cmd`, then returns an error.
template <PF_Cmd cmd>
PF_Err Refuses(MainCall& c) {
    const PF_Err result = Effect(c);
    return InNewerHost(c, cmd) ? PF_Err_OUT_OF_MEMORY : result;
}

}  // namespace broken
