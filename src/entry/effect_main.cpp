#include <array>

#include "entry/entry_points.h"
#include "entry/lifecycle.h"
#include "host/require.h"
#include "params/params.h"
#include "render/render_commands.h"

namespace nuv {
namespace {

struct Arguments {
    PF_InData* inData;
    PF_OutData* outData;
    PF_ParamDef** params;
    PF_LayerDef* output;
    void* extra;
};

using Handler = PF_Err (*)(const Arguments&);

// The handler requires the record for its answer where it first writes there. Some commands write nothing.
template <PF_Err handler(PF_InData*, PF_OutData*)>
PF_Err WithOutData(const Arguments& a) {
    Require(a.inData);
    return handler(a.inData, a.outData);
}

PF_Err WithParamsAndOutput(const Arguments& a) {
    Require(a.inData);
    return PlainRender(a.inData, a.params, a.output);
}

void RequireRecords(const PF_PreRenderExtra& extra) {
    Require(extra.input, extra.output, extra.cb);
}
void RequireRecords(const PF_SmartRenderExtra& extra) {
    Require(extra.input, extra.cb);
}

template <class Extra, PF_Err handler(PF_InData*, Extra*)>
PF_Err WithExtra(const Arguments& a) {
    Require(a.inData, a.extra);
    auto* const extra = static_cast<Extra*>(a.extra);
    RequireRecords(*extra);
    return handler(a.inData, extra);
}

// The handlers by command number. A null entry means that the command needs no work and succeeds.
constexpr auto kHandlers = [] {
    std::array<Handler, PF_Cmd_SMART_RENDER + 1> table{};
    table[PF_Cmd_ABOUT] = WithOutData<About>;
    table[PF_Cmd_GLOBAL_SETUP] = WithOutData<GlobalSetup>;
    table[PF_Cmd_PARAMS_SETUP] = WithOutData<ParamsSetup>;
    table[PF_Cmd_SEQUENCE_SETUP] = WithOutData<SequenceSetup>;
    table[PF_Cmd_SEQUENCE_RESETUP] = WithOutData<SequenceResetup>;
    table[PF_Cmd_SEQUENCE_SETDOWN] = WithOutData<SequenceSetdown>;
    table[PF_Cmd_RENDER] = WithParamsAndOutput;
    table[PF_Cmd_SMART_PRE_RENDER] = WithExtra<PF_PreRenderExtra, SmartPreRender>;
    table[PF_Cmd_SMART_RENDER] = WithExtra<PF_SmartRenderExtra, SmartRender>;
    return table;
}();

}  // namespace

PF_Err Dispatch(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[], PF_LayerDef* output,
                void* extra) noexcept {
    const auto number = static_cast<std::uint32_t>(cmd);
    if (number >= kHandlers.size() || kHandlers[number] == nullptr) return PF_Err_NONE;
    try {
        return kHandlers[number]({inData, outData, params, output, extra});
    } catch (int code) {
        return code;
    } catch (...) {
        return PF_Err_INTERNAL_STRUCT_DAMAGED;
    }
}

}  // namespace nuv
