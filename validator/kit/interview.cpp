#include "validator/kit/interview.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace validator {
namespace {

constexpr std::int32_t kAppend = -1;

refhost::HostOptions OptionsFor(Context& context, refhost::Personality personality) {
    auto options = context.HostOptions();
    options.personality = personality;
    return options;
}

// The bytes of the definition, with the text of the choices instead of its address.
std::string Comparable(const AddedParam& param) {
    PF_ParamDef definition = param.definition;
    if (definition.param_type == PF_Param_POPUP) definition.u.pd.u.namesptr = nullptr;
    return BytesOf(definition) + param.choices;
}

}  // namespace

std::string AddedParam::Name() const {
    const std::string name(definition.name, std::find(definition.name, std::end(definition.name), '\0'));
    return "parameter " + std::to_string(place) + " \"" + name + "\"";
}

std::string WhatDiffers(const std::vector<AddedParam>& a, const std::vector<AddedParam>& b) {
    if (a.size() != b.size()) {
        return "there are " + std::to_string(a.size()) + " and " + std::to_string(b.size()) + " parameters";
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (Comparable(a[i]) != Comparable(b[i])) return a[i].Name() + " differs";
    }
    return "";
}

Interview::Interview(Context& context, PF_SpecVersion version, refhost::Personality personality)
    : host(context.Load(), OptionsFor(context, personality)),
      context_(context),
      version_(version),
      outer_(std::exchange(current_, this)) {}

Interview::~Interview() {
    current_ = outer_;
}

void Interview::Prepare() {
    in = host.InData();
    theirs_ = in.inter;
    in.version = version_;
    in.global_data = globalData;
    in.inter.add_param = AddParam;
    in.inter.register_ui = RegisterUi;
    out = {};
}

PF_Err Interview::Send(PF_Cmd cmd, PF_Handle* block) {
    Prepare();
    if (cmd == PF_Cmd_PARAMS_SETUP) {
        added.clear();
        interfaces = 0;
    }
    if (block != nullptr) in.sequence_data = *block;
    const PF_Err code = host.Send(cmd, &in, &out);
    const auto live = [&](PF_Handle said, PF_Handle held) {
        return host.IsLive(said) ? said : host.IsLive(held) ? held : nullptr;
    };
    if (cmd == PF_Cmd_GLOBAL_SETUP || cmd == PF_Cmd_GLOBAL_SETDOWN) {
        globalData = live(out.global_data, in.global_data);
    }
    if (block != nullptr) *block = live(out.sequence_data, in.sequence_data);
    return code;
}

void Interview::SetUp() {
    for (const PF_Cmd cmd : {PF_Cmd_GLOBAL_SETUP, PF_Cmd_PARAMS_SETUP}) {
        const PF_Err code = Send(cmd);
        context_.Require(code == PF_Err_NONE, (cmd == PF_Cmd_GLOBAL_SETUP ? "global" : "parameter") +
                                                  std::string(" set-up in a ") + Name() + " gives code " +
                                                  std::to_string(code));
    }
}

std::string Interview::Name() const {
    return "host " + std::to_string(version_.major) + "." + std::to_string(version_.minor);
}

void Interview::RequireBlock(PF_Handle block) {
    if (!host.IsLive(block)) context_.NotApplicable("the effect keeps no sequence data");
}

std::vector<std::byte> Interview::Bytes(PF_Handle block) {
    const auto bytes = host.HandleBytes(block);
    return {bytes.begin(), bytes.end()};
}

PF_Handle Interview::NewBlock(const std::vector<std::byte>& bytes) {
    const PF_Handle block = host.NewHandle(bytes.size());
    std::ranges::copy(bytes, host.HandleBytes(block).begin());
    return block;
}

PF_Err Interview::AddParam(PF_ProgPtr ref, std::int32_t index, PF_ParamDef* definition) {
    if (definition != nullptr) {
        AddedParam param{static_cast<std::int32_t>(current_->added.size()) + 1, index, {}, {}};
        std::memcpy(&param.definition, definition, sizeof param.definition);  // with its padding
        if (definition->param_type == PF_Param_POPUP && definition->u.pd.u.namesptr != nullptr) {
            param.choices = definition->u.pd.u.namesptr;
        }
        current_->added.push_back(std::move(param));
    }
    // The check setup.params-appended judges the index that the effect asks for.
    return current_->theirs_.add_param(ref, kAppend, definition);
}

PF_Err Interview::RegisterUi(PF_ProgPtr ref, void* customUiInfo) {
    ++current_->interfaces;
    return current_->theirs_.register_ui(ref, customUiInfo);
}

bool IsPrintableAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return c >= 0x20 && c < 0x7F; });
}

}  // namespace validator
