// A suite that is acquired directly, for a part of one command.
#pragma once

#include <cstdint>

#include "host/host_call.h"
#include "pf_suites.h"

namespace nuv {

// Holds no suite before Acquire. The destructor releases the suite if the host gave one. Use it on the command's
// thread only.
template <class Structure>
class ScopedSuite {
public:
    ScopedSuite(SPBasicSuite* basic, const char* name, std::int32_t version)
        : basic_(basic), name_(name), version_(version) {}
    ~ScopedSuite() {
        if (suite_ != nullptr) GiveBackToHost(basic_->ReleaseSuite, name_, version_);
    }
    ScopedSuite(const ScopedSuite&) = delete;
    ScopedSuite& operator=(const ScopedSuite&) = delete;

    // Call it at most once. Returns the host's code. Only get() tells whether there is a suite, because a host may
    // give one together with an error, or none together with success.
    std::int32_t Acquire() {
        const void* acquired = nullptr;
        const std::int32_t error = CallHost(basic_->AcquireSuite, name_, version_, &acquired);
        suite_ = static_cast<const Structure*>(acquired);
        return error;
    }

    // Leaves the suite acquired: the destructor will not release it.
    void Abandon() { suite_ = nullptr; }

    const Structure* get() const { return suite_; }
    const Structure* operator->() const { return suite_; }
    explicit operator bool() const { return suite_ != nullptr; }

private:
    SPBasicSuite* basic_;
    const char* name_;
    std::int32_t version_;
    const Structure* suite_ = nullptr;
};

}  // namespace nuv
