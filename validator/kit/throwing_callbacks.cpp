#include "validator/kit/throwing_callbacks.h"

#include <iterator>
#include <optional>

#include "validator/kit/interview.h"
#include "validator/kit/scene.h"

namespace validator::throwing {
namespace {

class Throwing {
public:
    Throwing(Context& context, refhost::Host& host, Throwers throwers)
        : context_(context), host_(host), throwers_(throwers) {}
    Throwing(const Throwing&) = delete;
    Throwing& operator=(const Throwing&) = delete;

    // Runs the commands once to count the callbacks. Then each callback from number `first` on throws, once for
    // each thrower. `prepare` runs each time before the commands, with callbacks that work.
    template <typename Prepare, typename Commands>
    void AtEach(Prepare prepare, Commands commands, std::int64_t first = 0) {
        const auto run = [&] {
            prepare();
            return Run(commands);
        };
        const std::int64_t calls = run();
        if (calls <= first) context_.NotApplicable("the effect makes no callback there");
        for (const Thrower thrower : throwers_) {
            thrower_ = thrower;
            for (throwAt_ = first; throwAt_ < calls; ++throwAt_) {
                run();
                for (const std::string& line : host_.account().Misuse()) {
                    const bool about = line.starts_with("an exception left the effect in ");
                    context_.Expect(!about, "callback " + std::to_string(throwAt_) + ": " + line);
                }
                host_.account().Reclaim();
            }
        }
        throwAt_ = -1;
        context_.AddPoints((calls - first) * static_cast<std::int64_t>(throwers_.size()));
    }

    // Runs the commands and returns how many callbacks they make.
    template <typename Commands>
    std::int64_t Run(Commands commands) {
        host_.account().Reset();
        seen_ = 0;
        host_.options().faults = [this](const refhost::CallRecord&) -> std::optional<PF_Err> {
            if (seen_++ == throwAt_) thrower_();
            return std::nullopt;
        };
        commands();
        host_.options().faults = nullptr;
        return seen_;
    }

private:
    Context& context_;
    refhost::Host& host_;
    Throwers throwers_;
    std::int64_t seen_ = 0, throwAt_ = -1;
    Thrower thrower_ = nullptr;
};

// One small frame, on one thread.
class OneFrame {
public:
    OneFrame(Context& context, RenderPath path)
        : scene_(context, OneThread(context)),
          frame_(HostedScene::Layout(scene_.formats().front(), 4, 3)),
          path_(path) {
        if (path == RenderPath::smart && scene_.path() != RenderPath::smart)
            context.NotApplicable("there is no smart render");
    }

    refhost::Host& host() { return scene_.host; }
    auto Prepare() {
        return [this] { frame_.Poison(); };
    }
    auto PreRender() {
        return [this] { frame_.Render(scene_.host, scene_.instance, path_, false); };
    }
    auto All() {
        return [this] { frame_.Render(scene_.host, scene_.instance, path_); };
    }

private:
    static refhost::HostOptions OneThread(Context& context) {
        auto options = context.HostOptions();
        options.iterationThreads = 1;
        return options;
    }

    HostedScene scene_;
    Frame frame_;
    RenderPath path_;
};

}  // namespace

void InSetUp(Context& context, Throwers throwers) {
    Interview interview(context);
    Throwing(context, interview.host, throwers)
        .AtEach([] {},
                [&] {
                    interview.Send(PF_Cmd_GLOBAL_SETUP);
                    interview.Send(PF_Cmd_PARAMS_SETUP);
                });
}

void InAbout(Context& context, Throwers throwers) {
    Interview interview(context);
    interview.SetUp();
    Throwing(context, interview.host, throwers).AtEach([] {}, [&] { interview.Send(PF_Cmd_ABOUT); });
}

void InSequences(Context& context, Throwers throwers) {
    Interview interview(context);
    interview.SetUp();
    PF_Handle foreign = nullptr;
    const auto prepare = [&] { foreign = interview.host.NewHandle(8); };
    Throwing(context, interview.host, throwers).AtEach(prepare, [&] {
        PF_Handle fresh = nullptr, loaded = nullptr;
        interview.Send(PF_Cmd_SEQUENCE_SETUP, &fresh);
        interview.Send(PF_Cmd_SEQUENCE_RESETUP, &loaded);
        interview.Send(PF_Cmd_SEQUENCE_SETUP, &foreign);
        for (PF_Handle* const each : {&fresh, &loaded, &foreign})
            interview.Send(PF_Cmd_SEQUENCE_SETDOWN, each);
    });
}

void InPreRender(Context& context, Throwers throwers) {
    OneFrame render(context, RenderPath::smart);
    Throwing(context, render.host(), throwers).AtEach(render.Prepare(), render.PreRender());
}

void InSmartRender(Context& context, Throwers throwers) {
    OneFrame render(context, RenderPath::smart);
    Throwing throwing(context, render.host(), throwers);
    const std::int64_t ofPreRender = throwing.Run(render.PreRender());
    throwing.AtEach(render.Prepare(), render.All(), ofPreRender);
}

void InPlainRender(Context& context, Throwers throwers) {
    OneFrame render(context, RenderPath::plain);
    Throwing(context, render.host(), throwers).AtEach(render.Prepare(), render.All());
}

}  // namespace validator::throwing
