#include <CLI/CLI.hpp>

#include <array>
#include <memory>

#include "commands/commands.h"
#include "commands/effect_options.h"
#include "commands/pictures/render.h"
#include "console/errors.h"
#include "files/output_file.h"
#include "frames/stream.h"

namespace nuvhost {
namespace {

constexpr std::array<std::string_view, 3> kDepths{"8", "16", "32"};
constexpr std::array<std::string_view, 2> kHosts{"compositor", "editor"};
constexpr std::array<std::string_view, 3> kMissing{"error", "skip", "black"};
constexpr std::array<std::string_view, 2> kAlphas{"premultiply", "as-is"};
constexpr std::array<std::string_view, 4> kPixelTypes{"uint8", "uint16", "half", "float"};
constexpr std::array<std::string_view, 2> kChannels{"all", "color"};
constexpr std::array<std::string_view, 2> kMetadata{"keep", "drop"};
constexpr std::array<std::string_view, 3> kProgress{"auto", "json", "none"};
constexpr std::array<std::string_view, 4> kPixels{kRawFormats[0].name, kRawFormats[1].name, kRawFormats[2].name,
                                                  kRawFormats[3].name};
constexpr auto kFooter =
    R"(Sequences: in a name, # stands for the frame's number in four digits. In a run such as #####, and for @, each
character stands for one digit. %04d means the same as in printf. Without --frames, every input that exists is
rendered. A still picture with --frames is rendered once for each frame.

Streams: with - as IN and OUT, raw frames are read from standard input and written to standard output, such as
  ffmpeg -i in.mov -f rawvideo -pix_fmt rgba - | nuvhost render - - --size 1920x1080 --pixel rgba8 --amount 2 |
    ffmpeg -f rawvideo -pix_fmt rgba -s 1920x1080 -r 25 -i - out.mov
In ffmpeg, rgba8 is called rgba, rgba16 is called rgba64le, and gbrapf32 is called gbrapf32le. The first frame is
number 0.

Over time: --amount and --center also take values for frames, as FRAME:VALUE,FRAME:VALUE, such as --amount 0:0,48:100
or --center 0:50%,50%,48:25%,50%. Values are linear between these frames, and constant before and after them.

Alpha: hosts give an effect colour that is multiplied by alpha. PNG files, some TIFF files and streams hold straight
colour, which is multiplied before the render and divided after it. At 8 bits this costs precision where alpha is low
(--depth 32 keeps it). Where alpha is 0, colour is lost. Opaque pixels keep every bit. With --alpha as-is, the effect
gets the numbers of the file.

OpenEXR: if the display window of a file is not its data window, the effect gets an area that contains both, and the
data window is written.

Metadata are kept if the output's format and the picture library support them. The library does not write IPTC
captions and credits to TIFF files.

Exit codes: 0 done, 1 a frame or file failed, 2 wrong usage, 130 and 143 ended by a signal (no temporary file left).)";

void AddParameters(CLI::App& command, RenderOptions& options) {
    // In the order of --help.
    constexpr std::array kOrder{Parameter::mode, Parameter::scaling, Parameter::amount, Parameter::show,
                                Parameter::center};
    static_assert(kOrder.size() == kParameters);
    for (const Parameter parameter : kOrder) {
        auto& taken = options.parameters[static_cast<std::size_t>(parameter)];
        AddParameterOption(command, Row(parameter), [&taken](const std::string& text) {
            taken = text;
        })->group(kEffectGroup);
    }
    command.add_option("--settings", options.settings, "Read the parameters from a file; options have priority")
        ->check(FileName())
        ->type_name("FILE")
        ->group(kEffectGroup);
    command.add_option("--save-settings", options.saveSettings, "Write the parameters of this run to a file")
        ->check(FileName())
        ->type_name("FILE")
        ->group(kEffectGroup);
    AddTextOption(command, "--depth", Joined(kDepths, "|"),
                  "Bits per channel that the effect gets (default: 8 or 16 if the file has them, else 32)",
                  [&depth = options.frames.read.depth](const std::string& text) {
                      constexpr std::array kValues{Depth::bits8, Depth::bits16, Depth::bits32};
                      depth = kValues[static_cast<std::size_t>(ParseWord("--depth", text, kDepths) - 1)];
                  })
        ->group(kFileGroup);
    AddWordOption(command, "--alpha", kAlphas, options.alpha,
                  "How the effect gets colour with straight alpha; see below")
        ->group(kEffectGroup);
    AddWordOption(command, "--host", kHosts, options.host,
                  "Which host to imitate; editor: 8-bit pixels, plain render")
        ->group(kEffectGroup);
    command.add_flag("--plain", options.plain, "Use the plain render command instead of smart render")
        ->group(kEffectGroup);
    AddPluginOption(command, options.plugin)->group(kEffectGroup);
}

void AddFileOptions(CLI::App& command, RenderOptions& options) {
    AddTextOption(command, "--pixel-type", Joined(kPixelTypes, "|"),
                  "Type of the channels in the output (default: as in the input)",
                  [&type = options.frames.reduction.type](const std::string& text) {
                      type = static_cast<PixelType>(ParseWord("--pixel-type", text, kPixelTypes));
                  })
        ->group(kFileGroup);
    AddWordOption(command, "--channels", kChannels, options.channels,
                  "Whether channels other than colour and alpha are copied")
        ->group(kFileGroup);
    AddWordOption(command, "--metadata", kMetadata, options.metadata,
                  "Whether the metadata of the input are copied")
        ->group(kFileGroup);
    command
        .add_flag("--first-page", options.frames.read.firstPage,
                  "Render the first picture of files that hold several, and leave the others out")
        ->group(kFileGroup);
    command.add_flag("--literal", options.plan.literal, "Take names literally: #, @ and % are ordinary letters")
        ->group(kFileGroup);
    command.add_flag("--create-dir", options.plan.createFolder, "Create the folders of the output")
        ->group(kFileGroup);
}

void AddSequenceOptions(CLI::App& command, RenderOptions& options) {
    command.add_option("--frames", options.plan.frames, "Frames such as 1-100x2,110; may be negative or backwards")
        ->type_name("RANGES")
        ->group(kSequenceGroup);
    command
        .add_option("--clip-range", options.plan.clip,
                    "Leave out frames outside this range, as in the last chunk of a queue")
        ->type_name("FIRST-LAST")
        ->group(kSequenceGroup);
    AddWordOption(command, "--missing", kMissing, options.missing, "What to do if an input is missing")
        ->group(kSequenceGroup);
    command.add_flag("--skip-existing", options.plan.skipExisting, "Skip frames whose output exists")
        ->group(kSequenceGroup);
    command
        .add_flag("--keep-going", options.frames.keepGoing,
                  "Go on after a frame fails, and list failures at the end")
        ->group(kSequenceGroup);
    command.add_flag("--dry-run", options.dryRun, "Check everything, print what would be rendered, write nothing")
        ->group(kSequenceGroup);
}

}  // namespace

void AddRenderCommand(CLI::App& program) {
    auto options = std::make_shared<RenderOptions>();
    auto& command = *program.add_subcommand("render", "Render a picture, a sequence or a stream");
    options->command = &command;
    command.footer(kFooter);
    command
        .add_option("IN", options->plan.input,
                    "Picture to read (PNG, JPEG, TIFF, OpenEXR and others), or a pattern")
        ->required()
        ->check(FileName())
        ->type_name("");
    command
        .add_option("OUT", options->plan.output, "Picture to write, or a pattern; the extension names the format")
        ->required()
        ->check(FileName())
        ->type_name("");
    AddParameters(command, *options);
    AddFileOptions(command, *options);
    AddSequenceOptions(command, *options);
    AddTextOption(command, "--size", "WIDTHxHEIGHT", "Size of the frames",
                  [&size = options->size](const std::string& text) { size = text; })
        ->group(kStreamGroup);
    AddTextOption(
        command, "--pixel", Joined(kPixels, "|"), "Format of the pixels",
        [&pixel = options->pixel](const std::string& text) { pixel = ParseWord("--pixel", text, kPixels); })
        ->group(kStreamGroup);
    AddTextOption(command, "--threads", "NUMBER",
                  "Frames rendered at the same time (default: the number of processors)",
                  [&threads = options->threads](const std::string& text) {
                      const double number = ParseNumber("--threads", text, 1, kMostThreads);
                      threads = static_cast<int>(number);
                      if (threads != number) throw UsageError("--threads: \"" + text + "\" is not a whole number");
                  })
        ->group(kRunGroup);
    AddWordOption(command, "--progress", kProgress, options->progress,
                  "auto: a bar on a terminal, else a line for each frame; json: a JSON object for each frame")
        ->group(kRunGroup);
    command.add_flag("-q,--quiet", options->quiet, "Print only errors")->group(kRunGroup);
    command.add_flag("-v,--verbose", options->verbose, "Print details of each frame")->group(kRunGroup);
    command.callback([options] { Render(*options); });
}

}  // namespace nuvhost
