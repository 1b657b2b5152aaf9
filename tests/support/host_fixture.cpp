#include "host_fixture.h"

#include <cstdint>

namespace refhost {
namespace {

PF_Err FakeMain(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[], PF_LayerDef* output,
                void* extra) {
    return g_effect ? g_effect({cmd, in, out, params, output, extra}) : PF_Err_NONE;
}

PF_Err FakeRegistration(PF_PluginDataPtr inPtr, PF_PluginDataCB callback, SPBasicSuite*, const char*, const char*) {
    const auto text = [](const char* s) { return reinterpret_cast<const std::uint8_t*>(s); };
    return callback(inPtr, text("Name"), text("match"), text("Category"), text("Main"), 1, 2, 3, 4);
}

}  // namespace

PluginLibrary FakeEffect() {
    return {FakeMain, FakeRegistration};
}

std::vector<std::byte> Counting(std::size_t size) {
    std::vector<std::byte> bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::byte>(i * 7 + 1);
    return bytes;
}

void AddParams(const Arguments& a) {
    PF_ParamDef point{};
    point.uu.id = 12;
    point.param_type = PF_Param_POINT;
    point.u.td.x_dephault = 50 << 16;
    point.u.td.y_dephault = 25 << 16;
    a.in->inter.add_param(a.in->effect_ref, -1, &point);

    std::string choices = "One|Two";
    PF_ParamDef popup{};
    popup.uu.id = 11;
    popup.param_type = PF_Param_POPUP;
    popup.u.pd.num_choices = 2;
    popup.u.pd.dephault = 2;
    popup.u.pd.u.namesptr = choices.c_str();
    a.in->inter.add_param(a.in->effect_ref, -1, &popup);

    PF_ParamDef slider{};
    slider.uu.id = 13;
    slider.param_type = PF_Param_FLOAT_SLIDER;
    slider.u.fs_d.dephault = 1.5f;
    a.in->inter.add_param(a.in->effect_ref, -1, &slider);
    a.out->num_params = 4;
}

const PF_WorldSuite2& WorldSuite(const Arguments& a) {
    const void* suite = nullptr;
    a.in->pica_basicP->AcquireSuite("PF World Suite", 2, &suite);
    a.in->pica_basicP->ReleaseSuite("PF World Suite", 2);
    return *static_cast<const PF_WorldSuite2*>(suite);
}

void HostTest::SetUp() {
    g_effect = [](const Arguments& a) {
        if (a.cmd == PF_Cmd_PARAMS_SETUP) AddParams(a);
        return PF_Err_NONE;
    };
    host.SetUp();
    g_effect = nullptr;
    host.account().Reset();
}

PF_Err HostTest::Do(const std::function<void(const Arguments&)>& work, PF_Cmd cmd) {
    g_effect = [&](const Arguments& a) {
        work(a);
        return PF_Err_NONE;
    };
    PF_InData in = host.InData();
    PF_OutData out{};
    const PF_Err code = host.Send(cmd, &in, &out);
    g_effect = nullptr;
    return code;
}

}  // namespace refhost
