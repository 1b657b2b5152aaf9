// What becomes of a whole session, from the scan to global set-down, in which something fails.
#pragma once

#include <string>
#include <vector>

#include "validator/kit/fault_points.h"

namespace validator::faults {

struct Sent {
    std::string command;
    PF_Err code;
    bool data;  // whether the host has data of the effect's afterwards, for the instance or for the session
};

struct SessionOutcome {
    std::vector<Sent> sent;  // set-up commands, and their opposites
    // For each instance what is wrong with its frame, with that of a retried set-up, or with the retry.
    Lines frames;
    Lines kept, misuse;  // sorted; and not if nothing fails

    bool Failed() const;  // whether any command did
};

// Sets the effect up again and again. In each session an instance is made, and one is taken from a project that has
// kept no data for it; each renders a frame before it is set down. A host goes no further with an effect whose
// set-up fails. An instance whose set-up fails is set up once more.
class SessionBench {
public:
    static constexpr signs::Size kSize{5, 3};

    // Runs a session in which nothing fails; ends the check if the effect does.
    explicit SessionBench(Context& context);

    refhost::Host& host() { return host_; }
    const SessionOutcome& clean() const { return clean_; }
    // The callbacks of all commands but the frames'.
    const std::vector<refhost::CallRecord>& calls() const { return calls_; }

    // Takes back what the effect has kept. `faults` holds in all commands but the frames and what is retried.
    SessionOutcome Run(const refhost::FaultPlan& faults = nullptr);
    // Runs another session: empty if it is like the first.
    Lines NextIsRight();

private:
    bool Send(SessionOutcome& outcome, const char* command, PF_Err code,
              const refhost::Instance* instance = nullptr);
    void RunInstance(SessionOutcome& outcome, bool made);
    void RunFrame(SessionOutcome& outcome, refhost::Instance& instance, const std::string& whose);

    RenderPath path_ = RenderPath::plain;
    PF_PixelFormat format_ = 0;
    refhost::Host host_;
    SessionOutcome clean_;
    std::vector<refhost::CallRecord> calls_;
    std::vector<std::byte> picture_;
    std::size_t parameters_ = 0;
};

}  // namespace validator::faults
