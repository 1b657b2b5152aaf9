// A smart or plain render. The test may change the host's record before the effect gets it.
#pragma once

#include "support/protocol_support.h"

namespace protocol {

class Render : public testing::TestWithParam<RenderPath> {
protected:
    PF_Err Go() { return scene.Render(GetParam()); }
    std::vector<std::byte> Clean() { return scene.CleanPicture(GetParam()); }
    PF_Cmd Command() const { return GetParam() == RenderPath::smart ? PF_Cmd_SMART_RENDER : PF_Cmd_RENDER; }

    // Calls `alter` with the record of the render command before the effect gets it.
    void BeforeTheEffect(std::function<void(PF_InData&)> alter) {
        Between::change = [cmd = Command(), alter](PF_Cmd sent, PF_InData& inData, void*) {
            if (sent == cmd) alter(inData);
        };
    }

    // The calls of the last render that are check-ins.
    Lines Checkins() {
        Lines checkins = scene.Calls();
        std::erase_if(checkins, [](const std::string& line) { return !line.starts_with("checkin_param"); });
        return checkins;
    }

    void ExpectAllCheckedIn() {
        EXPECT_EQ(Checkins(), (Lines{"checkin_param 1", "checkin_param 2", "checkin_param 3", "checkin_param 4",
                                     "checkin_param 5"}));
        EXPECT_EQ(scene.Outstanding(), Lines());
    }

    ~Render() override { Between::change = nullptr; }

    HostedScene scene{InOrder(), Between::Put(Binary())};
};

}  // namespace protocol
