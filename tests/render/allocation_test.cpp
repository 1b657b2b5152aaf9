// What a render does when one of the effect's memory allocations fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "entry/entry_points.h"
#include "params/params.h"
#include "pf_smart_render.h"
#include "render/render_mutex.h"

namespace {

// How many more allocations of the command's thread succeed before one fails. Negative: none fails.
thread_local int allocationsLeft = -1;

}  // namespace

void* operator new(std::size_t size) {
    if (allocationsLeft == 0) {
        allocationsLeft = -1;  // one failure only
        throw std::bad_alloc();
    }
    if (allocationsLeft > 0) --allocationsLeft;
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}

// The call goes through a pointer, because a compiler that sees std::free here, but not the std::malloc above,
// warns that they do not match.
void (*const volatile giveBack)(void*) = std::free;

void operator delete(void* memory) noexcept {
    giveBack(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    giveBack(memory);
}

namespace {

// A host that allocates nothing, so that every allocation that fails is one of the effect. Only one host may exist
// at a time.
class AllocationFreeHost {
public:
    static constexpr std::int32_t kWidth = 4, kHeight = 3;

    AllocationFreeHost() {
        current_ = this;
        basic_.AcquireSuite = AcquireSuite;
        basic_.ReleaseSuite = ReleaseSuite;
        utils_.host_new_handle = NewHandle;
        utils_.host_lock_handle = LockHandle;
        utils_.host_unlock_handle = UnlockHandle;
        utils_.host_dispose_handle = DisposeHandle;
        inData_.inter.checkout_param = CheckoutParam;
        inData_.inter.checkin_param = CheckinParam;
        inData_.inter.abort = [](PF_ProgPtr) -> PF_Err { return PF_Err_NONE; };
        inData_.utils = &utils_;
        inData_.pica_basicP = &basic_;
        inData_.appl_id = kAppIdCompositor;
        inData_.time_scale = 25;
        inData_.downsample_x = inData_.downsample_y = inData_.pixel_aspect_ratio = {1, 1};
        for (std::size_t i = 0; i < input_.size(); ++i)
            input_[i] = static_cast<std::uint8_t>(i * 5 + 1);
        DescribeWorld(layer_.u.ld, input_);
        DescribeWorld(outputWorld_, output_);
        output_.fill(kPoison);
    }

    PF_Err PlainRender(int successes) {
        PF_ParamDef* array[nuv::PARAM_COUNT] = {&layer_};
        return Send(PF_Cmd_RENDER, successes, array, &outputWorld_, nullptr);
    }

    PF_Err SmartRender(int successes) {
        PF_SmartRenderInput input{};
        input.pre_render_data = NewHandle(8);
        std::memset(blocks_[0].bytes, 0, 8);
        PF_SmartRenderCallbacks callbacks{
            [](PF_ProgPtr, std::int32_t, PF_EffectWorld** world) -> PF_Err {
                return *world = &current_->layer_.u.ld, PF_Err_NONE;
            },
            nullptr,
            [](PF_ProgPtr, PF_EffectWorld** world) -> PF_Err {
                return *world = &current_->outputWorld_, PF_Err_NONE;
            },
        };
        PF_SmartRenderExtra extra{&input, &callbacks};
        const PF_Err code = Send(PF_Cmd_SMART_RENDER, successes, nullptr, nullptr, &extra);
        DisposeHandle(static_cast<PF_Handle>(input.pre_render_data));
        return code;
    }

    // Whether an allocation failed in the last render.
    bool Failed() const { return failed_; }
    bool OutputUntouched() const {
        return std::all_of(output_.begin(), output_.end(), [](std::uint8_t byte) { return byte == kPoison; });
    }
    const auto& Output() const { return output_; }

    int suites = 0, handles = 0, locks = 0, params = 0;  // that the effect has not given back
    int checkouts = 0;

private:
    static constexpr std::uint8_t kPoison = 0xA5;
    using Pixels = std::array<std::uint8_t, std::size_t{kWidth} * kHeight * 4>;

    struct Block {
        void* address = nullptr;
        bool taken = false;
        alignas(16) std::byte bytes[1024];
    };

    PF_Err Send(PF_Cmd cmd, int successes, PF_ParamDef* array[], PF_LayerDef* world, void* extra) {
        // allocationsLeft becomes -1 when an allocation fails, and stays above -1 as long as none has failed.
        allocationsLeft = successes;
        const PF_Err code = nuv::Dispatch(cmd, &inData_, nullptr, array, world, extra);
        failed_ = successes >= 0 && allocationsLeft < 0;
        allocationsLeft = -1;
        return code;
    }

    static void DescribeWorld(PF_LayerDef& world, Pixels& pixels) {
        world.data = reinterpret_cast<PF_Pixel*>(pixels.data());
        world.rowbytes = kWidth * 4;
        world.width = kWidth;
        world.height = kHeight;
    }

    static std::int32_t AcquireSuite(const char* name, std::int32_t, const void** suite) {
        static const PF_HandleSuite1 handleSuite{NewHandle,     LockHandle, UnlockHandle,
                                                 DisposeHandle, nullptr,    nullptr};
        static const PF_WorldSuite2 worldSuite{nullptr, nullptr,
                                               [](const PF_EffectWorld*, PF_PixelFormat* format) -> PF_Err {
                                                   return *format = kFormatArgb8, PF_Err_NONE;
                                               }};
        static const PF_PixelFormatSuite1 formatSuite{};
        static const PF_Iterate8Suite1 iterateSuite{nullptr, nullptr, nullptr, nullptr, IterateGeneric};
        const std::pair<const char*, const void*> table[] = {{"PF Handle Suite", &handleSuite},
                                                             {"PF World Suite", &worldSuite},
                                                             {"PF Pixel Format Suite", &formatSuite},
                                                             {"PF Iterate8 Suite", &iterateSuite}};
        for (const auto& [offered, structure] : table) {
            if (std::strcmp(offered, name) != 0) continue;
            *suite = structure;
            ++current_->suites;
            return 0;
        }
        return 1;
    }
    static std::int32_t ReleaseSuite(const char*, std::int32_t) { return --current_->suites, 0; }

    static PF_Err IterateGeneric(std::int32_t iterations, void* refcon, PF_IterateRowFunc rowFunction) {
        for (std::int32_t row = 0; row < iterations; ++row) {
            if (const PF_Err code = rowFunction(refcon, 0, row, iterations)) return code;
        }
        return PF_Err_NONE;
    }

    static PF_Handle NewHandle(A_HandleSize size) {
        const auto free = std::find_if(current_->blocks_.begin(), current_->blocks_.end(),
                                       [](const Block& block) { return !block.taken; });
        if (free == current_->blocks_.end() || size > sizeof free->bytes) return nullptr;
        free->taken = true;
        free->address = free->bytes;
        ++current_->handles;
        return &free->address;
    }
    static void* LockHandle(PF_Handle handle) { return ++current_->locks, *handle; }
    static void UnlockHandle(PF_Handle) { --current_->locks; }
    static void DisposeHandle(PF_Handle handle) {
        const auto found = std::find_if(current_->blocks_.begin(), current_->blocks_.end(),
                                        [=](const Block& block) { return &block.address == handle; });
        found->taken = false;
        --current_->handles;
    }

    static PF_Err CheckoutParam(PF_ProgPtr, std::int32_t index, std::int32_t, std::int32_t, std::uint32_t,
                                PF_ParamDef* param) {
        ++current_->params;
        ++current_->checkouts;
        if (index == nuv::PARAM_AMOUNT) {
            param->u.fs_d.value = 50;
        } else if (index != nuv::PARAM_FRAME_CENTER) {
            param->u.pd.value = 1;
        }
        return PF_Err_NONE;
    }
    static PF_Err CheckinParam(PF_ProgPtr, PF_ParamDef*) { return --current_->params, PF_Err_NONE; }

    static inline AllocationFreeHost* current_ = nullptr;

    SPBasicSuite basic_{};
    PF_UtilCallbacks utils_{};
    PF_InData inData_{};
    PF_ParamDef layer_{};
    PF_EffectWorld outputWorld_{};
    Pixels input_{}, output_{};
    std::array<Block, 3> blocks_{};
    bool failed_ = false;
};

using Command = PF_Err (AllocationFreeHost::*)(int successes);

// How many allocations the driver needs to start its threads. Threads of Windows need none. The five allocations
// before them hold the parameters.
#if defined(_WIN32)
constexpr int kThreadAllocations = 0;
#else
constexpr int kThreadAllocations = 16;
#endif

void ExpectEveryFailedAllocation(Command render) {
    AllocationFreeHost clean;
    ASSERT_EQ((clean.*render)(-1), PF_Err_NONE);
    ASSERT_FALSE(clean.OutputUntouched());

    for (int successes = 0;; ++successes) {
        SCOPED_TRACE(std::to_string(successes) + " allocations succeed");
        ASSERT_LT(successes, 1000);
        AllocationFreeHost host;
        const PF_Err code = (host.*render)(successes);
        if (!host.Failed()) {
            EXPECT_GE(successes, 5 + kThreadAllocations)
                << "there are fewer allocations than parameters and threads";
            EXPECT_EQ(code, PF_Err_NONE);
            EXPECT_EQ(host.Output(), clean.Output());
            return;
        }
        EXPECT_EQ(code, successes < 5 ? 512 : 0) << "only an exception of the driver is dropped";
        EXPECT_EQ(host.checkouts, std::min(successes, 5));
        EXPECT_TRUE(host.OutputUntouched());
        EXPECT_EQ(host.params, 0);
        EXPECT_EQ(host.handles, 0);
        EXPECT_EQ(host.locks, 0);
        EXPECT_EQ(host.suites, 0);
        ASSERT_TRUE(nuv::g_renderMutex.try_lock());
        nuv::g_renderMutex.unlock();

        EXPECT_EQ((host.*render)(-1), PF_Err_NONE);
        EXPECT_EQ(host.Output(), clean.Output());
    }
}

TEST(FailedAllocation, InASmartRenderYields512OrIsDroppedAndNothingIsKept) {
    ExpectEveryFailedAllocation(&AllocationFreeHost::SmartRender);
}

TEST(FailedAllocation, InAPlainRenderYields512OrIsDroppedAndNothingIsKept) {
    ExpectEveryFailedAllocation(&AllocationFreeHost::PlainRender);
}

}  // namespace
