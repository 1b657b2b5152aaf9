#include "render/parameter_copies.h"

#include <utility>

#include "engine/plain_floats.h"
#include "host/host_call.h"

namespace nuv {
namespace {

std::int32_t WholePixels(PF_Fixed value) {
    return value >> 16;
}

// Returns popup - 1. The subtraction is unsigned, so that it cannot overflow. The smallest value becomes the
// largest.
std::int32_t ZeroBased(std::int32_t popup) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(popup) - 1u);
}

}  // namespace

// Delegates to another constructor: the destructor then runs even if this body throws, and checks in the parameters
// that are already checked out.
ParameterCopies::ParameterCopies(PF_InData* inData) : ParameterCopies(inData, NothingYet{}) {
    for (std::int32_t index = PARAM_FRAME_CENTER; index < PARAM_COUNT; ++index) {
        auto& copy = copies_[static_cast<std::size_t>(index - PARAM_FRAME_CENTER)];
        copy = std::make_unique<PF_ParamDef>();
        const PF_Err error = CallHost(inData->inter.checkout_param, inData->effect_ref, index, inData->current_time,
                                      inData->time_step, inData->time_scale, copy.get());
        if (error != PF_Err_NONE) *copy = {};  // the host may have written a part of it
    }
}

ParameterCopies::~ParameterCopies() {
    for (const auto& copy : copies_) {
        if (copy != nullptr) GiveBackToHost(inData_->inter.checkin_param, inData_->effect_ref, copy.get());
    }
}

const PF_ParamDefUnion& ParameterCopies::Value(std::int32_t index) const {
    return copies_[static_cast<std::size_t>(index - PARAM_FRAME_CENTER)]->u;
}

void ParameterCopies::Fill(RenderData& job) const {
    const PlainFloats floats;
    job.centerX = WholePixels(Value(PARAM_FRAME_CENTER).td.x_value);
    job.centerY = WholePixels(Value(PARAM_FRAME_CENTER).td.y_value);
    job.mode = ZeroBased(Value(PARAM_MODE).pd.value);
    job.scaling = ZeroBased(Value(PARAM_SCALING).pd.value);
    job.amount = static_cast<float>(Value(PARAM_AMOUNT).fs_d.value);
    job.show = ZeroBased(Value(PARAM_SHOW).pd.value);
}

PF_Err ParameterCopies::CheckIn(PF_Err result) {
    for (auto& held : copies_) {
        const auto copy = std::move(held);
        const PF_Err error = CallHost(inData_->inter.checkin_param, inData_->effect_ref, copy.get());
        if (result == PF_Err_NONE) result = error;
    }
    return result;
}

}  // namespace nuv
