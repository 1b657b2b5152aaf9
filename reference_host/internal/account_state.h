// The inside of an Account.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "reference_host/account.h"
#include "reference_host/internal/handle_store.h"
#include "reference_host/world.h"

namespace refhost {

struct SuiteUse {
    std::int64_t acquired = 0;
    std::int64_t released = 0;
};

struct ParamCheckout {
    std::int32_t index = 0;
    std::uint64_t command = 0;  // Command::serial of the check-out
    bool failed = false;        // the check-out failed: the effect may check it in, but need not
};

struct Account::State {
    void AddMisuse(std::string sentence);

    std::array<std::atomic<std::int64_t>, kCallKinds> counts{};
    HandleStore handles;

    std::mutex mutex;  // guards all members below
    std::vector<CallRecord> calls;
    std::vector<std::string> misuse;
    std::map<std::pair<std::string, std::int32_t>, SuiteUse> suites;
    std::set<std::pair<std::string, std::int32_t>> missing;
    std::multimap<const PF_ParamDef*, ParamCheckout> checkouts;  // by the effect's record
    std::multimap<const PF_EffectWorld*, World> worlds;          // made for the effect; by the effect's record
    std::vector<PF_PixelFormat> formats;                         // declared at global set-up
};

}  // namespace refhost
