// Loading, registration, set-up and commands, and which callbacks are allowed in them.
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include "support/host_fixture.h"

namespace refhost {
namespace {

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

TEST_F(HostTest, RecordNamesTheHostAndCountsTheParameters) {
    Do([](const Arguments& a) {
        EXPECT_EQ(a.in->appl_id, kAppIdCompositor);
        EXPECT_EQ(a.in->num_params, 4);
    });
    host.options().personality = Personality::editor;
    Do([](const Arguments& a) { EXPECT_EQ(a.in->appl_id, kAppIdEditor); });
}

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
    for (const PF_ProgPtr wrong : {PF_ProgPtr{nullptr}, stale}) {
        Do([&](const Arguments& a) { a.in->inter.abort(wrong); });
        EXPECT_EQ(Misuse(), Lines{"abort: called with a reference that names no running command"});
    }
    EXPECT_NE(stale, nullptr);
}

}  // namespace
}  // namespace refhost
