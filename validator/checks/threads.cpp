// Threads of the host, threads of its iterations, and the effect's own threads.
#include <algorithm>
#include <atomic>
#include <deque>
#include <set>
#include <thread>
#include <utility>

#include "platform/machine.h"
#include "platform/process_state.h"
#include "platform/process_usage.h"
#include "validator/kit/heap_count.h"
#include "validator/kit/threads_at_once.h"
#include "validator/registry.h"

namespace validator {
namespace {

using namespace std::chrono_literals;
using refhost::Call;
using refhost::CallRecord;
using signs::kRowThreads;

constexpr int kThreads = 4;
constexpr int kRounds = 4;

// ---- Frames at once -------------------------------------------------------------------------------------------

template <bool oneInstance>
void FramesAtOnce(Context& context) {
    HostedScene scene(context);
    Crowd crowd(context, scene, kThreads, oneInstance);
    for (int round = 0; round < kRounds; ++round)
        AtOnce(kThreads, [&](int i) { crowd.Render(i); });
    context.ExpectNone(scene.host.account().Misuse(), "misuse");
    context.AddPoints(kThreads * kRounds);
}

void WhileOthersAreSetUp(Context& context) {
    constexpr int kSetUps = 50;
    HostedScene scene(context);
    Crowd crowd(context, scene, 2, false);
    std::atomic<int> rendering{crowd.size()}, setUps{0};
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(crowd.size()));
    for (int i = 0; i < crowd.size(); ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < kRounds || setUps < kSetUps; ++round)
                crowd.Render(i);
            --rendering;
        });
    }
    for (; rendering > 0; ++setUps) {
        refhost::Instance other(scene.host);
        const PF_Err up = other.SequenceSetup();
        const PF_Err down = other.SequenceSetdown();
        if (up == PF_Err_NONE && down == PF_Err_NONE) continue;
        context.Fail("an instance cannot be set up and torn down while others render");
        setUps = kSetUps;
        break;
    }
    for (std::thread& thread : threads)
        thread.join();
    context.AddPoints(setUps);
    context.ExpectNone(scene.host.account().Misuse(), "misuse");
}

constexpr PF_Err kStopped = 77;  // a code that effects do not use themselves

thread_local bool t_aborts = false;

void AbortsAlone(Context& context) {
    auto options = context.HostOptions();
    options.iterationThreads = 1;
    HostedScene scene(context, options);
    Crowd crowd(context, scene, kThreads, false);
    if (scene.host.account().Count(Call::abort) == 0) context.NotApplicable("the effect never asks for an abort");
    scene.host.options().faults = [](const CallRecord& call) {
        return call.call == Call::abort && t_aborts ? std::optional(kStopped) : std::nullopt;
    };
    for (int round = 0; round < kRounds; ++round) {
        AtOnce(kThreads, [&](int i) {
            t_aborts = i == round % kThreads;
            if (!t_aborts) return crowd.Render(i);
            const PF_Err code = crowd.RenderForCode(i);
            context.Expect(code == kStopped, "the aborted frame gives code " + std::to_string(code));
        });
    }
}

// Two renders wait for each other in a callback, once for each kind of callback that a render makes.
void WaitForEachOther(Context& context) {
    auto options = context.HostOptions();
    options.iterationThreads = 1;
    HostedScene scene(context, options);
    Crowd crowd(context, scene, 2, false);
    scene.host.account().Reset();
    crowd.Render(0);
    std::vector<Call> kinds;
    for (const CallRecord& call : scene.host.account().Calls()) {
        if (std::ranges::find(kinds, call.call) == kinds.end()) kinds.push_back(call.call);
    }
    for (const Call kind : kinds) {
        Meeting meeting(2);
        static thread_local bool waited;
        std::atomic<bool> met{true};
        scene.host.options().faults = [&](const CallRecord& call) -> std::optional<PF_Err> {
            if (call.call != kind || std::exchange(waited, true)) return std::nullopt;
            if (!meeting.Wait(5s)) met = false;
            return std::nullopt;
        };
        AtOnce(2, [&](int i) {
            waited = false;
            crowd.Render(i);
        });
        scene.host.options().faults = nullptr;  // the plan refers to variables that end here
        context.AddPoints(1);
        if (!context.Expect(met, "while one render is in " + std::string(Name(kind)) + ", no other gets there"))
            return;
    }
}

// ---- Iterations -----------------------------------------------------------------------------------------------

void RequireRows(Context& context, HostedScene& scene) {
    if (scene.host.account().Count(Call::row) == 0)
        context.NotApplicable("the effect does not let the host iterate over rows");
}

// Renders with one iteration thread, which takes the rows in ascending order.
std::vector<std::byte> OneByOne(HostedScene& scene, Frame& frame) {
    scene.host.options().iterationThreads = 1;
    scene.host.options().rowOrder = 0;
    return scene.Picture(frame);
}

void ExpectSame(Context& context, HostedScene& scene, Frame& frame, const std::vector<std::byte>& expected) {
    const auto& layout = frame.output.layout();
    const std::string difference = Difference(scene.Picture(frame), expected, layout.format, layout.width);
    context.Expect(difference.empty(), NameOf(layout.format) + ": " + difference);
}

void RowsInAnyOrder(Context& context) {
    HostedScene scene(context);
    for (const PF_PixelFormat format : scene.formats()) {
        Frame frame(HostedScene::Layout(format, context.size()));
        const auto expected = OneByOne(scene, frame);
        RequireRows(context, scene);
        for (int i = 0; i < 5; ++i) {
            scene.host.options().rowOrder = static_cast<std::uint32_t>(context.random()() | 1);
            ExpectSame(context, scene, frame, expected);
            context.AddPoints(1);
        }
    }
}

// Each thread waits with its first row until all other threads have a row, too.
void RowsOnManyThreads(Context& context) {
    HostedScene scene(context);
    for (const PF_PixelFormat format : scene.formats()) {
        Frame frame(HostedScene::Layout(format, context.size()));
        const auto expected = OneByOne(scene, frame);
        RequireRows(context, scene);

        std::mutex mutex;
        std::set<std::uint64_t> came;
        Meeting meeting(0);
        scene.host.options().iterationThreads = kRowThreads;
        scene.host.options().faults = [&](const CallRecord& call) -> std::optional<PF_Err> {
            if (call.call == Call::iterate || call.call == Call::iterateGeneric) {
                const std::lock_guard lock(mutex);
                came.clear();
                meeting.Restart(std::min(kRowThreads, std::atoi(call.detail.c_str())));
            } else if (call.call == Call::row) {
                const bool first = [&] {
                    const std::lock_guard lock(mutex);
                    return came.insert(call.thread).second;
                }();
                if (first) meeting.Wait(2s);
            }
            return std::nullopt;
        };
        ExpectSame(context, scene, frame, expected);
        scene.host.options().faults = nullptr;
        context.AddPoints(1);
    }
}

// The render must succeed, because a render that gives up at once would keep every promise about threads.
void RequireRender(Context& context, HostedScene& scene, Frame& frame) {
    const PF_Err code = CodeOf(frame.Render(scene.host, scene.instance, scene.path()));
    context.Require(code == PF_Err_NONE,
                    "the render gives code " + std::to_string(code) + WithoutSuites(scene.host));
}

void CallsOnItsOwnThread(Context& context) {
    auto options = context.HostOptions();
    options.iterationThreads = kThreads;
    HostedScene scene(context, options);
    Frame frame(HostedScene::Layout(scene.formats().front(), context.size()));
    RequireRender(context, scene, frame);
    for (const std::string& line : scene.host.account().Misuse()) {
        if (line.find(": called on ") != std::string::npos) context.Fail(line);
    }
}

// ---- Threads that are the host's ------------------------------------------------------------------------------

template <std::string (*state)()>
void KeepsThreads(Context& context) {
    HostedScene scene(context);
    Frame frame(HostedScene::Layout(scene.formats().front(), context.size()));
    const std::string before = state();
    RequireRender(context, scene, frame);
    context.Expect(state() == before, "it was " + before + " before the render and is now " + state());
}

void KeepsAffinity(Context& context) {
    if (platform::ProcessorCount() < 2) context.NotApplicable("there is one processor only");
    KeepsThreads<platform::ThreadAffinity>(context);
}

void LeavesNoThread(Context& context) {
    auto options = context.HostOptions();
    options.iterationThreads = 1;
    HostedScene scene(context, options);
    Frame frame(HostedScene::Layout(scene.formats().front(), context.size()));
    const int before = platform::ThreadCount();
    scene.Render(frame);
    const int left = platform::ThreadsBeyond(before);
    context.Expect(left <= 0, std::to_string(left) + " threads are left after a render");
}

void OnAnyThread(Context& context) {
    HostedScene scene(context);
    refhost::Instance instance(scene.host);
    Frame frame(HostedScene::Layout(scene.formats().front(), context.size()));
    // All three threads live until the end, because a new thread may get the number of an ended one.
    Meeting end(3);
    std::deque<Meeting> meetings;
    std::vector<std::thread> threads;
    const auto onAnother = [&](const char* command, const std::function<PF_Err()>& send) {
        Meeting& sent = meetings.emplace_back(2);
        threads.emplace_back([&, send, command] {
            const PF_Err code = send();
            context.Expect(code == PF_Err_NONE, std::string(command) + " gives code " + std::to_string(code));
            sent.Wait(5s);
            end.Wait(5s);
        });
        sent.Wait(1min);
    };
    onAnother("sequence set-up", [&] { return instance.SequenceSetup(); });
    onAnother("a render", [&] { return CodeOf(frame.Render(scene.host, instance, scene.path())); });
    onAnother("sequence set-down", [&] { return instance.SequenceSetdown(); });
    for (std::thread& thread : threads)
        thread.join();
    context.ExpectNone(scene.host.account().Misuse(), "misuse");
    context.ExpectNone(scene.host.account().Outstanding(), "kept");
}

// Each thread renders one frame and ends, because hosts do not keep threads for ever.
void ThreadsComeAndGo(Context& context) {
    constexpr int kComing = 1000, kWarmUps = 50;
    RequireHeapCount(context);
    auto options = context.HostOptions();
    options.iterationThreads = 1;
    options.recordCalls = false;
    HostedScene scene(context, options);
    Frame frame(HostedScene::Layout(scene.formats().front(), context.size()));
    int failures = 0;
    const auto comeAndGo = [&](int threads) {
        for (int i = 0; i < threads; ++i) {
            std::thread([&] {
                failures += CodeOf(frame.Render(scene.host, scene.instance, scene.path())) != PF_Err_NONE;
            }).join();
        }
    };
    // Fills the list of freed handles that the reference host keeps, so that it does not grow later.
    for (int i = 0; i < 5000; ++i)
        scene.host.DisposeHandle(scene.host.NewHandle(1));
    comeAndGo(kWarmUps);
    const auto heap = platform::HeapBytesInUse(), handles = platform::OpenHandles();
    comeAndGo(kComing);
    const auto grown = platform::HeapBytesInUse() - heap, opened = platform::OpenHandles() - handles;
    context.Expect(failures == 0, std::to_string(failures) + " of the renders give a code");
    context.Expect(grown < 16 * kComing,
                   "after 1,000 threads the heap holds " + std::to_string(grown) + " bytes more");
    context.Expect(opened < 10, "after 1,000 threads " + std::to_string(opened) + " more handles are open");
    context.AddPoints(kComing);
}

constexpr Check kChecks[] = {
    {"threads.several-instances",
     "Frames that several instances render at once are the same as when each renders alone.", Where::both,
     FramesAtOnce<false>},
    {"threads.one-instance",
     "Frames that one instance renders at once are the same as when it renders them one by one.", Where::both,
     FramesAtOnce<true>},
    {"threads.set-up-meanwhile", "A render works while other instances are set up and set down.", Where::both,
     WhileOthersAreSetUp},
    {"threads.abort-alone", "An abort stops only the render that the host aborts.", Where::both, AbortsAlone},
    {"threads.shuffled-rows", "The picture does not depend on the order in which the host iterates over rows.",
     Where::both, RowsInAnyOrder},
    {"threads.many-row-threads", "The picture does not depend on how many threads the host iterates with.",
     Where::both, RowsOnManyThreads},
    {"threads.own-thread", "Callbacks that belong to the command's thread are made on that thread.", Where::both,
     CallsOnItsOwnThread},
    {"threads.any-thread", "An instance may be set up on one thread, rendered on another and set down on a third.",
     Where::both, OnAnyThread},
    {"threads.none-left", "A render leaves no thread behind.", Where::both, LeavesNoThread},
    {"threads.name", "A render does not change the name of the host's thread.", Where::both,
     KeepsThreads<platform::ThreadName>},
    {"threads.priority", "A render does not change the priority of the host's thread.", Where::both,
     KeepsThreads<platform::ThreadPriority>},
    {"threads.affinity", "A render does not change which processors the host's thread may use.", Where::both,
     KeepsAffinity},
    {"threads.float-state", "A render does not change rounding, flushing and trapping on the host's thread.",
     Where::both, KeepsThreads<platform::FloatState>},
    {"threads.no-lock-in-callbacks", "Two renders can be in the host's callbacks at the same time.", Where::both,
     WaitForEachOther, Kind::slow},
    {"threads.come-and-go", "1,000 threads that render a frame and end leave memory and handles as they were.",
     Where::both, ThreadsComeAndGo, Kind::slow},
};
static_assert(signs::EachHasSize(kChecks, &Check::id));

}  // namespace

std::span<const Check> ThreadsChecks() {
    return kChecks;
}

}  // namespace validator
