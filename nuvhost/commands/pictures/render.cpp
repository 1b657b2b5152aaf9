#include "commands/pictures/render.h"

#include <CLI/CLI.hpp>

#include "console/errors.h"

namespace nuvhost {

void RefuseGiven(const RenderOptions& options, std::initializer_list<std::string_view> groups, const char* why) {
    for (const CLI::Option* option : options.command->get_options()) {
        const auto group = option->get_group();
        const bool listed = std::find(groups.begin(), groups.end(), group) != groups.end();
        if (listed && option->count() > 0) throw UsageError(option->get_name() + ": " + why);
    }
}

void CheckSave(const RenderOptions& options, std::vector<std::filesystem::path> taken) {
    if (!options.saveSettings) return;
    taken.push_back(options.Plugin());
    CheckSaving(*options.saveSettings, taken, options.plan.createFolder);
}

void Render(RenderOptions& options) {
    auto& frames = options.frames;
    if (options.editor() && frames.read.depth.value_or(Depth::bits8) != Depth::bits8) {
        throw UsageError("--depth: the editor host hands out 8-bit pixels only");
    }
    if (options.editor()) frames.read.depth = Depth::bits8;
    frames.path = options.editor() || options.plain ? RenderPath::plain : RenderPath::smart;
    frames.read.premultiply = options.alpha == 1;
    frames.reduction.colorOnly = options.channels == 2;
    frames.reduction.bare = options.metadata == 2;
    options.plan.missing = static_cast<Missing>(options.missing);

    Look look = MakeLook(options.settings, options.parameters);
    frames.effect = look.settings;
    options.stream() ? RunStream(options, look) : RunFiles(options, look);
}

}  // namespace nuvhost
