// A render of the scene, call by call, and what is promised if a call fails.
#pragma once

#include <initializer_list>
#include <vector>

#include "protocol_support.h"

namespace protocol {

// What the output holds afterwards.
struct ExpectedPicture {
    enum class Kind { asClean, untouched, topRows, zeroParameter, withoutOffset, anything };
    Kind kind;
    int number = 0;  // how many rows, or which parameter
};
inline constexpr ExpectedPicture kAsClean{ExpectedPicture::Kind::asClean};
inline constexpr ExpectedPicture kUntouched{ExpectedPicture::Kind::untouched};
inline constexpr ExpectedPicture kWithoutOffset{ExpectedPicture::Kind::withoutOffset};
inline constexpr ExpectedPicture kAnything{ExpectedPicture::Kind::anything};
constexpr ExpectedPicture TopRows(int rows) {
    return {ExpectedPicture::Kind::topRows, rows};
}
constexpr ExpectedPicture ZeroParameter(int index) {
    return {ExpectedPicture::Kind::zeroParameter, index};
}

// One call that the effect makes in a render in which nothing fails, and what is promised if this call fails with
// kFault.
struct Step {
    const char* call;
    PF_Err code;
    ExpectedPicture picture;
    const char* kept = nullptr;  // the one thing that is not given back
    Lines misuse = {};           // what the host complains of
};

using Script = std::vector<Step>;

Script Join(std::initializer_list<Script> parts);
Lines LinesOf(const Script& script);

// The calls of the commands around the driver.
Script PreRenderCalls();
Script ParameterCheckouts();
Script ParameterCheckins();

// The driver's calls in the compositing host, with an iteration over rows. Tests of other hosts replace some parts.
struct DriverCalls {
    Script suites = {
        {"AcquireSuite PF Pixel Format Suite 1", PF_Err_NONE, kAsClean},
        {"AcquireSuite PF World Suite 2", kFault, kUntouched, kFormatSuiteKept, kUnlockedNothing},
        {"AcquireSuite PF Iterate8 Suite 1", PF_Err_NONE, kUntouched},  // the driver throws, the render returns 0
    };
    Script sourceFormat = {{"GetPixelFormat PF World Suite", PF_Err_NONE, kAnything}};  // an unknown format
    Script sourcePass = {
        {"iterate_generic 3", kFault, kUntouched},
        {"row 0", kFault, kUntouched},
        {"abort", kFault, kUntouched},
        {"row 1", kFault, kUntouched},
        {"abort", kFault, kUntouched},
        {"row 2", kFault, kUntouched},
        {"abort", kFault, kUntouched},
    };
    Script outputFormat = {{"GetPixelFormat PF World Suite", PF_Err_NONE, kUntouched}};  // an unknown format
    Script outputPass = {
        {"iterate_generic 3", kFault, kUntouched},
        {"row 0", kFault, kUntouched},
        {"abort", kFault, TopRows(1)},
        {"row 1", kFault, TopRows(1)},
        {"abort", kFault, TopRows(2)},
        {"row 2", kFault, TopRows(2)},
        {"abort", kFault, TopRows(3)},
    };
    Script releases = {
        {"ReleaseSuite PF Pixel Format Suite 1", PF_Err_NONE, kAsClean},
        {"ReleaseSuite PF World Suite 2", PF_Err_NONE, kAsClean},
        {"ReleaseSuite PF Iterate8 Suite 1", PF_Err_NONE, kAsClean},
    };

    bool deep = false;  // more than 8 bits a channel: the working copy is in float, as the result buffer is

    Script Steps() const;  // all parts, with the calls for buffers and the abort between them
};

Script PlainRenderCalls(const DriverCalls& driver = {});

// Fails the test unless a render in which nothing fails makes exactly these calls.
void ExpectOrder(HostedScene& scene, RenderPath path, const Script& script);

// Makes every call of the render fail in turn, and expects what the script promises. After each failure, the same
// instance must render the right picture again.
void ExpectEveryFailure(HostedScene& scene, RenderPath path, const Script& script);

}  // namespace protocol
