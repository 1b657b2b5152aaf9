// The values of an instance that nobody has changed, and how an instance is saved.
#include "support/protocol_support.h"

namespace {

using namespace protocol;

class NewInstance : public testing::Test {
protected:
    NewInstance() { host.SetUp(); }
    refhost::Host host{Binary(), InOrder()};
};

TEST_F(NewInstance, HasItsCenterInTheMiddleOfTheLayer) {
    refhost::Instance instance(host);
    refhost::World input({.width = 10, .height = 6}), output({.width = 10, .height = 6});
    refhost::RenderSettings settings;
    settings.input = &input;
    settings.output = &output;
    EXPECT_EQ(instance.SmartRender(settings).render, PF_Err_NONE);
    EXPECT_EQ(std::get<refhost::PointValue>(instance.Get(1)), (refhost::PointValue{Fixed(5), Fixed(3)}));
}

TEST_F(NewInstance, HasAnAmountOfZeroWithTwoDecimals) {
    refhost::Instance instance(host);
    EXPECT_EQ(std::get<refhost::SliderValue>(instance.Get(4)).value, 0.0);
    EXPECT_EQ(host.parameters()[3].u.fs_d.precision, 2);
}

TEST_F(NewInstance, HasAllMenusAtZero) {
    refhost::Instance instance(host);
    for (const std::int32_t index : {2, 3, 5}) {
        EXPECT_EQ(std::get<refhost::PopupValue>(instance.Get(index)).choice, 0);
    }
}

TEST_F(NewInstance, IsSavedAndLoadedByDiskIdsTwoToSix) {
    refhost::Instance instance(host);
    instance.Set(1, refhost::PointValue{Fixed(-7.5), Fixed(12)});
    instance.Set(2, refhost::PopupValue{3});
    instance.Set(3, refhost::PopupValue{2});
    instance.Set(4, refhost::SliderValue{-12.34});
    instance.Set(5, refhost::PopupValue{1});
    const auto saved = instance.Save();
    const std::map<std::int32_t, refhost::ParamValue> expected = {
        {2, refhost::PointValue{Fixed(-7.5), Fixed(12)}},
        {3, refhost::PopupValue{3}},
        {4, refhost::PopupValue{2}},
        {5, refhost::SliderValue{-12.34}},
        {6, refhost::PopupValue{1}},
    };
    EXPECT_TRUE(saved.params == expected);

    refhost::Instance loaded(host);
    loaded.Load(saved);
    for (std::int32_t index = 1; index <= 5; ++index)
        EXPECT_TRUE(loaded.Get(index) == instance.Get(index));
}

}  // namespace
