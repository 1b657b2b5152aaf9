// The effect's parameter values at the time of the frame.
#pragma once

#include <array>
#include <memory>

#include "engine/kernels/render_data.h"
#include "params/params.h"

namespace nuv {

// Checks out parameters 1 to 5 at current_time, in order, and owns the copies. Each is checked in exactly once:
// by CheckIn, or by the destructor when an exception takes another way out. Command thread only.
class ParameterCopies {
public:
    // A check-out that the host refuses leaves that parameter all zero; the frame is rendered nevertheless.
    // Throws std::bad_alloc.
    explicit ParameterCopies(PF_InData* inData);
    ~ParameterCopies();
    ParameterCopies(const ParameterCopies&) = delete;
    ParameterCopies& operator=(const ParameterCopies&) = delete;

    // Writes centre, mode, scaling, amount and show. Points lose their fraction toward minus infinity; popups
    // count from 0 in the job, so one that the host left at 0 becomes -1.
    void Fill(RenderData& job) const;

    // Checks all in, in order, and frees them; once at most. Returns `result`, or the first error if `result` is
    // PF_Err_NONE.
    PF_Err CheckIn(PF_Err result);

private:
    struct NothingYet {};
    ParameterCopies(PF_InData* inData, NothingYet) : inData_(inData) {}

    const PF_ParamDefUnion& Value(std::int32_t index) const;

    PF_InData* inData_;
    std::array<std::unique_ptr<PF_ParamDef>, PARAM_COUNT - 1> copies_;  // null: not checked out, or checked in
};

}  // namespace nuv
