// The engine's worker threads as the system sees them: how many start, that all of them are joined, and what
// happens when one cannot be started.
#include <pthread.h>

#include <atomic>
#include <cerrno>

#include "next_function.h"
#include "support/protocol_support.h"

namespace {

struct Threads {
    std::atomic<bool> watched{false};
    std::atomic<int> failAt{0};  // the creation that fails, counted from 1; 0: none
    std::atomic<int> asked{0}, started{0}, ended{0}, joined{0};

    void Watch(int fail) {
        failAt = fail;
        asked = started = ended = joined = 0;
        watched = true;
    }
};
Threads threads;

struct Start {
    void* (*routine)(void*);
    void* argument;
};

void* Run(void* memory) {
    const Start start = *static_cast<Start*>(memory);
    delete static_cast<Start*>(memory);
    void* const result = start.routine(start.argument);
    ++threads.ended;
    return result;
}

}  // namespace

// These two functions replace those of the system, for the plug-in, too.
extern "C" __attribute__((visibility("default"))) int pthread_create(pthread_t* thread,
                                                                     const pthread_attr_t* attributes,
                                                                     void* (*routine)(void*),
                                                                     void* argument) noexcept {
    static const auto create =
        Next<int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
    if (!threads.watched) return create(thread, attributes, routine, argument);
    if (++threads.asked == threads.failAt) return EAGAIN;
    ++threads.started;
    return create(thread, attributes, Run, new Start{routine, argument});
}

extern "C" __attribute__((visibility("default"))) int pthread_join(pthread_t thread, void** result) {
    static const auto join = Next<int (*)(pthread_t, void**)>("pthread_join");
    if (threads.watched) ++threads.joined;
    return join(thread, result);
}

namespace {

using namespace protocol;

class WorkerThreads : public testing::TestWithParam<RenderPath> {
protected:
    PF_Err Render(int failAt) {
        threads.Watch(failAt);
        const PF_Err code = scene.Render(GetParam());
        threads.watched = false;
        return code;
    }

    HostedScene scene;
};

INSTANTIATE_TEST_SUITE_P(Both, WorkerThreads, testing::Values(RenderPath::smart, RenderPath::plain),
                         [](const auto& instance) {
                             return instance.param == RenderPath::smart ? "Smart" : "Plain";
                         });

TEST_P(WorkerThreads, AreSixteenWhateverTheHeightAndAllAreJoined) {
    for (const int height : {0, 1, 3, 16, 100}) {
        scene.output = refhost::World({.format = kFormatArgb8, .width = 2, .height = height});
        EXPECT_EQ(Render(0), PF_Err_NONE);
        EXPECT_EQ(threads.started, 16);
        EXPECT_EQ(threads.ended, 16);
        EXPECT_EQ(threads.joined, 16);
    }
}

TEST_P(WorkerThreads, AreNotStartedAfterAnAbort) {
    scene.host.options().faults = Fail("abort");
    EXPECT_EQ(Render(0), kFault);
    EXPECT_EQ(threads.asked, 0);
}

TEST_P(WorkerThreads, AreJoinedAndTheFrameIsGivenUpWhenOneCannotBeStarted) {
    const auto clean = scene.CleanPicture(GetParam());
    for (int failing = 1; failing <= 16; ++failing) {
        SCOPED_TRACE(failing);
        EXPECT_EQ(Render(failing), PF_Err_NONE) << "the effect drops the exception";
        EXPECT_TRUE(scene.OutputUntouched());
        EXPECT_EQ(threads.asked, failing) << "the engine starts no thread after the one that fails";
        EXPECT_EQ(threads.started, failing - 1);
        EXPECT_EQ(threads.ended, failing - 1);
        EXPECT_EQ(threads.joined, failing - 1);
        EXPECT_EQ(scene.Outstanding(), Lines());
        EXPECT_EQ(scene.Misuse(), Lines());

        EXPECT_EQ(Render(0), PF_Err_NONE);
        EXPECT_EQ(scene.output.Pixels(), clean);
    }
}

}  // namespace
