// Handlers of the commands that set up the effect, set up and end its instances, and describe it to the user. Each
// runs on the host's thread and keeps no state. It returns the code for the host, or throws it as an int. If the
// host gives no record for the answer, only a command that would write into it fails, with
// PF_Err_BAD_CALLBACK_PARAM.
#pragma once

#include "pf_data.h"

namespace nuv {

// Declares the effect's version and capabilities. In the editing host it also declares 8-bit BGRA as the only pixel
// format. Always returns PF_Err_NONE.
PF_Err GlobalSetup(PF_InData* inData, PF_OutData* outData);

// The sequence data of an instance are 4 bytes in a handle of the host. They hold a 32-bit 0, which the effect
// never reads. SequenceSetup makes the handle, or resizes the one that the host passes. SequenceResetup makes it
// only if the host passes none. SequenceSetdown frees it. If the host has no memory for a new handle, the result is
// PF_Err_INTERNAL_STRUCT_DAMAGED, with a message for the user.
PF_Err SequenceSetup(PF_InData* inData, PF_OutData* outData);
PF_Err SequenceResetup(PF_InData* inData, PF_OutData* outData);
PF_Err SequenceSetdown(PF_InData* inData, PF_OutData* outData);

// Writes the effect's name and version into the message that the compositing host shows. Writes nothing in the
// editing host. Throws the int PF_Err_BAD_CALLBACK_PARAM if the compositing host has no ANSI suite.
PF_Err About(PF_InData* inData, PF_OutData* outData);

}  // namespace nuv
