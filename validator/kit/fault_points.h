// Fails the host's callbacks one after the other: a frame is rendered once to see which callbacks the effect makes,
// and then once more for each of them, which fails.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "validator/kit/scene.h"

namespace validator::faults {

using Lines = std::vector<std::string>;

// Which command's callbacks fail. A frame's pre-render is followed by its render if it succeeds all the same.
enum class RenderCommand { preRender, smartRender, plainRender };
std::string_view NameOf(RenderCommand command);

inline constexpr PF_Err kRefused = 77;  // a code that no effect has of its own

struct Fault {
    std::span<const refhost::Call> calls;  // each call of these kinds fails in turn
    PF_Err code = kRefused;                // 0 with AcquireSuite: success and a null pointer
    bool generic = true;                   // HostOptions::genericIteration
};

// "AcquireSuite PF World Suite 2 fails (call 2 of its kind)"
std::string What(const refhost::CallRecord& call, PF_Err code);

// Fails one call, and notes whether it came.
struct OneFault {
    refhost::CallRecord at;
    PF_Err code;
    bool* came;

    std::optional<PF_Err> operator()(const refhost::CallRecord& call) const;
};

// How a frame came out in which something failed.
struct FrameOutcome {
    PF_Err code = PF_Err_NONE;
    std::string difference;  // between the picture and the right one; empty if there is none
    Lines damage;            // outside of the output's pixels
    Lines misuse;
    Lines kept;  // and not before the frame
};

// What breaks the promise that a check is about; empty if nothing does.
using Look = Lines (*)(const FrameOutcome& outcome);

// Suites kept and handles unlocked that were not locked. Many effects stumble there, so these have checks of their
// own, for all faults in callbacks.
Lines SuitesLook(const FrameOutcome& outcome);
Lines UnlocksLook(const FrameOutcome& outcome);  // one line for all of them
// Everything else that is damage, misuse or kept.
Lines UsualLook(const FrameOutcome& outcome);
Lines PassesOnLook(const FrameOutcome& outcome);  // as UsualLook, and the code must be kRefused
Lines StrictLook(const FrameOutcome& outcome);    // all of the first three

// The points that a check tries, and what is wrong at them.
class Trial {
public:
    explicit Trial(Context& context) : context_(context) {}

    // Reports the lines; after many only that there are more.
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
    // Renders it once. The scene's fault plan is the bench's from here on.
    Bench(Scene& scene, RenderCommand command, PF_PixelFormat format);

    // Whether that went well. Of no use otherwise.
    PF_Err code() const { return code_; }
    // The callbacks of the command when nothing fails.
    const std::vector<refhost::CallRecord>& calls() const { return calls_; }
    FrameOutcome Render(const refhost::FaultPlan& faults = nullptr);
    // Takes back what the effect has kept and renders again: empty if the picture is as at first.
    Lines NextIsRight();
    std::string Name() const;  // "smart render, 8-bit ARGB"

private:
    Scene& scene_;
    RenderCommand command_;
    Frame frame_;
    PF_Err code_ = PF_Err_NONE;
    std::vector<refhost::CallRecord> calls_;
    std::vector<std::byte> picture_;
};

// The commands with which a host of this personality renders the effect.
std::vector<RenderCommand> CommandsOf(Context& context);

// One for each format in which the effect can be sent this command. Ends the check if it cannot be sent at all, or
// fails although nothing does in the host.
std::vector<Bench> BenchesOf(Context& context, Scene& scene, RenderCommand command);

// Options under which every render makes the same calls in the same order.
refhost::HostOptions InOrder(Context& context);

// Adds each point whose fault came: what the look does not like there, and what is wrong with the next render.
void TryEach(Trial& trial, RenderCommand command, const Fault& fault, Look look);

}  // namespace validator::faults
