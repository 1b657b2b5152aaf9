// Calls that the reference host makes fail, and its record of calls.
#include <optional>
#include <string>

#include "support/host_fixture.h"

namespace refhost {
namespace {

TEST_F(HostTest, FaultsFailTheCallThatTheyName) {
    host.options().faults = [](const CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == Call::acquireSuite && call.detail == "PF World Suite 2") return 0;
        if (call.call == Call::newHandle && call.index == 1) return 4;
        if (call.call == Call::abort && call.index == 2) return PF_Interrupt_CANCEL;
        return std::nullopt;
    };
    Do([](const Arguments& a) {
        const void* suite = "not null";
        EXPECT_EQ(a.in->pica_basicP->AcquireSuite("PF World Suite", 2, &suite), 0);
        EXPECT_EQ(suite, nullptr);
        const PF_Handle handle = a.in->utils->host_new_handle(1);
        EXPECT_NE(handle, nullptr);
        EXPECT_EQ(a.in->utils->host_new_handle(1), nullptr);
        a.in->utils->host_dispose_handle(handle);
        for (const PF_Err expected : {0, 0, 517, 0})
            EXPECT_EQ(a.in->inter.abort(a.in->effect_ref), expected);
    });
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, GivingBackCountsEvenWhereItIsMadeToFail) {
    host.options().faults = [](const CallRecord& call) -> std::optional<PF_Err> {
        const bool back = call.call == Call::releaseSuite || call.call == Call::checkinParam ||
                          call.call == Call::disposeHandle || call.call == Call::disposeWorld;
        return back ? std::optional<PF_Err>(9) : std::nullopt;
    };
    Do([](const Arguments& a) {
        const void* suite = nullptr;
        a.in->pica_basicP->AcquireSuite("PF World Suite", 2, &suite);
        EXPECT_EQ(a.in->pica_basicP->ReleaseSuite("PF World Suite", 2), 9);
        PF_ParamDef param{};
        a.in->inter.checkout_param(a.in->effect_ref, 1, 0, 1, 1, &param);
        EXPECT_EQ(a.in->inter.checkin_param(a.in->effect_ref, &param), 9);
        a.in->utils->host_dispose_handle(a.in->utils->host_new_handle(1));
        PF_EffectWorld world{};
        a.in->utils->new_world(a.in->effect_ref, 1, 3, 0, &world);
        EXPECT_EQ(a.in->utils->dispose_world(a.in->effect_ref, &world), 9);
    });
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, CallsAreRecordedInOrderAndCounted) {
    host.options().recordCalls = true;
    Do([](const Arguments& a) {
        a.in->utils->host_dispose_handle(a.in->utils->host_new_handle(8));
        PF_ParamDef param{};
        a.in->inter.checkout_param(a.in->effect_ref, 2, 0, 1, 1, &param);
        a.in->inter.checkin_param(a.in->effect_ref, &param);
    });
    Lines lines;
    for (const auto& call : host.account().Calls())
        lines.push_back(std::string(Name(call.call)) + " " + call.detail);
    EXPECT_EQ(lines, (Lines{"host_new_handle 8", "host_dispose_handle 8", "checkout_param 2", "checkin_param 2"}));
    EXPECT_EQ(host.account().Count(Call::newHandle), 1);
    host.account().Reset();
    EXPECT_EQ(host.account().Count(Call::newHandle), 0);
    EXPECT_TRUE(host.account().Calls().empty());
}

}  // namespace
}  // namespace refhost
