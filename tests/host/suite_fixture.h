// What the tests of the suites share: the expected order of release, and a basic suite that gives every suite.
#pragma once

#include <array>

#include "host/suite_table.h"
#include "support/protocol_support.h"

namespace protocol {

// The order in which the handler must release the suites. It is written out here, apart from the effect's own
// table.
inline const Lines& ReleaseOrder() {
    static const Lines order = [] {
        const std::vector<std::pair<const char*, std::vector<int>>> table = {
            {"AEGP Marker Suite", {1, 2, 3}},
            {"AEGP Layer Suite", {8, 10}},
            {"AEGP Stream Suite", {10, 9, 8, 7, 4}},
            {"AEGP Dynamic Stream Suite", {2, 3, 5}},
            {"AEGP Keyframe Suite", {4, 3, 1}},
            {"AEGP Comp Suite", {9, 11, 14, 15, 18, 19, 21, 25}},
            {"AEGP Canvas Suite", {10, 11, 13, 14}},
            {"AEGP Camera Suite", {2}},
            {"AEGP Register Suite", {6}},
            {"AEGP Item View Suite", {1}},
            {"AEGP Item Suite", {13, 11, 10, 7, 3}},
            {"AEGP PF Interface Suite", {1}},
            {"AEGP Math Suite", {1}},
            {"PF AE Adv Time Suite", {4}},
            {"PF Path Query Suite", {1}},
            {"AEGP Memory Suite", {1}},
            {"PF Path Data Suite", {1}},
            {"PF Param Utils Suite", {3}},
            {"PF AE App Suite", {6, 7, 1}},
            {"PF AE Adv App Suite", {2}},
            {"AEGP Light Suite", {1, 2}},
            {"AEGP Effect Suite", {1, 2, 3, 4}},
            {"AEGP Layer Mask Suite", {5}},
            {"AEGP Mask Outline Suite", {2, 3, 5}},
            {"AEGP Command Suite", {1}},
            {"AEGP Utility Suite", {7}},
            {"AEGP Render Suite", {1, 2, 3, 5, 8}},
            {"PF ANSI Suite", {1}},
            {"PF Handle Suite", {2}},
            {"PF Fill Matte Suite", {2}},
            {"PF World Transform Suite", {1}},
            {"AEGP QueryXform Suite", {4}},
            {"AEGP Composite Suite", {4}},
            {"PF World Suite", {1}},
            {"AEGP IO In Suite", {5}},
            {"AEGP IO Out Suite", {7}},
            {"AEGP Render Queue Suite", {1}},
            {"AEGP Render Queue Item Suite", {3}},
            {"AEGP Output Module Suite", {4}},
            {"AEGP File Import Manager Suite", {3}},
            {"AEGP Math Suite", {1}},
            {"PF AE Adv Time Suite", {4}},
            {"PF Sampling8 Suite", {1}},
            {"PF Sampling16 Suite", {1}},
            {"PF Iterate8 Suite", {1}},
            {"PF iterate16 Suite", {1}},
            {"PF iterateFloat Suite", {1}},
            {"PF Iterate8 Suite", {2}},
            {"PF iterate16 Suite", {2}},
            {"PF iterateFloat Suite", {2}},
            {"AEGP Collection Suite", {2}},
            {"AEGP Text Document Suite", {1}},
            {"AEGP Sound Data Suite", {1}},
            {"AEGP Text Layer Suite", {1}},
            {"AEGP Artisan Util Suite", {1}},
            {"AEGP World Suite", {2, 3}},
            {"AEGP Render Options Suite", {1}},
            {"AEGP Tracker Suite", {1}},
            {"AEGP Tracker Utility Suite", {1}},
            {"AE Plugin Helper Suite2", {2}},
            {"AEGP Layer Suite", {11, 12, 13, 14}},
            {"PF AE Adv Item Suite", {1}},
            {"AEGP Layer Suite", {5}},
            {"AEGP Layer Mask Suite", {2, 6, 7}},
            {"AEGP Comp Suite", {4}},
            {"AEGP Collection Suite", {1}},
            {"PF AE Adv App Suite", {1}},
            {"AEGP Utility Suite", {3}},
            {"AEGP Render Options Suite", {2}},
            {"AEGP Layer Render Options Suite", {1, 2}},
            {"AEGP Render Asyc Manager Suite", {1}},
            {"AEGP Proj Suite", {8, 9}},
            {"AEGP Footage Suite", {11}},
            {"AEGP Render Queue Item Suite", {4}},
            {"AEGP Utility Suite", {10}},
            {"AEGP Persistent Data Suite", {4, 3}},
            {"PF Color Settings Suite", {4, 3, 1}},
            {"PF ColorParamSuite", {1}},
            {"PF SamplingFloat Suite", {1}},
            {"AEGP Utility Suite", {11, 13}},
            {"PF Effect Custom UI Suite", {1, 2}},
            {"PF Effect Custom UI Overlay Theme Suite", {1}},
            {"DRAWBOT Draw Suite", {1}},
            {"DRAWBOT Supplier Suite", {1}},
            {"DRAWBOT Surface Suite", {2}},
            {"DRAWBOT Path Suite", {1}},
            {"SP Suites Suite", {2}},
        };
        Lines lines;
        for (const auto& [name, versions] : table) {
            for (const int version : versions)
                lines.push_back(name + (" " + std::to_string(version)));
        }
        return lines;
    }();
    return order;
}

inline std::string TitleOf(std::size_t entry) {
    return nuv::kSuiteReleaseOrder[entry].name + (" " + std::to_string(nuv::kSuiteReleaseOrder[entry].version));
}

// Has a basic suite that gives every suite of the table. Each suite has a pointer of its own.
class Suites : public testing::Test {
protected:
    Suites() {
        basic.onAcquire = [this](const std::string& name, std::int32_t version) {
            return FakeBasic::Answer{0, PointerOf(name + " " + std::to_string(version))};
        };
    }

    const void* PointerOf(const std::string& title) {
        const auto place = std::ranges::find(ReleaseOrder(), title);
        return &tables[static_cast<std::size_t>(place - ReleaseOrder().begin())];
    }

    static int CodeThrownBy(const std::function<void()>& action) {
        try {
            action();
        } catch (int code) {
            return code;
        }
        return 0;
    }

    FakeBasic basic;
    std::array<char, nuv::kSuiteReleaseOrder.size() + 1> tables{};
};

}  // namespace protocol
