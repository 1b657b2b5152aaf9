// A host with one effect, to which a test sends commands with records of its own.
#pragma once

#include "support/protocol_support.h"

namespace protocol {

class Lifecycle : public testing::Test {
protected:
    void UsePersonality(refhost::Personality personality) { host.options().personality = personality; }

    PF_Err Send(PF_Cmd cmd) { return host.Send(cmd, &inData, &outData); }

    // Makes the records of the next command: the host's input, and a poisoned output for the effect to write to.
    void Prepare() {
        inData = host.InData();
        outData = PoisonedOutData();
        host.account().Reset();
    }

    Lines Calls() { return CallsOf(host.account()); }

    void ExpectBalanced() {
        EXPECT_EQ(host.account().Outstanding(), Lines());
        EXPECT_EQ(host.account().Misuse(), Lines());
    }

    refhost::Host host{Binary(), InOrder()};
    PF_InData inData{};
    PF_OutData outData{};
};

}  // namespace protocol
