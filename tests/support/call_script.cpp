#include "call_script.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace protocol {

Script Join(std::initializer_list<Script> parts) {
    Script joined;
    for (const Script& part : parts)
        joined.insert(joined.end(), part.begin(), part.end());
    return joined;
}

Lines LinesOf(const Script& script) {
    Lines lines;
    for (const Step& step : script)
        lines.push_back(step.call);
    return lines;
}

Script PreRenderCalls() {
    return {
        {"checkout_layer 0", kFault, kUntouched},
        {"AcquireSuite PF Handle Suite 2", 516, kUntouched},
        // The render then locks null.
        {"host_new_handle 8", PF_Err_NONE, kWithoutOffset, nullptr, {"host_lock_handle: the handle is null"}},
        // The effect gets the handle but cannot lock it. Nothing is written into it, so the offset may be anything.
        {"host_lock_handle 8",
         PF_Err_NONE,
         kAnything,
         nullptr,
         {"host_unlock_handle: a handle of 8 bytes is not locked"}},
        {"host_unlock_handle 8", PF_Err_NONE, kAsClean},
        {"ReleaseSuite PF Handle Suite 2", PF_Err_NONE, kAsClean},
    };
}

Script ParameterCheckouts() {
    return {
        {"checkout_param 1", PF_Err_NONE, ZeroParameter(1)}, {"checkout_param 2", PF_Err_NONE, ZeroParameter(2)},
        {"checkout_param 3", PF_Err_NONE, ZeroParameter(3)}, {"checkout_param 4", PF_Err_NONE, ZeroParameter(4)},
        {"checkout_param 5", PF_Err_NONE, ZeroParameter(5)},
    };
}

Script ParameterCheckins() {
    return {
        {"checkin_param 1", kFault, kAsClean}, {"checkin_param 2", kFault, kAsClean},
        {"checkin_param 3", kFault, kAsClean}, {"checkin_param 4", kFault, kAsClean},
        {"checkin_param 5", kFault, kAsClean},
    };
}

// The layer has 6 x 3 pixels. Its working copy takes 72 bytes with 8 bits a channel, and 288 with more. The result
// buffer always takes 288 bytes.
Script DriverCalls::Steps() const {
    return Join({
        suites,
        sourceFormat,
        {
            {deep ? "host_new_handle 288" : "host_new_handle 72", PF_Err_OUT_OF_MEMORY, kUntouched},
            {deep ? "host_lock_handle 288" : "host_lock_handle 72", PF_Err_OUT_OF_MEMORY, kUntouched},
        },
        sourcePass,
        outputFormat,
        {
            {"host_new_handle 288", PF_Err_OUT_OF_MEMORY, kUntouched},
            {"host_lock_handle 288", PF_Err_OUT_OF_MEMORY, kUntouched},
            {"abort", kFault, kUntouched},
        },
        outputPass,
        {
            {deep ? "host_unlock_handle 288" : "host_unlock_handle 72", PF_Err_NONE, kAsClean},
            {deep ? "host_dispose_handle 288" : "host_dispose_handle 72", PF_Err_NONE, kAsClean},
            {"host_unlock_handle 288", PF_Err_NONE, kAsClean},
            {"host_dispose_handle 288", PF_Err_NONE, kAsClean},
        },
        releases,
    });
}

Script PlainRenderCalls(const DriverCalls& driver) {
    return Join({ParameterCheckouts(), driver.Steps(), ParameterCheckins()});
}

void ExpectOrder(HostedScene& scene, RenderPath path, const Script& script) {
    EXPECT_EQ(scene.Render(path), PF_Err_NONE);
    EXPECT_EQ(scene.Calls(), LinesOf(script));
    EXPECT_EQ(scene.Outstanding(), Lines());
    EXPECT_EQ(scene.Misuse(), Lines());
}

namespace {

std::vector<std::byte> Expected(HostedScene& scene, RenderPath path, const ExpectedPicture& picture) {
    switch (picture.kind) {
        case ExpectedPicture::Kind::untouched:
            return refhost::World(scene.output.layout()).Pixels();
        case ExpectedPicture::Kind::topRows: {
            auto pixels = scene.CleanPicture(path);
            const auto rowBytes = static_cast<std::ptrdiff_t>(pixels.size()) / HostedScene::kHeight;
            std::fill(pixels.begin() + rowBytes * picture.number, pixels.end(), std::byte{refhost::World::kPoison});
            return pixels;
        }
        case ExpectedPicture::Kind::zeroParameter: {
            scene.instance.Set(picture.number, HostedScene::Zero(picture.number));
            auto pixels = scene.CleanPicture(path);
            scene.instance.Set(picture.number, HostedScene::Value(picture.number));
            EXPECT_NE(pixels, scene.CleanPicture(path)) << "parameter " << picture.number << " makes no difference";
            return pixels;
        }
        case ExpectedPicture::Kind::withoutOffset: {
            auto pixels = scene.CleanPicture(RenderPath::plain);
            EXPECT_NE(pixels, scene.CleanPicture(RenderPath::smart)) << "the offset makes no difference";
            return pixels;
        }
        default:
            return scene.CleanPicture(path);
    }
}

}  // namespace

void ExpectEveryFailure(HostedScene& scene, RenderPath path, const Script& script) {
    const auto clean = scene.CleanPicture(path);
    const auto calls = scene.host.account().Calls();
    ASSERT_EQ(calls.size(), script.size());
    const auto source = scene.input.Pixels();

    for (std::size_t i = 0; i < script.size(); ++i) {
        const Step& step = script[i];
        SCOPED_TRACE("step " + std::to_string(i) + ", " + step.call);
        const auto expected = Expected(scene, path, step.picture);

        scene.host.options().faults = Fail(calls[i].call, calls[i].index);
        EXPECT_EQ(scene.Render(path), step.code);
        if (step.picture.kind != ExpectedPicture::Kind::anything) {
            EXPECT_EQ(scene.output.Pixels(), expected);
        }
        EXPECT_EQ(scene.output.Surroundings(), "");
        EXPECT_EQ(scene.input.Pixels(), source);
        EXPECT_EQ(scene.input.Surroundings(), "");
        EXPECT_EQ(scene.Outstanding(), step.kept ? Lines{step.kept} : Lines());
        EXPECT_EQ(scene.Misuse(), step.misuse);

        scene.host.options().faults = nullptr;
        scene.host.account().Reclaim();
        EXPECT_EQ(scene.Render(path), PF_Err_NONE);
        EXPECT_EQ(scene.output.Pixels(), clean);
        EXPECT_EQ(scene.Outstanding(), Lines());
    }
}

}  // namespace protocol
