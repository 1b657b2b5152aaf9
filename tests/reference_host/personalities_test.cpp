// The table of the two hosts: either word of a host finds it, and any other word is an error.
#include <gtest/gtest.h>

#include <stdexcept>

#include "support/host_fixture.h"

namespace refhost {
namespace {

TEST(Personality, IsFoundByEitherOfItsWords) {
    for (const PersonalityTraits& row : kPersonalities) {
        EXPECT_EQ(PersonalityNamed(row.name), row.personality);
        EXPECT_EQ(PersonalityNamed(row.application), row.personality);
        EXPECT_EQ(NameOf(row.personality), row.name);
    }
}

TEST(Personality, IsNotGuessedFromAnUnknownWord) {
    for (const char* const word : {"", "edting", "Editing", "editor "})
        EXPECT_THROW(PersonalityNamed(word), std::invalid_argument) << word;
}

using UnknownPersonality = HostTest;

TEST_F(UnknownPersonality, IsAnErrorAndNotTheCompositingHost) {
    host.options().personality = Personality::count;
    EXPECT_THROW(host.Scan(), std::invalid_argument);
    EXPECT_THROW(host.GlobalSetup(), std::invalid_argument);
    EXPECT_THROW(TraitsOf(Personality::count), std::invalid_argument);
}

}  // namespace
}  // namespace refhost
