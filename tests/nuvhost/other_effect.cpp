// An effect unlike ours, for tools that take any effect: it has every flag, parameters of many kinds, and odd
// texts. The variable OTHER_EFFECT in the environment can make it fail in several ways.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "pf_data.h"

namespace {

#ifdef _WIN32
#define EXPORT extern "C" __declspec(dllexport)
#else
#define EXPORT extern "C" __attribute__((visibility("default")))
#endif

bool Asked(std::string_view for_) {
    const char* value = std::getenv("OTHER_EFFECT");
    return value && for_ == value;
}

#ifdef __GNUC__
__attribute__((no_sanitize("undefined")))  // the sanitizer would end the process before the crash
#endif
void Crash() {
    static volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
}

PF_Err GlobalSetup(const PF_InData& in, PF_OutData& out) {
    if (Asked("crashes")) Crash();
    if (Asked("throws")) throw std::runtime_error("no");
    if (Asked("refuses everybody")) return PF_Err_OUT_OF_MEMORY;
    if (Asked("refuses the editor") && in.appl_id == kAppIdEditor) return PF_Err_INTERNAL_STRUCT_DAMAGED;
    out.my_version = 3u << 26 | 5u << 19 | 9u << 15 | 4u << 11 | 3u << 9 | 321;  // 29.9.4, stage 3, build 321
    out.out_flags = out.out_flags2 = -1;
    return PF_Err_NONE;
}

PF_Err Add(const PF_InData& in, PF_ParamType type, const char* name, std::int32_t id, PF_ParamDef definition = {}) {
    definition.param_type = type;
    definition.uu.id = id;
    std::memcpy(definition.name, name, std::min(std::strlen(name), sizeof definition.name));
    return in.inter.add_param(in.effect_ref, -1, &definition);
}

PF_Err ParamsSetup(const PF_InData& in, PF_OutData& out) {
    PF_ParamDef slider{}, popup{}, nameless{}, point{};
    slider.u.fs_d = {.valid_min = -0.1F,
                     .valid_max = 1e9F,
                     .slider_min = 0,
                     .slider_max = 0.3F,
                     .dephault = 0.05F,
                     .precision = 3};
    popup.u.pd = {.num_choices = 2, .dephault = 2, .u = {"one||three"}};
    point.u.td = {.restrict_bounds = 1, .x_dephault = -65536 / 4, .y_dephault = 65536 * 120};
    struct Added {
        PF_ParamType type;
        const char* name;
        const PF_ParamDef& values;
    };
    const PF_ParamDef none{};
    const Added added[] = {
        {PF_Param_FLOAT_SLIDER, "Finely", slider},          {PF_Param_POPUP, "Menu", popup},
        {PF_Param_POPUP, "Menu of nothing", nameless},      {PF_Param_POINT, "Inside", point},
        {PF_Param_CHECKBOX, "\x1b[31mred\nline", none},     {PF_Param_COLOR, "not \xff UTF-8", none},
        {77, "a name of thirty-two characters, all", none},
    };
    std::int32_t id = 100;
    for (const auto& [type, name, values] : added) {
        if (const PF_Err error = Add(in, type, name, id++, values)) return error;
    }
    out.num_params = 8;
    return PF_Err_NONE;
}

}  // namespace

EXPORT PF_Err PluginDataEntryFunction(PF_PluginDataPtr in, PF_PluginDataCB callback, SPBasicSuite*, const char*,
                                      const char*) {
    const auto bytes = [](const char* text) { return reinterpret_cast<const std::uint8_t*>(text); };
    return callback(in, bytes("Other"), bytes("other match"), bytes(""), bytes("EffectMain"), 1, 12, 3, 0);
}

EXPORT PF_Err EffectMain(PF_Cmd command, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef*, void*) {
    if (command == PF_Cmd_GLOBAL_SETUP) return GlobalSetup(*in, *out);
    if (command == PF_Cmd_PARAMS_SETUP)
        return Asked("has no parameters") ? PF_Err_BAD_CALLBACK_PARAM : ParamsSetup(*in, *out);
    return PF_Err_NONE;
}
