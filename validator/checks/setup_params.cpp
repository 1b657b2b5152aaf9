// The parameters that the effect adds.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>

#include "validator/kit/interview.h"
#include "validator/registry.h"

namespace validator {
namespace {

constexpr std::size_t kLongestName = 31;
constexpr std::int32_t kLastId = 9999;
constexpr std::int16_t kMostDecimals = 4;
constexpr PF_Fixed kWholeLayer = 100 << 16;  // percent
constexpr PF_ParamType kTypes[] = {0, 1, 2, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14, 15, 18};

void InEachSetUp(Context& context, const auto& ask) {
    InEachVersion(context, [&](Interview& interview) {
        interview.SetUp();
        ask(interview);
    });
}

// The parameters that hosts of all versions get. A parameter that is the same in all versions appears once.
std::vector<AddedParam> Params(Context& context) {
    std::vector<AddedParam> params;
    InEachSetUp(context, [&](const Interview& interview) {
        for (const AddedParam& param : interview.added) {
            const bool known = std::ranges::any_of(
                params, [&](const AddedParam& other) { return WhatDiffers({other}, {param}).empty(); });
            if (!known) params.push_back(param);
        }
    });
    return params;
}

// Calls `ask` for the parameters of one type. `member` is the part of the definition that the type uses.
template <auto member, typename Ask>
void ForEach(Context& context, PF_ParamType type, Ask ask) {
    for (const AddedParam& param : Params(context)) {
        if (param.definition.param_type == type) ask(param, param.definition.u.*member);
    }
}
template <typename Ask>
void ForEachSlider(Context& context, Ask ask) {
    ForEach<&PF_ParamDefUnion::fs_d>(context, PF_Param_FLOAT_SLIDER, ask);
}
template <typename Ask>
void ForEachPopup(Context& context, Ask ask) {
    ForEach<&PF_ParamDefUnion::pd>(context, PF_Param_POPUP, ask);
}
template <typename Ask>
void ForEachPoint(Context& context, Ask ask) {
    ForEach<&PF_ParamDefUnion::td>(context, PF_Param_POINT, ask);
}

// ---- All of them ----------------------------------------------------------------------------------------------

void CountsThem(Context& context) {
    InEachSetUp(context, [&](const Interview& interview) {
        const auto added = static_cast<std::int32_t>(interview.added.size());
        context.Expect(interview.out.num_params == added + 1, "a " + interview.Name() + " is told of " +
                                                                  std::to_string(interview.out.num_params) +
                                                                  ", and " + std::to_string(added) + " are added");
    });
}

void AppendsThem(Context& context) {
    InEachSetUp(context, [&](const Interview& interview) {
        for (const AddedParam& param : interview.added)
            context.Expect(param.index == -1, param.Name() + " asks for index " + std::to_string(param.index));
    });
}

void HasKnownTypes(Context& context) {
    for (const AddedParam& param : Params(context)) {
        const PF_ParamType type = param.definition.param_type;
        context.Expect(std::ranges::find(kTypes, type) != std::end(kTypes),
                       param.Name() + " is of type " + std::to_string(type));
    }
}

void HasUniqueIds(Context& context) {
    InEachSetUp(context, [&](const Interview& interview) {
        std::map<std::int32_t, std::string> names;
        for (const AddedParam& param : interview.added) {
            const auto [place, isNew] = names.emplace(param.definition.uu.id, param.Name());
            context.Expect(isNew, param.Name() + " has the id of " + place->second);
        }
    });
}

void HasIdsInRange(Context& context) {
    for (const AddedParam& param : Params(context)) {
        const std::int32_t id = param.definition.uu.id;
        context.Expect(id >= 1 && id <= kLastId, param.Name() + " has the id " + std::to_string(id));
    }
}

void HasNames(Context& context) {
    for (const AddedParam& param : Params(context)) {
        const auto& name = param.definition.name;
        const auto length = static_cast<std::size_t>(std::ranges::find(name, '\0') - name);
        const bool nameless = param.definition.param_type == 14;  // the end of a group
        context.Expect(length > 0 || nameless, param.Name() + " has no name");
        context.Expect(length <= kLongestName, param.Name() + " has a name without a zero byte after it");
    }
}

void HasPrintableNames(Context& context) {
    for (const AddedParam& param : Params(context)) {
        const std::string_view name(param.definition.name, std::size(param.definition.name));
        context.Expect(IsPrintableAscii(name.substr(0, name.find('\0'))),
                       param.Name() + " has characters in its name that are not printable ASCII");
    }
}

// ---- By type --------------------------------------------------------------------------------------------------

void SlidersAreFinite(Context& context) {
    ForEachSlider(context, [&](const AddedParam& param, const PF_FloatSliderDef& slider) {
        for (const double number : {slider.value, slider.phase, double{slider.valid_min}, double{slider.valid_max},
                                    double{slider.slider_min}, double{slider.slider_max}, double{slider.dephault},
                                    double{slider.curve_tolerance}, double{slider.exponent}})
            context.Expect(std::isfinite(number), param.Name() + " holds " + std::to_string(number));
    });
}

void SlidersHaveRanges(Context& context) {
    ForEachSlider(context, [&](const AddedParam& param, const PF_FloatSliderDef& slider) {
        context.Expect(!(slider.slider_min >= slider.slider_max), param.Name() + " has an empty range");
    });
}

void SlidersStayValid(Context& context) {
    ForEachSlider(context, [&](const AddedParam& param, const PF_FloatSliderDef& slider) {
        context.Expect(!(slider.slider_min < slider.valid_min || slider.slider_max > slider.valid_max),
                       param.Name() + " reaches beyond the values that may be typed");
    });
}

void SlidersStartValid(Context& context) {
    ForEachSlider(context, [&](const AddedParam& param, const PF_FloatSliderDef& slider) {
        context.Expect(!(slider.dephault < slider.valid_min || slider.dephault > slider.valid_max),
                       param.Name() + " starts at " + std::to_string(slider.dephault));
    });
}

void SlidersShowDecimals(Context& context) {
    ForEachSlider(context, [&](const AddedParam& param, const PF_FloatSliderDef& slider) {
        context.Expect(slider.precision >= 0 && slider.precision <= kMostDecimals,
                       param.Name() + " shows " + std::to_string(slider.precision) + " decimals");
    });
}

std::vector<std::string> Entries(const AddedParam& param) {
    std::vector<std::string> entries(1);
    for (const char c : param.choices) {
        if (c == '|') {
            entries.emplace_back();
        } else {
            entries.back() += c;
        }
    }
    return entries;
}

void PopupsHaveAllEntries(Context& context) {
    ForEachPopup(context, [&](const AddedParam& param, const PF_PopupDef& popup) {
        const auto entries = static_cast<std::ptrdiff_t>(Entries(param).size());
        context.Expect(entries == popup.num_choices, param.Name() + " has " + std::to_string(entries) +
                                                         " entries and counts " +
                                                         std::to_string(popup.num_choices));
    });
}

void PopupsHaveNoEmptyEntry(Context& context) {
    ForEachPopup(context, [&](const AddedParam& param, const PF_PopupDef&) {
        context.Expect(std::ranges::count(Entries(param), "") == 0, param.Name() + " has an empty entry");
    });
}

void PopupsArePrintable(Context& context) {
    ForEachPopup(context, [&](const AddedParam& param, const PF_PopupDef&) {
        context.Expect(IsPrintableAscii(param.choices),
                       param.Name() + " has characters in its entries that are not printable ASCII");
    });
}

void PopupsStartAtAnEntry(Context& context) {
    ForEachPopup(context, [&](const AddedParam& param, const PF_PopupDef& popup) {
        context.Expect(popup.dephault >= 1 && popup.dephault <= std::max<std::int16_t>(popup.num_choices, 1),
                       param.Name() + " starts at choice " + std::to_string(popup.dephault) + " of " +
                           std::to_string(popup.num_choices));
    });
}

void PointsStartInside(Context& context) {
    ForEachPoint(context, [&](const AddedParam& param, const PF_PointDef& point) {
        for (const PF_Fixed percent : {point.x_dephault, point.y_dephault})
            context.Expect(point.restrict_bounds == 0 || (percent >= 0 && percent <= kWholeLayer),
                           param.Name() + " starts at " + std::to_string(percent / 65536) + " %");
    });
}

// ---- Bytes ----------------------------------------------------------------------------------------------------

bool AllZero(std::string_view bytes) {
    return std::ranges::all_of(bytes, [](char c) { return c == '\0'; });
}

void UnionsAreZeroed(Context& context) {
    constexpr std::pair<PF_ParamType, std::size_t> kSizes[] = {{PF_Param_POINT, sizeof(PF_PointDef)},
                                                               {PF_Param_POPUP, sizeof(PF_PopupDef)},
                                                               {PF_Param_FLOAT_SLIDER, sizeof(PF_FloatSliderDef)}};
    for (const AddedParam& param : Params(context)) {
        for (const auto& [type, size] : kSizes) {
            if (param.definition.param_type != type) continue;
            context.Expect(AllZero(BytesOf(param.definition).substr(offsetof(PF_ParamDef, u) + size)),
                           param.Name() + " has bytes other than zero after the part that its type uses");
        }
    }
}

void UnusedFieldsAreZeroed(Context& context) {
    for (const AddedParam& param : Params(context)) {
        const std::string_view name(param.definition.name, std::size(param.definition.name));
        context.Expect(AllZero(name.substr(std::min(name.find('\0'), name.size()))),
                       param.Name() + " has bytes other than zero after the end of its name");
        context.Expect(param.definition.unused == 0, param.Name() + " writes the unused field");
    }
    ForEachPoint(context, [&](const AddedParam& param, const PF_PointDef& point) {
        context.Expect(AllZero({point.reserved, std::size(point.reserved)}),
                       param.Name() + " writes a reserved field");
    });
}

// ---- Again and everywhere -------------------------------------------------------------------------------------

void AreTheSameAgain(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        interview.SetUp();
        const auto first = interview.added;
        interview.Send(PF_Cmd_PARAMS_SETUP);
        const std::string differing = WhatDiffers(first, interview.added);
        context.Expect(differing.empty(), "a second time in a " + interview.Name() + " " + differing);
    });
}

// No command was sent in this process before these.
void AreTheSameInAnyOrder(Context& context) {
    std::vector<std::vector<AddedParam>> alone;
    InEachVersion(context, [&](Interview& interview) {
        interview.Send(PF_Cmd_PARAMS_SETUP);
        alone.push_back(interview.added);
    });
    std::size_t number = 0;
    InEachSetUp(context, [&](const Interview& interview) {
        const std::string differing = WhatDiffers(alone[number++], interview.added);
        context.Expect(differing.empty(), "before global set-up of a " + interview.Name() + " " + differing);
    });
}

void AreTheSameInBothHosts(Context& context) {
    for (const PF_SpecVersion version : kHostVersions) {
        Interview compositor(context, version, refhost::Personality::compositor);
        compositor.SetUp();
        Interview editor(context, version, refhost::Personality::editor);
        editor.SetUp();
        const std::string differing = WhatDiffers(compositor.added, editor.added);
        context.Expect(differing.empty(), "in a " + editor.Name() + " " + differing);
    }
}

constexpr Check kChecks[] = {
    {"setup.params-counted",
     "Set-up reports one parameter more than it adds, because the input layer counts as one.", Where::both,
     CountsThem},
    {"setup.params-appended", "Parameters are appended in the order of their indices.", Where::compositor,
     AppendsThem},
    {"setup.params-repeatable", "Parameter set-up adds the same parameters each time.", Where::both,
     AreTheSameAgain},
    {"setup.params-any-order", "The parameters are the same with and without an earlier global set-up.",
     Where::both, AreTheSameInAnyOrder},
    {"setup.params-in-both", "Both hosts get the same parameters, so that projects move between them.",
     Where::compositor, AreTheSameInBothHosts},
    {"setup.types", "Every parameter has a type that hosts know.", Where::compositor, HasKnownTypes},
    {"setup.ids-unique", "No two parameters have the same id.", Where::compositor, HasUniqueIds},
    {"setup.ids-in-range", "Parameter ids are from 1 to 9999.", Where::compositor, HasIdsInRange},
    {"setup.names", "Every parameter has a name of 1 to 31 bytes and a zero byte after it.", Where::compositor,
     HasNames},
    {"setup.names-printable", "Parameter names are printable ASCII, which every system reads alike.",
     Where::compositor, HasPrintableNames},
    {"setup.slider-finite", "Every number of a slider's definition is finite.", Where::compositor,
     SlidersAreFinite},
    {"setup.slider-range", "The upper end of a slider lies above its lower end.", Where::compositor,
     SlidersHaveRanges},
    {"setup.slider-valid", "The range of a slider lies inside the range of values that may be typed.",
     Where::compositor, SlidersStayValid},
    {"setup.slider-default", "The default of a slider lies inside the range of values that may be typed.",
     Where::compositor, SlidersStartValid},
    {"setup.slider-decimals", "A slider shows at most four decimals.", Where::compositor, SlidersShowDecimals},
    {"setup.popup-entries", "A menu has as many entries as its definition says.", Where::compositor,
     PopupsHaveAllEntries},
    {"setup.popup-empty-entry", "No entry of a menu is empty.", Where::compositor, PopupsHaveNoEmptyEntry},
    {"setup.popup-printable", "Menu entries are printable ASCII, which every system reads alike.",
     Where::compositor, PopupsArePrintable},
    {"setup.popup-default", "A menu's default is one of its choices, which hosts count from 1.", Where::compositor,
     PopupsStartAtAnEntry},
    {"setup.point-default", "A point that cannot leave the layer starts inside it.", Where::compositor,
     PointsStartInside},
    {"setup.union-zeroed", "A definition is zero after the part that its type uses.", Where::compositor,
     UnionsAreZeroed},
    {"setup.unused-zeroed", "A definition's unused and reserved fields are zero.", Where::compositor,
     UnusedFieldsAreZeroed},
};

}  // namespace

std::span<const Check> SetupParamsChecks() {
    return kChecks;
}

}  // namespace validator
