// Frame numbers and the names of sequences, as the command line tool understands them.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <numeric>

#include "nuvhost/console/errors.h"
#include "nuvhost/frames/frame_range.h"
#include "nuvhost/frames/sequence_pattern.h"

namespace nuvhost {
namespace {

using Frames = std::vector<int>;

Frames Parsed(const std::string& text) {
    return ParseFrames("--frames", text);
}

TEST(Frames, AreNumbersAndRangesInTheOrderWritten) {
    EXPECT_EQ(Parsed("12"), (Frames{12}));
    EXPECT_EQ(Parsed("1-5"), (Frames{1, 2, 3, 4, 5}));
    EXPECT_EQ(Parsed("3,4,10-12"), (Frames{3, 4, 10, 11, 12}));
    EXPECT_EQ(Parsed("10-12,3"), (Frames{10, 11, 12, 3}));
    EXPECT_EQ(Parsed("7-7"), (Frames{7}));
    EXPECT_EQ(Parsed(" 1-3, 5 "), (Frames{1, 2, 3, 5}));
}

TEST(Frames, HaveSteps) {
    EXPECT_EQ(Parsed("1-10x3"), (Frames{1, 4, 7, 10}));
    EXPECT_EQ(Parsed("1-9x3"), (Frames{1, 4, 7}));
    EXPECT_EQ(Parsed("1-100x1000"), (Frames{1}));
}

TEST(Frames, RunBackwards) {
    EXPECT_EQ(Parsed("5-1"), (Frames{5, 4, 3, 2, 1}));
    EXPECT_EQ(Parsed("10-1x4"), (Frames{10, 6, 2}));
    EXPECT_EQ(Parsed("10-1x-4"), (Frames{10, 6, 2}));
}

TEST(Frames, MayBeNegative) {
    EXPECT_EQ(Parsed("-3"), (Frames{-3}));
    EXPECT_EQ(Parsed("-8--5"), (Frames{-8, -7, -6, -5}));
    EXPECT_EQ(Parsed("-2-1"), (Frames{-2, -1, 0, 1}));
    EXPECT_EQ(Parsed("1--2x2"), (Frames{1, -1}));
}

TEST(Frames, MayHaveLeadingZeros) {
    EXPECT_EQ(Parsed("0008-0010"), (Frames{8, 9, 10}));
    EXPECT_EQ(Parsed("-008,0012"), (Frames{-8, 12}));
}

TEST(Frames, ComeOnce) {
    EXPECT_EQ(Parsed("1-4,2-6,1"), (Frames{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(Parsed("5-1,3-8"), (Frames{5, 4, 3, 2, 1, 6, 7, 8}));
}

TEST(Frames, ReachTheEndsOfWholeNumbers) {
    EXPECT_EQ(Parsed("2147483646-2147483647"), (Frames{2147483646, 2147483647}));
    EXPECT_EQ(Parsed("-2147483648--2147483647"), (Frames{-2147483647 - 1, -2147483647}));
    EXPECT_EQ(Parsed("-2147483648-2147483647x2147483647").size(), 3U);
}

TEST(Frames, ThatMakeNoSenseAreRefused) {
    for (const char* text : {"",
                             ",",
                             "1,",
                             ",1",
                             "1,,2",
                             "a",
                             "1-",
                             "-",
                             "--1",
                             "1-5x",
                             "1-5x0",
                             "1-5x-1",
                             "5x2",
                             "1-5x2x3",
                             "1-5-9",
                             "1.5",
                             "1 - 5",
                             "1-5 x2",
                             "0x10",
                             "+1",
                             "2147483648",
                             "1-1000001",
                             "1-1000000,2000000",
                             "1-100y2"}) {
        EXPECT_THROW(Parsed(text), UsageError) << text;
    }
}

TEST(Frames, OfAMillionAreStillTaken) {
    EXPECT_EQ(Parsed("1-1000000").size(), 1'000'000U);
}

TEST(Frames, TheRefusalNamesOptionAndText) {
    try {
        Parsed("1-x");
        FAIL();
    } catch (const UsageError& error) {
        EXPECT_NE(std::string(error.what()).find("--frames: \"1-x\""), std::string::npos) << error.what();
    }
}

TEST(FrameClip, IsOneAscendingRange) {
    EXPECT_EQ(ParseFrameClip("o", "0001-0098").first, 1);
    EXPECT_EQ(ParseFrameClip("o", "0001-0098").last, 98);
    EXPECT_EQ(ParseFrameClip("o", "-5--5").last, -5);
    EXPECT_EQ(ParseFrameClip("o", "7").last, 7);
    for (const char* text : {"", "9-1", "1-9x2", "1-2,3", "a"}) {
        EXPECT_THROW(ParseFrameClip("o", text), UsageError) << text;
    }
}

TEST(FramesText, IsShort) {
    EXPECT_EQ(FramesText(Frames{}), "");
    EXPECT_EQ(FramesText(Frames{4}), "4");
    EXPECT_EQ(FramesText(Frames{3, 4, 5, 9}), "3-5,9");
    EXPECT_EQ(FramesText(Frames{3, 5}), "3,5");
    EXPECT_EQ(FramesText(Frames{1, 3, 5, 6, 7}), "1-5x2,6-7");
    EXPECT_EQ(FramesText(Frames{-8, -7, -6, 2}), "-8--6,2");
}

TEST(FramesText, IsReadBackAsItWas) {
    for (unsigned chosen = 1; chosen < 1U << 12; ++chosen) {
        Frames frames;
        for (int i = 0; i < 12; ++i) {
            if (chosen >> i & 1U) frames.push_back(i - 5);
        }
        EXPECT_EQ(Parsed(FramesText(frames)), frames);
    }
}

std::string At(const std::string& pattern, int frame) {
    const auto parsed = SequencePattern::Parse(pattern);
    return parsed ? parsed->At(frame).string() : "none";
}

TEST(SequencePattern, HashMeansFourDigitsAloneAndOneEachInARun) {
    EXPECT_EQ(At("in.#.exr", 7), "in.0007.exr");
    EXPECT_EQ(At("in.####.exr", 7), "in.0007.exr");
    EXPECT_EQ(At("in.##.exr", 7), "in.07.exr");
    EXPECT_EQ(At("in.######.exr", 7), "in.000007.exr");
    EXPECT_EQ(At("in.#.exr", 12345), "in.12345.exr");
}

TEST(SequencePattern, AtSignMeansOneDigitEach) {
    EXPECT_EQ(At("in.@.exr", 7), "in.7.exr");
    EXPECT_EQ(At("in@@@.exr", 7), "in007.exr");
}

TEST(SequencePattern, PercentIsThatOfPrintf) {
    EXPECT_EQ(At("in.%04d.exr", 7), "in.0007.exr");
    EXPECT_EQ(At("in.%d.exr", 12), "in.12.exr");
    EXPECT_EQ(At("in.%012d.exr", 12), "in.000000000012.exr");
    EXPECT_EQ(At("100%.exr", 1), "none");
    EXPECT_EQ(At("a%4d.exr", 1), "none");
    EXPECT_EQ(At("a%0d.exr", 1), "none");
    EXPECT_EQ(At("a%099999999999d.exr", 1), "none");
    EXPECT_EQ(At("50% of.%02d.exr", 1), "50% of.01.exr");
}

TEST(SequencePattern, TheSignCountsAsADigit) {
    EXPECT_EQ(At("#", -5), "-005");
    EXPECT_EQ(At("#", -12345), "-12345");
    EXPECT_EQ(At("@", -5), "-5");
}

TEST(SequencePattern, MayLieInAFolderName) {
    EXPECT_EQ(At("shot/f#/beauty.exr", 3), "shot/f0003/beauty.exr");
}

TEST(SequencePattern, APlainNameIsNone) {
    EXPECT_FALSE(SequencePattern::Parse("in.0001.exr"));
    EXPECT_FALSE(SequencePattern::Parse(""));
}

TEST(SequencePattern, TwoPlacesAreRefused) {
    EXPECT_THROW(SequencePattern::Parse("in.#.%04d.exr"), UsageError);
    EXPECT_THROW(SequencePattern::Parse("a#@.exr"), UsageError);
    EXPECT_THROW(SequencePattern::Parse("s#/in.#.%04d.exr"), UsageError);
    EXPECT_THROW(SequencePattern::Parse("s#/t@/in.exr"), UsageError);
}

TEST(SequencePattern, FoldersAreTakenAsTheyAreIfTheNameHasAPlace) {
    EXPECT_EQ(SequencePattern::Parse("s#/t@%d/in.#.exr").value().At(7), "s#/t@%d/in.0007.exr");
    EXPECT_EQ(SequencePattern::Parse("/s@/#.exr").value().At(7), "/s@/0007.exr");
}

class Files : public testing::Test {
protected:
    Files() { std::filesystem::create_directory(folder_); }
    ~Files() override { std::filesystem::remove_all(folder_); }
    void Make(const std::string& name) {
        std::filesystem::create_directories((folder_ / name).parent_path());
        std::ofstream(folder_ / name) << "x";
    }
    Frames Existing(const std::string& pattern) {
        return SequencePattern::Parse(folder_ / pattern).value().Existing();
    }

private:
    std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() / ("nuv-sequence-" + std::to_string(::getpid()));
};

TEST_F(Files, OfTheSequenceAreFoundInOrder) {
    for (const char* name : {"in.0010.exr", "in.0002.exr", "in.12345.exr", "in.-003.exr",  // only these
                             "in.00002.exr", "in.2.exr", "in.0003.png", "out.0004.exr", "in.000a.exr", "in..exr",
                             "in.0005.exr~", "in.99999999999.exr", "in.-000.exr"}) {
        Make(name);
    }
    EXPECT_EQ(Existing("in.#.exr"), (Frames{-3, 2, 10, 12345}));
    EXPECT_EQ(Existing("in.@.exr"), (Frames{2, 12345}));
    EXPECT_EQ(Existing("none.#.exr"), Frames{});
}

TEST_F(Files, InNumberedFoldersAreFound) {
    Make("f1/a.exr");
    Make("f2/b.exr");
    Make("f3/a.exr");
    EXPECT_EQ(Existing("f@/a.exr"), (Frames{1, 3}));
}

TEST_F(Files, OfAFolderThatIsNotThereAreAnError) {
    EXPECT_THROW(Existing("nowhere/in.#.exr"), std::runtime_error);
}

}  // namespace
}  // namespace nuvhost
