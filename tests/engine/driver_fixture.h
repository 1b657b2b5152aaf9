// A render in which a test stands between host and driver.
#pragma once

#include "support/protocol_support.h"

namespace protocol {

// A render in which the test stands between the host's basic suite and the effect. Both note their calls: the host
// those that it answers, and `basic` those that the test answers.
class Driver : public testing::Test {
protected:
    explicit Driver(const refhost::PluginLibrary& library = Binary()) : scene(InOrder(), Between::Put(library)) {
        basic.onAcquire = [this](const std::string& name, std::int32_t version) { return Acquire(name, version); };
        basic.onRelease = [this](const std::string& name, std::int32_t version) {
            return theirs->ReleaseSuite(name.c_str(), version);
        };
        Between::change = [this](PF_Cmd, PF_InData& inData, void*) {
            theirs = inData.pica_basicP;
            inData.pica_basicP = &basic.suite;
            if (change) change(inData);
        };
    }
    ~Driver() override { Between::change = nullptr; }

    // The host's own answer.
    FakeBasic::Answer Acquire(const std::string& name, std::int32_t version) const {
        const void* suite = nullptr;
        const std::int32_t code = theirs->AcquireSuite(name.c_str(), version, &suite);
        return {code, suite};
    }

    // Makes the host give this suite, but report an error.
    void GiveWithAnError(const std::string& suite) {
        basic.onAcquire = [this, suite](const std::string& name, std::int32_t version) {
            auto answer = Acquire(name, version);
            if (name == suite) answer.code = kFault;
            return answer;
        };
    }

    PF_Err Render() {
        basic.acquired.clear();
        basic.released.clear();
        return scene.Render(RenderPath::plain);
    }

    // The driver's own calls, without those about parameters.
    Lines DriversCalls() {
        Lines lines = scene.Calls();
        std::erase_if(lines, [](const std::string& line) { return line.find("_param") != std::string::npos; });
        return lines;
    }

    Lines CallsThatBegin(const std::string& with) {
        Lines lines = scene.Calls();
        std::erase_if(lines, [&](const std::string& line) { return !line.starts_with(with); });
        return lines;
    }

    FakeBasic basic;
    SPBasicSuite* theirs = nullptr;
    std::function<void(PF_InData&)> change;
    HostedScene scene;
};

class LinkedDriver : public Driver {
protected:
    LinkedDriver() : Driver(Linked()) {}
};

}  // namespace protocol
