// How the effect declares its parameters to the host.
#include "support/protocol_support.h"

namespace {

using namespace protocol;

// The arguments of one call of add_param.
struct Added {
    PF_ProgPtr ref;
    std::int32_t index;
    PF_ParamDef definition;
    std::string choices;
};

// Has a host that keeps every byte of each definition.
class ParamsSetup : public testing::Test {
protected:
    PF_Err Send() {
        added_.clear();
        inData = host.InData();
        inData.inter.add_param = [](PF_ProgPtr ref, std::int32_t index, PF_ParamDef* definition) -> PF_Err {
            if (static_cast<int>(added_.size()) == failAt_) return kFault;
            added_.push_back({ref, index, *definition, {}});
            if (definition->param_type == PF_Param_POPUP) added_.back().choices = definition->u.pd.u.namesptr;
            return PF_Err_NONE;
        };
        inData.effect_ref = reinterpret_cast<PF_ProgPtr>(&host);
        outData = PoisonedOutData();
        return host.Send(PF_Cmd_PARAMS_SETUP, &inData, &outData);
    }

    // A definition with the fields that every parameter has. All others are zero.
    static PF_ParamDef Definition(const char* name, std::int32_t diskId, PF_ParamType type) {
        PF_ParamDef definition;
        std::memset(&definition, 0, sizeof definition);
        std::strcpy(definition.name, name);
        definition.uu.id = diskId;
        definition.param_type = type;
        return definition;
    }

    // Compares all bytes. Of the choices it compares the text instead of the pointer to it.
    void ExpectDefinition(std::size_t place, PF_ParamDef expected, const std::string& choices = {}) {
        ASSERT_GT(added_.size(), place);
        const Added& added = added_[place];
        if (!choices.empty()) expected.u.pd.u.namesptr = added.definition.u.pd.u.namesptr;
        EXPECT_EQ(BytesOf(added.definition), BytesOf(expected));
        EXPECT_EQ(added.choices, choices);
        EXPECT_EQ(added.index, -1) << "-1 asks the host to append the parameter";
        EXPECT_EQ(added.ref, inData.effect_ref);
    }

    void ExpectPopup(std::size_t place, const char* name, std::int32_t diskId, const std::string& choices) {
        PF_ParamDef expected = Definition(name, diskId, 7);
        expected.u.pd.num_choices = 3;
        expected.u.pd.value = 0;
        expected.u.pd.dephault = 0;
        ExpectDefinition(place, expected, choices);
    }

    void FailAt(int place) { failAt_ = place; }
    void TearDown() override { failAt_ = -1; }
    const std::vector<Added>& added() const { return added_; }

    refhost::Host host{Binary(), InOrder()};
    PF_InData inData{};
    PF_OutData outData{};

private:
    static inline std::vector<Added> added_;
    static inline int failAt_ = -1;
};

TEST_F(ParamsSetup, AddsFiveParametersInOrder) {
    EXPECT_EQ(Send(), PF_Err_NONE);
    ASSERT_EQ(added().size(), 5u);
    const std::vector<std::pair<std::string, std::int32_t>> namesAndIds = {
        {"Frame center", 2}, {"Mode", 3}, {"Scaling", 4}, {"Amount", 5}, {"Show", 6}};
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(added()[i].definition.name, namesAndIds[i].first);
        EXPECT_EQ(added()[i].definition.uu.id, namesAndIds[i].second);
    }
}

TEST_F(ParamsSetup, DeclaresTheFrameCenterInTheMiddleAndUnrestricted) {
    EXPECT_EQ(Send(), PF_Err_NONE);
    PF_ParamDef expected = Definition("Frame center", 2, 6);
    expected.u.td.x_value = expected.u.td.y_value = 3276800;
    expected.u.td.x_dephault = expected.u.td.y_dephault = 3276800;
    expected.u.td.restrict_bounds = 0;
    ExpectDefinition(0, expected);
}

TEST_F(ParamsSetup, DeclaresTheModeMenu) {
    EXPECT_EQ(Send(), PF_Err_NONE);
    ExpectPopup(1, "Mode", 3, "Red-Cyan|Green-Purple|Blue-Yellow");
}

TEST_F(ParamsSetup, DeclaresTheScalingMenu) {
    EXPECT_EQ(Send(), PF_Err_NONE);
    ExpectPopup(2, "Scaling", 4, "linear|square|cubic");
}

TEST_F(ParamsSetup, DeclaresTheAmountSlider) {
    EXPECT_EQ(Send(), PF_Err_NONE);
    PF_ParamDef expected = Definition("Amount", 5, 10);
    expected.u.fs_d.value = 0.0;
    expected.u.fs_d.dephault = 0.0f;
    expected.u.fs_d.valid_min = expected.u.fs_d.slider_min = -100.0f;
    expected.u.fs_d.valid_max = expected.u.fs_d.slider_max = 100.0f;
    expected.u.fs_d.precision = 2;
    expected.u.fs_d.display_flags = 0;
    expected.u.fs_d.fs_flags = 0;
    expected.u.fs_d.curve_tolerance = 0.05f;
    ExpectDefinition(3, expected);
}

TEST_F(ParamsSetup, OffersThreeChoicesOfShowAndNamesFive) {
    EXPECT_EQ(Send(), PF_Err_NONE);
    ExpectPopup(4, "Show", 6, "Final|Just CA|Without CA|Alpha|Full Alpha");
    EXPECT_EQ(added()[4].definition.u.pd.num_choices, 3);
}

TEST_F(ParamsSetup, DeclaresEveryMenuWithValueAndDefaultZero) {
    EXPECT_EQ(Send(), PF_Err_NONE);
    for (const std::size_t place : {1u, 2u, 4u}) {
        EXPECT_EQ(added().at(place).definition.u.pd.value, 0);
        EXPECT_EQ(added().at(place).definition.u.pd.dephault, 0);
    }
}

TEST_F(ParamsSetup, ReportsSixParametersAndNothingElse) {
    EXPECT_EQ(Send(), PF_Err_NONE);
    PF_OutData expected = PoisonedOutData();
    expected.num_params = 6;
    EXPECT_EQ(BytesOf(outData), BytesOf(expected));
}

TEST_F(ParamsSetup, CopiesEachNameWithTheHostsFunctionBeforeItAddsTheParameter) {
    EXPECT_EQ(host.ParamsSetup(), PF_Err_NONE);
    EXPECT_EQ(CallsOf(host.account()),
              (Lines{"strcpy Frame center", "add_param 1", "strcpy Mode", "add_param 2", "strcpy Scaling",
                     "add_param 3", "strcpy Amount", "add_param 4", "strcpy Show", "add_param 5"}));
    EXPECT_EQ(host.account().Misuse(), Lines());
}

TEST_F(ParamsSetup, StopsAtTheThirdParameterWithTheHostsError) {
    FailAt(2);
    EXPECT_EQ(Send(), kFault);
    EXPECT_EQ(added().size(), 2u);
    EXPECT_EQ(BytesOf(outData), BytesOf(PoisonedOutData())) << "the count is not written";
}

TEST_F(ParamsSetup, StopsAtAnyParameterThatFails) {
    for (int place = 0; place < 5; ++place) {
        FailAt(place);
        EXPECT_EQ(Send(), kFault);
        EXPECT_EQ(added().size(), static_cast<std::size_t>(place));
        EXPECT_EQ(BytesOf(outData), BytesOf(PoisonedOutData()));
    }
}

TEST_F(ParamsSetup, ReturnsTheHostsErrorUnchanged) {
    for (const PF_Err code : {1, 4, 513, -99}) {
        refhost::Host other(Binary(), InOrder());
        other.options().faults = Fail("add_param 3", code);
        EXPECT_EQ(other.ParamsSetup(), code);
        EXPECT_EQ(other.parameters().size(), 2u);
        EXPECT_EQ(other.outData().num_params, 0);
    }
}

TEST_F(ParamsSetup, DeclaresTheSameEveryTimeAndInBothHosts) {
    EXPECT_EQ(Send(), PF_Err_NONE);
    const auto first = added();
    host.options().personality = refhost::Personality::editor;
    EXPECT_EQ(Send(), PF_Err_NONE);
    ASSERT_EQ(added().size(), first.size());
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(BytesOf(added()[i].definition), BytesOf(first[i].definition));
    }
}

}  // namespace
