#include "validator/registry.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace validator {
namespace {

#define NUV_CHECKS(family) family##Checks,
constexpr std::span<const Check> (*kFamilies[])() = {NUV_FAMILIES(NUV_CHECKS)};
#if defined(_WIN32)
constexpr std::span<const Check> (*kOfThisSystem[])() = {NUV_WINDOWS_FAMILIES(NUV_CHECKS)};
constexpr std::span<const std::string_view> kOnThis = kWindowsChecks, kOnOther = kLinuxChecks;
#else
constexpr std::span<const Check> (*kOfThisSystem[])() = {NUV_LINUX_FAMILIES(NUV_CHECKS)};
constexpr std::span<const std::string_view> kOnThis = kLinuxChecks, kOnOther = kWindowsChecks;
#endif
#undef NUV_CHECKS

bool IsId(std::string_view id) {
    const std::size_t dot = id.find('.');
    const auto allowed = [](char c) { return c == '-' || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); };
    return dot != 0 && dot != std::string_view::npos && dot + 1 < id.size() &&
           std::ranges::all_of(id.substr(0, dot), allowed) && std::ranges::all_of(id.substr(dot + 1), allowed);
}

std::vector<Check> Collect() {
    std::vector<Check> checks;
    std::set<std::string_view> ids;
    for (const auto family : kFamilies) {
        for (const Check& check : family()) {
            if (!IsId(check.id) || !ids.insert(check.id).second || check.run == nullptr) {
                throw std::logic_error("check \"" + std::string(check.id) + "\": malformed or listed twice");
            }
            checks.push_back(check);
        }
    }
    std::set<std::string_view> alone;
    for (const auto family : kOfThisSystem) {
        for (const Check& check : family())
            alone.insert(check.id);
    }
    if (alone != std::set(kOnThis.begin(), kOnThis.end())) {
        throw std::logic_error("the checks of this system in registry.h are not those of its families");
    }
    for (const std::string_view id : kOnOther) {
        if (ids.contains(id))
            throw std::logic_error("check \"" + std::string(id) +
                                   "\": exists on both systems, but registry.h lists it for one");
    }
    std::ranges::stable_sort(checks, std::ranges::greater{},
                             [](const Check& check) { return check.kind == Kind::gate; });
    return checks;
}

}  // namespace

std::span<const Check> AllChecks() {
    static const std::vector<Check> checks = Collect();
    return checks;
}

const Check* FindCheck(std::string_view id) {
    const auto found = std::ranges::find(AllChecks(), id, &Check::id);
    return found == AllChecks().end() ? nullptr : &*found;
}

bool IsOfOtherSystem(std::string_view id) {
    return std::ranges::find(kOnOther, id) != kOnOther.end();
}

// After a mismatch only the last star is extended. This is enough, and it stays fast if the pattern has many stars.
bool MatchesGlob(std::string_view text, std::string_view glob) {
    std::size_t at = 0, in = 0, star = glob.npos, resume = 0;
    while (at < text.size()) {
        if (in < glob.size() && glob[in] == '*') {
            star = in++;
            resume = at;
        } else if (in < glob.size() && (glob[in] == '?' || glob[in] == text[at])) {
            ++at;
            ++in;
        } else if (star != glob.npos) {
            at = ++resume;
            in = star + 1;
        } else {
            return false;
        }
    }
    return glob.find_first_not_of('*', in) == glob.npos;
}

}  // namespace validator
