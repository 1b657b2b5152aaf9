#include "params/params.h"

#include <array>
#include <cstring>

#include "host/host_call.h"
#include "host/require.h"

namespace nuv {
namespace {

struct Parameter {
    std::int32_t diskId;
    const char* name;
    PF_ParamType type;
    void (*fill)(PF_ParamDefUnion& definition, const char* choices);
    const char* choices;
};

constexpr PF_Fixed FixedPoint(int whole) {
    return whole * 65536;
}

// The values are percent of the layer, so the point starts in the middle. Users may drag it out of the layer.
void FillPoint(PF_ParamDefUnion& definition, const char*) {
    definition.td = {};
    definition.td.x_value = definition.td.x_dephault = FixedPoint(50);
    definition.td.y_value = definition.td.y_dephault = FixedPoint(50);
    definition.td.restrict_bounds = 0;
}

// Every menu offers three choices. The menu Show does, too, although its text names five and the engine renders all
// five. Value and default are 0, although hosts count choices from 1. None of this may change, because it is part
// of the saved-project format.
void FillPopup(PF_ParamDefUnion& definition, const char* choices) {
    definition.pd = {};
    definition.pd.num_choices = 3;
    definition.pd.u.namesptr = choices;
}

void FillAmount(PF_ParamDefUnion& definition, const char*) {
    definition.fs_d = {};
    definition.fs_d.valid_min = definition.fs_d.slider_min = -100.0f;
    definition.fs_d.valid_max = definition.fs_d.slider_max = 100.0f;
    definition.fs_d.precision = PF_Precision_HUNDREDTHS;
    definition.fs_d.curve_tolerance = 0.05f;  // the hosts' usual tolerance
}

// In the order of their indices; the first is PARAM_FRAME_CENTER.
constexpr std::array kParameters = std::to_array<Parameter>({
    {2, "Frame center", PF_Param_POINT, FillPoint, nullptr},
    {3, "Mode", PF_Param_POPUP, FillPopup, "Red-Cyan|Green-Purple|Blue-Yellow"},
    {4, "Scaling", PF_Param_POPUP, FillPopup, "linear|square|cubic"},
    {5, "Amount", PF_Param_FLOAT_SLIDER, FillAmount, nullptr},
    {6, "Show", PF_Param_POPUP, FillPopup, "Final|Just CA|Without CA|Alpha|Full Alpha"},
});
static_assert(kParameters.size() + 1 == PARAM_COUNT);

}  // namespace

PF_Err ParamsSetup(PF_InData* inData, PF_OutData* outData) {
    constexpr std::int32_t kAppend = -1;
    Require(outData);
    const PF_UtilCallbacks& utilities = UtilitiesOf(inData);
    PF_ParamDef definition;
    for (const Parameter& parameter : kParameters) {
        std::memset(&definition, 0, sizeof definition);
        definition.param_type = parameter.type;
        CallHost(utilities.ansi.strcpy, definition.name, parameter.name);
        parameter.fill(definition.u, parameter.choices);
        definition.uu.id = parameter.diskId;
        if (const PF_Err error = CallHost(inData->inter.add_param, inData->effect_ref, kAppend, &definition))
            return error;
    }
    outData->num_params = PARAM_COUNT;
    return PF_Err_NONE;
}

}  // namespace nuv
