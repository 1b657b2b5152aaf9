// What the registration function reports to the host.
#include <limits>

#include "support/protocol_support.h"

namespace {

using namespace protocol;

struct Reported {
    int calls = 0;
    PF_PluginDataPtr inPtr = nullptr;
    std::string name, matchName, category, entryPoint;
    std::int32_t kind = 0, apiMajor = 0, apiMinor = 0, reserved = 0;
    PF_Err answer = PF_Err_NONE;
};
Reported reported;

std::string Text(const std::uint8_t* bytes) {
    return reinterpret_cast<const char*>(bytes);
}

PF_Err Report(PF_PluginDataPtr inPtr, const std::uint8_t* name, const std::uint8_t* matchName,
              const std::uint8_t* category, const std::uint8_t* entryPoint, std::int32_t kind,
              std::int32_t apiMajor, std::int32_t apiMinor, std::int32_t reserved) {
    reported = {reported.calls + 1, inPtr,    Text(name), Text(matchName), Text(category), Text(entryPoint), kind,
                apiMajor,           apiMinor, reserved,   reported.answer};
    return reported.answer;
}

// The host's other arguments are addresses that crash a plug-in that reads from them.
PF_Err Register(PF_PluginDataPtr inPtr) {
    reported.calls = 0;
    return Binary().pluginDataEntryFunction(inPtr, Report, reinterpret_cast<SPBasicSuite*>(1),
                                            reinterpret_cast<const char*>(1), reinterpret_cast<const char*>(1));
}

TEST(Registration, ReportsNineValuesInOneCall) {
    reported = {};
    const auto inPtr = reinterpret_cast<PF_PluginDataPtr>(std::uintptr_t{0x1234});
    EXPECT_EQ(Register(inPtr), PF_Err_NONE);
    EXPECT_EQ(reported.calls, 1);
    EXPECT_EQ(reported.inPtr, inPtr);
    EXPECT_EQ(reported.name, "NUV Chromatic Aberration");
    EXPECT_EQ(reported.matchName, "nuv_chromaber");
    EXPECT_EQ(reported.category, "NUV");
    EXPECT_EQ(reported.entryPoint, "EffectMain");
    EXPECT_EQ(reported.kind, 0x65464B54);
    EXPECT_EQ(reported.apiMajor, 13);
    EXPECT_EQ(reported.apiMinor, 27);
    EXPECT_EQ(reported.reserved, 8);
}

TEST(Registration, ReturnsTheCallbacksResultUnchanged) {
    for (const PF_Err answer : {0, 4, 516, -7, std::numeric_limits<PF_Err>::min()}) {
        reported = {};
        reported.answer = answer;
        EXPECT_EQ(Register(nullptr), answer);
        EXPECT_EQ(reported.calls, 1);
    }
}

TEST(Registration, ReportsTheSameAtEveryScan) {
    refhost::Host host(Binary(), InOrder());
    for (int scan = 0; scan < 2; ++scan) {
        const auto registration = host.Scan();
        EXPECT_EQ(registration.result, PF_Err_NONE);
        EXPECT_EQ(registration.calls, 1);
        EXPECT_EQ(registration.name, "NUV Chromatic Aberration");
        EXPECT_EQ(registration.kind, 0x65464B54);
        EXPECT_EQ(registration.reserved, 8);
    }
    EXPECT_EQ(CallsOf(host.account()), Lines());
}

}  // namespace
