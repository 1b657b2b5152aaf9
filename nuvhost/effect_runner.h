// Renders pictures through the plug-in binary, as a host would: one loaded plug-in, any number of renders.
#pragma once

#include <filesystem>
#include <memory>

#include "picture.h"
#include "reference_host/host.h"
#include "settings.h"

namespace nuvhost {

enum class RenderPath { smart, plain };

// `nuv_chromaber.so` beside the running program or one folder up. Throws if it is in neither.
std::filesystem::path FindPlugin();

// All members throw std::runtime_error, with one line that names what went wrong. Used from one thread.
class EffectRunner {
public:
    EffectRunner(const std::filesystem::path& plugin, refhost::Personality personality);
    ~EffectRunner();

    // The rendered picture, of the same size and depth. The editing host takes 8-bit pictures and the plain path
    // only; its worlds are B, G, R, A with the bottom row stored first.
    Picture Render(const Picture& picture, const EffectSettings& settings, RenderPath path);

    // Takes the effect down. Throws as well if it has kept something that it was lent, or misused a callback.
    void Close();

private:
    refhost::Personality personality_;
    refhost::Host host_;
    refhost::Instance instance_;
    bool open_ = false;
};

}  // namespace nuvhost
