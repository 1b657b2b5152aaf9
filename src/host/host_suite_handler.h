// The suites that one command of the host uses.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "host/suite_table.h"
#include "pf_suites.h"

namespace nuv {

// A text that can be a template argument, so that Suite() below can take a suite's name as one.
template <std::size_t N>
struct SuiteName {
    char text[N];
    constexpr SuiteName(const char (&literal)[N]) { std::copy_n(literal, N, text); }
};

// The structure of a suite's callbacks. It is `void` for the suites that the effect never asks for.
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

// Acquires each suite when the command first asks for it. The destructor releases all acquired suites in the order
// of kSuiteReleaseOrder. Make it on the stack of one command handler, and use it on the command's thread only.
class HostSuiteHandler {
public:
    // Acquires nothing. The host owns `basic`, which must live longer than this object. Throws the int
    // PF_Err_BAD_CALLBACK_PARAM if `basic` is null.
    explicit HostSuiteHandler(SPBasicSuite* basic);
    ~HostSuiteHandler();
    HostSuiteHandler(const HostSuiteHandler&) = delete;
    HostSuiteHandler& operator=(const HostSuiteHandler&) = delete;

    // Returns a suite of the table; any other suite does not compile. The result is never null, and is valid as
    // long as this object. Throws the int PF_Err_BAD_CALLBACK_PARAM if the host does not give the suite; the next
    // call for it asks the host again.
    template <SuiteName name, std::int32_t version>
    const typename SuiteStructure<name, version>::Type* Suite() {
        constexpr std::size_t slot = SuiteSlot({name.text, version});
        static_assert(slot < kSuiteReleaseOrder.size(), "kSuiteReleaseOrder does not have this suite");
        return static_cast<const typename SuiteStructure<name, version>::Type*>(Acquire(slot));
    }

private:
    const void* Acquire(std::size_t slot);

    SPBasicSuite* basic_;
    // The acquired suites, in the order of kSuiteReleaseOrder; null if not acquired. A suite that is in the table
    // twice uses its first place.
    std::array<const void*, kSuiteReleaseOrder.size()> slots_{};
};

}  // namespace nuv
