// What a host's threads leave behind in the process after they rendered and ended. Hosts make threads for a single
// frame, and the effect asks not to be told when they end.
#include <windows.h>

#include <process.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>

#include "support/plugin_path.h"
#include "support/process_usage.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;
using support::Usage;

constexpr int kThreads = 1000;

using Work = std::function<void()>;

// Runs `work` on threads that the system makes and ends, one after another.
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

// What a round of kThreads threads adds. Heaps take a few rounds until they have found their size; what is lost
// with every thread is lost in every round.
Usage Growth(const Work& work) {
    constexpr int kRounds = 6;
    Usage growth;
    OnThreads(kThreads / 2, work);
    Usage before = support::UsageNow();
    for (int round = 0; round < kRounds; ++round) {
        OnThreads(kThreads, work);
        const Usage after = support::UsageNow();
        growth = {after.heapBytes - before.heapBytes, after.handles - before.handles};
        if (growth.handles <= 0 && growth.heapBytes <= 0) break;
        before = after;
    }
    return growth;
}

void ExpectNoGrowth(const Work& work) {
    const Usage growth = Growth(work);
    EXPECT_LE(growth.handles, 0);
    EXPECT_LT(growth.heapBytes, kThreads * 8) << "less than any allocation for every thread";
}

// The loader's own record of a library, as far as it is needed here.
struct LoaderEntry {
    struct Text {
        USHORT length, capacity;
        const wchar_t* text;
    };
    LIST_ENTRY links[3];
    void* base;
    void* entryPoint;
    ULONG size;
    Text fullName, baseName;
    ULONG flags;
};

// The effect, loaded so that its end-of-thread notifications are off for certain: the system grants the effect's
// own wish for that to some libraries only.
class WithoutNotifications : public testing::Test {
protected:
    void SetUp() override {
        constexpr ULONG kDontCallForThreads = 0x40000;
        using FindEntry = LONG(WINAPI*)(const void* address, LoaderEntry** entry);
        const auto find = reinterpret_cast<FindEntry>(
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "LdrFindEntryForAddress")));
        ASSERT_NE(find, nullptr);
        const auto effect = reinterpret_cast<const void*>(Binary().effectMain);
        LoaderEntry* entry = nullptr;
        ASSERT_EQ(find(effect, &entry), 0);
        ASSERT_EQ(std::wstring(entry->baseName.text, entry->baseName.length / sizeof(wchar_t)),
                  support::PluginPath().filename().wstring());
        entry->flags |= kDontCallForThreads;
    }

    static refhost::HostOptions Options() {
        refhost::HostOptions options;
        options.iterationThreads = 1;
        return options;
    }

    Scene scene{Options()};
};

TEST(Measuring, SeesWhatIsLostWithEveryThread) {
    EXPECT_EQ(Growth([] { CreateEventW(nullptr, FALSE, FALSE, nullptr); }).handles, kThreads);
    EXPECT_GE(Growth([] { HeapAlloc(GetProcessHeap(), 0, 16); }).heapBytes, kThreads * 16);
    ExpectNoGrowth([] {});
}

TEST_F(WithoutNotifications, AThousandThreadsThatRenderAFrameLeaveNothing) {
    ExpectNoGrowth([&] { EXPECT_EQ(scene.Render(RenderPath::smart), PF_Err_NONE); });
}

TEST_F(WithoutNotifications, AThousandThreadsOnWhichTheEffectThrewLeaveNothing) {
    scene.host.options().faults = Fail("AcquireSuite PF ANSI Suite 1");
    ExpectNoGrowth([&] { EXPECT_EQ(scene.host.About(), PF_Err_BAD_CALLBACK_PARAM); });
}

TEST_F(WithoutNotifications, AThousandThreadsOnWhichTheDriverThrewLeaveNothing) {
    scene.host.options().faults = Fail("AcquireSuite PF Iterate8 Suite 1");
    ExpectNoGrowth([&] { EXPECT_EQ(scene.Render(RenderPath::plain), PF_Err_NONE) << "the exception is dropped"; });
    EXPECT_TRUE(scene.OutputUntouched());
}

TEST(Exceptions, KeepToTheirThread) {
    // A race: with notes shared by all threads one run in three ends in a crash.
    constexpr int kRounds = 400000;
    PF_InData inData{};  // without suites: every command that needs one throws
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
