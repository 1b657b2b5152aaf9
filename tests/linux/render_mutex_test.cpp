// What a render does when the system cannot lock the render mutex.
#include "render/render_mutex.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>

#include "next_function.h"
#include "support/protocol_support.h"

namespace {

std::atomic<pthread_mutex_t*> refused{nullptr};  // the mutex that the system refuses to lock

}  // namespace

// Replaces the function of the system, for the plug-in, too.
extern "C" __attribute__((visibility("default"))) int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    static const auto lock = Next<int (*)(pthread_mutex_t*)>("pthread_mutex_lock");
    return mutex == refused.load() ? EINVAL : lock(mutex);
}

namespace {

using namespace protocol;

class RenderMutex : public testing::TestWithParam<RenderPath> {};

INSTANTIATE_TEST_SUITE_P(Both, RenderMutex, testing::Values(RenderPath::smart, RenderPath::plain),
                         [](const auto& instance) {
                             return instance.param == RenderPath::smart ? "Smart" : "Plain";
                         });

TEST_P(RenderMutex, ThatCannotBeLockedYields512AndTheRenderKeepsNothing) {
    HostedScene scene(InOrder(), Linked());
    const auto clean = scene.CleanPicture(GetParam());
    refused = nuv::g_renderMutex.native_handle();
    const PF_Err code = scene.Render(GetParam());
    refused = nullptr;
    EXPECT_EQ(code, 512);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(scene.host.account().Count(refhost::Call::checkinParam), 5);
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Misuse(), Lines());
    EXPECT_EQ(scene.CleanPicture(GetParam()), clean);
}

}  // namespace
