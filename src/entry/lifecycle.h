// Handlers of the commands that frame an effect's life. Each runs on the host's thread, keeps no state, and
// returns the code for the host; a thrown int is a code as well.
#pragma once

#include "pf_data.h"

namespace nuv {

// Declares version and capabilities; in the editing host 8-bit BGRA only. Always PF_Err_NONE.
PF_Err GlobalSetup(PF_InData* inData, PF_OutData* outData);

// Every instance owns a host handle of 4 bytes holding a 32-bit 0, so that its sequence data has a fixed, known
// size. Without memory for it: PF_Err_INTERNAL_STRUCT_DAMAGED and a message.
PF_Err SequenceSetup(PF_InData* inData, PF_OutData* outData);
PF_Err SequenceResetup(PF_InData* inData, PF_OutData* outData);
PF_Err SequenceSetdown(PF_InData* inData, PF_OutData* outData);

// Writes name and version into the message that the compositing host shows; nothing in the editing host. Throws
// PF_Err_BAD_CALLBACK_PARAM when the host has no ANSI suite.
PF_Err About(PF_InData* inData, PF_OutData* outData);

}  // namespace nuv
