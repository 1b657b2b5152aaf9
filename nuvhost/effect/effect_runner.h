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

// `nuv_chromaber.so` in the folder of the running program, or else in the folder above. Throws if it is in neither.
std::filesystem::path FindPlugin();

// The loaded effect in one host. All members throw std::runtime_error, with one line that says what went wrong.
class EffectRunner {
public:
    // Makes `instances` instances, so that as many renders may run at the same time. Each instance starts with
    // `sequenceData`, like an instance from a saved project. If `sequenceData` is empty, the instances are new.
    EffectRunner(const std::filesystem::path& plugin, refhost::Personality personality, int instances = 1,
                 const std::vector<std::byte>& sequenceData = {});
    ~EffectRunner();

    // Replaces the picture by the rendered one, which has the same size and depth. If it throws, the picture may
    // have no pixels. The centre is relative to `frame`, a part of the picture. The editing host takes only 8-bit
    // pictures and the plain path; its worlds are B, G, R, A and start with the bottom row. Any thread may call it.
    void Render(Picture& picture, const Window& frame, const EffectSettings& settings, RenderPath path);

    // The data that an instance keeps besides its parameters. Do not call it during a render.
    std::vector<std::byte> SequenceData() const;

    // Sets the effect down. Also throws if the effect has not given everything back, or has misused a callback.
    void Close();

private:
    refhost::Personality personality_;
    refhost::Host host_;
    std::vector<std::unique_ptr<refhost::Instance>> instances_;
    std::mutex mutex_;
    std::vector<refhost::Instance*> idle_;
    bool open_ = false;
};

// Throws UsageError if the centre lies beyond the host's coordinates.
void CheckCenter(const Center& center, const Window& frame);

}  // namespace nuvhost
