// What only the plain render promises.
#include <array>

#include "support/protocol_support.h"

namespace {

using namespace protocol;

TEST(PlainRender, NeverHasAnOffsetWhateverTheLayersPosition) {
    HostedScene scene;
    const auto picture = scene.CleanPicture(RenderPath::plain);
    const auto pixels = scene.input.Pixels();
    for (const auto& [x, y] : {std::pair(0, 0), std::pair(3, -2), std::pair(-100, 50)}) {
        auto layout = scene.input.layout();
        layout.originX = x;
        layout.originY = y;
        scene.input = refhost::World(layout);
        scene.input.SetPixels(pixels);
        EXPECT_EQ(scene.CleanPicture(RenderPath::plain), picture);
    }
}

TEST(PlainRender, NeverReadsTheParametersInTheArray) {
    HostedScene scene;
    const auto picture = scene.CleanPicture(RenderPath::plain);  // its array has null entries
    std::array<PF_ParamDef, 5> values;
    std::memset(values.data(), 0x77, sizeof values);
    const auto before = BytesOf(values);
    for (auto& value : values)
        scene.settings.plainParams.push_back(&value);
    EXPECT_EQ(scene.CleanPicture(RenderPath::plain), picture);
    EXPECT_EQ(BytesOf(values), before);
}

TEST(PlainRender, RendersAnEmptyLayerWithoutAParameterArray) {
    HostedScene withoutLayer;
    withoutLayer.settings.input = nullptr;
    const auto empty = withoutLayer.CleanPicture(RenderPath::plain);

    const auto withoutArray = [](PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef*[],
                                 PF_LayerDef* output, void* extra) {
        return Binary().effectMain(cmd, inData, outData, nullptr, output, extra);
    };
    HostedScene scene(InOrder(), {withoutArray, Binary().pluginDataEntryFunction});
    EXPECT_EQ(scene.Render(RenderPath::plain), PF_Err_NONE);
    EXPECT_EQ(scene.output.Pixels(), empty);
    EXPECT_EQ(scene.host.account().Count(refhost::Call::checkoutParam), 5);
    EXPECT_EQ(scene.host.account().Count(refhost::Call::checkinParam), 5);
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Misuse(), Lines());
}

TEST(PlainRender, SucceedsWithoutAPictureWhenThereIsNoBasicSuite) {
    HostedScene scene(InOrder(), Between::Put(Binary()));
    Between::change = [](PF_Cmd, PF_InData& inData, void*) { inData.pica_basicP = nullptr; };
    EXPECT_EQ(scene.Render(RenderPath::plain), PF_Err_NONE);
    EXPECT_TRUE(scene.OutputUntouched());
    EXPECT_EQ(scene.Calls(), (Lines{"checkout_param 1", "checkout_param 2", "checkout_param 3", "checkout_param 4",
                                    "checkout_param 5", "checkin_param 1", "checkin_param 2", "checkin_param 3",
                                    "checkin_param 4", "checkin_param 5"}));
    Between::change = nullptr;
}

TEST(PlainRender, RendersTheSameAsASmartRenderWithoutOffset) {
    HostedScene scene;
    scene.settings.checkoutResult = PF_LRect{0, 0, 6, 3};
    EXPECT_EQ(scene.CleanPicture(RenderPath::plain), scene.CleanPicture(RenderPath::smart));
}

}  // namespace
