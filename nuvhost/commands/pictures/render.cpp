#include <OpenImageIO/imageio.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <thread>

#include "commands/commands.h"
#include "console/descriptors.h"
#include "effect/effect_runner.h"
#include "effect/look.h"
#include "commands/effect_options.h"
#include "console/errors.h"
#include "console/one_line.h"
#include "picture/output_file.h"
#include "picture/picture_file.h"
#include "frames/frame_plan.h"
#include "frames/frame_range.h"
#include "frames/progress.h"
#include "frames/render_frames.h"
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
constexpr int kMostThreads = 256;
constexpr int kMostSide = 30000;  // of a layer, in the hosts

// Groups of options, as --help shows them. Those of one kind are refused with the other.
constexpr auto kEffectGroup = "The effect";
constexpr auto kFileGroup = "Files";
constexpr auto kSequenceGroup = "Sequences";
constexpr auto kStreamGroup = "Streams";
constexpr auto kRunGroup = "The run";

constexpr auto kFooter =
    R"(Sequences: in a name, # stands for the frame's number in four digits, a run such as ##### for as many digits as it
is long, @ for one digit each, %04d for what printf makes of it. Without --frames every input that exists is rendered.
A still picture with --frames is rendered once for each of them.

Streams: - as IN and OUT reads raw frames from standard input and writes them to standard output, such as
  ffmpeg -i in.mov -f rawvideo -pix_fmt rgba - | nuvhost render - - --size 1920x1080 --pixel rgba8 --amount 2 |
    ffmpeg -f rawvideo -pix_fmt rgba -s 1920x1080 -r 25 -i - out.mov
ffmpeg's name of rgba8 is rgba, of rgba16 rgba64le, of gbrapf32 gbrapf32le. The first frame is number 0.

Over time: --amount 0:0,48:100 and --center 0:50%,50%,48:25%,50% are FRAME:VALUE, linear between, held outside.

Alpha: the hosts hand an effect colour multiplied by alpha. Files that hold it otherwise (PNG, some TIFF) and streams
are multiplied before and divided after, which at 8 bits costs precision where alpha is low (--depth 32 keeps it) and
loses colour where alpha is 0; opaque pixels keep every bit. --alpha as-is hands out the numbers of the file.

Of OpenEXR files with a display window of their own the effect gets the whole frame, and the data window is written.

Metadata are kept as far as the output's format holds them and the picture library writes them there: it leaves IPTC
captions and credits out of TIFF.

Exit codes: 0 done, 1 a frame or file failed, 2 wrong usage, 130 and 143 ended by a signal (no temporary file stays).)";

struct RenderOptions {
    PlanOptions plan;
    ParameterTexts parameters;
    std::optional<std::filesystem::path> settings, saveSettings;
    FrameSettings frames;
    std::filesystem::path plugin;
    std::string size;
    int host = 1, missing = 1, alpha = 1, channels = 1, metadata = 1, progress = 1, pixel = 0;
    bool plain = false, dryRun = false, quiet = false, verbose = false;
    int threads = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMostThreads);
    CLI::App* command = nullptr;

    bool editor() const { return host == 2; }
    bool stream() const { return plan.input == "-" || plan.output == "-"; }
    std::filesystem::path Plugin() const { return plugin.empty() ? FindPlugin() : plugin; }
    refhost::Personality Personality() const {
        return editor() ? refhost::Personality::editor : refhost::Personality::compositor;
    }
    ProgressOptions Progress() const {
        return {.mode = static_cast<ProgressMode>(progress), .quiet = quiet, .verbose = verbose};
    }
};

void RefuseGiven(const RenderOptions& options, std::initializer_list<std::string_view> groups, const char* why) {
    for (const CLI::Option* option : options.command->get_options()) {
        const auto group = option->get_group();
        const bool listed = std::find(groups.begin(), groups.end(), group) != groups.end();
        if (listed && option->count() > 0) throw UsageError(option->get_name() + ": " + why);
    }
}

// Pictures side by side each on a thread of its own need no threads of the library's.
void ShareThreads(int threads, int workers) {
    OIIO::attribute("threads", std::max(1, threads / workers));
    OIIO::attribute("exr_threads", workers > 1 ? -1 : threads);
}

void CheckSave(const RenderOptions& options, std::vector<std::filesystem::path> taken) {
    if (!options.saveSettings) return;
    taken.push_back(options.Plugin());
    CheckSaving(*options.saveSettings, taken, options.plan.createFolder);
}

std::vector<std::filesystem::path> FilesOf(const FramePlan& plan) {
    std::vector<std::filesystem::path> files;
    for (const auto* jobs : {&plan.jobs, &plan.existing}) {
        for (const auto& job : *jobs) {
            files.insert(files.end(), {job.input, job.output});
        }
    }
    return files;
}

void Save(const RenderOptions& options, Look& look, const EffectRunner& runner) {
    if (!options.saveSettings) return;
    look.sequenceData = runner.SequenceData();
    SaveLook(*options.saveSettings, look);
}

void RunStream(const RenderOptions& options, Look& look) {
    if (options.plan.input != options.plan.output) {
        throw UsageError("a stream is - as IN and as OUT; ffmpeg reads and writes files of a stream");
    }
    RefuseGiven(options, {kFileGroup, kSequenceGroup}, "is for files, not for a stream");
    if (options.size.empty()) throw UsageError("--size: a stream needs the size of its frames");
    if (options.pixel == 0) throw UsageError("--pixel: a stream needs the kind of its pixels");

    StreamSettings settings;
    settings.effect = look.settings;
    settings.size = ParseSize("--size", options.size, 1, kMostSide);
    settings.format = kRawFormats[static_cast<std::size_t>(options.pixel - 1)];
    settings.path = options.frames.path;
    settings.premultiply = options.frames.read.premultiply;
    if (options.editor() && settings.format.depth != Depth::bits8) {
        throw UsageError("--pixel: the editor host hands out 8-bit pixels only");
    }
    for (const auto& key : look.settings.center) {
        CheckCenter(key.value, {0, 0, settings.size.width, settings.size.height});
    }
    if (!Readable(STDIN_FILENO)) throw UsageError("standard input is not open for reading");
    if (!Writable(STDOUT_FILENO)) throw UsageError("standard output is not open for writing");
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO}) {
        if (::isatty(descriptor) == 1) {
            throw UsageError(std::string(descriptor == STDIN_FILENO ? "standard input" : "standard output") +
                             " is a terminal; a stream comes from one program and goes to another");
        }
    }
    CheckSave(options, {"/dev/stdin", "/dev/stdout"});  // the files that these lead to
    EffectRunner runner(options.Plugin(), options.Personality(), options.threads, look.sequenceData);
    Save(options, look, runner);
    auto shown = options.Progress();
    shown.stream = true;
    Progress progress(shown, std::nullopt);
    RenderStream(settings, runner, options.threads, progress);
    runner.Close();
}

constexpr auto kNothing = "nothing to do: no frame lies in --clip-range";

bool Nothing(const FramePlan& plan) {
    return plan.jobs.empty() && plan.existing.empty() && plan.missing.empty();
}

void PrintPlan(const FramePlan& plan, bool black) {
    const auto name = [&](const FrameJob& job) {
        return plan.numbered ? "frame " + std::to_string(job.frame) + ": " : std::string();
    };
    if (Nothing(plan)) std::puts(kNothing);
    for (const auto& job : plan.existing) {
        std::printf("%sskipped, exists: %s\n", name(job).c_str(), OneLine(job.output.string()).c_str());
    }
    for (const auto& job : plan.jobs) {
        std::printf("%s%s -> %s\n", name(job).c_str(), job.black() ? "black" : OneLine(job.input.string()).c_str(),
                    OneLine(job.output.string()).c_str());
    }
    if (!black && !plan.missing.empty()) std::printf("missing, left out: %s\n", FramesText(plan.missing).c_str());
}

// Every input, so that nothing is rendered if one will not do. Only what is broken inside is left to its frame
// where others are to go on. Returns the depth of the first.
std::optional<Depth> CheckInputs(const RenderOptions& options, const FramePlan& plan,
                                 const MovingSettings& settings) {
    std::optional<Depth> depth;
    const std::filesystem::path* last = nullptr;  // a still comes with every frame
    for (const auto& job : plan.jobs) {
        if (last && *last == job.source()) continue;
        last = &job.source();
        CheckReadable(job.source());
        PictureFile header;
        try {
            header = ReadHeader(job.source(), options.frames.read);
        } catch (const std::runtime_error&) {
            if (options.frames.keepGoing && plan.numbered && !options.dryRun) continue;
            throw;
        }
        for (const auto& key : settings.center) {
            CheckCenter(key.value, FrameOf(header));
        }
        Reduce(header, options.frames.reduction);
        CheckChannels(job.output, header);
        if (!depth) depth = header.picture.depth;
    }
    return depth;
}

void RunFiles(const RenderOptions& options, Look& look) {
    RefuseGiven(options, {kStreamGroup}, "is for a stream, with - as IN and OUT");
    std::signal(SIGPIPE, SIG_IGN);  // whoever reads the progress may go away
    const FramePlan plan = PlanFrames(options.plan);
    if (!plan.numbered && look.settings.moves()) {
        throw UsageError("the settings move over frames, but the picture has no number; give it with --frames");
    }
    auto shown = options.Progress();
    shown.single = !plan.numbered;
    const auto tellMissing = [&](Progress& progress) {
        if (plan.missing.empty()) return;
        progress.Note(options.plan.input.string() + ": missing, " +
                      (options.plan.missing == Missing::black ? "black instead: " : "left out: ") +
                      FramesText(plan.missing));
    };
    if (plan.jobs.empty()) CheckFormat(options.plan.output);
    CheckOutputs(plan, options.plan.createFolder);
    const auto depth = CheckInputs(options, plan, look.settings);
    CheckSave(options, FilesOf(plan));
    const auto most = static_cast<std::size_t>(options.threads);
    const int workers = static_cast<int>(std::clamp<std::size_t>(plan.jobs.size(), 1, most));
    ShareThreads(options.threads, workers);
    EffectRunner runner(options.Plugin(), options.Personality(), workers, look.sequenceData);
    if (options.dryRun) {
        PrintPlan(plan, options.plan.missing == Missing::black);
        return runner.Close();
    }
    if (options.plan.createFolder) CreateFolders(plan);
    Save(options, look, runner);

    Progress progress(shown, plan.jobs.size() + plan.existing.size());
    tellMissing(progress);
    if (Nothing(plan)) progress.Note(kNothing);
    progress.Verbose(options.Plugin().string() + ", " + std::to_string(workers) + " frames at once" +
                     (depth ? ", " + std::to_string(static_cast<int>(*depth)) + " bits per channel" : ""));
    RenderFrames(plan, options.frames, runner, workers, progress);
    runner.Close();
}

void Render(RenderOptions& options) {
    RemoveTemporariesOnSignal(WipeBarForGood);
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

void AddParameters(CLI::App& command, RenderOptions& options) {
    const auto add = [&](std::size_t index, const std::string& name, const std::string& type,
                         const std::string& help) {
        AddTextOption(command, name, type, help, [&texts = options.parameters, index](const std::string& text) {
            texts[index] = text;
        })->group(kEffectGroup);
    };
    add(1, "--mode", Joined(kModes, "|"), "Which colours part (default: red-cyan)");
    add(2, "--scaling", Joined(kScalings, "|"),
        "How the enlargement grows from the centre outwards (default: linear)");
    add(3, "--amount", "-100..100",
        "Strength: 1 enlarges by 2 percent; below 0 for the complementary colours (default: 0, no change)");
    add(4, "--show", Joined(kShows, "|"),
        "Everything, or by alpha only the fringes, or all but the fringes (default: final)");
    add(0, "--center", "X,Y", kCenterHelp);
    command.add_option("--settings", options.settings, "Read the parameters from a file; options overrule it")
        ->check(FileName())
        ->type_name("FILE")
        ->group(kEffectGroup);
    command.add_option("--save-settings", options.saveSettings, "Write the parameters of this run to a file")
        ->check(FileName())
        ->type_name("FILE")
        ->group(kEffectGroup);
    AddTextOption(command, "--depth", Joined(kDepths, "|"),
                  "Bits per channel that the effect gets (default: 8 or 16 as the file has, else 32)",
                  [&depth = options.frames.read.depth](const std::string& text) {
                      constexpr std::array kValues{Depth::bits8, Depth::bits16, Depth::bits32};
                      depth = kValues[static_cast<std::size_t>(ParseWord("--depth", text, kDepths) - 1)];
                  })
        ->group(kFileGroup);
    AddWordOption(command, "--alpha", kAlphas, options.alpha, "What the effect gets of straight alpha; see below")
        ->group(kEffectGroup);
    AddWordOption(command, "--host", kHosts, options.host,
                  "Which application to play; editor: 8-bit pixels, plain render")
        ->group(kEffectGroup);
    command.add_flag("--plain", options.plain, "Use the plain render command instead of smart render")
        ->group(kEffectGroup);
    AddPluginOption(command, options.plugin)->group(kEffectGroup);
}

void AddFileOptions(CLI::App& command, RenderOptions& options) {
    AddTextOption(
        command, "--pixel-type", Joined(kPixelTypes, "|"),
        "Type of the channels in the output (default: as in the input)",
        [&type = options.frames.reduction.type](const std::string& text) {
            using OIIO::TypeDesc;
            constexpr std::array kValues{TypeDesc::UINT8, TypeDesc::UINT16, TypeDesc::HALF, TypeDesc::FLOAT};
            type = kValues[static_cast<std::size_t>(ParseWord("--pixel-type", text, kPixelTypes) - 1)];
        })
        ->group(kFileGroup);
    AddWordOption(command, "--channels", kChannels, options.channels,
                  "Whether channels beside colour and alpha are copied")
        ->group(kFileGroup);
    AddWordOption(command, "--metadata", kMetadata, options.metadata, "What else the input says of itself")
        ->group(kFileGroup);
    command
        .add_flag("--first-page", options.frames.read.firstPage,
                  "Render the first picture of files that hold several, and leave the others out")
        ->group(kFileGroup);
    command.add_flag("--literal", options.plan.literal, "Names are as they are: #, @ and % mean nothing")
        ->group(kFileGroup);
    command.add_flag("--create-dir", options.plan.createFolder, "Make the folders of the output")
        ->group(kFileGroup);
}

void AddSequenceOptions(CLI::App& command, RenderOptions& options) {
    command
        .add_option("--frames", options.plan.frames, "Frames such as 1-100x2,110, backwards or negative as well")
        ->type_name("RANGES")
        ->group(kSequenceGroup);
    command.add_option("--clip-range", options.plan.clip, "Leave out what lies beyond, as of a queue's last chunk")
        ->type_name("FIRST-LAST")
        ->group(kSequenceGroup);
    AddWordOption(command, "--missing", kMissing, options.missing, "What to do about inputs that are not there")
        ->group(kSequenceGroup);
    command.add_flag("--skip-existing", options.plan.skipExisting, "Leave frames alone whose output is there")
        ->group(kSequenceGroup);
    command
        .add_flag("--keep-going", options.frames.keepGoing, "Go on after a frame failed, and list them at the end")
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
        command, "--pixel", Joined(kPixels, "|"), "Kind of the pixels",
        [&pixel = options->pixel](const std::string& text) { pixel = ParseWord("--pixel", text, kPixels); })
        ->group(kStreamGroup);
    AddTextOption(command, "--threads", "NUMBER", "Frames under way at once (default: as many as processors)",
                  [&threads = options->threads](const std::string& text) {
                      const double number = ParseNumber("--threads", text, 1, kMostThreads);
                      threads = static_cast<int>(number);
                      if (threads != number) throw UsageError("--threads: \"" + text + "\" is not a whole number");
                  })
        ->group(kRunGroup);
    AddWordOption(command, "--progress", kProgress, options->progress,
                  "auto: a bar on a terminal, else a line for each frame; json: an object for each")
        ->group(kRunGroup);
    command.add_flag("-q,--quiet", options->quiet, "Say nothing but errors")->group(kRunGroup);
    command.add_flag("-v,--verbose", options->verbose, "Say how each frame went")->group(kRunGroup);
    command.callback([options] { Render(*options); });
}

}  // namespace nuvhost
