// Renders pictures through the plug-in binary, as a host would.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

#include "effect/settings.h"
#include "picture/picture.h"
#include "picture/window.h"
#include "reference_host/host.h"

namespace nuvhost {

using refhost::RenderPath;

// `nuv_chromaber.so` beside the running program or one folder up. Throws if it is in neither.
std::filesystem::path FindPlugin();

// The loaded effect in one host, with instances for as many renders at once as are asked for. All members throw
// std::runtime_error, with one line that names what went wrong.
class EffectRunner {
public:
    // `instances` renders may run at once. Each instance starts with `sequenceData`, as if it came out of a
    // project, or is a new one if that is empty.
    EffectRunner(const std::filesystem::path& plugin, refhost::Personality personality, int instances = 1,
                 const std::vector<std::byte>& sequenceData = {});
    ~EffectRunner();

    // Replaces the picture by the rendered one, of the same size and depth. The centre counts from `frame`, a part
    // of the picture. The editing host takes 8-bit pictures and the plain path only; its worlds are B, G, R, A with
    // the bottom row stored first. From any thread.
    void Render(Picture& picture, const Window& frame, const EffectSettings& settings, RenderPath path);

    // What an instance holds beside its parameters. Not while anything renders.
    std::vector<std::byte> SequenceData() const;

    // Takes the effect down. Throws as well if it has kept something that it was lent, or misused a callback.
    void Close();

private:
    refhost::Personality personality_;
    refhost::Host host_;
    std::vector<std::unique_ptr<refhost::Instance>> instances_;
    std::mutex mutex_;
    std::vector<refhost::Instance*> idle_;
    bool open_ = false;
};

// Throws UsageError if the host's coordinates do not reach that far.
void CheckCenter(const Center& center, const Window& frame);

}  // namespace nuvhost
