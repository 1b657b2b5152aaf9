// The reference host's iteration over rows and pixels.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <numeric>
#include <thread>
#include <vector>

#include "support/host_fixture.h"

namespace refhost {
namespace {

const PF_Iterate8Suite1& Iterate8(const Arguments& a) {
    const void* suite = nullptr;
    a.in->pica_basicP->AcquireSuite("PF Iterate8 Suite", 1, &suite);
    a.in->pica_basicP->ReleaseSuite("PF Iterate8 Suite", 1);
    return *static_cast<const PF_Iterate8Suite1*>(suite);
}

struct Rows {
    std::mutex mutex;
    std::vector<int> rows;
    std::vector<int> threads;
    const Arguments* arguments = nullptr;
    int stopAt = -1;
};

PF_Err NoteRow(void* refcon, std::int32_t thread, std::int32_t row, std::int32_t) {
    auto& seen = *static_cast<Rows*>(refcon);
    const std::lock_guard lock(seen.mutex);
    seen.rows.push_back(row);
    seen.threads.push_back(thread);
    return row == seen.stopAt ? 123 : 0;
}

TEST_F(HostTest, IterationCallsEveryRowOnceOnAnyNumberOfThreads) {
    for (const int threads : {1, 2, 5}) {
        for (const std::uint32_t order : {0U, 1U, 77U}) {
            host.options().iterationThreads = threads;
            host.options().rowOrder = order;
            for (const int count : {-1, 0, 1, 2, 12, 100}) {
                Rows seen;
                Do([&](const Arguments& a) { EXPECT_EQ(Iterate8(a).iterate_generic(count, &seen, NoteRow), 0); });
                if (threads == 1 && (order == 0 || count == 100)) {
                    EXPECT_EQ(std::ranges::is_sorted(seen.rows), order == 0);
                }
                std::ranges::sort(seen.rows);
                std::vector<int> all(static_cast<std::size_t>(std::max(count, 0)));
                std::iota(all.begin(), all.end(), 0);
                EXPECT_EQ(seen.rows, all);
                // The command's own thread takes rows too, as thread 0.
                EXPECT_EQ(std::ranges::count(seen.threads, 0) > 0, count > 0);
                for (const int thread : seen.threads)
                    EXPECT_LT(thread, threads);
            }
        }
    }
    EXPECT_EQ(Misuse(), Lines{});
    EXPECT_EQ(host.account().Count(Call::row), 9 * (1 + 2 + 12 + 100));
}

TEST_F(HostTest, IterationStopsAtTheFirstCode) {
    host.options().iterationThreads = 1;
    Rows seen;
    seen.stopAt = 3;
    Do([&](const Arguments& a) { EXPECT_EQ(Iterate8(a).iterate_generic(100, &seen, NoteRow), 123); });
    EXPECT_EQ(seen.rows, (std::vector{0, 1, 2, 3}));

    host.options().iterationThreads = 3;
    Rows again;
    again.stopAt = 3;
    Do([&](const Arguments& a) { EXPECT_EQ(Iterate8(a).iterate_generic(100000, &again, NoteRow), 123); });
    EXPECT_LT(again.rows.size(), 100000U);
}

TEST_F(HostTest, RowsCanBeMadeToFail) {
    host.options().iterationThreads = 1;
    host.options().faults = [](const CallRecord& call) {
        return call.call == Call::row && call.detail == "2" ? std::optional<PF_Err>(55) : std::nullopt;
    };
    Rows seen;
    Do([&](const Arguments& a) { EXPECT_EQ(Iterate8(a).iterate_generic(10, &seen, NoteRow), 55); });
    EXPECT_EQ(seen.rows, (std::vector{0, 1}));
}

TEST_F(HostTest, IterationThreadsMayAskForAbortButNotForSuites) {
    host.options().iterationThreads = 4;
    Do([&](const Arguments& a) {
        Rows seen;
        seen.arguments = &a;
        Iterate8(a).iterate_generic(64, &seen, [](void* refcon, std::int32_t thread, std::int32_t, std::int32_t) {
            const auto& in = *static_cast<Rows*>(refcon)->arguments->in;
            EXPECT_EQ(in.inter.abort(in.effect_ref), 0);
            const void* suite = nullptr;
            if (thread != 0) in.pica_basicP->AcquireSuite("PF World Suite", 1, &suite);
            // Thread 0 sleeps, so that the other threads get rows, too.
            if (thread == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
            return 0;
        });
    });
    const auto misuse = Misuse();
    EXPECT_FALSE(misuse.empty());
    for (const auto& line : misuse)
        EXPECT_EQ(line, "AcquireSuite: called on an iteration thread");
}

TEST_F(HostTest, ExceptionThatLeavesARowFunctionIsMisuse) {
    host.options().iterationThreads = 1;
    Do([](const Arguments& a) {
        const PF_Err code = Iterate8(a).iterate_generic(
            4, nullptr, [](void*, std::int32_t, std::int32_t, std::int32_t) -> PF_Err { throw 1; });
        EXPECT_EQ(code, -1);
    });
    EXPECT_EQ(Misuse(), Lines{"an exception left the effect's function in row 0"});
}

TEST_F(HostTest, ExceptionOfAPlanForARowGoesThroughTheIterationToTheEffect) {
    host.options().faults = [](const CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == Call::row && call.detail == "2") throw 7;
        return std::nullopt;
    };
    for (const int threads : {1, 3}) {
        host.options().iterationThreads = threads;
        Rows seen;
        Do([&](const Arguments& a) { EXPECT_THROW(Iterate8(a).iterate_generic(10, &seen, NoteRow), int); });
        EXPECT_EQ(std::ranges::count(seen.rows, 2), 0) << threads << " threads";
    }
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, IterationsOfSeveralCommandsOverlap) {
    host.options().iterationThreads = 2;
    g_effect = [](const Arguments& a) {
        for (int i = 0; i < 50; ++i) {
            std::atomic<int> sum = 0;
            Iterate8(a).iterate_generic(20, &sum, [](void* refcon, std::int32_t, std::int32_t row, std::int32_t) {
                *static_cast<std::atomic<int>*>(refcon) += row;
                return 0;
            });
            if (sum != 190) return 1;
        }
        return 0;
    };
    std::array<std::thread, 3> threads;
    for (auto& thread : threads) {
        thread = std::thread([this] {
            PF_InData in = host.InData();
            PF_OutData out{};
            EXPECT_EQ(host.Send(PF_Cmd_RENDER, &in, &out), 0);
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(host.account().Count(Call::row), 3 * 50 * 20);
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, GenericIterationCanBeMissing) {
    Do([](const Arguments& a) { EXPECT_NE(Iterate8(a).iterate_generic, nullptr); });
    host.options().genericIteration = false;
    Do([](const Arguments& a) {
        EXPECT_EQ(Iterate8(a).iterate_generic, nullptr);
        EXPECT_NE(Iterate8(a).iterate, nullptr);
    });
}

TEST_F(HostTest, PixelIterationVisitsEveryPixelOfTheArea) {
    Do([](const Arguments& a) {
        PF_EffectWorld world{};
        ASSERT_EQ(a.in->utils->new_world(a.in->effect_ref, 5, 4, PF_NewWorldFlag_CLEAR_PIXELS, &world), 0);
        const auto mark = [](void*, std::int32_t x, std::int32_t y, PF_Pixel* in, PF_Pixel* out) {
            EXPECT_EQ(in, out);
            out->red = static_cast<std::uint8_t>(1 + x + 10 * y);
            return 0;
        };
        const PF_Rect area{1, 1, 4, 99};
        EXPECT_EQ(Iterate8(a).iterate(a.in, 0, 4, &world, &area, nullptr, mark, &world), 0);
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 5; ++x) {
                PF_Pixel pixel;
                std::memcpy(&pixel,
                            reinterpret_cast<std::byte*>(world.data) + std::ptrdiff_t{world.rowbytes} * y +
                                x * std::ptrdiff_t{4},
                            4);
                EXPECT_EQ(pixel.red, x >= 1 && x < 4 && y >= 1 ? 1 + x + 10 * y : 0) << x << ", " << y;
            }
        }
        EXPECT_EQ(a.in->utils->dispose_world(a.in->effect_ref, &world), 0);
    });
    EXPECT_EQ(Misuse(), Lines{});
}

}  // namespace
}  // namespace refhost
