// The reference host, with effects made up for the test: whatever it is to notice is done to it here.
#include "reference_host/host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <mutex>
#include <numeric>
#include <stdexcept>
#include <thread>

namespace refhost {
namespace {

using Lines = std::vector<std::string>;

// ---- Worlds ---------------------------------------------------------------------------------------------------

std::vector<std::byte> Counting(std::size_t size) {
    std::vector<std::byte> bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::byte>(i * 7 + 1);
    return bytes;
}

const WorldLayout kLayouts[] = {
    {.format = kFormatArgb8, .width = 3, .height = 4},
    {.format = kFormatBgra8, .width = 3, .height = 4, .padding = 5},
    {.format = kFormatArgb16, .width = 5, .height = 2, .padding = 3, .bottomUp = true},
    {.format = kFormatArgbFloat, .width = 1, .height = 7, .bottomUp = true, .misalignment = 1},
    {.format = kFormatBgraFloat, .width = 2, .height = 3, .padding = 1, .misalignment = 7},
    {.format = kFormatBgraFloatLinear, .width = 2, .height = 1, .padding = 16},
};

// Where the effect would find a row.
std::byte* RowByRecord(World& world, int y) {
    PF_EffectWorld* record = world.effectWorld();
    return reinterpret_cast<std::byte*>(record->data) + std::ptrdiff_t{record->rowbytes} * y;
}

TEST(World, RecordLeadsToTheRowsInEveryLayout) {
    for (const auto& layout : kLayouts) {
        World world(layout);
        const auto pixelBytes = static_cast<std::size_t>(BytesPerPixel(layout.format));
        const auto packed =
            Counting(pixelBytes * static_cast<std::size_t>(layout.width) * static_cast<std::size_t>(layout.height));
        world.SetPixels(packed);
        EXPECT_EQ(world.Pixels(), packed);
        EXPECT_EQ(world.Surroundings(), "");
        const auto stride = static_cast<std::int32_t>(pixelBytes) * layout.width + layout.padding;
        EXPECT_EQ(world.effectWorld()->rowbytes, layout.bottomUp ? -stride : stride);
        for (int y = 0; y < layout.height; ++y)
            EXPECT_EQ(RowByRecord(world, y), world.Row(y).data());
    }
}

TEST(World, FirstByteInMemoryIsMisalignedAsAsked) {
    for (const int misalignment : {0, 1, 7, 63}) {
        const World world({.width = 4, .height = 4, .misalignment = misalignment});
        const auto address = reinterpret_cast<std::uintptr_t>(world.effectWorld().data);
        EXPECT_EQ(address % 64, static_cast<std::uintptr_t>(misalignment));
    }
}

TEST(World, SurroundingsNameTheFirstByteChanged) {
    for (const auto& layout : kLayouts) {
        World world(layout);
        const int top = layout.bottomUp ? layout.height - 1 : 0;
        std::byte* const first = RowByRecord(world, top);
        *(first - 1) ^= std::byte{1};
        EXPECT_EQ(world.Surroundings(), "a byte was written 1 before the first row in memory");
        *(first - 1) ^= std::byte{1};

        const auto row = world.Row(0);
        std::byte* const behind = row.data() + row.size() + layout.padding - 1;
        if (layout.padding > 0) {
            *behind ^= std::byte{1};
            EXPECT_EQ(world.Surroundings(),
                      "byte " + std::to_string(layout.padding - 1) + " of the padding after row 0 was written");
            *behind ^= std::byte{1};
        }
        const int bottom = layout.bottomUp ? 0 : layout.height - 1;
        const auto last = world.Row(bottom);
        last.data()[static_cast<std::ptrdiff_t>(last.size()) + layout.padding + 2] ^= std::byte{1};
        EXPECT_EQ(world.Surroundings(), "byte 2 after the last row in memory was written");
    }
}

TEST(World, MovesWithoutMovingItsPixels) {
    World world({.width = 2, .height = 2});
    const PF_Pixel* const data = world.effectWorld()->data;
    const World moved = std::move(world);
    EXPECT_EQ(moved.effectWorld().data, data);
}

TEST(World, HasNoPixelsInAnUnknownFormat) {
    const World world({.format = 1, .width = 4, .height = 2, .padding = 64});
    EXPECT_TRUE(world.Pixels().empty());
    EXPECT_EQ(world.effectWorld().rowbytes, 64);
}

TEST(World, RefusesRowsAndPixelsThatItHasNot) {
    World world({.width = 1, .height = 1});
    EXPECT_THROW(static_cast<void>(world.Row(1)), std::out_of_range);
    EXPECT_THROW(static_cast<void>(world.Row(-1)), std::out_of_range);
    EXPECT_THROW(world.SetPixels(Counting(3)), std::invalid_argument);
}

// ---- An effect that does what the test says -------------------------------------------------------------------

struct Arguments {
    PF_Cmd cmd;
    PF_InData* in;
    PF_OutData* out;
    PF_ParamDef** params;
    PF_LayerDef* output;
    void* extra;
};

std::function<PF_Err(const Arguments&)> g_effect;

PF_Err FakeMain(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[], PF_LayerDef* output,
                void* extra) {
    return g_effect ? g_effect({cmd, in, out, params, output, extra}) : PF_Err_NONE;
}

PF_Err FakeRegistration(PF_PluginDataPtr inPtr, PF_PluginDataCB callback, SPBasicSuite*, const char*, const char*) {
    const auto text = [](const char* s) { return reinterpret_cast<const std::uint8_t*>(s); };
    return callback(inPtr, text("Name"), text("match"), text("Category"), text("Main"), 1, 2, 3, 4);
}

void AddParams(const Arguments& a) {
    PF_ParamDef point{};
    point.uu.id = 12;
    point.param_type = PF_Param_POINT;
    point.u.td.x_dephault = 50 << 16;
    point.u.td.y_dephault = 25 << 16;
    a.in->inter.add_param(a.in->effect_ref, -1, &point);

    std::string choices = "One|Two";
    PF_ParamDef popup{};
    popup.uu.id = 11;
    popup.param_type = PF_Param_POPUP;
    popup.u.pd.num_choices = 2;
    popup.u.pd.dephault = 2;
    popup.u.pd.u.namesptr = choices.c_str();
    a.in->inter.add_param(a.in->effect_ref, -1, &popup);

    PF_ParamDef slider{};
    slider.uu.id = 13;
    slider.param_type = PF_Param_FLOAT_SLIDER;
    slider.u.fs_d.dephault = 1.5f;
    a.in->inter.add_param(a.in->effect_ref, -1, &slider);
    a.out->num_params = 4;
}

class HostTest : public testing::Test {
protected:
    explicit HostTest(HostOptions options = {})
        : host(PluginLibrary(FakeMain, FakeRegistration), std::move(options)) {}
    ~HostTest() override { g_effect = nullptr; }

    // Sends a command that does just this.
    PF_Err Do(const std::function<void(const Arguments&)>& work, PF_Cmd cmd = PF_Cmd_DO_DIALOG) {
        g_effect = [&](const Arguments& a) {
            work(a);
            return PF_Err_NONE;
        };
        PF_InData in = host.InData();
        PF_OutData out{};
        const PF_Err code = host.Send(cmd, &in, &out);
        g_effect = nullptr;
        return code;
    }

    void SetUp() override {
        g_effect = [](const Arguments& a) {
            if (a.cmd == PF_Cmd_PARAMS_SETUP) AddParams(a);
            return PF_Err_NONE;
        };
        host.SetUp();
        g_effect = nullptr;
        host.account().Reset();
    }

    Lines Outstanding() { return host.account().Outstanding(); }
    Lines Misuse() { return host.account().Misuse(); }

    Host host;
};

TEST_F(HostTest, ScanGivesWhatTheEffectReports) {
    const Registration seen = host.Scan();
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.calls, 1);
    EXPECT_EQ(seen.name + seen.matchName + seen.category + seen.entryPoint, "NamematchCategoryMain");
    EXPECT_EQ(seen.kind * 1000 + seen.apiMajor * 100 + seen.apiMinor * 10 + seen.reserved, 1234);
}

TEST_F(HostTest, SetUpNamesTheCommandThatFails) {
    g_effect = [](const Arguments& a) { return a.cmd == PF_Cmd_PARAMS_SETUP ? 77 : 0; };
    try {
        host.SetUp();
        FAIL();
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "the effect's parameter set-up fails with code 77");
    }
}

TEST_F(HostTest, ParameterCountMustBeWhatWasAdded) {
    g_effect = [](const Arguments& a) {
        if (a.cmd != PF_Cmd_PARAMS_SETUP) return 0;
        AddParams(a);
        a.out->num_params = 3;
        return 0;
    };
    host.ParamsSetup();
    EXPECT_EQ(Misuse(), Lines{"parameter set-up reports 3 parameters, but has added 3 beside the input layer"});
}

TEST_F(HostTest, CopiesParametersAndTheirChoices) {
    ASSERT_EQ(host.parameters().size(), 3U);
    EXPECT_STREQ(host.parameters()[1].u.pd.u.namesptr, "One|Two");
}

TEST_F(HostTest, ExceptionThatLeavesTheEffectIsMisuse) {
    EXPECT_EQ(Do([](const Arguments&) { throw 5; }), -1);
    EXPECT_EQ(Misuse(), Lines{"an exception left the effect in command 9"});
}

TEST_F(HostTest, RecordNamesTheHostAndItsCommand) {
    Do([](const Arguments& a) {
        EXPECT_EQ(a.in->appl_id, kAppIdCompositor);
        EXPECT_EQ(a.in->num_params, 4);
    });
    host.options().personality = Personality::editor;
    Do([](const Arguments& a) { EXPECT_EQ(a.in->appl_id, kAppIdEditor); });
}

// ---- Handles --------------------------------------------------------------------------------------------------

TEST_F(HostTest, HandleIsOutstandingUntilDisposedOf) {
    Do([&](const Arguments& a) {
        const auto& utils = *a.in->utils;
        const PF_Handle handle = utils.host_new_handle(24);
        EXPECT_EQ(utils.host_get_handle_size(handle), 24U);
        EXPECT_EQ(Outstanding(), Lines{"handle of 24 bytes"});
        EXPECT_EQ(utils.host_lock_handle(handle), *handle);
        EXPECT_EQ(Outstanding(), Lines{"handle of 24 bytes, locked"});
        utils.host_unlock_handle(handle);
        utils.host_dispose_handle(handle);
    });
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, HandleOfNoBytesIsLegal) {
    Do([](const Arguments& a) {
        const PF_Handle handle = a.in->utils->host_new_handle(0);
        ASSERT_NE(handle, nullptr);
        EXPECT_NE(a.in->utils->host_lock_handle(handle), nullptr);
        a.in->utils->host_unlock_handle(handle);
        a.in->utils->host_dispose_handle(handle);
    });
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, ResizedHandleKeepsItsBytes) {
    Do([](const Arguments& a) {
        PF_Handle handle = a.in->utils->host_new_handle(8);
        std::memcpy(*handle, "12345678", 8);
        EXPECT_EQ(a.in->utils->host_resize_handle(4, &handle), 0);
        EXPECT_EQ(a.in->utils->host_get_handle_size(handle), 4U);
        EXPECT_EQ(std::memcmp(*handle, "1234", 4), 0);
        EXPECT_EQ(a.in->utils->host_resize_handle(100, &handle), 0);
        EXPECT_EQ(std::memcmp(*handle, "1234", 4), 0);
        a.in->utils->host_dispose_handle(handle);
    });
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, HandlesOfSeveralGibibytesWork) {
    Do([](const Arguments& a) {
        constexpr A_HandleSize size = A_HandleSize{5} << 30;
        const PF_Handle handle = a.in->utils->host_new_handle(size);
        ASSERT_NE(handle, nullptr);
        EXPECT_EQ(a.in->utils->host_get_handle_size(handle), size);
        static_cast<char*>(*handle)[size - 1] = 1;
        a.in->utils->host_dispose_handle(handle);
    });
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, HandleMisuseIsNamed) {
    void* nobody = nullptr;
    const auto misuse = [&](const std::function<void(const PF_UtilCallbacks&, PF_Handle)>& work) {
        host.account().Reclaim();
        Do([&](const Arguments& a) { work(*a.in->utils, a.in->utils->host_new_handle(8)); });
        return Misuse();
    };
    EXPECT_EQ(misuse([](auto& utils, PF_Handle) { EXPECT_EQ(utils.host_lock_handle(nullptr), nullptr); }),
              Lines{"host_lock_handle: the handle is null"});
    EXPECT_EQ(misuse([&](auto& utils, PF_Handle) { EXPECT_EQ(utils.host_lock_handle(&nobody), nullptr); }),
              Lines{"host_lock_handle: the handle is not live"});
    EXPECT_EQ(misuse([](auto& utils, PF_Handle handle) { utils.host_unlock_handle(handle); }),
              Lines{"host_unlock_handle: a handle of 8 bytes is not locked"});
    EXPECT_EQ(misuse([](auto& utils, PF_Handle) { utils.host_unlock_handle(nullptr); }), Lines{});
    EXPECT_EQ(misuse([](auto& utils, PF_Handle handle) {
                  utils.host_dispose_handle(handle);
                  utils.host_dispose_handle(handle);
              }),
              Lines{"host_dispose_handle: the handle is not live"});
    EXPECT_EQ(misuse([](auto& utils, PF_Handle handle) {
                  utils.host_lock_handle(handle);
                  utils.host_dispose_handle(handle);
              }),
              Lines{"host_dispose_handle: a handle of 8 bytes is still locked"});
    EXPECT_EQ(misuse([](auto& utils, PF_Handle handle) {
                  static_cast<char*>(*handle)[8] ^= 1;
                  utils.host_dispose_handle(handle);
              }),
              Lines{"byte 0 after the end of a handle of 8 bytes was overwritten"});
    EXPECT_EQ(misuse([](auto& utils, PF_Handle handle) {
                  static_cast<char*>(*handle)[-2] ^= 1;
                  utils.host_dispose_handle(handle);
              }),
              Lines{"the byte 2 before the start of a handle of 8 bytes was overwritten"});
}

TEST_F(HostTest, FreshHandlesHoldAPattern) {
    Do([](const Arguments& a) {
        const PF_Handle handle = a.in->utils->host_new_handle(100);
        const auto* bytes = static_cast<const unsigned char*>(*handle);
        EXPECT_TRUE(std::all_of(bytes, bytes + 100, [](unsigned char b) { return b == 0xC9; }));
        a.in->utils->host_dispose_handle(handle);
    });
}

TEST_F(HostTest, KeptBlocksAreHandedOutAgainAsTheyAre) {
    host.options().keepFreedHandles = true;
    Do([](const Arguments& a) {
        const PF_Handle first = a.in->utils->host_new_handle(1 << 20);
        void* const block = *first;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0U);
        std::memcpy(block, "kept", 4);
        a.in->utils->host_dispose_handle(first);
        const PF_Handle second = a.in->utils->host_new_handle(1 << 20);
        EXPECT_EQ(*second, block);
        EXPECT_EQ(std::memcmp(*second, "kept", 4), 0);
        a.in->utils->host_dispose_handle(second);
    });
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, ReclaimFreesTheEffectsHandlesOnly) {
    const PF_Handle own = host.NewHandle(4);
    PF_Handle leaked = nullptr;
    Do([&](const Arguments& a) { leaked = a.in->utils->host_new_handle(8); });
    host.account().Reset();
    EXPECT_EQ(Outstanding(), Lines{"handle of 8 bytes"});
    host.account().Reclaim();
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_FALSE(host.IsLive(leaked));
    EXPECT_TRUE(host.IsLive(own));
    host.DisposeHandle(own);
    EXPECT_FALSE(host.IsLive(own));
}

TEST_F(HostTest, HostsHandlesAreNotTheEffectsToFree) {
    const PF_Handle own = host.NewHandle(4);
    Do([&](const Arguments& a) { a.in->utils->host_dispose_handle(own); });
    EXPECT_EQ(Misuse(), Lines{"host_dispose_handle: a handle of 4 bytes is the host's"});
}

// ---- Suites ---------------------------------------------------------------------------------------------------

TEST_F(HostTest, SuitesAreCountedByNameAndVersion) {
    Do([](const Arguments& a) {
        const void* suite = nullptr;
        const auto& basic = *a.in->pica_basicP;
        for (const auto& [name, version] : {std::pair{"PF ANSI Suite", 1},
                                            {"PF Handle Suite", 2},
                                            {"PF Iterate8 Suite", 1},
                                            {"PF Pixel Format Suite", 1},
                                            {"PF World Suite", 2}}) {
            EXPECT_EQ(basic.AcquireSuite(name, version, &suite), 0);
            EXPECT_NE(suite, nullptr);
        }
        EXPECT_NE(basic.AcquireSuite("PF World Suite", 1, &suite), 0);
        EXPECT_EQ(suite, nullptr);
        basic.ReleaseSuite("PF ANSI Suite", 1);
        basic.ReleaseSuite("PF Handle Suite", 2);
        basic.ReleaseSuite("PF Iterate8 Suite", 1);
        basic.ReleaseSuite("PF Pixel Format Suite", 1);
    });
    EXPECT_EQ(Outstanding(), Lines{"suite \"PF World Suite\" 2: acquired 1, released 0"});
    EXPECT_EQ(Misuse(), Lines{});

    host.account().Reset();
    EXPECT_EQ(Outstanding(), Lines{"suite \"PF World Suite\" 2: acquired 1, released 0"});
    Do([](const Arguments& a) {
        a.in->pica_basicP->ReleaseSuite("PF World Suite", 2);
        a.in->pica_basicP->ReleaseSuite("PF World Suite", 2);
    });
    EXPECT_EQ(Outstanding(), Lines{"suite \"PF World Suite\" 2: acquired 1, released 2"});
    EXPECT_EQ(Misuse(), Lines{"ReleaseSuite: PF World Suite 2 is not acquired"});
}

TEST_F(HostTest, TextCallbacksCopyAndFormat) {
    Do([](const Arguments& a) {
        char text[32];
        a.in->utils->ansi.strcpy(text, "plain");
        EXPECT_STREQ(text, "plain");
        a.in->utils->ansi.sprintf(text, "%s, v%d.%d", "x", 2, 0);
        EXPECT_STREQ(text, "x, v2.0");
    });
}

// ---- Faults and records -----------------------------------------------------------------------------------------

TEST_F(HostTest, FaultsFailTheCallThatTheyName) {
    host.options().faults = [](const CallRecord& call) -> std::optional<PF_Err> {
        if (call.call == Call::acquireSuite && call.detail == "PF World Suite 2") return 0;
        if (call.call == Call::newHandle && call.index == 1) return 4;
        if (call.call == Call::abort && call.index == 2) return PF_Interrupt_CANCEL;
        return std::nullopt;
    };
    Do([](const Arguments& a) {
        const void* suite = "not null";
        EXPECT_EQ(a.in->pica_basicP->AcquireSuite("PF World Suite", 2, &suite), 0);
        EXPECT_EQ(suite, nullptr);
        const PF_Handle handle = a.in->utils->host_new_handle(1);
        EXPECT_NE(handle, nullptr);
        EXPECT_EQ(a.in->utils->host_new_handle(1), nullptr);
        a.in->utils->host_dispose_handle(handle);
        for (const PF_Err expected : {0, 0, 517, 0})
            EXPECT_EQ(a.in->inter.abort(a.in->effect_ref), expected);
    });
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, GivingBackCountsEvenWhereItIsMadeToFail) {
    host.options().faults = [](const CallRecord& call) -> std::optional<PF_Err> {
        const bool back = call.call == Call::releaseSuite || call.call == Call::checkinParam ||
                          call.call == Call::disposeHandle || call.call == Call::disposeWorld;
        return back ? std::optional<PF_Err>(9) : std::nullopt;
    };
    Do([](const Arguments& a) {
        const void* suite = nullptr;
        a.in->pica_basicP->AcquireSuite("PF World Suite", 2, &suite);
        EXPECT_EQ(a.in->pica_basicP->ReleaseSuite("PF World Suite", 2), 9);
        PF_ParamDef param{};
        a.in->inter.checkout_param(a.in->effect_ref, 1, 0, 1, 1, &param);
        EXPECT_EQ(a.in->inter.checkin_param(a.in->effect_ref, &param), 9);
        a.in->utils->host_dispose_handle(a.in->utils->host_new_handle(1));
        PF_EffectWorld world{};
        a.in->utils->new_world(a.in->effect_ref, 1, 3, 0, &world);
        EXPECT_EQ(a.in->utils->dispose_world(a.in->effect_ref, &world), 9);
    });
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, CallsAreRecordedInOrderAndCounted) {
    host.options().recordCalls = true;
    Do([](const Arguments& a) {
        a.in->utils->host_dispose_handle(a.in->utils->host_new_handle(8));
        PF_ParamDef param{};
        a.in->inter.checkout_param(a.in->effect_ref, 2, 0, 1, 1, &param);
        a.in->inter.checkin_param(a.in->effect_ref, &param);
    });
    Lines lines;
    for (const auto& call : host.account().Calls())
        lines.push_back(std::string(Name(call.call)) + " " + call.detail);
    EXPECT_EQ(lines, (Lines{"host_new_handle 8", "host_dispose_handle 8", "checkout_param 2", "checkin_param 2"}));
    EXPECT_EQ(host.account().Count(Call::newHandle), 1);
    host.account().Reset();
    EXPECT_EQ(host.account().Count(Call::newHandle), 0);
    EXPECT_TRUE(host.account().Calls().empty());
}

// ---- Where callbacks are allowed -------------------------------------------------------------------------------

TEST_F(HostTest, CallbacksOutOfTheirCommandAreMisuse) {
    Do([](const Arguments& a) {
        PF_ParamDef param{};
        a.in->inter.add_param(a.in->effect_ref, -1, &param);
    });
    EXPECT_EQ(Misuse(), Lines{"add_param: called in command 9"});
}

TEST_F(HostTest, CallbacksOnForeignThreadsAreMisuse) {
    Do([](const Arguments& a) {
        std::thread([&] {
            EXPECT_EQ(a.in->inter.abort(a.in->effect_ref), 0);
            const void* suite = nullptr;
            EXPECT_EQ(a.in->pica_basicP->AcquireSuite("PF World Suite", 2, &suite), 0);
            a.in->pica_basicP->ReleaseSuite("PF World Suite", 2);
        }).join();
    });
    EXPECT_EQ(Misuse(), (Lines{"abort: called on a thread that is not the host's",
                               "AcquireSuite: called on a thread that is not the host's",
                               "ReleaseSuite: called on a thread that is not the host's"}));
}

TEST_F(HostTest, WrongReferenceIsMisuse) {
    PF_ProgPtr stale = nullptr;
    Do([&](const Arguments& a) { stale = a.in->effect_ref; });
    Do([&](const Arguments& a) { a.in->inter.abort(nullptr); });
    EXPECT_EQ(Misuse(), Lines{"abort: called with a reference that names no running command"});
    EXPECT_NE(stale, nullptr);
}

// ---- Iteration --------------------------------------------------------------------------------------------------

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
                // The command's own thread has its part, and is thread 0.
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
            // The others get their rows only while this one takes its time.
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

// ---- Worlds made for the effect -------------------------------------------------------------------------------

TEST_F(HostTest, WorldIsOutstandingUntilDisposedOf) {
    Do([&](const Arguments& a) {
        PF_EffectWorld world{};
        EXPECT_EQ(a.in->utils->new_world(a.in->effect_ref, 1, 7, 0, &world), 0);
        EXPECT_EQ(Outstanding(), Lines{"world of 1 x 7 pixels"});
        EXPECT_EQ(a.in->utils->dispose_world(a.in->effect_ref, &world), 0);
        EXPECT_EQ(Outstanding(), Lines{});
        EXPECT_EQ(Misuse(), Lines{});
        EXPECT_NE(a.in->utils->dispose_world(a.in->effect_ref, &world), 0);
    });
    EXPECT_EQ(Misuse(), Lines{"dispose_world: the world was not made by the host"});
}

TEST_F(HostTest, WriteBesideAMadeWorldIsNoticed) {
    Do([&](const Arguments& a) {
        PF_EffectWorld world{};
        a.in->utils->new_world(a.in->effect_ref, 1, 1, 0, &world);
        reinterpret_cast<std::byte*>(world.data)[4] ^= std::byte{1};
        a.in->utils->dispose_world(a.in->effect_ref, &world);
    });
    EXPECT_EQ(Misuse(), Lines{"dispose_world: byte 0 of the padding after row 0 was written"});
}

// ---- Parameters and instances -----------------------------------------------------------------------------------

TEST_F(HostTest, CheckOutGivesTheValueAtItsTime) {
    Instance instance(host);
    World input({.width = 200, .height = 100});
    World output({.width = 200, .height = 100});
    instance.SetAt(7, 3, SliderValue{9.0});
    instance.Set(3, SliderValue{4.0});
    g_effect = [&](const Arguments& a) {
        const auto checkout = [&](int index, int time) {
            PF_ParamDef param;
            std::memset(&param, 0x55, sizeof param);
            EXPECT_EQ(a.in->inter.checkout_param(a.in->effect_ref, index, time, 1, 25, &param), 0);
            EXPECT_EQ(Outstanding(), Lines{"parameter " + std::to_string(index) + ": checked out"});
            EXPECT_EQ(a.in->inter.checkin_param(a.in->effect_ref, &param), 0);
            return param;
        };
        EXPECT_EQ(checkout(1, 0).u.td.x_value, 100 << 16);
        EXPECT_EQ(checkout(1, 0).u.td.y_value, 25 << 16);
        EXPECT_EQ(checkout(2, 0).u.pd.value, 2);
        EXPECT_EQ(checkout(3, 0).u.fs_d.value, 4.0);
        EXPECT_EQ(checkout(3, 7).u.fs_d.value, 9.0);
        EXPECT_EQ(checkout(0, 0).u.ld.data, input.effectWorld()->data);
        const PF_ParamDef outOfRange = checkout(4, 0);
        std::array<unsigned char, sizeof outOfRange> bytes{};
        std::memcpy(bytes.data(), &outOfRange, bytes.size());
        EXPECT_EQ(bytes, (std::array<unsigned char, sizeof outOfRange>{}));
        return 0;
    };
    EXPECT_EQ(instance.Get(1), ParamValue(PointValue{50 << 16, 25 << 16}));
    EXPECT_EQ(instance.PlainRender({.input = &input, .output = &output}).render, 0);
    EXPECT_EQ(instance.Get(1), ParamValue(PointValue{100 << 16, 25 << 16}));
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, CheckInWithoutCheckOutIsMisuse) {
    Do([](const Arguments& a) {
        PF_ParamDef param{};
        EXPECT_NE(a.in->inter.checkin_param(a.in->effect_ref, &param), 0);
    });
    EXPECT_EQ(Misuse(), Lines{"checkin_param: the record was not checked out in this command"});
}

TEST_F(HostTest, FailedCheckOutMayButNeedNotBeCheckedIn) {
    host.options().faults = [](const CallRecord& call) {
        return call.call == Call::checkoutParam ? std::optional<PF_Err>(3) : std::nullopt;
    };
    for (const bool checkin : {true, false}) {
        Do([&](const Arguments& a) {
            PF_ParamDef param{};
            EXPECT_EQ(a.in->inter.checkout_param(a.in->effect_ref, 1, 0, 1, 25, &param), 3);
            if (!checkin) return;
            EXPECT_EQ(a.in->inter.checkin_param(a.in->effect_ref, &param), 0);
        });
    }
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, InstanceKeepsItsParametersThroughANewSetUp) {
    Instance instance(host);
    g_effect = nullptr;
    host.ParamsSetup();
    host.account().Reset();
    EXPECT_TRUE(host.parameters().empty());
    g_effect = [](const Arguments& a) {
        PF_ParamDef param{};
        a.in->inter.checkout_param(a.in->effect_ref, 2, 0, 1, 25, &param);
        EXPECT_STREQ(param.u.pd.u.namesptr, "One|Two");
        a.in->inter.checkin_param(a.in->effect_ref, &param);
        return 0;
    };
    instance.PlainRender({});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, InstanceRefusesWhatTheParameterIsNot) {
    Instance instance(host);
    EXPECT_THROW(instance.Set(4, PopupValue{1}), std::out_of_range);
    EXPECT_THROW(instance.Set(0, PopupValue{1}), std::out_of_range);
    EXPECT_THROW(instance.Set(1, PopupValue{1}), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(instance.Get(4)), std::out_of_range);
}

PF_Err SequenceEffect(const Arguments& a) {
    const auto& utils = *a.in->utils;
    if (a.cmd == PF_Cmd_SEQUENCE_SETUP) {
        a.out->sequence_data = utils.host_new_handle(4);
        std::memcpy(*a.out->sequence_data, "data", 4);
    }
    if (a.cmd == PF_Cmd_SEQUENCE_SETDOWN) {
        utils.host_dispose_handle(a.in->sequence_data);
        a.in->sequence_data = a.out->sequence_data = nullptr;
    }
    return 0;
}

TEST_F(HostTest, SavedInstanceComesBackByDiskIds) {
    g_effect = SequenceEffect;
    Instance first(host);
    first.SequenceSetup();
    first.Set(2, PopupValue{1});
    first.Set(3, SliderValue{-7.25});
    SavedInstance saved = first.Save();
    EXPECT_EQ(saved.params.at(11), ParamValue(PopupValue{1}));
    EXPECT_EQ(saved.params.at(13), ParamValue(SliderValue{-7.25}));
    EXPECT_EQ(saved.sequenceData.size(), 4U);
    saved.params[99] = PopupValue{5};

    Instance second(host);
    second.Load(saved);
    EXPECT_EQ(second.SequenceResetup(), 0);
    for (int index = 1; index <= 3; ++index)
        EXPECT_EQ(second.Get(index), first.Get(index));
    EXPECT_NE(second.sequenceData(), first.sequenceData());
    EXPECT_EQ(std::memcmp(*second.sequenceData(), "data", 4), 0);

    // The point came as percent and is still to become pixels.
    World input({.width = 80, .height = 40});
    second.PlainRender({.input = &input});
    EXPECT_EQ(second.Get(1), ParamValue(PointValue{40 << 16, 10 << 16}));

    first.SequenceSetdown();
    second.SequenceSetdown();
    EXPECT_EQ(first.sequenceData(), nullptr);
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, SequenceDataIsTheHostsUntilSetDownIsToFreeIt) {
    g_effect = SequenceEffect;
    Instance instance(host);
    instance.SequenceSetup();
    EXPECT_EQ(Outstanding(), Lines{});
    g_effect = nullptr;
    instance.SequenceSetdown();
    EXPECT_EQ(Outstanding(), Lines{"handle of 4 bytes"});
}

TEST_F(HostTest, UnlockingSequenceDataThatIsNotLockedIsTolerated) {
    Instance instance(host);
    instance.setSequenceData(host.NewHandle(4));
    g_effect = [](const Arguments& a) {
        a.in->utils->host_unlock_handle(a.in->sequence_data);
        a.in->utils->host_unlock_handle(a.in->global_data);
        return 0;
    };
    instance.PlainRender({});
    EXPECT_EQ(Misuse(), Lines{});
}

// ---- Renders ----------------------------------------------------------------------------------------------------

const PF_WorldSuite2& WorldSuite(const Arguments& a) {
    const void* suite = nullptr;
    a.in->pica_basicP->AcquireSuite("PF World Suite", 2, &suite);
    a.in->pica_basicP->ReleaseSuite("PF World Suite", 2);
    return *static_cast<const PF_WorldSuite2*>(suite);
}

// Copies the input to the output, which must have the same size and format.
PF_Err CopyRows(const Arguments& a, const PF_EffectWorld& input, PF_EffectWorld& output) {
    PF_PixelFormat format = 0;
    PF_PixelFormat same = 0;
    if (WorldSuite(a).PF_GetPixelFormat(&input, &format) || WorldSuite(a).PF_GetPixelFormat(&output, &same))
        return 1;
    if (format != same || input.width != output.width || input.height != output.height) return 2;
    for (int y = 0; y < input.height; ++y) {
        std::memcpy(reinterpret_cast<std::byte*>(output.data) + std::ptrdiff_t{output.rowbytes} * y,
                    reinterpret_cast<const std::byte*>(input.data) + std::ptrdiff_t{input.rowbytes} * y,
                    static_cast<std::size_t>(BytesPerPixel(format)) * static_cast<std::size_t>(input.width));
    }
    return 0;
}

PF_Err CopyEffect(const Arguments& a) {
    if (a.cmd == PF_Cmd_RENDER) return CopyRows(a, a.params[0]->u.ld, *a.output);
    if (a.cmd == PF_Cmd_SMART_PRE_RENDER) {
        auto& extra = *static_cast<PF_PreRenderExtra*>(a.extra);
        PF_RenderRequest request = extra.input->output_request;
        PF_CheckoutResult result{};
        const PF_Err code = extra.cb->checkout_layer(a.in->effect_ref, 0, 5, &request, a.in->current_time,
                                                     a.in->time_step, a.in->time_scale, &result);
        extra.output->result_rect = extra.output->max_result_rect = result.result_rect;
        const PF_Handle handle = a.in->utils->host_new_handle(2);
        std::memcpy(*handle, "ok", 2);
        extra.output->pre_render_data = handle;
        return code;
    }
    if (a.cmd == PF_Cmd_SMART_RENDER) {
        auto& extra = *static_cast<PF_SmartRenderExtra*>(a.extra);
        const auto handle = static_cast<PF_Handle>(extra.input->pre_render_data);
        if (std::memcmp(*handle, "ok", 2) != 0) return 3;
        PF_EffectWorld* input = nullptr;
        PF_EffectWorld* output = nullptr;
        if (extra.cb->checkout_layer_pixels(a.in->effect_ref, 5, &input)) return 4;
        if (extra.cb->checkout_output(a.in->effect_ref, &output)) return 5;
        const PF_Err code = CopyRows(a, *input, *output);
        extra.cb->checkin_layer_pixels(a.in->effect_ref, 5);
        return code;
    }
    return 0;
}

TEST_F(HostTest, BothRendersHandOverPixelsInEveryLayout) {
    g_effect = CopyEffect;
    Instance instance(host);
    for (const auto& layout : kLayouts) {
        World input(layout);
        input.SetPixels(Counting(input.Pixels().size()));
        for (const bool smart : {true, false}) {
            World output({.format = layout.format,
                          .width = layout.width,
                          .height = layout.height,
                          .padding = 9,
                          .bottomUp = !layout.bottomUp});
            const RenderSettings settings{.input = &input, .output = &output};
            const RenderResult result = smart ? instance.SmartRender(settings) : instance.PlainRender(settings);
            EXPECT_EQ(result.preRender, 0);
            EXPECT_EQ(result.render, 0);
            EXPECT_TRUE(result.rendered);
            EXPECT_EQ(output.Pixels(), input.Pixels());
            EXPECT_EQ(output.Surroundings(), "");
            EXPECT_EQ(result.preRenderData.size(), smart ? 2U : 0U);
        }
    }
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, RendersRunOnSeveralThreadsAtOnce) {
    g_effect = CopyEffect;
    Instance instance(host);
    World input({.width = 8, .height = 8});
    input.SetPixels(Counting(input.Pixels().size()));
    std::array<std::thread, 4> threads;
    for (auto& thread : threads) {
        thread = std::thread([&] {
            for (int n = 0; n < 25; ++n) {
                World output({.width = 8, .height = 8});
                const RenderSettings settings{.input = &input, .output = &output};
                EXPECT_EQ(instance.SmartRender(settings).render, 0);
                EXPECT_EQ(output.Pixels(), input.Pixels());
                EXPECT_EQ(instance.PlainRender(settings).render, 0);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, NothingIsRenderedAfterAFailedPreRender) {
    g_effect = CopyEffect;
    host.options().faults = [](const CallRecord& call) {
        return call.call == Call::checkoutLayer ? std::optional<PF_Err>(31) : std::nullopt;
    };
    Instance instance(host);
    World input({.width = 2, .height = 2});
    World output({.width = 2, .height = 2});
    const RenderResult result = instance.SmartRender({.input = &input, .output = &output});
    EXPECT_EQ(result.preRender, 31);
    EXPECT_FALSE(result.rendered);
    EXPECT_EQ(host.account().Count(Call::checkoutOutput), 0);
    EXPECT_EQ(Outstanding(), Lines{});
}

TEST_F(HostTest, CheckOutAnswersAsTheSettingsSay) {
    Instance instance(host);
    World input({.width = 6, .height = 4, .originX = -2, .originY = 3});
    RenderSettings settings{.input = &input, .request = {1, 1, 2, 2}};
    PF_CheckoutResult answer{};
    g_effect = [&](const Arguments& a) {
        auto& extra = *static_cast<PF_PreRenderExtra*>(a.extra);
        PF_RenderRequest request = extra.input->output_request;
        EXPECT_EQ(request.rect.right, 2);
        request.rect = {0, 0, a.in->width, a.in->height};
        return extra.cb->checkout_layer(a.in->effect_ref, 0, 0, &request, 0, 1, 25, &answer);
    };
    const RenderResult result = instance.SmartRender(settings, false);
    EXPECT_EQ(result.inputRequest.rect.right, 6);
    EXPECT_EQ(answer.result_rect.left, -2);
    EXPECT_EQ(answer.result_rect.bottom, 7);
    EXPECT_EQ(answer.ref_width, 6);

    settings.checkoutResult = PF_LRect{10, 20, 30, 40};
    instance.SmartRender(settings, false);
    EXPECT_EQ(answer.result_rect.top, 20);
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, SmartRenderMisuseIsNamed) {
    Instance instance(host);
    World input({.width = 2, .height = 2});
    World output({.width = 2, .height = 2});
    const RenderSettings settings{.input = &input, .output = &output};
    g_effect = [](const Arguments& a) {
        if (a.cmd == PF_Cmd_SMART_PRE_RENDER) {
            auto& out = *static_cast<PF_PreRenderExtra*>(a.extra)->output;
            out.result_rect = {0, 0, 9, 9};
            const PF_Handle handle = a.in->utils->host_new_handle(3);
            a.in->utils->host_lock_handle(handle);
            out.pre_render_data = handle;
        } else {
            auto& extra = *static_cast<PF_SmartRenderExtra*>(a.extra);
            PF_EffectWorld* pixels = nullptr;
            EXPECT_NE(extra.cb->checkout_layer_pixels(a.in->effect_ref, 0, &pixels), 0);
            EXPECT_NE(extra.cb->checkin_layer_pixels(a.in->effect_ref, 0), 0);
            EXPECT_EQ(extra.cb->checkout_output(a.in->effect_ref, &pixels), 0);
            pixels->width = 1;
            PF_EffectWorld unknown{};
            PF_PixelFormat format = 0;
            EXPECT_EQ(WorldSuite(a).PF_GetPixelFormat(&unknown, &format), PF_Err_BAD_CALLBACK_PARAM);
        }
        return 0;
    };
    instance.SmartRender(settings);
    EXPECT_EQ(Misuse(), (Lines{"pre-render left its data locked",
                               "pre-render's result rectangle is not inside the maximal one",
                               "pre-render's result rectangle exceeds the request without announcing it",
                               "checkout_layer_pixels: check-out id 0 was not announced in pre-render",
                               "checkin_layer_pixels: check-out id 0 is not checked out",
                               "GetPixelFormat: the world is not one that the host has handed over",
                               "the effect changed the record of the output world"}));
    EXPECT_EQ(Outstanding(), Lines{});
}

TEST_F(HostTest, DeleteFunctionHasToFreeThePreRenderData) {
    static PF_UtilCallbacks* utils = nullptr;
    static bool frees = true;
    g_effect = [](const Arguments& a) {
        utils = a.in->utils;
        auto& out = *static_cast<PF_PreRenderExtra*>(a.extra)->output;
        out.pre_render_data = utils->host_new_handle(3);
        out.delete_pre_render_data_func = [](void* data) {
            if (frees) utils->host_dispose_handle(static_cast<PF_Handle>(data));
        };
        return 0;
    };
    Instance instance(host);
    instance.SmartRender({}, false);
    EXPECT_EQ(Outstanding(), Lines{});
    frees = false;
    instance.SmartRender({}, false);
    EXPECT_EQ(Outstanding(), Lines{"handle of 3 bytes"});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, MissingWorldsAreHandedOverAsNull) {
    Instance instance(host);
    g_effect = [](const Arguments& a) {
        if (a.cmd == PF_Cmd_RENDER) {
            EXPECT_EQ(a.params[0]->u.ld.data, nullptr);
            EXPECT_EQ(a.params[1], nullptr);
            EXPECT_EQ(a.output, nullptr);
        } else if (a.cmd == PF_Cmd_SMART_PRE_RENDER) {
            auto& extra = *static_cast<PF_PreRenderExtra*>(a.extra);
            PF_CheckoutResult result{};
            EXPECT_EQ(
                extra.cb->checkout_layer(a.in->effect_ref, 0, 0, &extra.input->output_request, 0, 1, 25, &result),
                0);
            EXPECT_EQ(result.result_rect.right, 0);
        } else {
            auto& extra = *static_cast<PF_SmartRenderExtra*>(a.extra);
            PF_EffectWorld some{};
            PF_EffectWorld* world = &some;
            EXPECT_EQ(extra.cb->checkout_layer_pixels(a.in->effect_ref, 0, &world), 0);
            EXPECT_EQ(world, nullptr);
            world = &some;
            EXPECT_EQ(extra.cb->checkout_output(a.in->effect_ref, &world), 0);
            EXPECT_EQ(world, nullptr);
        }
        return 0;
    };
    instance.PlainRender({});
    EXPECT_TRUE(instance.SmartRender({}).rendered);
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, SuitesCanDisagreeAboutTheFormat) {
    Instance instance(host);
    World input({.format = kFormatBgra8, .width = 1, .height = 1});
    RenderSettings settings{.input = &input};
    settings.worldSuiteFormat = kFormatArgb8;
    g_effect = [](const Arguments& a) {
        PF_PixelFormat format = 0;
        EXPECT_EQ(WorldSuite(a).PF_GetPixelFormat(&a.params[0]->u.ld, &format), 0);
        EXPECT_EQ(format, kFormatArgb8);
        const void* suite = nullptr;
        a.in->pica_basicP->AcquireSuite("PF Pixel Format Suite", 1, &suite);
        a.in->pica_basicP->ReleaseSuite("PF Pixel Format Suite", 1);
        const auto& formats = *static_cast<const PF_PixelFormatSuite1*>(suite);
        EXPECT_EQ(formats.GetPixelFormat(&a.params[0]->u.ld, &format), 0);
        EXPECT_EQ(format, kFormatBgra8);
        return 0;
    };
    instance.PlainRender(settings);
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, EditorHasNoSmartRender) {
    host.options().personality = Personality::editor;
    Instance instance(host);
    EXPECT_THROW(static_cast<void>(instance.SmartRender({})), std::logic_error);
}

TEST_F(HostTest, FormatsAreDeclaredInGlobalSetUp) {
    const auto declare = [](const Arguments& a) {
        const void* suite = nullptr;
        a.in->pica_basicP->AcquireSuite("PF Pixel Format Suite", 1, &suite);
        const auto& formats = *static_cast<const PF_PixelFormatSuite1*>(suite);
        formats.AddSupportedPixelFormat(a.in->effect_ref, kFormatArgb8);
        formats.ClearSupportedPixelFormats(a.in->effect_ref);
        formats.AddSupportedPixelFormat(a.in->effect_ref, kFormatBgra8);
        a.in->pica_basicP->ReleaseSuite("PF Pixel Format Suite", 1);
    };
    Do(declare, PF_Cmd_GLOBAL_SETUP);
    EXPECT_EQ(host.supportedFormats(), std::vector{kFormatBgra8});
    EXPECT_EQ(Misuse(), Lines{});
    Do(declare, PF_Cmd_RENDER);
    EXPECT_EQ(Misuse(),
              (Lines{"AddSupportedPixelFormat: called in render", "ClearSupportedPixelFormats: called in render",
                     "AddSupportedPixelFormat: called in render"}));
}

TEST(PluginLibrary, NamesTheFileThatCannotBeLoaded) {
    const auto message = [](const char* file) -> std::string {
        try {
            const PluginLibrary library{std::filesystem::path(file)};
        } catch (const std::runtime_error& failure) {
            return failure.what();
        }
        return {};
    };
    EXPECT_EQ(message("no/such.file"), "no/such.file: no such file");
}

}  // namespace
}  // namespace refhost
