// Which suites the table has, in which order.
#include "suite_fixture.h"

namespace {

using namespace protocol;
using nuv::kSuiteReleaseOrder;

using SuiteTable = Suites;

constexpr std::size_t kEntries = kSuiteReleaseOrder.size();

TEST_F(SuiteTable, HasTheseSuitesInThisOrder) {
    Lines table;
    for (std::size_t entry = 0; entry < kEntries; ++entry)
        table.push_back(TitleOf(entry));
    EXPECT_EQ(table, ReleaseOrder());
}

TEST_F(SuiteTable, Has137EntriesAndRepeatsTwoSuites) {
    EXPECT_EQ(kEntries, 137u);
    EXPECT_EQ(ReleaseOrder().size(), 137u);
    Lines doubled;
    for (std::size_t entry = 0; entry < kEntries; ++entry) {
        const auto last = ReleaseOrder().begin() + static_cast<std::ptrdiff_t>(entry);
        if (std::find(ReleaseOrder().begin(), last, TitleOf(entry)) != last) doubled.push_back(TitleOf(entry));
    }
    EXPECT_EQ(doubled, (Lines{"AEGP Math Suite 1", "PF AE Adv Time Suite 4"}));
}

}  // namespace
