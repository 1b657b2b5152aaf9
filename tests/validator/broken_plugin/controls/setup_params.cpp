#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>

#include "newer_host.h"

namespace broken {
namespace {

constexpr PF_Cmd kParams = PF_Cmd_PARAMS_SETUP;

// Changed changes every definition on its way to the host. Adds does so only in the newer host, AddsEverywhere in
// both.
template <void change(PF_ParamDef&)>
PF_Err Changed(MainCall& c) {
    OwnRecords own(c);
    own.inData.inter.add_param = [](PF_ProgPtr ref, std::int32_t index, PF_ParamDef* definition) {
        change(*definition);
        return OwnRecords::Host().inter.add_param(ref, index, definition);
    };
    return Effect(c);
}
template <void change(PF_ParamDef&)>
PF_Err Adds(MainCall& c) {
    return InNewerHost(c, kParams) ? Changed<change>(c) : Effect(c);
}
template <void change(PF_ParamDef&)>
PF_Err AddsEverywhere(MainCall& c) {
    return c.cmd == kParams && c.inData != nullptr ? Changed<change>(c) : Effect(c);
}

void CountOneLess(MainCall& c) {
    c.outData->num_params -= 1;
}

PF_Err AddsByIndex(MainCall& c) {
    if (!InNewerHost(c, kParams)) return Effect(c);
    OwnRecords own(c);
    own.inData.inter.add_param = [](PF_ProgPtr ref, std::int32_t, PF_ParamDef* definition) {
        return OwnRecords::Host().inter.add_param(ref, definition->uu.id - 1, definition);
    };
    return Effect(c);
}

void ChangeAName(PF_ParamDef& definition) {
    definition.name[0] = definition.uu.id == 5 ? 'a' : definition.name[0];
}

PF_Err ChangesTheSecondTime(MainCall& c) {
    static int times = 0;  // since global set-up
    if (InNewerHost(c, PF_Cmd_GLOBAL_SETUP)) times = 0;
    if (!InNewerHost(c, kParams) || ++times != 2) return Effect(c);
    return Changed<ChangeAName>(c);
}

PF_Err ChangesBeforeGlobalSetup(MainCall& c) {
    static bool seen = false;
    if (c.cmd == PF_Cmd_GLOBAL_SETUP) seen = true;
    return seen ? Effect(c) : Adds<ChangeAName>(c);
}

PF_Err ChangesInTheEditor(MainCall& c) {
    return InEditor(c) ? Adds<ChangeAName>(c) : Effect(c);
}

template <auto field, auto number>
void PutInSlider(PF_ParamDef& definition) {
    if (definition.param_type == PF_Param_FLOAT_SLIDER) definition.u.fs_d.*field = number;
}
void HaveInfinitePhase(PF_ParamDef& definition) {
    if (definition.param_type != PF_Param_FLOAT_SLIDER) return;
    definition.u.fs_d.phase = std::numeric_limits<double>::infinity();
}

template <const char* const& text>
void RewriteMenu(PF_ParamDef& definition) {
    if (definition.param_type == PF_Param_POPUP && definition.uu.id == 3) definition.u.pd.u.namesptr = text;
}
constexpr const char* kEmptyEntry = "Red-Cyan||Blue-Yellow";
constexpr const char* kAccent = "Red-Cyan|Green-Purple|Bl\xC3\xA9";

void BeOfUnknownType(PF_ParamDef& definition) {
    if (definition.param_type == PF_Param_POINT) definition.param_type = 99;
}
template <std::int32_t id>
void HaveId(PF_ParamDef& definition) {
    if (definition.uu.id == 6) definition.uu.id = id;
}
void HaveNoName(PF_ParamDef& definition) {
    std::memset(definition.name, 0, sizeof definition.name);
}
void HaveAnAccent(PF_ParamDef& definition) {
    definition.name[0] = '\xE9';
}
void CountTheEntries(PF_ParamDef& definition) {
    if (definition.param_type != PF_Param_POPUP) return;
    const std::string_view choices = definition.u.pd.u.namesptr;
    definition.u.pd.num_choices = static_cast<std::int16_t>(1 + std::ranges::count(choices, '|'));
}
void StartAtTheFirst(PF_ParamDef& definition) {
    if (definition.param_type == PF_Param_POPUP) definition.u.pd.value = definition.u.pd.dephault = 1;
}
void StartOutside(PF_ParamDef& definition) {
    if (definition.param_type != PF_Param_POINT) return;
    definition.u.td.restrict_bounds = 1;
    definition.u.td.x_dephault = 150 << 16;
}
void LeaveUnionBytes(PF_ParamDef& definition) {
    reinterpret_cast<char*>(&definition)[sizeof definition - 1] = '!';
}
void LeaveNameBytes(PF_ParamDef& definition) {
    definition.name[31] = definition.name[30] == '\0' ? '!' : definition.name[31];
}

constexpr Control kControls[] = {
    {.check = "setup.params-counted", .fault = "counts one too few", .command = After<kParams, CountOneLess>},
    {.check = "setup.params-appended", .fault = "asks for places in the list", .command = AddsByIndex},
    {.check = "setup.params-repeatable",
     .fault = "has another name the second time",
     .command = ChangesTheSecondTime},
    {.check = "setup.params-any-order",
     .fault = "has another name before global set-up",
     .command = ChangesBeforeGlobalSetup},
    {.check = "setup.params-in-both",
     .fault = "has another name in the editing host",
     .command = ChangesInTheEditor},
    {.check = "setup.types", .fault = "has a parameter of type 99", .command = Adds<BeOfUnknownType>},
    {.check = "setup.ids-unique", .fault = "has an id twice", .command = Adds<HaveId<5>>},
    {.check = "setup.ids-in-range", .fault = "has the id 10000", .command = Adds<HaveId<10000>>},
    {.check = "setup.names", .fault = "has no names", .command = Adds<HaveNoName>},
    {.check = "setup.names-printable", .fault = "has an accent in its names", .command = Adds<HaveAnAccent>},
    {.check = "setup.slider-finite", .fault = "has an infinite phase", .command = Adds<HaveInfinitePhase>},
    {.check = "setup.slider-range",
     .fault = "has a slider that does not move",
     .command = Adds<PutInSlider<&PF_FloatSliderDef::slider_min, 100>>},
    {.check = "setup.slider-valid",
     .fault = "has a slider that reaches 200",
     .command = Adds<PutInSlider<&PF_FloatSliderDef::slider_max, 200>>},
    {.check = "setup.slider-default",
     .fault = "has a slider that starts at 200",
     .command = Adds<PutInSlider<&PF_FloatSliderDef::dephault, 200>>},
    {.check = "setup.slider-decimals",
     .fault = "shows 20 decimals",
     .command = Adds<PutInSlider<&PF_FloatSliderDef::precision, std::int16_t{20}>>},
    {.check = "setup.popup-entries",
     .fault = "counts all entries of its menus",
     .command = AddsEverywhere<CountTheEntries>,
     .mends = true},
    {.check = "setup.popup-empty-entry", .fault = "has an empty entry", .command = Adds<RewriteMenu<kEmptyEntry>>},
    {.check = "setup.popup-printable", .fault = "has an accent in a menu", .command = Adds<RewriteMenu<kAccent>>},
    {.check = "setup.popup-default",
     .fault = "starts its menus at their first choice",
     .command = AddsEverywhere<StartAtTheFirst>,
     .mends = true},
    {.check = "setup.point-default",
     .fault = "has a restricted point that starts outside",
     .command = Adds<StartOutside>},
    {.check = "setup.union-zeroed", .fault = "leaves a byte at the end", .command = Adds<LeaveUnionBytes>},
    {.check = "setup.unused-zeroed", .fault = "leaves a byte behind its names", .command = Adds<LeaveNameBytes>},
};

}  // namespace

std::span<const Control> SetupParamsControls() {
    return kControls;
}

}  // namespace broken
