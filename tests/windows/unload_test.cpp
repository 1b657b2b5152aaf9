// The effect leaves nothing behind in a host that unloads it.
#include <windows.h>

#include <functional>
#include <stdexcept>
#include <vector>

#include "platform/process_usage.h"
#include "support/plugin_path.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;
using platform::Usage;

// By how much the process grows while the effect is loaded, used and unloaded a hundred times.
Usage Growth(const std::function<void(const refhost::PluginLibrary&)>& use) {
    constexpr int kUnmeasured = 10, kTimes = 100;
    Usage before;
    for (int i = 0; i < kUnmeasured + kTimes; ++i) {
        if (i == kUnmeasured) before = platform::UsageNow();
        use(refhost::PluginLibrary(support::PluginPath()));
        EXPECT_EQ(GetModuleHandleW(L"nuv_chromaber.aex"), nullptr);
    }
    const Usage after = platform::UsageNow();
    return {after.heapBytes - before.heapBytes, after.handles - before.handles};
}

void ExpectNoGrowth(const std::function<void(const refhost::PluginLibrary&)>& use) {
    const Usage growth = Growth(use);
    EXPECT_LE(growth.handles, 0);
    EXPECT_LT(growth.heapBytes, 100 * 8) << "one allocation for each time would be more";
}

TEST(Unloading, LeavesNothing) {
    ExpectNoGrowth([](const refhost::PluginLibrary&) {});
}

TEST(Unloading, LeavesNothingAfterAFrameAndAnException) {
    ExpectNoGrowth([](const refhost::PluginLibrary& library) {
        HostedScene scene(InOrder(), library);
        EXPECT_EQ(scene.Render(RenderPath::smart), PF_Err_NONE);
        scene.host.options().faults = Fail("AcquireSuite PF ANSI Suite 1");
        EXPECT_EQ(scene.host.About(), PF_Err_BAD_CALLBACK_PARAM);
    });
}

TEST(Loading, FailsWhereNoThreadLocalSlotIsLeft) {
    std::vector<DWORD> slots;
    for (DWORD slot = TlsAlloc(); slot != TLS_OUT_OF_INDEXES; slot = TlsAlloc())
        slots.push_back(slot);
    EXPECT_THROW(refhost::PluginLibrary{support::PluginPath()}, std::runtime_error);
    for (const DWORD slot : slots)
        TlsFree(slot);
    EXPECT_NO_THROW(refhost::PluginLibrary{support::PluginPath()});
}

}  // namespace
