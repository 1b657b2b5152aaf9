// What the effect tells a host that scans plug-ins.
#include <algorithm>
#include <optional>
#include <tuple>

#include "platform/module.h"
#include "validator/registry.h"

namespace validator {
namespace {

constexpr std::size_t kLongestName = 31;
constexpr std::int32_t kEffectKind = 0x65464B54;  // 'eFKT'
constexpr std::int32_t kApiMajor = 13;
constexpr std::int32_t kThreadedApiMinor = 25;

refhost::Registration Scan(Context& context) {
    return refhost::Host(context.Load(), context.HostOptions()).Scan();
}

void ExpectName(Context& context, const std::string& what, const std::string& name) {
    context.Expect(!name.empty() && name.size() <= kLongestName,
                   what + " \"" + name + "\" has " + std::to_string(name.size()) + " characters");
    context.Expect(std::ranges::none_of(name, [](char c) { return static_cast<unsigned char>(c) < 0x20; }),
                   what + " holds control characters");
}

void RegistersOnce(Context& context) {
    const auto registration = Scan(context);
    context.Expect(registration.calls == 1,
                   "the callback was called " + std::to_string(registration.calls) + " times");
}

void Succeeds(Context& context) {
    const PF_Err result = Scan(context).result;
    context.Expect(result == PF_Err_NONE, "the scan gives code " + std::to_string(result));
}

void HasName(Context& context) {
    ExpectName(context, "the name", Scan(context).name);
}

void HasCategory(Context& context) {
    ExpectName(context, "the category", Scan(context).category);
}

void HasMatchName(Context& context) {
    const std::string name = Scan(context).matchName;
    ExpectName(context, "the match name", name);
    context.Expect(std::ranges::all_of(name, [](char c) { return static_cast<unsigned char>(c) < 0x7F; }),
                   "the match name is not plain ASCII");
}

void NamesTheEntryPoint(Context& context) {
    const std::string name = Scan(context).entryPoint;
    context.Expect(!name.empty() && platform::Module(context.plugin()).Find(name.c_str()) != nullptr,
                   "the entry point \"" + name + "\" is not exported");
}

void IsAnEffect(Context& context) {
    const std::int32_t kind = Scan(context).kind;
    context.Expect(kind == kEffectKind, "the kind is " + std::to_string(kind) + ", not 'eFKT'");
}

void HasApiVersion(Context& context) {
    const auto registration = Scan(context);
    context.Expect(registration.apiMajor == kApiMajor && registration.apiMinor >= 0,
                   "the effect interface is " + std::to_string(registration.apiMajor) + "." +
                       std::to_string(registration.apiMinor));
}

void HasApiForThreads(Context& context) {
    refhost::Host host(context.Load(), context.HostOptions());
    const auto registration = host.Scan();
    context.Require(host.GlobalSetup() == PF_Err_NONE, "global set-up fails");
    const auto flags2 = static_cast<std::uint32_t>(host.outData().out_flags2);
    if ((flags2 & PF_OutFlag2_SUPPORTS_THREADED_RENDERING) == 0) {
        context.NotApplicable("the effect does not declare threaded rendering");
    }
    context.Expect(registration.apiMinor >= kThreadedApiMinor,
                   "threaded rendering is declared with the interface " + std::to_string(registration.apiMajor) +
                       "." + std::to_string(registration.apiMinor));
}

// ---- The callback ---------------------------------------------------------------------------------------------

// A scan with a callback of our own, which stores what the effect passes to it and returns `answer`.
struct ByHand {
    PF_Err answer = PF_Err_NONE;
    PF_Err result = PF_Err_NONE;
    PF_PluginDataPtr passed = nullptr;
    static inline ByHand* current = nullptr;

    static PF_Err Callback(PF_PluginDataPtr inPtr, const std::uint8_t*, const std::uint8_t*, const std::uint8_t*,
                           const std::uint8_t*, std::int32_t, std::int32_t, std::int32_t, std::int32_t) {
        current->passed = inPtr;
        return current->answer;
    }

    void Scan(const refhost::PluginLibrary& library, PF_PluginDataPtr record) {
        current = this;
        result = library.pluginDataEntryFunction(record, Callback, nullptr, "host", "1.0");
    }
};

PF_PluginDataPtr SomeRecord() {
    static char anchor[64];
    return reinterpret_cast<PF_PluginDataPtr>(anchor + 16);
}

void PassesTheRecord(Context& context) {
    ByHand scan;
    scan.Scan(context.Load(), SomeRecord());
    context.Expect(scan.passed == SomeRecord(), "the callback does not get the record that the host passed");
}

void PassesTheAnswer(Context& context) {
    for (const PF_Err answer : {PF_Err_OUT_OF_MEMORY, PF_Err_INVALID_CALLBACK, 77, -1}) {
        ByHand scan;
        scan.answer = answer;
        scan.Scan(context.Load(), SomeRecord());
        context.Expect(scan.result == answer,
                       "the callback's code " + std::to_string(answer) + " became " + std::to_string(scan.result));
    }
}

// ---- Repeated and everywhere ----------------------------------------------------------------------------------

auto Identity(const refhost::Registration& r) {
    return std::tuple(r.name, r.matchName, r.category, r.entryPoint, r.kind, r.apiMajor, r.apiMinor, r.reserved);
}

void IsRepeatable(Context& context) {
    const auto library = context.Load();
    std::optional<refhost::Registration> first;
    for (const refhost::PersonalityTraits& traits : refhost::kPersonalities) {
        auto options = context.HostOptions();
        options.personality = traits.personality;
        refhost::Host host(library, options);
        for (int i = 0; i < 3; ++i) {
            const auto registration = host.Scan();
            if (!first) first = registration;
            context.Expect(Identity(registration) == Identity(*first), "a later scan registers a different effect");
        }
    }
}

void HoldsNothing(Context& context) {
    refhost::Host host(context.Load(), context.HostOptions());
    host.Scan();
    context.ExpectNone(host.account().Outstanding(), "kept after the scan");
    context.ExpectNone(host.account().Misuse(), "misuse");
}

constexpr Check kChecks[] = {
    {"registration.succeeds", "Registration answers a host's scan with success.", Where::both, Succeeds,
     Kind::gate},
    {"registration.once", "One scan registers one effect, by one call of the host's callback.", Where::both,
     RegistersOnce},
    {"registration.name", "The name has 1 to 31 characters, none of them a control character.", Where::compositor,
     HasName},
    {"registration.category", "The category has 1 to 31 characters, none of them a control character.",
     Where::compositor, HasCategory},
    {"registration.match-name", "The match name has 1 to 31 characters of printable ASCII.", Where::compositor,
     HasMatchName},
    {"registration.entry-point", "The registration names the entry point that the file exports.", Where::compositor,
     NamesTheEntryPoint},
    {"registration.kind", "The plug-in registers as an effect.", Where::compositor, IsAnEffect},
    {"registration.api-version", "The effect interface is version 13, which is what hosts load.", Where::compositor,
     HasApiVersion},
    {"registration.api-for-threads",
     "An effect that declares threaded rendering asks for effect interface 13.25 or later.", Where::both,
     HasApiForThreads},
    {"registration.record-passed", "The effect passes the host's own record to the callback.", Where::compositor,
     PassesTheRecord},
    {"registration.answer-passed", "Registration returns whatever code the callback returns.", Where::compositor,
     PassesTheAnswer},
    {"registration.repeatable", "Every scan in every host registers the same effect.", Where::compositor,
     IsRepeatable},
    {"registration.holds-nothing", "After a scan the effect holds nothing of the host.", Where::both, HoldsNothing},
};

}  // namespace

std::span<const Check> RegistrationChecks() {
    return kChecks;
}

}  // namespace validator
