// The effect's parameter values at the time of the frame.
#pragma once

#include <array>
#include <memory>

#include "engine/kernels/render_data.h"
#include "params/params.h"

namespace nuv {

// Checks out parameters 1 to 5 at current_time, in order, and owns the copies. Each is checked in exactly once: by
// CheckIn, or by the destructor if an exception ends the command earlier. Use it on the command's thread only.
class ParameterCopies {
public:
    // If the host refuses a check-out, the record of that parameter is all zero, and the frame is still rendered.
    // Throws std::bad_alloc.
    explicit ParameterCopies(PF_InData* inData);
    ~ParameterCopies();
    ParameterCopies(const ParameterCopies&) = delete;
    ParameterCopies& operator=(const ParameterCopies&) = delete;

    // Writes the job's centre, mode, scaling, amount and show. The centre is rounded toward minus infinity, to
    // whole pixels. Choices count from 1 in the host and from 0 in the job, so a menu that the host left at 0
    // becomes -1.
    void Fill(RenderData& job) const;

    // Checks in all parameters in order, and frees the copies. Call it at most once. Returns `result` if that is an
    // error, otherwise the first error of a check-in.
    PF_Err CheckIn(PF_Err result);

private:
    struct NothingYet {};
    ParameterCopies(PF_InData* inData, NothingYet) : inData_(inData) {}

    const PF_ParamDefUnion& Value(std::int32_t index) const;

    PF_InData* inData_;
    std::array<std::unique_ptr<PF_ParamDef>, PARAM_COUNT - 1> copies_;  // null: not checked out, or checked in
};

}  // namespace nuv
