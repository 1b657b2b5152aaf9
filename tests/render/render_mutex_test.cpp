// The render mutex lets one frame at a time into the driver.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <thread>

#include "render/render_mutex.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;
using namespace std::chrono_literals;

// An event that one thread waits for and another one raises. Wait returns false after 20 seconds. Even a slow
// machine needs less.
class Signal {
public:
    void Raise() {
        const std::lock_guard lock(mutex_);
        raised_ = true;
        changed_.notify_all();
    }
    bool Wait() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, 20s, [this] { return raised_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool raised_ = false;
};

// The first and the last call of the driver, and the last call before the driver.
constexpr const char* kFirst = "AcquireSuite PF Pixel Format Suite 1";
constexpr const char* kLast = "ReleaseSuite PF Iterate8 Suite 1";
constexpr const char* kArrived = "checkout_param 5";

// Starts one render, and another one as soon as the first is inside the driver. The first goes on only when the
// second waits for the mutex, and sleeps in every row to give the second time to overtake it.
void ExpectTurns(refhost::PluginLibrary library, RenderPath first, RenderPath second) {
    HostedScene a(InOrder(), library), b(InOrder(), library);
    Signal inside, arrived;
    std::mutex mutex;
    std::vector<std::string> events;  // "a in", "a out", …
    const auto note = [&](const std::string& event) {
        const std::lock_guard lock(mutex);
        events.push_back(event);
    };

    std::atomic<bool> waited{false};
    a.host.options().faults = [&](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == kFirst) note("a in");
        if (Line(call) == kLast) note("a out");
        if (call.call == refhost::Call::row) {
            inside.Raise();
            if (!waited.exchange(true)) {
                EXPECT_TRUE(arrived.Wait());
            }
            std::this_thread::sleep_for(10ms);
        }
        return std::nullopt;
    };
    b.host.options().faults = [&](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (Line(call) == kArrived) arrived.Raise();
        if (Line(call) == kFirst) note("b in");
        if (Line(call) == kLast) note("b out");
        return std::nullopt;
    };

    auto other = std::async(std::launch::async, [&] {
        EXPECT_TRUE(inside.Wait());
        return b.Render(second);
    });
    EXPECT_EQ(a.Render(first), PF_Err_NONE);
    EXPECT_EQ(other.get(), PF_Err_NONE);
    EXPECT_EQ(events, (Lines{"a in", "a out", "b in", "b out"}));
    for (HostedScene* scene : {&a, &b}) {
        EXPECT_EQ(scene->Outstanding(), Lines());
        EXPECT_EQ(scene->Misuse(), Lines());
    }
    EXPECT_EQ(a.output.Pixels(), a.CleanPicture(first));
    EXPECT_EQ(b.output.Pixels(), b.CleanPicture(second));
}

TEST(RenderMutex, LetsTwoSmartRendersTakeTurns) {
    ExpectTurns(Binary(), RenderPath::smart, RenderPath::smart);
}

TEST(RenderMutex, LetsTwoPlainRendersTakeTurns) {
    ExpectTurns(Binary(), RenderPath::plain, RenderPath::plain);
}

TEST(RenderMutex, LetsASmartAndAPlainRenderTakeTurns) {
    ExpectTurns(Binary(), RenderPath::smart, RenderPath::plain);
    ExpectTurns(Binary(), RenderPath::plain, RenderPath::smart);
}

// Four threads render many frames. No driver makes its first call before the driver of another frame made its last.
TEST(RenderMutex, NeverInterleavesManyRenders) {
    HostedScene scene;
    constexpr int kThreads = 4, kFrames = 5;
    scene.host.options().faults = [](const refhost::CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == refhost::Call::row) std::this_thread::sleep_for(200us);
        return std::nullopt;
    };
    std::vector<refhost::World> outputs;
    for (int i = 0; i < kThreads; ++i)
        outputs.emplace_back(scene.output.layout());
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            auto settings = scene.settings;
            settings.output = &outputs[static_cast<std::size_t>(i)];
            for (int frame = 0; frame < kFrames; ++frame) {
                const bool smart = (i + frame) % 2 == 0;
                const auto result =
                    smart ? scene.instance.SmartRender(settings) : scene.instance.PlainRender(settings);
                EXPECT_EQ(result.render, PF_Err_NONE);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();

    std::uint64_t inside = 0;  // the thread that is in the driver, or 0
    int drivers = 0, visitors = 0;
    for (const auto& call : scene.host.account().Calls()) {
        const auto line = Line(call);
        if (line == kFirst) {
            EXPECT_EQ(inside, 0u) << "thread " << call.thread << " enters";
            inside = call.thread;
            ++drivers;
        } else if (line == kLast) {
            EXPECT_EQ(inside, call.thread);
            inside = 0;
        } else if (inside != 0 && call.thread != inside) {
            ++visitors;  // a call outside the mutex, while another thread is in the driver
        }
    }
    EXPECT_EQ(drivers, kThreads * kFrames);
    EXPECT_GT(visitors, 0) << "no two renders ran at the same time";
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Misuse(), Lines());
}

TEST(RenderMutex, IsLockedAfterTheCheckoutsAndNeverByPreRender) {
    for (const RenderPath path : {RenderPath::smart, RenderPath::plain}) {
        HostedScene scene(InOrder(), Linked());
        Signal arrived;
        std::atomic<bool> driver{false};
        scene.host.options().faults = [&](const refhost::CallRecord& call) -> std::optional<PF_Err> {
            if (Line(call) == kFirst) driver = true;
            if (Line(call) == kArrived) arrived.Raise();
            return std::nullopt;
        };
        std::future<PF_Err> render;
        {
            const std::lock_guard held(nuv::g_renderMutex);
            render = std::async(std::launch::async, [&] { return scene.Render(path); });
            EXPECT_TRUE(arrived.Wait());
            EXPECT_EQ(render.wait_for(30ms), std::future_status::timeout);
            EXPECT_FALSE(driver);

            auto preRender = std::async(
                std::launch::async, [&] { return scene.instance.SmartRender(scene.settings, false).preRender; });
            EXPECT_EQ(preRender.wait_for(20s), std::future_status::ready);
        }
        EXPECT_EQ(render.get(), PF_Err_NONE);
        EXPECT_TRUE(driver);
    }
}

TEST(RenderMutex, IsUnlockedBeforeTheParametersAreCheckedIn) {
    for (const RenderPath path : {RenderPath::smart, RenderPath::plain}) {
        HostedScene scene(InOrder(), Linked());
        int free = 0;
        scene.host.options().faults = [&](const refhost::CallRecord& call) -> std::optional<PF_Err> {
            if (call.call != refhost::Call::checkinParam) return std::nullopt;
            auto lock = std::async(std::launch::async, [&] {
                return std::unique_lock(nuv::g_renderMutex, std::try_to_lock).owns_lock();
            });
            free += lock.get();
            return std::nullopt;
        };
        EXPECT_EQ(scene.Render(path), PF_Err_NONE);
        EXPECT_EQ(free, 5);
    }
}

}  // namespace
