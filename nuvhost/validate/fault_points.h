// Fails the host's callbacks one after the other: a frame is rendered once to see which callbacks the effect makes,
// and then once more for each of them, which fails.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "scene.h"

namespace nuvhost::validate {

using Lines = std::vector<std::string>;

// Which command's callbacks fail. A frame's pre-render is followed by its render if it succeeds all the same.
enum class Command { preRender, smartRender, plainRender };
std::string_view NameOf(Command command);

inline constexpr PF_Err kRefused = 77;  // a code that no effect has of its own

struct Fault {
    std::span<const refhost::Call> calls;  // each call of these kinds fails in turn
    PF_Err code = kRefused;                // 0 with AcquireSuite: success and a null pointer
    bool generic = true;                   // HostOptions::genericIteration
};

// How a frame came out in which something failed.
struct Outcome {
    PF_Err code = PF_Err_NONE;
    bool written = false;  // some pixel of the output
    Lines damage;          // outside of the output's pixels
    Lines misuse;
    Lines kept;                             // and not before the frame
    std::int64_t locked = 0, unlocked = 0;  // how many times a handle was
};

// What breaks the promise that a check is about; empty if nothing does.
using Look = Lines (*)(const Outcome& outcome);

// Damage, misuse and what is kept, but for suites kept and handles unlocked that were not locked: many effects
// stumble there, so these have checks of their own.
Lines UsualLook(const Outcome& outcome);
Lines FailsLook(const Outcome& outcome);     // as UsualLook, and the frame must not succeed
Lines PassesOnLook(const Outcome& outcome);  // as UsualLook, and the code must be kRefused

// A frame of few pixels in one format, rendered again and again by one instance.
class Bench {
public:
    static constexpr int kWidth = 7, kHeight = 3;

    // Renders it once; ends the check if that fails. The scene's fault plan is the bench's from here on.
    Bench(Context& context, Scene& scene, Command command, PF_PixelFormat format);

    // The callbacks of the command when nothing fails.
    const std::vector<refhost::CallRecord>& calls() const { return calls_; }
    Outcome Render(const refhost::FaultPlan& faults = nullptr);
    // Takes back what the effect has kept and renders again: empty if the picture is as at first.
    Lines NextIsRight();
    std::string Name() const;  // "smart render, 8-bit ARGB"

private:
    Scene& scene_;
    Command command_;
    Frame frame_;
    std::vector<refhost::CallRecord> calls_;
    std::vector<std::byte> picture_;
};

// The formats in which a host sends this command; ends the check if it sends none.
std::vector<PF_PixelFormat> FormatsOf(Context& context, const Scene& scene, Command command);

// Options under which every render makes the same calls in the same order.
refhost::HostOptions InOrder(Context& context);

// Ends the check with the first outcome that the look does not like, or after which the next render is not right.
void TryEach(Context& context, Command command, const Fault& fault, Look look);

}  // namespace nuvhost::validate
