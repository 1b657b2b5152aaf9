// The reference host's renders.
#include <array>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <thread>

#include "support/host_fixture.h"

namespace refhost {
namespace {

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
    EXPECT_EQ(answer.result_rect.left, 0);
    EXPECT_EQ(answer.result_rect.top, 3);
    EXPECT_EQ(answer.result_rect.right, 4);
    EXPECT_EQ(answer.result_rect.bottom, 4);
    EXPECT_EQ(answer.max_result_rect.left, -2);
    EXPECT_EQ(answer.max_result_rect.bottom, 7);
    EXPECT_EQ(answer.ref_width, 6);

    settings.checkoutResult = PF_LRect{10, 20, 30, 40};
    instance.SmartRender(settings, false);
    EXPECT_EQ(answer.result_rect.top, 20);
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, TheEffectGetsThePartOfTheLayerThatItAsksFor) {
    Instance instance(host);
    World input({.width = 6, .height = 4});
    RenderSettings settings{.input = &input};
    PF_LRect asked{};
    g_effect = [&](const Arguments& a) -> PF_Err {
        if (a.cmd == PF_Cmd_SMART_PRE_RENDER) {
            PF_RenderRequest request{};
            request.rect = asked;
            PF_CheckoutResult answer{};
            auto& extra = *static_cast<PF_PreRenderExtra*>(a.extra);
            return extra.cb->checkout_layer(a.in->effect_ref, 0, 0, &request, 0, 1, 25, &answer);
        }
        PF_EffectWorld* world = nullptr;
        auto& extra = *static_cast<PF_SmartRenderExtra*>(a.extra);
        extra.cb->checkout_layer_pixels(a.in->effect_ref, 0, &world);
        EXPECT_EQ(world->width, asked.right > 0 ? 3 : 0);
        EXPECT_EQ(world->height, asked.right > 0 ? 2 : 0);
        if (asked.right > 0) {
            EXPECT_EQ(world->origin_x, 3);
            EXPECT_EQ(reinterpret_cast<std::byte*>(world->data), input.Row(2).data() + 3 * sizeof(PF_Pixel));
        }
        return extra.cb->checkin_layer_pixels(a.in->effect_ref, 0);
    };
    for (const PF_LRect& rect : {PF_LRect{3, 2, 9, 9}, {-9, -9, -1, -1}}) {
        asked = rect;
        instance.SmartRender(settings);
    }
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, AWorldAtTheLastColumnAndRowEndsThere) {
    g_effect = CopyEffect;
    constexpr auto kLast = std::numeric_limits<std::int32_t>::max();
    World input({.width = 6, .height = 4, .originX = kLast - 1, .originY = kLast - 2});
    World output(input.layout());
    Instance instance(host);
    const RenderResult result = instance.SmartRender({.input = &input, .output = &output});
    EXPECT_EQ(result.preRenderOutput.result_rect.left, kLast - 1);
    EXPECT_EQ(result.preRenderOutput.result_rect.right, kLast);
    EXPECT_EQ(result.preRenderOutput.result_rect.top, kLast - 2);
    EXPECT_EQ(result.preRenderOutput.result_rect.bottom, kLast);
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

TEST_F(HostTest, EditorHasNoSmartRender) {
    host.options().personality = Personality::editor;
    Instance instance(host);
    EXPECT_THROW(static_cast<void>(instance.SmartRender({})), std::logic_error);
}

}  // namespace
}  // namespace refhost
