#include <string>

#include "reference_host/callbacks/callbacks.h"
#include "reference_host/internal/host_impl.h"

namespace refhost {
namespace {

struct Put {
    PF_ParamDef& param;

    void operator()(const PointValue& value) const {
        if (param.param_type != PF_Param_POINT) return;
        param.u.td.x_value = value.x;
        param.u.td.y_value = value.y;
    }
    void operator()(const PopupValue& value) const {
        if (param.param_type == PF_Param_POPUP) param.u.pd.value = value.choice;
    }
    void operator()(const SliderValue& value) const {
        if (param.param_type == PF_Param_FLOAT_SLIDER) param.u.fs_d.value = value.value;
    }
};

// Returns the parameter's record at this time. The record is all zero if the index does not exist.
PF_ParamDef ValueAt(const Command& command, std::int32_t index, std::int32_t time) {
    PF_ParamDef value{};
    if (index == 0) {
        value.param_type = PF_Param_LAYER;
        if (command.running) value.u.ld = command.running->input;
        return value;
    }
    const auto& params = command.running ? command.running->params : command.host.parameters;
    if (index < 0 || index > static_cast<std::int32_t>(params.size())) return value;
    value = params[static_cast<std::size_t>(index - 1)];
    if (command.running) {
        const auto found = command.running->overrides.find({time, index});
        if (found != command.running->overrides.end()) PutValue(found->second, value);
    }
    return value;
}

// Finds the check-out that a check-in of this record ends: the latest check-out of the record in this command.
// Returns end() if there is none.
auto FindCheckout(Account::State& state, const Command& command, const PF_ParamDef* param) {
    const auto [first, last] = state.checkouts.equal_range(param);
    auto found = state.checkouts.end();
    for (auto it = first; it != last; ++it) {
        if (it->second.command == command.serial) found = it;
    }
    return found;
}

}  // namespace

void PutValue(const ParamValue& value, PF_ParamDef& param) {
    std::visit(Put{param}, value);
}

PF_Err CheckoutParam(PF_ProgPtr ref, std::int32_t index, std::int32_t whatTime, std::int32_t, std::uint32_t,
                     PF_ParamDef* param) {
    const Callback callback(Call::checkoutParam, ref);
    const auto fate = callback.Fate([&] { return std::to_string(index); });
    if (!callback) return *fate;
    if (!param) {
        callback.ReportMisuse("no record to fill");
        return fate.value_or(PF_Err_BAD_CALLBACK_PARAM);
    }
    auto& state = callback.state();
    {
        const std::lock_guard lock(state.mutex);
        state.checkouts.emplace(param, ParamCheckout{index, callback.command().serial, fate.has_value()});
    }
    if (fate) return *fate;
    // A check-out of an index that does not exist succeeds and gives a record of zeros. The compositing host hides
    // this mistake in the same way.
    *param = ValueAt(callback.command(), index, whatTime);
    return PF_Err_NONE;
}

PF_Err CheckinParam(PF_ProgPtr ref, PF_ParamDef* param) {
    const Callback callback(Call::checkinParam, ref);
    if (!callback) return PF_Err_INVALID_CALLBACK;
    std::optional<std::int32_t> index;
    {
        auto& state = callback.state();
        const std::lock_guard lock(state.mutex);
        if (const auto found = FindCheckout(state, callback.command(), param); found != state.checkouts.end()) {
            index = found->second.index;
            state.checkouts.erase(found);
        }
    }
    if (!index) callback.ReportMisuse("the record was not checked out in this command");
    const auto fate = callback.Fate([&] { return index ? std::to_string(*index) : std::string(); });
    return fate.value_or(index ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM);
}

PF_Err AddParam(PF_ProgPtr ref, std::int32_t index, PF_ParamDef* param) {
    const Callback callback(Call::addParam, ref);
    const auto fate = callback.Fate([&] { return std::to_string(callback.command().host.parameters.size() + 1); });
    if (fate) return *fate;
    if (!param) {
        callback.ReportMisuse("no definition");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    if (index != -1) {
        callback.ReportMisuse("index " + std::to_string(index) + " instead of -1, which appends");
        return PF_Err_INVALID_INDEX;
    }
    auto& host = callback.command().host;
    PF_ParamDef copy = *param;
    if (copy.param_type == PF_Param_POPUP && copy.u.pd.u.namesptr) {
        copy.u.pd.u.namesptr = host.choices.emplace_back(copy.u.pd.u.namesptr).c_str();
    }
    host.parameters.push_back(copy);
    return PF_Err_NONE;
}

}  // namespace refhost
