// Suites for the length of one host command.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "host/suite_table.h"
#include "pf_suites.h"

namespace nuv {

// A string as a template argument, so that an accessor can carry its suite's name.
template <std::size_t N>
struct SuiteName {
    char text[N];
    constexpr SuiteName(const char (&literal)[N]) { std::copy_n(literal, N, text); }
};

// The structure behind a suite; `void` for those that the effect never asks for.
template <SuiteName name, std::int32_t version>
struct SuiteStructure {
    using Type = void;
};
template <>
struct SuiteStructure<"PF ANSI Suite", 1> {
    using Type = PF_ANSICallbacksSuite1;
};
template <>
struct SuiteStructure<"PF Handle Suite", 2> {
    using Type = PF_HandleSuite1;
};
template <>
struct SuiteStructure<"PF Iterate8 Suite", 1> {
    using Type = PF_Iterate8Suite1;
};

// Lives on the stack of one command handler, on the command's thread; not shared, not copied. Acquires a suite
// when it is first asked for, and releases all that it acquired when it goes, in the order of kSuiteReleaseOrder.
class HostSuiteHandler {
public:
    // Acquires nothing. Throws the int PF_Err_BAD_CALLBACK_PARAM when `basic` is null. `basic` stays the host's.
    explicit HostSuiteHandler(SPBasicSuite* basic);
    ~HostSuiteHandler();
    HostSuiteHandler(const HostSuiteHandler&) = delete;
    HostSuiteHandler& operator=(const HostSuiteHandler&) = delete;

    // One accessor for every suite of the table; any other does not compile. Never null, valid as long as this
    // object. Throws the int PF_Err_BAD_CALLBACK_PARAM when the host does not supply the suite; a later call
    // asks the host again.
    template <SuiteName name, std::int32_t version>
    const typename SuiteStructure<name, version>::Type* Suite() {
        constexpr std::size_t slot = SuiteSlot({name.text, version});
        static_assert(slot < kSuiteReleaseOrder.size(), "a suite that the release order does not know");
        return static_cast<const typename SuiteStructure<name, version>::Type*>(Acquire(slot));
    }

private:
    const void* Acquire(std::size_t slot);

    SPBasicSuite* basic_;
    std::array<const void*, kSuiteReleaseOrder.size()> slots_{};  // only first places are used; null: not acquired
};

}  // namespace nuv
