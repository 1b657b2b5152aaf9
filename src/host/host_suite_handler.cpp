#include "host/host_suite_handler.h"

#include "host/host_call.h"

namespace nuv {

HostSuiteHandler::HostSuiteHandler(SPBasicSuite* basic) : basic_(basic) {
    if (basic == nullptr) throw int{PF_Err_BAD_CALLBACK_PARAM};
}

HostSuiteHandler::~HostSuiteHandler() {
    for (std::size_t i = 0; i < kSuiteReleaseOrder.size(); ++i) {
        if (slots_[kSuiteSlots[i]] == nullptr) continue;
        GiveBackToHost(basic_->ReleaseSuite, kSuiteReleaseOrder[i].name, kSuiteReleaseOrder[i].version);
    }
}

const void* HostSuiteHandler::Acquire(std::size_t slot) {
    if (slots_[slot] != nullptr) return slots_[slot];
    const SuiteId& suite = kSuiteReleaseOrder[slot];
    const void* acquired = nullptr;
    const std::int32_t error = CallHost(basic_->AcquireSuite, suite.name, suite.version, &acquired);
    if (error != 0 || acquired == nullptr) throw int{PF_Err_BAD_CALLBACK_PARAM};
    return slots_[slot] = acquired;
}

}  // namespace nuv
