// Fails the host's callbacks one after the other. One render shows which callbacks the effect makes. Then there is
// one more render for each of these callbacks, in which the callback fails.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "validator/kit/scene.h"

namespace validator::faults {

using Lines = std::vector<std::string>;

// The command whose callbacks fail. If a pre-render succeeds although a callback fails, its render follows.
enum class RenderCommand { preRender, smartRender, plainRender };
std::string_view NameOf(RenderCommand command);

inline constexpr PF_Err kRefused = 77;  // a code that effects do not use themselves

struct Fault {
    std::span<const refhost::Call> calls;  // each call of these kinds fails in turn
    PF_Err code = kRefused;                // the code of the call; 0 with AcquireSuite: success and a null pointer
    bool generic = true;                   // HostOptions::genericIteration
};

// "AcquireSuite PF World Suite 2 fails (call 2 of its kind)"
std::string What(const refhost::CallRecord& call, PF_Err code);

// Fails one call, and notes whether the effect made it.
struct OneFault {
    refhost::CallRecord at;
    PF_Err code;
    bool* came;

    std::optional<PF_Err> operator()(const refhost::CallRecord& call) const;
};

// The result of a frame in which a callback failed.
struct FrameOutcome {
    PF_Err code = PF_Err_NONE;
    std::string difference;  // between the picture and the right one; empty if there is none
    Lines damage;            // outside the output's pixels
    Lines misuse;
    Lines kept;  // what the effect keeps now and did not keep before the frame
};

// Returns one line for each way in which the frame breaks the promise of a check.
using Flaws = Lines (*)(const FrameOutcome& outcome);

// SuitesFlaws are suites that the effect keeps. UnlocksFlaws are handles that it unlocks but has not locked.
// LocksFlaws are null handles that it locks. Many effects fail here. Three checks of their own report these flaws
// after each fault of a callback, and UsualFlaws does not contain them.
Lines SuitesFlaws(const FrameOutcome& outcome);
Lines UnlocksFlaws(const FrameOutcome& outcome);  // at most one line
Lines LocksFlaws(const FrameOutcome& outcome);    // at most one line
// All other damage and misuse, and everything else that is kept.
Lines UsualFlaws(const FrameOutcome& outcome);
Lines PassesOnFlaws(const FrameOutcome& outcome);  // UsualFlaws, and a line if the code is not kRefused
Lines StrictFlaws(const FrameOutcome& outcome);    // all four

// Collects what is wrong at the points that a check tries.
class Trial {
public:
    explicit Trial(Context& context) : context_(context) {}

    // Reports the lines. After kMostLines it only counts them.
    void Add(const Lines& lines, const std::string& about);
    // Ends the check if nothing could be tried.
    void End(const std::string& whyNothing);

    Context& context() { return context_; }

private:
    static constexpr int kMostLines = 200;

    Context& context_;
    int points_ = 0;
    int lines_ = 0;
};

// A frame of few pixels in one format, rendered again and again by one instance.
class Bench {
public:
    // Renders the frame once. The bench overwrites the fault plan of the scene's host here and in each render.
    Bench(HostedScene& scene, RenderCommand command, PF_PixelFormat format);

    // The code of that render. If it is not 0, the bench cannot be used.
    PF_Err code() const { return code_; }
    // The callbacks of the command when nothing fails.
    const std::vector<refhost::CallRecord>& calls() const { return calls_; }
    FrameOutcome Render(const refhost::FaultPlan& faults = nullptr);
    // Takes back what the effect has kept and renders again. Empty if the picture equals the first picture.
    Lines NextIsRight();
    std::string Name() const;  // "smart render, 8-bit ARGB"

private:
    HostedScene& scene_;
    RenderCommand command_;
    Frame frame_;
    PF_Err code_ = PF_Err_NONE;
    std::vector<refhost::CallRecord> calls_;
    std::vector<std::byte> picture_;
};

// The render commands that a host of this personality sends.
std::vector<RenderCommand> CommandsOf(Context& context);

// One bench for each format that the host may send with this command. Ends the check if the effect does not have
// the command, or if the command fails although no callback fails.
std::vector<Bench> BenchesOf(Context& context, HostedScene& scene, RenderCommand command);

// Options under which every render makes the same calls in the same order.
refhost::HostOptions InOrder(Context& context);

// Fails each call of the kinds in `fault.calls`. Adds the flaws of the frame in which the call fails, and those of
// the next frame. A call that the effect does not make again adds nothing.
void TryEach(Trial& trial, RenderCommand command, const Fault& fault, Flaws flaws);

}  // namespace validator::faults
