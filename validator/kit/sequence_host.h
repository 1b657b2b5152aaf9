// What the checks of sequence data share.
#pragma once

#include "validator/kit/interview.h"

namespace validator::sequence {

using Bytes = std::vector<std::byte>;

// Asks in hosts of each version that have set the effect up.
template <typename Ask>
void InEachHost(Context& context, Ask ask) {
    InEachVersion(context, [&](Interview& host) {
        host.SetUp();
        host.host.account().Reclaim();
        ask(host);
    });
}

// With an instance, if the effect keeps any data in one.
template <typename Ask>
void WithBlock(Context& context, Ask ask) {
    InEachHost(context, [&](Interview& host) {
        PF_Handle block = nullptr;
        host.Send(PF_Cmd_SEQUENCE_SETUP, &block);
        host.RequireBlock(block);
        ask(host, block);
    });
}

inline std::string In(const Interview& host) {
    return "in a " + host.Name() + " ";
}

inline void ExpectCode(Context& context, const Interview& host, PF_Err code) {
    context.Expect(code == PF_Err_NONE, In(host) + "it gives code " + std::to_string(code));
}

inline void ExpectWellUsed(Context& context, Interview& host) {
    context.ExpectNone(host.host.account().Misuse(), "misuse");
}

// What a host saves: the block after the flatten command, which is sent even if the effect has not asked for it.
inline Bytes Saved(Interview& host, PF_Handle& block) {
    host.Send(PF_Cmd_SEQUENCE_FLATTEN, &block);
    return host.Bytes(block);
}

inline void EndInstance(Context& context, Interview& host, PF_Handle block) {
    host.Send(PF_Cmd_SEQUENCE_SETDOWN, &block);
    context.ExpectNone(host.host.account().Outstanding(), In(host) + "set-down leaves");
    context.Expect(block == nullptr, In(host) + "set-down leaves the block");
    ExpectWellUsed(context, host);
}

}  // namespace validator::sequence
