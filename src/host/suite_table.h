// Every suite that HostSuiteHandler can acquire, in the order in which it releases them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace nuv {

// The name and version under which the host has a suite. The names are the host's, with its spelling mistakes.
struct SuiteId {
    const char* name;
    std::int32_t version;

    friend constexpr bool operator==(const SuiteId& a, const SuiteId& b) {
        return a.version == b.version && std::string_view(a.name) == b.name;
    }
};

inline constexpr std::array kSuiteReleaseOrder = std::to_array<SuiteId>({
    {"AEGP Marker Suite", 1},
    {"AEGP Marker Suite", 2},
    {"AEGP Marker Suite", 3},
    {"AEGP Layer Suite", 8},
    {"AEGP Layer Suite", 10},
    {"AEGP Stream Suite", 10},
    {"AEGP Stream Suite", 9},
    {"AEGP Stream Suite", 8},
    {"AEGP Stream Suite", 7},
    {"AEGP Stream Suite", 4},
    {"AEGP Dynamic Stream Suite", 2},
    {"AEGP Dynamic Stream Suite", 3},
    {"AEGP Dynamic Stream Suite", 5},
    {"AEGP Keyframe Suite", 4},
    {"AEGP Keyframe Suite", 3},
    {"AEGP Keyframe Suite", 1},
    {"AEGP Comp Suite", 9},
    {"AEGP Comp Suite", 11},
    {"AEGP Comp Suite", 14},
    {"AEGP Comp Suite", 15},
    {"AEGP Comp Suite", 18},
    {"AEGP Comp Suite", 19},
    {"AEGP Comp Suite", 21},
    {"AEGP Comp Suite", 25},
    {"AEGP Canvas Suite", 10},
    {"AEGP Canvas Suite", 11},
    {"AEGP Canvas Suite", 13},
    {"AEGP Canvas Suite", 14},
    {"AEGP Camera Suite", 2},
    {"AEGP Register Suite", 6},
    {"AEGP Item View Suite", 1},
    {"AEGP Item Suite", 13},
    {"AEGP Item Suite", 11},
    {"AEGP Item Suite", 10},
    {"AEGP Item Suite", 7},
    {"AEGP Item Suite", 3},
    {"AEGP PF Interface Suite", 1},
    {"AEGP Math Suite", 1},
    {"PF AE Adv Time Suite", 4},
    {"PF Path Query Suite", 1},
    {"AEGP Memory Suite", 1},
    {"PF Path Data Suite", 1},
    {"PF Param Utils Suite", 3},
    {"PF AE App Suite", 6},
    {"PF AE App Suite", 7},
    {"PF AE App Suite", 1},
    {"PF AE Adv App Suite", 2},
    {"AEGP Light Suite", 1},
    {"AEGP Light Suite", 2},
    {"AEGP Effect Suite", 1},
    {"AEGP Effect Suite", 2},
    {"AEGP Effect Suite", 3},
    {"AEGP Effect Suite", 4},
    {"AEGP Layer Mask Suite", 5},
    {"AEGP Mask Outline Suite", 2},
    {"AEGP Mask Outline Suite", 3},
    {"AEGP Mask Outline Suite", 5},
    {"AEGP Command Suite", 1},
    {"AEGP Utility Suite", 7},
    {"AEGP Render Suite", 1},
    {"AEGP Render Suite", 2},
    {"AEGP Render Suite", 3},
    {"AEGP Render Suite", 5},
    {"AEGP Render Suite", 8},
    {"PF ANSI Suite", 1},
    {"PF Handle Suite", 2},
    {"PF Fill Matte Suite", 2},
    {"PF World Transform Suite", 1},
    {"AEGP QueryXform Suite", 4},
    {"AEGP Composite Suite", 4},
    {"PF World Suite", 1},
    {"AEGP IO In Suite", 5},
    {"AEGP IO Out Suite", 7},
    {"AEGP Render Queue Suite", 1},
    {"AEGP Render Queue Item Suite", 3},
    {"AEGP Output Module Suite", 4},
    {"AEGP File Import Manager Suite", 3},
    {"AEGP Math Suite", 1},
    {"PF AE Adv Time Suite", 4},
    {"PF Sampling8 Suite", 1},
    {"PF Sampling16 Suite", 1},
    {"PF Iterate8 Suite", 1},
    {"PF iterate16 Suite", 1},
    {"PF iterateFloat Suite", 1},
    {"PF Iterate8 Suite", 2},
    {"PF iterate16 Suite", 2},
    {"PF iterateFloat Suite", 2},
    {"AEGP Collection Suite", 2},
    {"AEGP Text Document Suite", 1},
    {"AEGP Sound Data Suite", 1},
    {"AEGP Text Layer Suite", 1},
    {"AEGP Artisan Util Suite", 1},
    {"AEGP World Suite", 2},
    {"AEGP World Suite", 3},
    {"AEGP Render Options Suite", 1},
    {"AEGP Tracker Suite", 1},
    {"AEGP Tracker Utility Suite", 1},
    {"AE Plugin Helper Suite2", 2},
    {"AEGP Layer Suite", 11},
    {"AEGP Layer Suite", 12},
    {"AEGP Layer Suite", 13},
    {"AEGP Layer Suite", 14},
    {"PF AE Adv Item Suite", 1},
    {"AEGP Layer Suite", 5},
    {"AEGP Layer Mask Suite", 2},
    {"AEGP Layer Mask Suite", 6},
    {"AEGP Layer Mask Suite", 7},
    {"AEGP Comp Suite", 4},
    {"AEGP Collection Suite", 1},
    {"PF AE Adv App Suite", 1},
    {"AEGP Utility Suite", 3},
    {"AEGP Render Options Suite", 2},
    {"AEGP Layer Render Options Suite", 1},
    {"AEGP Layer Render Options Suite", 2},
    {"AEGP Render Asyc Manager Suite", 1},
    {"AEGP Proj Suite", 8},
    {"AEGP Proj Suite", 9},
    {"AEGP Footage Suite", 11},
    {"AEGP Render Queue Item Suite", 4},
    {"AEGP Utility Suite", 10},
    {"AEGP Persistent Data Suite", 4},
    {"AEGP Persistent Data Suite", 3},
    {"PF Color Settings Suite", 4},
    {"PF Color Settings Suite", 3},
    {"PF Color Settings Suite", 1},
    {"PF ColorParamSuite", 1},
    {"PF SamplingFloat Suite", 1},
    {"AEGP Utility Suite", 11},
    {"AEGP Utility Suite", 13},
    {"PF Effect Custom UI Suite", 1},
    {"PF Effect Custom UI Suite", 2},
    {"PF Effect Custom UI Overlay Theme Suite", 1},
    {"DRAWBOT Draw Suite", 1},
    {"DRAWBOT Supplier Suite", 1},
    {"DRAWBOT Surface Suite", 2},
    {"DRAWBOT Path Suite", 1},
    {"SP Suites Suite", 2},
});

// Returns the first place of the suite in the table, or the table's size if the suite is not in it.
constexpr std::size_t SuiteSlot(SuiteId id) {
    std::size_t slot = 0;
    while (slot < kSuiteReleaseOrder.size() && !(kSuiteReleaseOrder[slot] == id))
        ++slot;
    return slot;
}

// For each entry of the table, the first place of its suite. All entries of one suite share this slot.
inline constexpr auto kSuiteSlots = [] {
    std::array<std::size_t, kSuiteReleaseOrder.size()> slots{};
    for (std::size_t i = 0; i < slots.size(); ++i)
        slots[i] = SuiteSlot(kSuiteReleaseOrder[i]);
    return slots;
}();

// Two suites are in the table twice. Their entries share a slot, so such a suite is acquired once and released
// twice. Hosts see the order, the count and the repetitions, so these must not change.
static_assert(kSuiteReleaseOrder.size() == 137);
static_assert(kSuiteReleaseOrder.front() == SuiteId{"AEGP Marker Suite", 1});
static_assert(kSuiteReleaseOrder.back() == SuiteId{"SP Suites Suite", 2});
static_assert([] {
    std::size_t repeated = 0;
    for (std::size_t i = 0; i < kSuiteReleaseOrder.size(); ++i)
        repeated += kSuiteSlots[i] != i;
    return repeated;
}() == 2);
static_assert(kSuiteReleaseOrder[37] == SuiteId{"AEGP Math Suite", 1} &&
              kSuiteReleaseOrder[77] == kSuiteReleaseOrder[37]);
static_assert(kSuiteReleaseOrder[38] == SuiteId{"PF AE Adv Time Suite", 4} &&
              kSuiteReleaseOrder[78] == kSuiteReleaseOrder[38]);

}  // namespace nuv
