#include "reference_host/calls.h"

#include "reference_host/internal/call_rules.h"

namespace refhost {

std::string_view Name(Call call) {
    return RuleOf(call).name;
}

}  // namespace refhost
