// Threads that have rendered and ended leave neither memory nor handles behind in the process. Hosts make threads
// for a single frame, and the effect asks Windows not to tell it when they end.
#include <windows.h>

#include <process.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>

#include "loader_entry.h"
#include "platform/process_usage.h"
#include "support/plugin_path.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;
using platform::Usage;

constexpr int kThreads = 1000;

using Work = std::function<void()>;

// Runs `work` on `count` threads, one after another. Each thread ends before the next one starts.
void OnThreads(int count, const Work& work) {
    Work copy = work;
    for (int i = 0; i < count; ++i) {
        const auto run = [](void* function) -> unsigned {
            (*static_cast<Work*>(function))();
            return 0;
        };
        const auto thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, run, &copy, 0, nullptr));
        ASSERT_NE(thread, nullptr);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
}

// By how much kThreads threads let the process grow. A heap grows until it has found its size, so this tries up to
// six rounds, and stops after a round that adds nothing. A loss with every thread shows in every round.
Usage Growth(const Work& work) {
    constexpr int kRounds = 6;
    Usage growth;
    OnThreads(kThreads / 2, work);
    Usage before = platform::UsageNow();
    for (int round = 0; round < kRounds; ++round) {
        OnThreads(kThreads, work);
        const Usage after = platform::UsageNow();
        growth = {after.heapBytes - before.heapBytes, after.handles - before.handles};
        if (growth.handles <= 0 && growth.heapBytes <= 0) break;
        before = after;
    }
    return growth;
}

void ExpectNoGrowth(const Work& work) {
    const Usage growth = Growth(work);
    EXPECT_LE(growth.handles, 0);
    EXPECT_LT(growth.heapBytes, kThreads * 8) << "one allocation for each thread would be more";
}

class Threads : public testing::Test {
protected:
    void SetUp() override {
        const LoaderEntry* const effect = FindLoaderEntry(reinterpret_cast<const void*>(Binary().effectMain),
                                                          support::PluginPath().filename().wstring());
        ASSERT_NE(effect, nullptr);
        ASSERT_TRUE(effect->WithoutThreadCalls());
    }

    static refhost::HostOptions Options() {
        refhost::HostOptions options;
        options.iterationThreads = 1;
        return options;
    }

    HostedScene scene{Options()};
};

TEST(Measuring, SeesWhatIsLostWithEveryThread) {
    EXPECT_EQ(Growth([] { CreateEventW(nullptr, FALSE, FALSE, nullptr); }).handles, kThreads);
    EXPECT_GE(Growth([] { HeapAlloc(GetProcessHeap(), 0, 16); }).heapBytes, kThreads * 16);
    ExpectNoGrowth([] {});
}

TEST_F(Threads, AThousandThatRenderAFrameLeaveNothing) {
    ExpectNoGrowth([&] { EXPECT_EQ(scene.Render(RenderPath::smart), PF_Err_NONE); });
}

TEST_F(Threads, AThousandOnWhichTheEffectThrewLeaveNothing) {
    scene.host.options().faults = Fail("AcquireSuite PF ANSI Suite 1");
    ExpectNoGrowth([&] { EXPECT_EQ(scene.host.About(), PF_Err_BAD_CALLBACK_PARAM); });
}

TEST_F(Threads, AThousandOnWhichTheDriverThrewLeaveNothing) {
    scene.host.options().faults = Fail("AcquireSuite PF Iterate8 Suite 1");
    ExpectNoGrowth(
        [&] { EXPECT_EQ(scene.Render(RenderPath::plain), PF_Err_NONE) << "the effect drops the exception"; });
    EXPECT_TRUE(scene.OutputUntouched());
}

TEST(Exceptions, DoNotReachOtherThreads) {
    // This is a race: if all threads shared the notes about exceptions, one run in three would crash.
    constexpr int kRounds = 400000;
    PF_InData inData{};  // has no suites, so About throws
    inData.appl_id = kAppIdCompositor;
    std::array<std::thread, 8> threads;
    std::atomic<int> right{0};
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            for (int i = 0; i < kRounds; ++i) {
                PF_OutData outData{};
                right += Binary().effectMain(PF_Cmd_ABOUT, &inData, &outData, nullptr, nullptr, nullptr) ==
                         PF_Err_BAD_CALLBACK_PARAM;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(right, kRounds * static_cast<int>(threads.size()));
}

}  // namespace
