// Acquiring and releasing the host's suites.
#include <array>
#include <type_traits>

#include "host/host_suite_handler.h"
#include "host/scoped_suite.h"
#include "support/plugin_path.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;
using nuv::HostSuiteHandler;
using nuv::kSuiteReleaseOrder;

// The order in which the handler gives suites back, written out.
const Lines& ReleaseOrder() {
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

// ---- Accessors by place in the table ----------------------------------------------------------------------------

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

std::string TitleOf(std::size_t entry) {
    return kSuiteReleaseOrder[entry].name + (" " + std::to_string(kSuiteReleaseOrder[entry].version));
}

// Gives every suite, each its own pointer.
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
    std::array<char, kEntries + 1> tables{};
};

using SuiteTable = Suites;
using SuiteHandler = Suites;
using ScopedSuite = Suites;

// ---- The table ------------------------------------------------------------------------------------------------

TEST_F(SuiteTable, HasTheseSuitesInThisOrder) {
    Lines table;
    for (std::size_t entry = 0; entry < kEntries; ++entry)
        table.push_back(TitleOf(entry));
    EXPECT_EQ(table, ReleaseOrder());
}

TEST_F(SuiteTable, Has137EntriesOfWhichTwoStandTwice) {
    EXPECT_EQ(kEntries, 137u);
    EXPECT_EQ(ReleaseOrder().size(), 137u);
    Lines doubled;
    for (std::size_t entry = 0; entry < kEntries; ++entry) {
        const auto last = ReleaseOrder().begin() + static_cast<std::ptrdiff_t>(entry);
        if (std::find(ReleaseOrder().begin(), last, TitleOf(entry)) != last) doubled.push_back(TitleOf(entry));
    }
    EXPECT_EQ(doubled, (Lines{"AEGP Math Suite 1", "PF AE Adv Time Suite 4"}));
}

// ---- The handler ------------------------------------------------------------------------------------------------

TEST_F(SuiteHandler, ReleasesNothingThatItWasNeverAskedFor) {
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

TEST_F(SuiteHandler, GivesEachSuiteItsOwnStructure) {
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

TEST_F(SuiteHandler, ReleasesASuiteAloneOnceOrTwiceAsItStands) {
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

TEST_F(SuiteHandler, InterleavesTheTwoDoubledReleases) {
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
        EXPECT_EQ(basic.released, Lines()) << "a pointer beside an error is not a suite";
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

TEST_F(SuiteHandler, IgnoresWhatAReleaseAnswers) {
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

// ---- Direct acquisition
// -------------------------------------------------------------------------------------------

using Worlds = nuv::ScopedSuite<PF_WorldSuite2>;

TEST_F(ScopedSuite, AcquiresAndReleasesNothingByItself) {
    { Worlds worlds(&basic.suite, "PF World Suite", 2); }
    EXPECT_EQ(basic.acquired, Lines());
    EXPECT_EQ(basic.released, Lines());
}

TEST_F(ScopedSuite, IsReleasedOnce) {
    {
        Worlds worlds(&basic.suite, "PF World Suite", 2);
        EXPECT_FALSE(worlds);
        EXPECT_EQ(worlds.Acquire(), 0);
        EXPECT_TRUE(worlds);
        EXPECT_NE(worlds.get(), nullptr);
    }
    EXPECT_EQ(basic.acquired, Lines{"PF World Suite 2"});
    EXPECT_EQ(basic.released, Lines{"PF World Suite 2"});
}

TEST_F(ScopedSuite, IsNotReleasedWhenTheHostGaveNothing) {
    for (const PF_Err code : {kFault, PF_Err_NONE}) {
        basic.onAcquire = [=](const std::string&, std::int32_t) { return FakeBasic::Answer{code, nullptr}; };
        Worlds worlds(&basic.suite, "PF World Suite", 2);
        EXPECT_EQ(worlds.Acquire(), code);
        EXPECT_FALSE(worlds);
    }
    EXPECT_EQ(basic.released, Lines());
}

TEST_F(ScopedSuite, IsThePointerWhateverTheCode) {
    basic.onAcquire = [this](const std::string&, std::int32_t) { return FakeBasic::Answer{kFault, &tables[0]}; };
    {
        Worlds worlds(&basic.suite, "PF World Suite", 2);
        EXPECT_EQ(worlds.Acquire(), kFault);
        EXPECT_TRUE(worlds);
    }
    EXPECT_EQ(basic.released, Lines{"PF World Suite 2"});
}

TEST_F(ScopedSuite, DropsWhatAReleaseThrows) {
    basic.onRelease = [](const std::string&, std::int32_t) -> std::int32_t { throw kFault; };
    EXPECT_NO_THROW({
        Worlds worlds(&basic.suite, "PF World Suite", 2);
        worlds.Acquire();
    });
    EXPECT_EQ(basic.released, Lines{"PF World Suite 2"});
}

// ---- Commands ---------------------------------------------------------------------------------------------------

TEST(CommandSuites, NoneIsAcquiredWhenTheLibraryIsLoadedOrScanned) {
    refhost::Host host(refhost::PluginLibrary(support::PluginPath()), InOrder());
    host.Scan();
    EXPECT_EQ(CallsOf(host.account()), Lines());
}

TEST(CommandSuites, NoneSurvivesItsCommand) {
    Scene scene;
    EXPECT_EQ(scene.host.About(), PF_Err_NONE);
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Render(RenderPath::smart), PF_Err_NONE);
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Render(RenderPath::plain), PF_Err_NONE);
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Misuse(), Lines());
}

TEST(CommandSuites, OneThatSucceedsWithoutASuiteMakesTheCommand516) {
    Scene scene;
    scene.host.options().faults = Fail("AcquireSuite PF Handle Suite 2", PF_Err_NONE);
    EXPECT_EQ(scene.Render(RenderPath::smart), 516);
    EXPECT_EQ(scene.result.preRender, 516);
    scene.host.options().faults = Fail("AcquireSuite PF ANSI Suite 1", PF_Err_NONE);
    EXPECT_EQ(scene.host.About(), 516);
    EXPECT_EQ(scene.Outstanding(), Lines());
}

TEST(CommandSuites, AreAcquiredAndReleasedOnTheCommandsThread) {
    Scene scene;
    scene.host.options().iterationThreads = 4;
    EXPECT_EQ(scene.Render(RenderPath::smart), PF_Err_NONE);
    std::uint64_t thread = 0;
    for (const auto& call : scene.host.account().Calls()) {
        if (call.call != refhost::Call::acquireSuite && call.call != refhost::Call::releaseSuite) continue;
        if (thread == 0) thread = call.thread;
        EXPECT_EQ(call.thread, thread) << Line(call);
    }
    EXPECT_NE(thread, 0u);
}

}  // namespace
