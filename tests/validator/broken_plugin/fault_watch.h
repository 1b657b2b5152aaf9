// Notices what fails in the host while the effect runs a command, for hooks that react to it wrongly.
#pragma once

#include "control.h"
#include "pf_smart_render.h"

namespace broken {

enum Seen : unsigned {
    suiteRefused = 1u << 0,
    suiteNull = 1u << 1,
    handleNull = 1u << 2,
    lockNull = 1u << 3,
    parameterOut = 1u << 4,
    parameterIn = 1u << 5,
    layerOut = 1u << 6,
    outputOut = 1u << 7,
    rowStopped = 1u << 8,
    aborted = 1u << 9,
    formatUnknown = 1u << 10,
    worldRefused = 1u << 11,
    parameterRefused = 1u << 12,
    formatRefused = 1u << 13,
    releaseRefused = 1u << 14,
    nullLocked = 1u << 15,  // the effect locked a null handle
};

// Stands between host and effect for one command, as OwnRecords does. Only one may live in the process at a time,
// and only the command's thread may call its callbacks.
class FaultWatch {
public:
    explicit FaultWatch(MainCall& command);

    bool Saw(unsigned any) const;

private:
    OwnRecords own_;
    PF_PreRenderExtra preRender_{};
    PF_PreRenderCallbacks preRenderCallbacks_{};
    PF_SmartRenderExtra smartRender_{};
    PF_SmartRenderCallbacks smartRenderCallbacks_{};
};

}  // namespace broken
