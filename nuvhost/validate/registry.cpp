#include "registry.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace nuvhost::validate {
namespace {

constexpr std::span<const Check> (*kFamilies[])() = {
    LoadingChecks,
    RegistrationChecks,
    SetupChecks,
    SetupParamsChecks,
    AboutChecks,
    SequenceChecks,
    SequenceDataChecks,
    PrerenderChecks,
    RenderChecks,
    LayoutChecks,
    PixelsChecks,
    ThreadsChecks,
    FaultsChecks,
    SetUpFaultsChecks,
#if defined(__linux__)
    SystemFaultsChecks,
#endif
    MisuseChecks,
    ExceptionsChecks,
#if defined(_WIN32)
    PropertyListChecks,
#endif
};

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

bool MatchesGlob(std::string_view text, std::string_view glob) {
    if (glob.empty()) return text.empty();
    if (glob.front() == '*') {
        return MatchesGlob(text, glob.substr(1)) || (!text.empty() && MatchesGlob(text.substr(1), glob));
    }
    return !text.empty() && (glob.front() == '?' || glob.front() == text.front()) &&
           MatchesGlob(text.substr(1), glob.substr(1));
}

}  // namespace nuvhost::validate
