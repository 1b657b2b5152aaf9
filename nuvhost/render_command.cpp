#include <CLI/CLI.hpp>

#include <memory>
#include <optional>

#include "commands.h"
#include "effect_options.h"
#include "effect_runner.h"
#include "errors.h"
#include "picture_file.h"

namespace nuvhost {
namespace {

constexpr std::array<std::string_view, 3> kDepths{"8", "16", "32"};
constexpr std::array<std::string_view, 2> kHosts{"compositor", "editor"};

struct RenderOptions {
    std::filesystem::path input, output, plugin;
    EffectSettings settings;
    std::optional<Depth> depth;
    int host = 1;
    bool plain = false;
};

void Render(const RenderOptions& options) {
    const bool editor = options.host == 2;
    auto depth = options.depth;
    if (editor && depth.value_or(Depth::bits8) != Depth::bits8) {
        throw UsageError("--depth: the editor host hands out 8-bit pixels only");
    }
    if (editor) depth = Depth::bits8;

    CheckOutput(options.output, options.input);
    PictureFile file = ReadPicture(options.input, depth);
    CheckChannels(options.output, file);
    EffectRunner runner(options.plugin.empty() ? FindPlugin() : options.plugin,
                        editor ? refhost::Personality::editor : refhost::Personality::compositor);

    file.picture = runner.Render(file.picture, options.settings,
                                 editor || options.plain ? RenderPath::plain : RenderPath::smart);
    runner.Close();
    WritePicture(options.output, file);
}

}  // namespace

void AddRenderCommand(CLI::App& program) {
    auto options = std::make_shared<RenderOptions>();
    auto& settings = options->settings;
    auto& command = *program.add_subcommand("render", "Render one picture");
    command.add_option("IN", options->input, "Picture to read: PNG, JPEG, TIFF, OpenEXR and others")
        ->required()
        ->type_name("");
    command.add_option("OUT", options->output, "Picture to write; the extension chooses the format")
        ->required()
        ->type_name("");
    AddWordOption(command, "--mode", kModes, settings.mode, "Which colours part");
    AddWordOption(command, "--scaling", kScalings, settings.scaling,
                  "How the enlargement grows from the centre outwards");
    AddAmountOption(
        command, settings.amount,
        "Strength: 1 enlarges by 2 percent; below 0 for the complementary colours (default: 0, no change)");
    AddWordOption(command, "--show", kShows, settings.show,
                  "Everything, or by alpha only the fringes, or all but the fringes");
    AddCenterOption(command, settings.center);
    command
        .add_option_function<std::string>(
            "--depth",
            [&depth = options->depth](const std::string& text) {
                constexpr std::array kValues{Depth::bits8, Depth::bits16, Depth::bits32};
                depth = kValues[static_cast<std::size_t>(ParseWord("--depth", text, kDepths) - 1)];
            },
            "Bits per channel that the effect gets (default: 8 or 16 as the file has, else 32)")
        ->type_name(Joined(kDepths, "|"));
    AddWordOption(command, "--host", kHosts, options->host,
                  "Which application to play; editor: 8-bit pixels, plain render");
    command.add_flag("--plain", options->plain, "Use the plain render command instead of smart render");
    AddPluginOption(command, options->plugin);
    command.callback([options] { Render(*options); });
}

}  // namespace nuvhost
