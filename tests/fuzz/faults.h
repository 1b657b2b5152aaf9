// Callbacks of the host that fail, throw or lie when a fuzzer's input says so, and a thread that does not start.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <vector>

#include "fuzz_input.h"
#include "reference_host/host.h"
#include "seams.h"

namespace fuzz {

class Faults {
public:
    // Replaces the plan: reads up to three faults, and which thread does not start.
    void Plan(FuzzInput& input) {
        plan_.resize(static_cast<std::size_t>(input.Below(4)));
        for (PlannedFault& fault : plan_) {
            fault.call = static_cast<refhost::Call>(input.Below(static_cast<int>(refhost::Call::formatString) + 1));
            fault.index = input.Below(20) - 1;
            constexpr Answer kAnswers[] = {Answer::code, Answer::code, Answer::throwNumber, Answer::throwObject};
            fault.answer = input.Pick(kAnswers);
            constexpr PF_Err kCodes[] = {77, PF_Interrupt_CANCEL, PF_Err_OUT_OF_MEMORY, 1, -1, 0};
            fault.code = input.Pick(kCodes);
        }
        RefuseThread(std::max(input.Below(40) - 20, 0));
    }

    bool empty() const { return plan_.empty(); }

    std::optional<PF_Err> Decide(const refhost::CallRecord& record) {
        for (const PlannedFault& fault : plan_) {
            if (fault.call != record.call || (fault.index >= 0 && fault.index != record.index)) continue;
            fired_ |= Bit(record.call);
            if (fault.code == 0 || fault.answer != Answer::code) unruly_ = true;
            if (fault.answer == Answer::throwNumber) throw int{fault.code};
            if (fault.answer == Answer::throwObject) throw std::runtime_error("a host's own exception");
            return fault.code;
        }
        return std::nullopt;
    }

    // Whether a fault has happened since Forget.
    bool Fired() const { return fired_ != 0 || ThreadRefused(); }
    bool Fired(refhost::Call call) const { return (fired_ & Bit(call)) != 0; }
    // Whether a callback threw, or reported success without its work. The host's list of misuse is then unreliable.
    bool Unruly() const { return unruly_; }
    void Forget() {
        fired_ = 0;
        ForgetRefusal();
        unruly_ = false;
    }

private:
    enum class Answer { code, throwNumber, throwObject };
    struct PlannedFault {
        refhost::Call call;
        std::int64_t index;  // counts the calls of this kind since the last check, from 0; -1: every call
        Answer answer;
        PF_Err code;
    };

    static std::uint32_t Bit(refhost::Call call) { return std::uint32_t{1} << static_cast<unsigned>(call); }

    std::vector<PlannedFault> plan_;
    std::atomic<std::uint32_t> fired_{0};
    std::atomic<bool> unruly_{false};
};

}  // namespace fuzz
