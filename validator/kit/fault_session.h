// Runs whole sessions, from the scan to global set-down, in which a callback fails.
#pragma once

#include <string>
#include <vector>

#include "validator/kit/fault_points.h"

namespace validator::faults {

struct Sent {
    std::string command;
    PF_Err code;
    bool data;  // whether the effect has given the host data, for the instance or for the session
};

struct SessionOutcome {
    std::vector<Sent> sent;  // the set-up and set-down commands
    // What is wrong with the frame of each instance, or with the set-up of the instance if its retry also fails.
    Lines frames;
    Lines kept, misuse;  // sorted, without lines that also appear if nothing fails

    bool Failed() const;  // whether any command failed
};

// Runs the same session again and again. The host makes one instance, and loads another one from a project that has
// no data for it. Each renders a frame before it is set down. If set-up of the effect fails, the session ends. If
// set-up of an instance fails, the host tries it once more.
class SessionBench {
public:
    static constexpr signs::Size kSize{5, 3};

    // Runs a session in which no callback fails. Ends the check if a command fails nevertheless.
    explicit SessionBench(Context& context);

    refhost::Host& host() { return host_; }
    const SessionOutcome& clean() const { return clean_; }
    // The callbacks of all commands except the render commands.
    const std::vector<refhost::CallRecord>& calls() const { return calls_; }

    // Takes back what the effect has kept and runs a session. `faults` applies to all commands except the
    // render commands and retries.
    SessionOutcome Run(const refhost::FaultPlan& faults = nullptr);
    // Runs another session without faults. Empty if it is like the first.
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
