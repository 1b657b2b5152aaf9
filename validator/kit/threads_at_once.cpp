#include "validator/kit/threads_at_once.h"

#include <thread>

namespace validator {

void AtOnce(int threads, const std::function<void(int)>& work) {
    Meeting start(threads);
    std::vector<std::thread> running;
    running.reserve(static_cast<std::size_t>(threads));
    for (int i = 0; i < threads; ++i) {
        running.emplace_back([&, i] {
            start.Wait(std::chrono::seconds(5));
            work(i);
        });
    }
    for (std::thread& thread : running)
        thread.join();
}

bool Meeting::Wait(std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    ++came_;
    changed_.notify_all();
    if (!changed_.wait_for(lock, patience, [this] { return came_ >= expected_ || failed_; })) {
        failed_ = true;
        changed_.notify_all();
    }
    return !failed_;
}

void Meeting::Restart(int expected) {
    const std::lock_guard lock(mutex_);
    expected_ = expected;
    came_ = 0;
    failed_ = false;
}

Crowd::Crowd(Context& context, HostedScene& scene, int frames, bool oneInstance)
    : context_(context), scene_(scene) {
    // The editor renders several instances at once, whatever the effect declares.
    const bool threaded = (scene.flags2() & PF_OutFlag2_SUPPORTS_THREADED_RENDERING) != 0;
    if (!threaded && (oneInstance || !context.inEditor())) {
        context.NotApplicable("the effect does not declare threaded rendering");
    }
    for (int i = 0; i < frames; ++i) {
        const auto format = scene.formats()[static_cast<std::size_t>(i) % scene.formats().size()];
        const auto layout = HostedScene::Layout(format, context.size());
        frames_.push_back(std::make_unique<Frame>(layout, layout, static_cast<std::uint64_t>(i + 1)));
        if (!oneInstance && i > 0) {
            auto& instance = *instances_.emplace_back(std::make_unique<refhost::Instance>(scene.host));
            context.Require(instance.SequenceSetup() == PF_Err_NONE, "sequence set-up fails");
            SetRandomValues(context, scene.host, instance, context.size());
        }
        of_.push_back(instances_.empty() ? &scene.instance : instances_.back().get());
        const PF_Err code = RenderForCode(i);
        context.Require(code == PF_Err_NONE, "a frame that is rendered alone gives code " + std::to_string(code) +
                                                 WithoutSuites(scene.host));
        alone_.push_back(frames_.back()->output.Pixels());
    }
}

Crowd::~Crowd() {
    for (const auto& instance : instances_)
        instance->SequenceSetdown();
}

PF_Err Crowd::RenderForCode(int number) {
    const auto i = static_cast<std::size_t>(number);
    frames_[i]->Poison();
    return CodeOf(frames_[i]->Render(scene_.host, *of_[i], scene_.path()));
}

void Crowd::Render(int number) {
    const auto i = static_cast<std::size_t>(number);
    const PF_Err code = RenderForCode(number);
    const std::string frame = "frame " + std::to_string(number + 1);
    if (!context_.Expect(code == PF_Err_NONE, frame + " gives code " + std::to_string(code))) return;
    const auto& layout = frames_[i]->output.layout();
    const std::string difference = Difference(frames_[i]->output.Pixels(), alone_[i], layout.format, layout.width);
    context_.Expect(difference.empty(), frame + " differs from the same frame rendered alone: " + difference);
    context_.ExpectNone(frames_[i]->Damage(), frame);
}

}  // namespace validator
