// A suite acquired directly, for a stretch of one command.
#pragma once

#include <cstdint>

#include "pf_suites.h"

namespace nuv {

// Empty until Acquire; released when it goes, if the host gave anything. Command thread only.
template <class Structure>
class ScopedSuite {
public:
    ScopedSuite(SPBasicSuite* basic, const char* name, std::int32_t version)
        : basic_(basic), name_(name), version_(version) {}
    ~ScopedSuite() {
        if (suite_ == nullptr) return;
        try {
            basic_->ReleaseSuite(name_, version_);
        } catch (...) {
            // A failing release changes nothing about the command's result.
        }
    }
    ScopedSuite(const ScopedSuite&) = delete;
    ScopedSuite& operator=(const ScopedSuite&) = delete;

    // At most once. The host's own code; whether there is a suite is for get() to say, whatever the code.
    std::int32_t Acquire() {
        const void* acquired = nullptr;
        const std::int32_t error = basic_->AcquireSuite(name_, version_, &acquired);
        suite_ = static_cast<const Structure*>(acquired);
        return error;
    }

    // Leaves the suite acquired: nothing will release it.
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
