// A suite that is acquired directly, for a part of one command.
#include "host/scoped_suite.h"

#include "suite_fixture.h"

namespace {

using namespace protocol;
using ScopedSuite = Suites;
using Worlds = nuv::ScopedSuite<PF_WorldSuite2>;

TEST_F(ScopedSuite, AcquiresAndReleasesNothingBeforeItIsAsked) {
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

TEST_F(ScopedSuite, HoldsAPointerThatComesWithAnError) {
    basic.onAcquire = [this](const std::string&, std::int32_t) { return FakeBasic::Answer{kFault, &tables[0]}; };
    {
        Worlds worlds(&basic.suite, "PF World Suite", 2);
        EXPECT_EQ(worlds.Acquire(), kFault);
        EXPECT_TRUE(worlds);
    }
    EXPECT_EQ(basic.released, Lines{"PF World Suite 2"});
}

TEST_F(ScopedSuite, DropsAnExceptionOfARelease) {
    basic.onRelease = [](const std::string&, std::int32_t) -> std::int32_t { throw kFault; };
    EXPECT_NO_THROW({
        Worlds worlds(&basic.suite, "PF World Suite", 2);
        worlds.Acquire();
    });
    EXPECT_EQ(basic.released, Lines{"PF World Suite 2"});
}

}  // namespace
