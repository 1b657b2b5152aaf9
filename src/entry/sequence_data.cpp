#include <cstring>

#include "entry/lifecycle.h"
#include "host/host_call.h"
#include "host/require.h"

namespace nuv {
namespace {

using SequenceBlock = std::uint32_t;  // always 0; without pointers, so hosts can save the block as it is

PF_Err MakeBlock(PF_InData* inData, PF_OutData* outData) {
    Require(outData);
    const PF_UtilCallbacks& utilities = UtilitiesOf(inData);
    const PF_Handle block = CallHost(utilities.host_new_handle, sizeof(SequenceBlock));
    outData->sequence_data = block;
    if (block == nullptr) {
        CallHost(utilities.ansi.strcpy, outData->return_msg, "Internal Error");
        outData->out_flags |= static_cast<std::int32_t>(PF_OutFlag_DISPLAY_ERROR_MESSAGE);
        return PF_Err_INTERNAL_STRUCT_DAMAGED;
    }
    outData->flat_sdata_size = sizeof(SequenceBlock);
    const SequenceBlock initial = 0;
    std::memcpy(*block, &initial, sizeof initial);
    return PF_Err_NONE;
}

// Ignores whether the host could resize the block: the effect never reads it.
void BringToSize(PF_InData* inData) {
    const PF_UtilCallbacks& utilities = UtilitiesOf(inData);
    if (CallHost(utilities.host_get_handle_size, inData->sequence_data) == sizeof(SequenceBlock)) return;
    CallHost(utilities.host_resize_handle, sizeof(SequenceBlock), &inData->sequence_data);
}

}  // namespace

PF_Err SequenceSetup(PF_InData* inData, PF_OutData* outData) {
    if (inData->sequence_data == nullptr) return MakeBlock(inData, outData);
    BringToSize(inData);
    return PF_Err_NONE;
}

// Leaves a block that the host passes as it is, whatever its size.
PF_Err SequenceResetup(PF_InData* inData, PF_OutData* outData) {
    if (inData->sequence_data != nullptr) return PF_Err_NONE;
    return MakeBlock(inData, outData);
}

PF_Err SequenceSetdown(PF_InData* inData, PF_OutData* outData) {
    if (inData->sequence_data == nullptr) return PF_Err_NONE;
    Require(outData);
    BringToSize(inData);  // so that the host sees a block of the right size when the effect frees it
    CallHost(inData->utils->host_dispose_handle, inData->sequence_data);
    outData->sequence_data = nullptr;
    inData->sequence_data = nullptr;
    return PF_Err_NONE;
}

}  // namespace nuv
