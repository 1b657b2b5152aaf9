// What the host has given to the effect, and what the effect did wrong with it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "reference_host/calls.h"

namespace refhost {

// Lists what the effect still holds, what it misused, and which callbacks it made. Thread-safe.
class Account {
public:
    Account();

    // One line for each thing that the effect has not given back. Sorted. Empty when nothing is missing.
    //   suite "PF World Suite" 2: acquired 1, released 0      (also if it was released more often than acquired)
    //   handle of 8 bytes
    //   handle of 8 bytes, locked
    //   the host's handle of 8 bytes, locked
    //   parameter 3: checked out
    //   world of 1 x 7 pixels
    // The host owns sequence, global and pre-render data once the effect has handed them over, and the handles of
    // Host::NewHandle. Those are listed only while they are locked.
    std::vector<std::string> Outstanding() const;
    // One sentence for each misuse seen so far. For example, the effect unlocks what is not locked, gives back what
    // it never got, checks in what it did not check out, makes a callback on a thread or in a command where the
    // callback is not allowed, writes outside a handle's block, lets an exception escape, or answers with
    // rectangles that break the host's rules.
    std::vector<std::string> Misuse() const;
    // The suites that the effect has asked for and that this host does not have: "PF Iterate16 Suite" 1. Sorted.
    std::vector<std::string> MissingSuites() const;
    std::vector<CallRecord> Calls() const;  // in order; empty unless HostOptions::recordCalls is set
    std::int64_t Count(Call call) const;
    // Forgets calls, counts and misuse, but not what the effect still holds.
    void Reset();
    // Does what Reset does. It also takes back by force what the effect still holds, and frees the effect's
    // handles, as a host does when it ends.
    void Reclaim();

    struct State;

private:
    friend class Host;
    std::shared_ptr<State> state_;
};

}  // namespace refhost
