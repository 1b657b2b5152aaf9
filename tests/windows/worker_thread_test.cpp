// What happens when Windows cannot start one of the engine's worker threads.
#include <windows.h>

#include <atomic>
#include <cerrno>
#include <string_view>

#include "platform/process_usage.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;

using ThreadMain = unsigned(__stdcall*)(void*);
using Begin = std::uintptr_t(__cdecl*)(void*, unsigned, ThreadMain, void*, unsigned, unsigned*);

struct Threads {
    Begin begin = nullptr;  // the system's own
    int failAt = 0;         // the start that fails, counted from 1; 0: none
    int asked = 0;
    std::atomic<int> started{0}, ended{0};
};
Threads threads;

struct Start {
    ThreadMain main;
    void* argument;
};

unsigned __stdcall RunThread(void* memory) {
    const Start start = *static_cast<Start*>(memory);
    delete static_cast<Start*>(memory);
    const unsigned result = start.main(start.argument);
    ++threads.ended;
    return result;
}

std::uintptr_t __cdecl BeginThread(void* security, unsigned stack, ThreadMain main, void* argument, unsigned flags,
                                   unsigned* id) {
    if (++threads.asked == threads.failAt) {
        errno = EAGAIN;
        return 0;
    }
    ++threads.started;
    return threads.begin(security, stack, RunThread, new Start{main, argument}, flags, id);
}

// The place where the effect keeps the address of an imported function. Null if it does not import the function.
void** ImportOfEffect(std::string_view name) {
    auto* const base = reinterpret_cast<char*>(GetModuleHandleW(support::PluginPath().filename().c_str()));
    const auto at = [base](auto offset) { return base + offset; };
    const auto& dos = *reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto& headers = *reinterpret_cast<const IMAGE_NT_HEADERS64*>(at(dos.e_lfanew));
    const auto& directory = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(at(directory.VirtualAddress));
         library->FirstThunk != 0; ++library) {
        const auto* names = reinterpret_cast<const IMAGE_THUNK_DATA64*>(at(library->OriginalFirstThunk));
        auto* addresses = reinterpret_cast<IMAGE_THUNK_DATA64*>(at(library->FirstThunk));
        for (; names->u1.AddressOfData != 0; ++names, ++addresses) {
            const auto& import = *reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(at(names->u1.AddressOfData));
            if (name == import.Name) return reinterpret_cast<void**>(&addresses->u1.Function);
        }
    }
    return nullptr;
}

class WorkerThreads : public testing::TestWithParam<RenderPath> {
protected:
    void SetUp() override {
        place_ = ImportOfEffect("_beginthreadex");
        ASSERT_NE(place_, nullptr);
        threads.begin = reinterpret_cast<Begin>(*place_);
        Write(reinterpret_cast<void*>(BeginThread));
    }
    void TearDown() override {
        if (place_ != nullptr) Write(reinterpret_cast<void*>(threads.begin));
    }

    PF_Err Render(int failAt) {
        threads.failAt = failAt;
        threads.asked = 0;
        threads.started = threads.ended = 0;
        return scene.Render(GetParam());
    }

    HostedScene scene;

private:
    void Write(void* function) {
        DWORD before = 0;
        ASSERT_TRUE(VirtualProtect(place_, sizeof *place_, PAGE_READWRITE, &before));
        *place_ = function;
        ASSERT_TRUE(VirtualProtect(place_, sizeof *place_, before, &before));
    }

    void** place_ = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Both, WorkerThreads, testing::Values(RenderPath::smart, RenderPath::plain),
                         [](const auto& instance) {
                             return instance.param == RenderPath::smart ? "Smart" : "Plain";
                         });

TEST_P(WorkerThreads, AreEndedAndTheFrameIsGivenUpWhenOneCannotBeStarted) {
    const auto clean = scene.CleanPicture(GetParam());
    const auto handles = platform::UsageNow().handles;
    for (int failing = 1; failing <= 16; ++failing) {
        SCOPED_TRACE(failing);
        EXPECT_EQ(Render(failing), PF_Err_NONE) << "the effect drops the exception";
        EXPECT_TRUE(scene.OutputUntouched());
        EXPECT_EQ(threads.asked, failing) << "the engine starts no thread after the one that fails";
        EXPECT_EQ(threads.started, failing - 1);
        EXPECT_EQ(threads.ended, failing - 1);
        EXPECT_EQ(scene.Outstanding(), Lines());
        EXPECT_EQ(scene.Misuse(), Lines());

        EXPECT_EQ(Render(0), PF_Err_NONE);
        EXPECT_EQ(threads.started, 16);
        EXPECT_EQ(threads.ended, 16);
        EXPECT_EQ(scene.output.Pixels(), clean);
    }
    EXPECT_LT(platform::UsageNow().handles, handles + 16) << "one handle for each failure would be more";
}

}  // namespace
