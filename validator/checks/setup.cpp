// Global set-up and set-down, and what all set-up commands have in common.
#include <algorithm>
#include <cstdio>
#include <set>

#include "reference_host/pixel_formats.h"
#include "validator/kit/interview.h"
#include "validator/registry.h"

namespace validator {
namespace {

std::uint32_t Flags(const Interview& interview) {
    return static_cast<std::uint32_t>(interview.out.out_flags);
}
std::uint32_t Flags2(const Interview& interview) {
    return static_cast<std::uint32_t>(interview.out.out_flags2);
}

void ExpectCode(Context& context, const Interview& interview, PF_Err code) {
    context.Expect(code == PF_Err_NONE, "in a " + interview.Name() + " it gives code " + std::to_string(code));
}

void GlobalSetupSucceeds(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        ExpectCode(context, interview, interview.Send(PF_Cmd_GLOBAL_SETUP));
    });
}

void ParamsSetupSucceeds(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        interview.Send(PF_Cmd_GLOBAL_SETUP);
        ExpectCode(context, interview, interview.Send(PF_Cmd_PARAMS_SETUP));
    });
}

// ---- Version and flags ----------------------------------------------------------------------------------------

void HasVersion(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        interview.Send(PF_Cmd_GLOBAL_SETUP);
        context.Expect(interview.out.my_version != 0, "in a " + interview.Name() + " the version is 0");
    });
}

void SaysTheSameAgain(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        interview.Send(PF_Cmd_GLOBAL_SETUP);
        const PF_OutData first = interview.out;
        interview.Send(PF_Cmd_GLOBAL_SETDOWN);
        interview.Send(PF_Cmd_GLOBAL_SETUP);
        context.Expect(interview.out.my_version == first.my_version, "the version changes");
        context.Expect(interview.out.out_flags == first.out_flags, "the flags change");
        context.Expect(interview.out.out_flags2 == first.out_flags2, "the second flags change");
    });
}

// In hosts of each version, an effect that declares the first flag must declare the other flags, too.
template <std::uint32_t one2, std::uint32_t other, std::uint32_t other2>
void Demands(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        interview.Send(PF_Cmd_GLOBAL_SETUP);
        const bool declared = (Flags2(interview) & one2) != 0;
        const bool met = (Flags(interview) & other) == other && (Flags2(interview) & other2) == other2;
        context.Expect(!declared || met,
                       "a " + interview.Name() + " gets the flag without another flag that it requires");
    });
}

constexpr auto FloatDemandsSmartRender =
    Demands<PF_OutFlag2_FLOAT_COLOR_AWARE, 0, PF_OutFlag2_SUPPORTS_SMART_RENDER>;
constexpr auto FloatDemandsDeep = Demands<PF_OutFlag2_FLOAT_COLOR_AWARE, PF_OutFlag_DEEP_COLOR_AWARE, 0>;

struct Interface {
    std::string host;
    bool declared, registered;
};

std::vector<Interface> Interfaces(Context& context) {
    std::vector<Interface> found;
    InEachVersion(context, [&](Interview& interview) {
        interview.Send(PF_Cmd_GLOBAL_SETUP);
        const bool declared = (Flags(interview) & PF_OutFlag_CUSTOM_UI) != 0;
        interview.Send(PF_Cmd_PARAMS_SETUP);
        found.push_back({interview.Name(), declared, interview.interfaces > 0});
    });
    return found;
}

void UsesItsInterface(Context& context) {
    for (const Interface& in : Interfaces(context))
        context.Expect(!in.declared || in.registered, "in a " + in.host + " nothing is registered");
}

void DeclaresItsInterface(Context& context) {
    for (const Interface& in : Interfaces(context))
        context.Expect(in.declared || !in.registered, "in a " + in.host + " one is registered but not declared");
}

void AnswersParamUpdates(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        interview.SetUp();
        interview.Send(PF_Cmd_GLOBAL_SETUP);
        if ((Flags(interview) & PF_OutFlag_SEND_UPDATE_PARAMS_UI) == 0) return;
        std::vector<PF_ParamDef> values(1);
        for (const AddedParam& param : interview.added)
            values.push_back(param.definition);
        std::vector<PF_ParamDef*> pointers;
        pointers.reserve(values.size());
        for (PF_ParamDef& value : values)
            pointers.push_back(&value);
        interview.Prepare();
        ExpectCode(context, interview,
                   interview.host.Send(PF_Cmd_UPDATE_PARAMS_UI, &interview.in, &interview.out, pointers.data()));
    });
}

// ---- What set-up leaves behind --------------------------------------------------------------------------------

constexpr PF_Cmd kSetUp[] = {PF_Cmd_GLOBAL_SETUP, PF_Cmd_PARAMS_SETUP};

void LeavesNoMessage(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        for (const PF_Cmd cmd : kSetUp) {
            interview.Send(cmd);
            context.Expect(interview.out.return_msg[0] == '\0', "in a " + interview.Name() + " there is a text");
            context.Expect((Flags(interview) & PF_OutFlag_DISPLAY_ERROR_MESSAGE) == 0,
                           "a " + interview.Name() + " is asked to show a message");
        }
    });
}

void WritesItsFieldsOnly(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        for (const PF_Cmd cmd : kSetUp) {
            interview.Send(cmd);
            PF_OutData rest = interview.out;
            rest.my_version = 0;
            rest.out_flags = rest.out_flags2 = rest.num_params = 0;
            rest.global_data = nullptr;
            std::ranges::fill(rest.name, '\0');
            std::ranges::fill(rest.return_msg, '\0');
            context.Expect(BytesOf(rest) == BytesOf(PF_OutData{}),
                           "in a " + interview.Name() + " a field that does not belong to set-up is written");
        }
    });
}

void KeepsInData(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        for (const PF_Cmd cmd : kSetUp) {
            interview.Prepare();
            const std::string before = BytesOf(interview.in);
            interview.host.Send(cmd, &interview.in, &interview.out);
            context.Expect(BytesOf(interview.in) == before, "in a " + interview.Name() + " the record changes");
        }
    });
}

std::vector<std::string> Outstanding(Interview& interview, std::string_view beginning) {
    auto lines = interview.host.account().Outstanding();
    std::erase_if(lines, [&](const std::string& line) { return !line.starts_with(beginning); });
    return lines;
}

template <const char* const& beginning>
void KeepsNone(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        interview.SetUp();
        context.ExpectNone(Outstanding(interview, beginning), "kept after set-up");
    });
}
constexpr const char* kSuite = "suite";
constexpr const char* kHandle = "handle";

void CallsTheHostWell(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        interview.SetUp();
        context.ExpectNone(interview.host.account().Misuse(), "misuse");
    });
}

void GlobalDataIsAHandle(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        interview.Send(PF_Cmd_GLOBAL_SETUP);
        const PF_Handle data = interview.out.global_data;
        context.Expect(data == nullptr || interview.host.IsLive(data), "the global data are no handle");
        context.ExpectNone(Outstanding(interview, "the host's handle"), "left locked");
    });
}

void GlobalSetdownSucceeds(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        interview.SetUp();
        ExpectCode(context, interview, interview.Send(PF_Cmd_GLOBAL_SETDOWN));
    });
}

void GlobalSetdownGivesBack(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        interview.SetUp();
        interview.host.account().Reset();
        interview.Send(PF_Cmd_GLOBAL_SETDOWN);
        context.ExpectNone(interview.host.account().Outstanding(), "kept after set-down");
        context.ExpectNone(interview.host.account().Misuse(), "misuse");
    });
}

// ---- Pixel formats --------------------------------------------------------------------------------------------

std::string Hex(PF_PixelFormat format) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(format));
    return text;
}

std::vector<refhost::CallRecord> Declarations(Interview& interview) {
    interview.host.account().Reset();
    interview.Send(PF_Cmd_GLOBAL_SETUP);
    auto calls = interview.host.account().Calls();
    std::erase_if(calls, [](const refhost::CallRecord& record) {
        return record.call != refhost::Call::clearPixelFormats && record.call != refhost::Call::addPixelFormat;
    });
    return calls;
}

void ClearsFormatsFirst(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        const auto calls = Declarations(interview);
        if (calls.empty()) context.NotApplicable("the effect declares no pixel formats");
        context.Expect(calls.front().call == refhost::Call::clearPixelFormats,
                       "a " + interview.Name() + " keeps formats of its own choice");
        context.Expect(calls.back().call == refhost::Call::addPixelFormat,
                       "a " + interview.Name() + " is left without a format");
    });
}

void DeclaresKnownFormats(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        interview.Send(PF_Cmd_GLOBAL_SETUP);
        for (const PF_PixelFormat format : interview.host.supportedFormats())
            context.Expect(refhost::FindFormat(format) != nullptr, "no host has the format " + Hex(format));
    });
}

void DeclaresFormatsOnce(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        interview.Send(PF_Cmd_GLOBAL_SETUP);
        std::set<PF_PixelFormat> seen;
        for (const PF_PixelFormat format : interview.host.supportedFormats())
            context.Expect(seen.insert(format).second, "declared twice: the format " + Hex(format));
    });
}

void DeclaresFormatsInTheEditorOnly(Context& context) {
    InEachVersion(context, [&](Interview& interview) {
        context.Expect(Declarations(interview).empty(), "formats are declared in a " + interview.Name());
    });
}

constexpr Check kChecks[] = {
    {"setup.global-succeeds", "Global set-up succeeds.", Where::both, GlobalSetupSucceeds, Kind::gate},
    {"setup.params-succeed", "Parameter set-up succeeds.", Where::both, ParamsSetupSucceeds, Kind::gate},
    {"setup.version", "Global set-up reports a version of the effect.", Where::both, HasVersion},
    {"setup.global-repeatable", "Global set-up reports the same each time, even after a set-down.", Where::both,
     SaysTheSameAgain},
    {"setup.float-needs-smart-render",
     "An effect that declares 32-bit float pixels must also declare smart render.", Where::both,
     FloatDemandsSmartRender},
    {"setup.float-needs-deep", "An effect that declares 32-bit float pixels must also declare 16-bit pixels.",
     Where::both, FloatDemandsDeep},
    {"setup.custom-ui-used", "An effect that declares its own user interface registers one at parameter set-up.",
     Where::compositor, UsesItsInterface},
    {"setup.custom-ui-declared", "An effect that registers its own user interface also declares it.",
     Where::compositor, DeclaresItsInterface},
    {"setup.params-update",
     "An effect that asks to update its parameter controls answers that command with success.", Where::compositor,
     AnswersParamUpdates},
    {"setup.no-message", "A set-up that succeeds leaves no message for the user.", Where::both, LeavesNoMessage},
    {"setup.own-fields", "Set-up writes only the fields of its record that belong to set-up.", Where::both,
     WritesItsFieldsOnly},
    {"setup.in-data", "Set-up leaves the host's own record as it is.", Where::both, KeepsInData},
    {"setup.suites-released", "Set-up releases the suites that it acquires.", Where::both, KeepsNone<kSuite>},
    {"setup.handles-freed", "Set-up keeps no handle except its global data.", Where::both, KeepsNone<kHandle>},
    {"setup.callbacks", "Set-up makes no wrong call to the host.", Where::both, CallsTheHostWell},
    {"setup.global-data", "Global data are a handle of the host, which set-up does not leave locked.", Where::both,
     GlobalDataIsAHandle},
    {"setup.global-setdown", "Global set-down succeeds.", Where::both, GlobalSetdownSucceeds},
    {"setup.global-setdown-frees", "Global set-down gives back the global data and everything else.", Where::both,
     GlobalSetdownGivesBack},
    {"setup.formats-cleared",
     "The effect clears the host's own choice of pixel formats before it declares formats.", Where::editor,
     ClearsFormatsFirst},
    {"setup.formats-known", "Every pixel format that the effect declares is a format of a host.", Where::editor,
     DeclaresKnownFormats},
    {"setup.formats-once", "No pixel format is declared twice.", Where::editor, DeclaresFormatsOnce},
    {"setup.formats-in-editor", "Pixel formats are declared in the editing host only.", Where::compositor,
     DeclaresFormatsInTheEditorOnly},
};

}  // namespace

std::span<const Check> SetupChecks() {
    return kChecks;
}

}  // namespace validator
