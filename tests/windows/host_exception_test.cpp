// Exceptions of the hosts' own C++ runtime, out of each callback. They end as any other exception does.
#include <windows.h>

#include <array>
#include <atomic>
#include <limits>
#include <thread>

#include "host/host_call.h"
#include "reference_host/windows/other_runtime.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;
using refhost::Call;
using refhost::CallRecord;
using refhost::Personality;
using refhost::ThrowForeign;

// ---- Each callback in each command
// --------------------------------------------------------------------------------

// What one run of the commands did.
struct Outcome {
    std::vector<PF_Err> codes;
    std::vector<CallRecord> calls;
    Lines outstanding, misuse;
};

std::ptrdiff_t CountOf(const Outcome& outcome, Call call) {
    return std::ranges::count(outcome.calls, call, &CallRecord::call);
}

using Commands = std::function<std::vector<PF_Err>(refhost::Host& host)>;

// A whole life of the effect in one host: set-up, about, and instances made and loaded.
std::vector<PF_Err> Session(refhost::Host& host) {
    std::vector<PF_Err> codes{host.GlobalSetup(), host.ParamsSetup(), host.About()};
    const auto send = [&](refhost::Instance& instance, PF_Err (refhost::Instance::*setUp)()) {
        codes.push_back((instance.*setUp)());
        codes.push_back(instance.SequenceSetdown());
    };
    refhost::Instance fresh(host), loaded(host);
    send(fresh, &refhost::Instance::SequenceSetup);
    send(loaded, &refhost::Instance::SequenceResetup);

    // Blocks of a wrong size: the effect resizes each before it uses it.
    for (const PF_Cmd cmd : {PF_Cmd_SEQUENCE_SETUP, PF_Cmd_SEQUENCE_SETDOWN}) {
        PF_InData inData = host.InData();
        PF_OutData outData{};
        inData.sequence_data = host.NewHandle(8);
        codes.push_back(host.Send(cmd, &inData, &outData));
        if (host.IsLive(inData.sequence_data)) host.DisposeHandle(inData.sequence_data);
    }
    return codes;
}

// One host and the commands that it sends again and again, with a callback that throws.
class Throwing {
public:
    Throwing(refhost::Host& host, Commands commands) : host_(host), commands_(std::move(commands)) {}

    // `thrower` runs at the beginning of callback number `at`.
    Outcome With(std::int64_t at, const std::function<void()>& thrower) {
        std::int64_t seen = 0;
        host_.account().Reclaim();
        host_.options().faults = [&](const CallRecord&) -> std::optional<PF_Err> {
            if (seen++ == at) thrower();
            return std::nullopt;
        };
        Outcome run;
        run.codes = commands_(host_);
        host_.options().faults = nullptr;
        run.calls = host_.account().Calls();
        run.outstanding = host_.account().Outstanding();
        run.misuse = host_.account().Misuse();
        return run;
    }
    Outcome Clean() {
        return With(-1, [] {});
    }

private:
    refhost::Host& host_;
    Commands commands_;
};

// Our own runtime's exceptions show what must happen.
void ExpectAsOurOwn(Throwing& throwing, std::size_t at, const std::string& call) {
    SCOPED_TRACE("callback " + std::to_string(at) + ", " + call);
    const Outcome own = throwing.With(static_cast<std::int64_t>(at), [] { throw int{kFault}; });
    const Outcome foreign = throwing.With(static_cast<std::int64_t>(at), [] { ThrowForeign(kFault); });
    EXPECT_EQ(foreign.codes, own.codes);
    EXPECT_EQ(foreign.outstanding, own.outstanding);
    EXPECT_EQ(foreign.misuse, own.misuse);
    EXPECT_EQ(foreign.calls.size(), own.calls.size());

    const Outcome object = throwing.With(static_cast<std::int64_t>(at), [] { ThrowForeign(".?AVerror@@"); });
    std::vector<PF_Err> codes = own.codes;
    std::ranges::replace(codes, kFault, PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_EQ(object.codes, codes);
    EXPECT_EQ(object.outstanding, own.outstanding);
    EXPECT_EQ(object.misuse, own.misuse);
}

class SetUpCommands : public testing::TestWithParam<Personality> {};

INSTANTIATE_TEST_SUITE_P(Both, SetUpCommands, testing::Values(Personality::compositor, Personality::editor),
                         [](const auto& instance) {
                             return instance.param == Personality::editor ? "Editor" : "Compositor";
                         });

TEST_P(SetUpCommands, EndWithTheCodeOfAnyCallbackThatThrows) {
    refhost::Host host(Binary(), InOrder(GetParam()));
    Throwing throwing(host, Session);
    const Outcome clean = throwing.Clean();
    for (std::size_t at = 0; at < clean.calls.size(); ++at)
        ExpectAsOurOwn(throwing, at, Line(clean.calls[at]));
    RecordProperty("callbacks", static_cast<int>(clean.calls.size()));
    EXPECT_EQ(throwing.Clean().codes, clean.codes);
}

TEST(SequenceSetup, EndsWithTheCodeOfTheMessageThatThrows) {
    HostedScene scene;
    scene.host.options().faults = [](const CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == Call::copyString) ThrowForeign(kFault);
        return call.call == Call::newHandle ? std::optional(kFault) : std::nullopt;
    };
    EXPECT_EQ(refhost::Instance(scene.host).SequenceSetup(), kFault);
}

struct RenderCase {
    const char* name;
    RenderPath path;
    Personality personality = Personality::compositor;
    bool generic = true;
};

class Renders : public testing::TestWithParam<RenderCase> {
protected:
    static refhost::HostOptions Options() {
        auto options = InOrder(GetParam().personality);
        options.genericIteration = GetParam().generic;
        return options;
    }

    HostedScene scene{Options()};
    Throwing throwing{scene.host, [this](refhost::Host&) { return std::vector{scene.Render(GetParam().path)}; }};
};

INSTANTIATE_TEST_SUITE_P(
    All, Renders,
    testing::Values(RenderCase{"Smart", RenderPath::smart}, RenderCase{"Plain", RenderPath::plain},
                    RenderCase{"SmartWithoutGenericIteration", RenderPath::smart, Personality::compositor, false},
                    RenderCase{"Editor", RenderPath::plain, Personality::editor},
                    RenderCase{"EditorWithoutGenericIteration", RenderPath::plain, Personality::editor, false}),
    [](const auto& instance) { return instance.param.name; });

TEST_P(Renders, GiveEverythingBackWhateverCallbackThrows) {
    const auto picture = scene.CleanPicture(GetParam().path);
    const Outcome clean = throwing.Clean();
    ASSERT_EQ(clean.codes, std::vector{PF_Err_NONE});
    bool inDriver = false;
    std::int64_t rows = 0;
    for (std::size_t at = 0; at < clean.calls.size(); ++at) {
        const CallRecord& call = clean.calls[at];
        SCOPED_TRACE("callback " + std::to_string(at) + ", " + Line(call));
        if (Line(call) == "AcquireSuite PF Pixel Format Suite 1") inDriver = true;
        if (call.call == Call::checkinParam) inDriver = false;

        // An exception that ends the driver, and one of a suite's release, are dropped.
        const PF_Err code = inDriver || call.call == Call::releaseSuite ? PF_Err_NONE : kFault;
        const Outcome foreign = throwing.With(static_cast<std::int64_t>(at), [] { ThrowForeign(kFault); });
        EXPECT_EQ(foreign.codes, std::vector{code});
        EXPECT_EQ(CountOf(foreign, Call::checkinParam), CountOf(foreign, Call::checkoutParam));

        // Our own exceptions do not come out of a row: there the host of this test reports them.
        const bool inRow = call.call == Call::abort && rows > 0;
        rows += call.call == Call::row;
        if (inRow) {
            EXPECT_EQ(foreign.outstanding, Lines());
            EXPECT_EQ(foreign.misuse, Lines());
        } else {
            ExpectAsOurOwn(throwing, at, Line(call));
        }

        EXPECT_EQ(scene.CleanPicture(GetParam().path), picture);
        EXPECT_EQ(scene.Misuse(), Lines());
    }
    RecordProperty("callbacks", static_cast<int>(clean.calls.size()));
    EXPECT_GT(rows, 0);
}

TEST_P(Renders, LetOtherThreadsRenderAfterwards) {
    const auto picture = scene.CleanPicture(GetParam().path);
    EXPECT_EQ(throwing.With(0, [] { ThrowForeign(kFault); }).codes, std::vector{kFault});
    scene.host.options().faults = [](const CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == Call::getPixelFormat) ThrowForeign(kFault);
        return std::nullopt;
    };
    EXPECT_EQ(scene.Render(GetParam().path), PF_Err_NONE);
    EXPECT_TRUE(scene.OutputUntouched());
    scene.host.options().faults = nullptr;
    std::thread([&] { EXPECT_EQ(scene.CleanPicture(GetParam().path), picture); }).join();
}

TEST(EarlyExit, IsLeftByAnExceptionLikeByAnyOther) {
    HostedScene scene;
    scene.host.options().faults = [](const CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == "AcquireSuite PF World Suite 2") return kFault;
        if (call.call == Call::unlockHandle && call.index > 1) ThrowForeign(kFault);
        return std::nullopt;
    };
    EXPECT_EQ(scene.Render(RenderPath::smart), PF_Err_NONE);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(scene.host.account().Count(Call::checkinParam), 5);
}

// ---- What is thrown
// -----------------------------------------------------------------------------------------------

// About, in which the host's answer to the request for a suite is to throw.
PF_Err AboutWith(const std::function<void()>& thrower) {
    static HostedScene scene;
    scene.host.options().faults = [&](const CallRecord&) -> std::optional<PF_Err> {
        thrower();
        return std::nullopt;
    };
    return scene.host.About();
}

PF_Err AboutWith(const std::vector<std::uintptr_t>& parameters) {
    return AboutWith([&] { refhost::RaiseForeign(parameters); });
}

TEST(Thrown, IntsAreTheirValue) {
    for (const int value : {kFault, 1, 0, -1, 512, std::numeric_limits<int>::min()})
        EXPECT_EQ(AboutWith([=] { ThrowForeign(value); }), value);
}

TEST(Thrown, AnythingElseIs512) {
    for (const char* name :
         {".?AVexception@std@@", ".?AVbad_alloc@std@@", ".N", ".PEAD", ".HA", ".I", ".J", "", "H"})
        EXPECT_EQ(AboutWith([=] { ThrowForeign(name); }), 512) << name;
}

TEST(Thrown, RecordsMayBeNullOrNonsense) {
    const int value = kFault;
    const refhost::ThrownType type(".H");
    const auto good = type.Parameters(&value);
    ASSERT_EQ(AboutWith({good.begin(), good.end()}), kFault);
    ASSERT_EQ(AboutWith({good[0] + 2, good[1], good[2], good[3]}), kFault) << "later compilers";

    constexpr std::array<std::uintptr_t, 6> kNonsense{
        0, 1, 0xFFF0, 0x7FFF'FFFF'FFF8, 0xFFFF'8000'0000'0000, 0xFFFF'FFFF'FFFF'FFFF};
    for (const std::uintptr_t bad : kNonsense) {
        for (std::size_t which = 0; which < good.size(); ++which) {
            auto parameters = good;
            parameters[which] = bad;
            EXPECT_EQ(AboutWith({parameters.begin(), parameters.end()}), 512) << which << " is " << bad;
        }
    }
    for (std::size_t count = 0; count < good.size(); ++count)
        EXPECT_EQ(AboutWith({good.begin(), good.begin() + static_cast<std::ptrdiff_t>(count)}), 512) << count;
}

TEST(Thrown, InformationMayPointAnywhere) {
    const int value = kFault;
    for (const std::int32_t bad : {std::numeric_limits<std::int32_t>::min(), 0, 3, 0x7FFFFFF0}) {
        refhost::ThrownType types(".H"), first(".H"), descriptor(".H"), count(".H");
        types.information.types = bad;
        first.types.first = bad;
        descriptor.type.descriptor = bad;
        count.types.count = std::min(bad, 0);
        for (const refhost::ThrownType* each : {&types, &first, &descriptor, &count}) {
            const auto parameters = each->Parameters(&value);
            EXPECT_EQ(AboutWith({parameters.begin(), parameters.end()}), 512) << bad;
        }
    }
}

// ---- What goes on to the host
// -------------------------------------------------------------------------------------

std::atomic<int> unhandled{0};

LONG WINAPI Continue(EXCEPTION_POINTERS* exception) {
    ++unhandled;
    exception->ExceptionRecord->ExceptionFlags = 0;
    return EXCEPTION_CONTINUE_EXECUTION;
}

TEST(Others, PassTheEffectUntouched) {
    HostedScene scene;
    const auto picture = scene.CleanPicture(RenderPath::smart);
    const auto before = SetUnhandledExceptionFilter(Continue);
    for (const DWORD code : {EXCEPTION_ACCESS_VIOLATION, EXCEPTION_STACK_OVERFLOW, EXCEPTION_INT_DIVIDE_BY_ZERO,
                             EXCEPTION_BREAKPOINT, DWORD{0xE0434352}, DWORD{0xE06D7364}}) {
        SCOPED_TRACE(code);
        int raised = 0;
        unhandled = 0;
        scene.host.options().faults = [&](const CallRecord&) -> std::optional<PF_Err> {
            ++raised;
            RaiseException(code, 0, 0, nullptr);  // returns, because Continue says so
            return std::nullopt;
        };
        EXPECT_EQ(scene.Render(RenderPath::smart), PF_Err_NONE);
        EXPECT_EQ(scene.host.About(), PF_Err_NONE);
        EXPECT_EQ(scene.output.Pixels(), picture);
        EXPECT_GT(raised, 0);
        EXPECT_EQ(unhandled, raised) << "each reaches the system's last handler, and no frame is left before";
    }
    SetUnhandledExceptionFilter(before);
}

// A host whose iteration waits for what its callbacks throw.
struct Iteration {
    static inline int caught = 0;

    static PF_Err Iterate(std::int32_t iterations, void* refcon, PF_IterateRowFunc row) {
        try {
            for (std::int32_t i = 0; i < iterations; ++i)
                nuv::CallHost(row, refcon, 0, i, iterations);
        } catch (int code) {
            caught = code;
            return code;
        }
        return PF_Err_NONE;
    }

    static std::int32_t Acquire(const char* name, std::int32_t version, const void** suite) {
        static constexpr PF_Iterate8Suite1 kSuite{nullptr, nullptr, nullptr, nullptr, Iterate};
        const auto error = hosts->AcquireSuite(name, version, suite);
        if (std::string(name) == "PF Iterate8 Suite") *suite = &kSuite;
        return error;
    }
    static std::int32_t Release(const char* name, std::int32_t version) {
        return hosts->ReleaseSuite(name, version);
    }

    static inline SPBasicSuite* hosts = nullptr;
    static inline SPBasicSuite basic{Acquire, Release, nullptr, nullptr, nullptr, nullptr, nullptr};
};

TEST(Rows, LetTheHostsExceptionComeBackToTheHostsIteration) {
    HostedScene scene(InOrder(), Between::Put(Binary()));
    Between::change = [](PF_Cmd cmd, PF_InData& inData, void*) {
        if (cmd != PF_Cmd_SMART_RENDER) return;
        Iteration::hosts = std::exchange(inData.pica_basicP, &Iteration::basic);
    };
    const auto picture = scene.CleanPicture(RenderPath::smart);
    scene.host.options().faults = [](const CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == Call::abort) ThrowForeign(kFault);
        return std::nullopt;
    };
    Iteration::caught = 0;
    EXPECT_EQ(scene.Render(RenderPath::smart), kFault) << "what the host's iteration returned";
    EXPECT_EQ(Iteration::caught, kFault);
    EXPECT_EQ(scene.Outstanding(), Lines());
    scene.host.options().faults = nullptr;
    EXPECT_EQ(scene.CleanPicture(RenderPath::smart), picture);
}

}  // namespace
