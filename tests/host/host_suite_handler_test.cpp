// Suites that HostSuiteHandler acquires when they are first asked for, and releases in the table's order.
#include "host/host_suite_handler.h"

#include <array>
#include <type_traits>

#include "suite_fixture.h"

namespace {

using namespace protocol;
using nuv::HostSuiteHandler;
using nuv::kSuiteReleaseOrder;

// A function for each entry of the table, which asks the handler for that entry's suite.
constexpr std::size_t kEntries = kSuiteReleaseOrder.size();

template <std::size_t entry>
constexpr auto NameOf() {
    constexpr std::string_view text = kSuiteReleaseOrder[entry].name;
    char literal[text.size() + 1]{};
    std::copy_n(text.data(), text.size(), literal);
    return nuv::SuiteName<text.size() + 1>(literal);
}

template <std::size_t entry>
const void* Ask(HostSuiteHandler& handler) {
    return handler.Suite<NameOf<entry>(), kSuiteReleaseOrder[entry].version>();
}

using Accessor = const void* (*)(HostSuiteHandler&);

constexpr auto kAccessors = []<std::size_t... entry>(std::index_sequence<entry...>) {
    return std::array<Accessor, sizeof...(entry)>{Ask<entry>...};
}
(std::make_index_sequence<kEntries>());

using SuiteHandler = Suites;

TEST_F(SuiteHandler, ReleasesNoSuiteThatWasNeverAskedFor) {
    { HostSuiteHandler handler(&basic.suite); }
    EXPECT_EQ(basic.acquired, Lines());
    EXPECT_EQ(basic.released, Lines());
}

TEST_F(SuiteHandler, AcquiresASuiteOnceHoweverOftenItIsAskedFor) {
    HostSuiteHandler handler(&basic.suite);
    const auto* first = handler.Suite<"PF Handle Suite", 2>();
    const auto* second = handler.Suite<"PF Handle Suite", 2>();
    EXPECT_EQ(first, PointerOf("PF Handle Suite 2"));
    EXPECT_EQ(second, first);
    EXPECT_EQ(basic.acquired, Lines{"PF Handle Suite 2"});
}

TEST_F(SuiteHandler, ReturnsEachSuiteAsItsOwnType) {
    HostSuiteHandler handler(&basic.suite);
    static_assert(std::is_same_v<decltype(handler.Suite<"PF ANSI Suite", 1>()), const PF_ANSICallbacksSuite1*>);
    static_assert(std::is_same_v<decltype(handler.Suite<"PF Handle Suite", 2>()), const PF_HandleSuite1*>);
    static_assert(std::is_same_v<decltype(handler.Suite<"PF Iterate8 Suite", 1>()), const PF_Iterate8Suite1*>);
    EXPECT_EQ((handler.Suite<"PF ANSI Suite", 1>()), PointerOf("PF ANSI Suite 1"));
    EXPECT_EQ((handler.Suite<"PF Iterate8 Suite", 1>()), PointerOf("PF Iterate8 Suite 1"));
}

TEST_F(SuiteHandler, HasAnAccessorForEveryEntry) {
    for (std::size_t entry = 0; entry < kEntries; ++entry) {
        HostSuiteHandler handler(&basic.suite);
        basic.acquired.clear();
        EXPECT_EQ(kAccessors[entry](handler), PointerOf(TitleOf(entry)));
        EXPECT_EQ(basic.acquired, Lines{TitleOf(entry)});
    }
}

TEST_F(SuiteHandler, ReleasesEverySuiteInTheTablesOrder) {
    {
        HostSuiteHandler handler(&basic.suite);
        for (auto accessor = kAccessors.rbegin(); accessor != kAccessors.rend(); ++accessor)
            (*accessor)(handler);
        EXPECT_EQ(basic.acquired.size(), 135u);
        EXPECT_EQ(basic.released, Lines());
    }
    EXPECT_EQ(basic.released, ReleaseOrder());
}

TEST_F(SuiteHandler, ReleasesASuiteAsOftenAsItIsInTheTable) {
    for (std::size_t entry = 0; entry < kEntries; ++entry) {
        basic.released.clear();
        {
            HostSuiteHandler handler(&basic.suite);
            kAccessors[entry](handler);
        }
        const auto title = TitleOf(entry);
        const bool twice = title == "AEGP Math Suite 1" || title == "PF AE Adv Time Suite 4";
        EXPECT_EQ(basic.released, Lines(twice ? 2 : 1, title));
    }
}

TEST_F(SuiteHandler, ReleasesARepeatedSuiteAtBothOfItsPlaces) {
    {
        HostSuiteHandler handler(&basic.suite);
        handler.Suite<"PF AE Adv Time Suite", 4>();
        handler.Suite<"PF Handle Suite", 2>();
        handler.Suite<"AEGP Math Suite", 1>();
    }
    EXPECT_EQ(basic.released, (Lines{"AEGP Math Suite 1", "PF AE Adv Time Suite 4", "PF Handle Suite 2",
                                     "AEGP Math Suite 1", "PF AE Adv Time Suite 4"}));
}

TEST_F(SuiteHandler, Throws516WithoutABasicSuite) {
    EXPECT_EQ(CodeThrownBy([] { HostSuiteHandler handler(nullptr); }), 516);
}

TEST_F(SuiteHandler, Throws516WhenTheHostSucceedsButGivesNothing) {
    basic.onAcquire = [](const std::string&, std::int32_t) { return FakeBasic::Answer{0, nullptr}; };
    HostSuiteHandler handler(&basic.suite);
    EXPECT_EQ(CodeThrownBy([&] { handler.Suite<"PF Handle Suite", 2>(); }), 516);
}

TEST_F(SuiteHandler, Throws516WhateverTheHostsError) {
    for (const PF_Err code : {1, -1, 513, kFault}) {
        basic.onAcquire = [=, this](const std::string&, std::int32_t) {
            return FakeBasic::Answer{code, &tables[0]};
        };
        basic.released.clear();
        {
            HostSuiteHandler handler(&basic.suite);
            EXPECT_EQ(CodeThrownBy([&] { handler.Suite<"PF Handle Suite", 2>(); }), 516);
        }
        EXPECT_EQ(basic.released, Lines()) << "a pointer that comes with an error is not a suite";
    }
}

TEST_F(SuiteHandler, AsksTheHostAgainAfterAFailure) {
    const auto give = std::exchange(basic.onAcquire, [](const std::string&, std::int32_t) {
        return FakeBasic::Answer{kFault, nullptr};
    });
    {
        HostSuiteHandler handler(&basic.suite);
        EXPECT_EQ(CodeThrownBy([&] { handler.Suite<"PF Handle Suite", 2>(); }), 516);
        basic.onAcquire = give;
        EXPECT_EQ((handler.Suite<"PF Handle Suite", 2>()), PointerOf("PF Handle Suite 2"));
        EXPECT_EQ(basic.acquired, (Lines{"PF Handle Suite 2", "PF Handle Suite 2"}));
    }
    EXPECT_EQ(basic.released, Lines{"PF Handle Suite 2"});
}

TEST_F(SuiteHandler, ReleasesWhatItHasInTheTablesOrderWhenAnAccessorThrows) {
    const auto give = basic.onAcquire;
    basic.onAcquire = [&](const std::string& name, std::int32_t version) {
        return name == "SP Suites Suite" ? FakeBasic::Answer{kFault, nullptr} : give(name, version);
    };
    const int code = CodeThrownBy([&] {
        HostSuiteHandler handler(&basic.suite);
        handler.Suite<"PF Iterate8 Suite", 1>();
        handler.Suite<"PF AE Adv Time Suite", 4>();
        handler.Suite<"AEGP Marker Suite", 2>();
        handler.Suite<"AEGP Math Suite", 1>();
        handler.Suite<"SP Suites Suite", 2>();
    });
    EXPECT_EQ(code, 516);
    EXPECT_EQ(basic.released, (Lines{"AEGP Marker Suite 2", "AEGP Math Suite 1", "PF AE Adv Time Suite 4",
                                     "AEGP Math Suite 1", "PF AE Adv Time Suite 4", "PF Iterate8 Suite 1"}));
}

TEST_F(SuiteHandler, IgnoresTheCodeOfARelease) {
    basic.onRelease = [](const std::string&, std::int32_t) { return kFault; };
    {
        HostSuiteHandler handler(&basic.suite);
        handler.Suite<"PF ANSI Suite", 1>();
        handler.Suite<"PF Handle Suite", 2>();
    }
    EXPECT_EQ(basic.released, (Lines{"PF ANSI Suite 1", "PF Handle Suite 2"}));
}

TEST_F(SuiteHandler, ReleasesTheOtherSuitesWhenAReleaseThrows) {
    basic.onRelease = [](const std::string&, std::int32_t) -> std::int32_t { throw kFault; };
    {
        HostSuiteHandler handler(&basic.suite);
        handler.Suite<"PF ANSI Suite", 1>();
        handler.Suite<"PF Handle Suite", 2>();
    }
    EXPECT_EQ(basic.released, (Lines{"PF ANSI Suite 1", "PF Handle Suite 2"}));
}

TEST_F(SuiteHandler, IsNeitherCopiedNorVirtual) {
    static_assert(!std::is_copy_constructible_v<HostSuiteHandler> && !std::is_copy_assignable_v<HostSuiteHandler>);
    static_assert(!std::is_move_constructible_v<HostSuiteHandler> && !std::is_polymorphic_v<HostSuiteHandler>);
}

}  // namespace
