// An instance's parameters and sequence data.
#include <array>
#include <cstring>
#include <stdexcept>
#include <string>

#include "support/host_fixture.h"

namespace refhost {
namespace {

TEST_F(HostTest, CheckOutGivesTheValueAtItsTime) {
    Instance instance(host);
    World input({.width = 200, .height = 100});
    World output({.width = 200, .height = 100});
    instance.SetAt(7, 3, SliderValue{9.0});
    instance.Set(3, SliderValue{4.0});
    g_effect = [&](const Arguments& a) {
        const auto checkout = [&](int index, int time) {
            PF_ParamDef param;
            std::memset(&param, 0x55, sizeof param);
            EXPECT_EQ(a.in->inter.checkout_param(a.in->effect_ref, index, time, 1, 25, &param), 0);
            EXPECT_EQ(Outstanding(), Lines{"parameter " + std::to_string(index) + ": checked out"});
            EXPECT_EQ(a.in->inter.checkin_param(a.in->effect_ref, &param), 0);
            return param;
        };
        EXPECT_EQ(checkout(1, 0).u.td.x_value, 100 << 16);
        EXPECT_EQ(checkout(1, 0).u.td.y_value, 25 << 16);
        EXPECT_EQ(checkout(2, 0).u.pd.value, 2);
        EXPECT_EQ(checkout(3, 0).u.fs_d.value, 4.0);
        EXPECT_EQ(checkout(3, 7).u.fs_d.value, 9.0);
        EXPECT_EQ(checkout(0, 0).u.ld.data, input.effectWorld()->data);
        const PF_ParamDef outOfRange = checkout(4, 0);
        std::array<unsigned char, sizeof outOfRange> bytes{};
        std::memcpy(bytes.data(), &outOfRange, bytes.size());
        EXPECT_EQ(bytes, (std::array<unsigned char, sizeof outOfRange>{}));
        return 0;
    };
    EXPECT_EQ(instance.Get(1), ParamValue(PointValue{50 << 16, 25 << 16}));
    EXPECT_EQ(instance.PlainRender({.input = &input, .output = &output}).render, 0);
    EXPECT_EQ(instance.Get(1), ParamValue(PointValue{100 << 16, 25 << 16}));
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, CheckInWithoutCheckOutIsMisuse) {
    Do([](const Arguments& a) {
        PF_ParamDef param{};
        EXPECT_NE(a.in->inter.checkin_param(a.in->effect_ref, &param), 0);
    });
    EXPECT_EQ(Misuse(), Lines{"checkin_param: the record was not checked out in this command"});
}

TEST_F(HostTest, FailedCheckOutMayButNeedNotBeCheckedIn) {
    host.options().faults = [](const CallRecord& call) {
        return call.call == Call::checkoutParam ? std::optional<PF_Err>(3) : std::nullopt;
    };
    for (const bool checkin : {true, false}) {
        Do([&](const Arguments& a) {
            PF_ParamDef param{};
            EXPECT_EQ(a.in->inter.checkout_param(a.in->effect_ref, 1, 0, 1, 25, &param), 3);
            if (!checkin) return;
            EXPECT_EQ(a.in->inter.checkin_param(a.in->effect_ref, &param), 0);
        });
    }
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, InstanceKeepsItsParametersThroughANewSetUp) {
    Instance instance(host);
    g_effect = nullptr;
    host.ParamsSetup();
    host.account().Reset();
    EXPECT_TRUE(host.parameters().empty());
    g_effect = [](const Arguments& a) {
        PF_ParamDef param{};
        a.in->inter.checkout_param(a.in->effect_ref, 2, 0, 1, 25, &param);
        EXPECT_STREQ(param.u.pd.u.namesptr, "One|Two");
        a.in->inter.checkin_param(a.in->effect_ref, &param);
        return 0;
    };
    instance.PlainRender({});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, InstanceRefusesWhatTheParameterIsNot) {
    Instance instance(host);
    EXPECT_THROW(instance.Set(4, PopupValue{1}), std::out_of_range);
    EXPECT_THROW(instance.Set(0, PopupValue{1}), std::out_of_range);
    EXPECT_THROW(instance.Set(1, PopupValue{1}), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(instance.Get(4)), std::out_of_range);
}

PF_Err SequenceEffect(const Arguments& a) {
    const auto& utils = *a.in->utils;
    if (a.cmd == PF_Cmd_SEQUENCE_SETUP) {
        a.out->sequence_data = utils.host_new_handle(4);
        std::memcpy(*a.out->sequence_data, "data", 4);
    }
    if (a.cmd == PF_Cmd_SEQUENCE_SETDOWN) {
        utils.host_dispose_handle(a.in->sequence_data);
        a.in->sequence_data = a.out->sequence_data = nullptr;
    }
    return 0;
}

TEST_F(HostTest, SavedInstanceComesBackByDiskIds) {
    g_effect = SequenceEffect;
    Instance first(host);
    first.SequenceSetup();
    first.Set(2, PopupValue{1});
    first.Set(3, SliderValue{-7.25});
    SavedInstance saved = first.Save();
    EXPECT_EQ(saved.params.at(11), ParamValue(PopupValue{1}));
    EXPECT_EQ(saved.params.at(13), ParamValue(SliderValue{-7.25}));
    EXPECT_EQ(saved.sequenceData.size(), 4U);
    saved.params[99] = PopupValue{5};

    Instance second(host);
    second.Load(saved);
    EXPECT_EQ(second.SequenceResetup(), 0);
    for (int index = 1; index <= 3; ++index)
        EXPECT_EQ(second.Get(index), first.Get(index));
    EXPECT_NE(second.sequenceData(), first.sequenceData());
    EXPECT_EQ(std::memcmp(*second.sequenceData(), "data", 4), 0);

    // The saved point was still a percentage of the layer. The first render turns it into pixels.
    World input({.width = 80, .height = 40});
    second.PlainRender({.input = &input});
    EXPECT_EQ(second.Get(1), ParamValue(PointValue{40 << 16, 10 << 16}));

    first.SequenceSetdown();
    second.SequenceSetdown();
    EXPECT_EQ(first.sequenceData(), nullptr);
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, SequenceDataIsTheHostsUntilSetDownIsToFreeIt) {
    g_effect = SequenceEffect;
    Instance instance(host);
    instance.SequenceSetup();
    EXPECT_EQ(Outstanding(), Lines{});
    g_effect = nullptr;
    instance.SequenceSetdown();
    EXPECT_EQ(Outstanding(), Lines{"handle of 4 bytes"});
}

TEST_F(HostTest, UnlockingSequenceOrGlobalDataThatIsNotLockedIsMisuse) {
    Instance instance(host);
    instance.setSequenceData(host.NewHandle(4));
    g_effect = [](const Arguments& a) {
        a.in->utils->host_unlock_handle(a.in->sequence_data);
        a.in->utils->host_unlock_handle(a.in->global_data);
        return 0;
    };
    instance.PlainRender({});
    EXPECT_EQ(Misuse(), (Lines{"host_unlock_handle: a handle of 4 bytes is not locked",
                               "host_unlock_handle: the handle is null"}));
}

}  // namespace
}  // namespace refhost
