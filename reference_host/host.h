// The reference host: plays the compositing and the editing host towards a loaded effect, through the binary
// interface only, and keeps account of everything that it hands out.
//
// A Host is one loaded effect in one application. Its set-up calls are made from one thread; render calls of
// several instances (or of one) may come from several threads at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "pf_data.h"
#include "pf_smart_render.h"
#include "reference_host/personalities.h"
#include "reference_host/plugin_library.h"
#include "reference_host/world.h"

namespace refhost {

// The two ways in which a host has a frame rendered: by the commands pre-render and smart render, or by the one
// command render.
enum class RenderPath { smart, plain };

// Every callback that the host offers.
enum class Call {
    acquireSuite,
    releaseSuite,
    newHandle,
    lockHandle,
    unlockHandle,
    disposeHandle,
    getHandleSize,
    resizeHandle,
    checkoutParam,
    checkinParam,
    addParam,
    abort,
    checkoutLayer,
    checkoutLayerPixels,
    checkinLayerPixels,
    checkoutOutput,
    newWorld,
    disposeWorld,
    getPixelFormat,
    clearPixelFormats,
    addPixelFormat,
    iterate,
    iterateGeneric,
    row,  // one row of an iteration, of either kind, before the effect's function is called for it
    copyString,
    formatString,
};
// The callback as the host's tables name it: "AcquireSuite", "checkout_param", …
std::string_view Name(Call call);

// One callback that the effect made.
struct CallRecord {
    Call call;
    std::int64_t index;  // counts calls of this kind since the host was made or Account::Reset, from 0
    // What it is about:
    //   AcquireSuite, ReleaseSuite                 name and version: PF World Suite 2
    //   checkout_param, checkin_param, add_param, checkout_layer    parameter index: 3
    //   checkout_layer_pixels, checkin_layer_pixels                 check-out id: 0
    //   handles                                    bytes, those asked for or the handle's: 8
    //   new_world, dispose_world                   pixels: 1 x 7
    //   GetPixelFormat                             the suite asked: PF World Suite
    //   AddSupportedPixelFormat                    the format: 0x61726762
    //   iterate, iterate_generic                   number of rows: 1080
    //   row                                        its number: 17
    //   strcpy, sprintf                            the text, or the format
    // Empty for the others, and where the thing named is not known to the host.
    std::string detail;
    std::uint64_t thread;  // a small number that names the calling thread
};

// Decides the fate of one callback, before the host carries it out. nullopt: carry it out. A code: fail with it.
// Callbacks that give a pointer (handles, locks) then give null, acquireSuite leaves the pointer null whatever
// the code, 0 included; a row is not called and its iteration stops with the code. What gives something back
// (release, check-in, unlock, dispose) is carried out all the same and only answers with the code, so that a
// fault never looks like something the effect has kept.
// May be called from several threads at once. An exception that it throws goes through the callback to the effect.
using FaultPlan = std::function<std::optional<PF_Err>(const CallRecord&)>;

struct HostOptions {
    Personality personality = Personality::compositor;
    int iterationThreads = 2;      // threads of one row iteration, the command's own among them; at least 1
    bool genericIteration = true;  // whether "PF Iterate8 Suite" has its iterate_generic entry
    std::uint32_t rowOrder = 0;    // 0: rows are handed out in ascending order; else shuffled, by this number
    // Hand a freed block out again for the next request of the same size, as it is. Otherwise every block is new,
    // filled with a pattern (blocks over 64 MiB at their ends only) and guarded at both ends. For benchmarks.
    bool keepFreedHandles = false;
    bool recordCalls = false;  // keep every CallRecord for Account::Calls
    FaultPlan faults;
};

// What the effect has been given, and what it still holds. Thread-safe.
class Account {
public:
    Account();

    // One line for each thing not given back. Sorted; empty when all is balanced.
    //   suite "PF World Suite" 2: acquired 1, released 0      also when released more often than acquired
    //   handle of 8 bytes
    //   handle of 8 bytes, locked                             `the host's handle of …` where it is the host's
    //   parameter 3: checked out
    //   world of 1 x 7 pixels
    // The host's own handles (sequence, global and pre-render data once handed over, Host::NewHandle) are listed
    // only while locked.
    std::vector<std::string> Outstanding() const;
    // Misuse seen so far: unlocking what is not locked, giving back what was never given, a check-in without
    // check-out, a callback on a thread or in a command where it is not allowed, a write past a handle's end, an
    // exception that left the effect, result rectangles that break the host's rules. Sentences.
    std::vector<std::string> Misuse() const;
    // Suites that the effect has ever asked for and that this host does not have: "PF Iterate16 Suite" 1. Sorted.
    std::vector<std::string> MissingSuites() const;
    std::vector<CallRecord> Calls() const;  // in order; empty unless HostOptions::recordCalls
    std::int64_t Count(Call call) const;
    // Forgets calls, counts and misuse, but not what is still held.
    void Reset();
    // As Reset, and what is still held is taken back by force (handles are freed), as a host does at its end.
    void Reclaim();

    struct State;

private:
    friend class Host;
    std::shared_ptr<State> state_;
};

// What PluginDataEntryFunction reported.
struct Registration {
    PF_Err result = PF_Err_NONE;
    int calls = 0;  // how often the callback was called
    std::string name, matchName, category, entryPoint;
    std::int32_t kind = 0, apiMajor = 0, apiMinor = 0, reserved = 0;
};

// A parameter's value: point in pixels (16.16 fixed point), popup choice or slider value.
struct PointValue {
    PF_Fixed x = 0, y = 0;
    bool operator==(const PointValue&) const = default;
};
struct PopupValue {
    std::int32_t choice = 0;
    bool operator==(const PopupValue&) const = default;
};
struct SliderValue {
    double value = 0;
    bool operator==(const SliderValue&) const = default;
};
using ParamValue = std::variant<PointValue, PopupValue, SliderValue>;

// What a project file keeps of one instance: parameter values by disk id, and the flat sequence data.
struct SavedInstance {
    std::map<std::int32_t, ParamValue> params;
    std::vector<std::byte> sequenceData;
    std::set<std::int32_t> percentPoints;  // ids of points still at their default, in percent of the layer
};

struct RenderSettings {
    World* input = nullptr;   // null: the layer has no pixels, the effect is handed a null world
    World* output = nullptr;  // as above
    std::int32_t currentTime = 0, timeStep = 1;
    std::uint32_t timeScale = 25;
    PF_RationalScale downsampleX{1, 1}, downsampleY{1, 1}, pixelAspect{1, 1};
    // in_data's layer size; taken from the input world where 0.
    std::int32_t layerWidth = 0, layerHeight = 0;
    std::int32_t field = PF_Field_FRAME;
    // Smart render: the area asked for (empty: the output world's whole area), what the input layer's check-out
    // answers, and pre-render's output rectangles on entry. Where nullopt, the check-out answers with the part of
    // the input world, at its origin, that the effect asks for, and the effect gets that part; else the whole
    // world.
    PF_LRect request{};
    std::int32_t channelMask = PF_ChannelMask_ARGB;  // with the next, the rest of what is asked for
    bool preserveRgbOfZeroAlpha = false;
    std::optional<PF_LRect> checkoutResult;
    PF_LRect initialResultRect{};
    // What "PF World Suite" says of the input and the output, where it is to differ from their true format, which
    // "PF Pixel Format Suite" tells.
    std::optional<PF_PixelFormat> worldSuiteFormat;
    // Plain render: entries 1 … of the parameter array; null entries by default, as nobody may read them.
    std::vector<PF_ParamDef*> plainParams;
};

struct RenderResult {
    PF_Err preRender = PF_Err_NONE;  // smart only
    PF_Err render = PF_Err_NONE;
    bool rendered = false;  // whether the render command was sent: not after a failed pre-render
    // As pre-render left it. Its pre_render_data is no longer valid.
    PF_PreRenderOutput preRenderOutput{};
    PF_RenderRequest inputRequest{};  // what the effect asked of its input
    // The pre-render data handle's contents as pre-render left them (empty if there is no handle). The handle
    // itself is the host's to free, and is freed here.
    std::vector<std::byte> preRenderData;
    PF_OutData outData{};  // of the last command sent
};

class Instance;

class Host {
public:
    explicit Host(PluginLibrary library, HostOptions options = {});
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    HostOptions& options();  // may be changed between commands
    Account& account();
    const PluginLibrary& library() const;

    Registration Scan();
    // Each fills outData() and returns the effect's code.
    PF_Err GlobalSetup();
    PF_Err ParamsSetup();
    PF_Err GlobalSetdown();
    PF_Err About();  // the text is in outData().return_msg
    // The record of the last set-up command, made all zero before each.
    const PF_OutData& outData() const;

    // Scan to parameter set-up in the host's order; throws std::runtime_error that names the failing command
    // and its code.
    void SetUp();

    // The parameters that the effect added, in order; element 0 is index 1. Strings are copies. Instances keep the
    // parameters of the time at which they were made.
    const std::vector<PF_ParamDef>& parameters() const;
    // Pixel formats declared at global set-up by an editing-host effect.
    std::vector<PF_PixelFormat> supportedFormats() const;

    // Any command with any arguments, inside this host's surroundings. `inData` starts as what InData() gives;
    // its effect_ref, unless the caller put another there, names this one command while it runs. An exception
    // that leaves the effect is misuse and gives the code -1.
    PF_Err Send(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[] = nullptr,
                PF_LayerDef* output = nullptr, void* extra = nullptr);
    // A fresh record for the next command, callbacks filled in, application id by personality.
    PF_InData InData();
    // A block as the effect would get it, accounted for as the host's own. Null when there is no memory.
    PF_Handle NewHandle(std::uint64_t size);
    void DisposeHandle(PF_Handle handle);
    bool IsLive(PF_Handle handle) const;
    std::uint64_t HandleSize(PF_Handle handle) const;  // 0 if not live
    std::span<std::byte> HandleBytes(PF_Handle handle);

    struct Impl;

private:
    friend class Instance;
    std::unique_ptr<Impl> impl_;
};

// One application of the effect to a layer. Destroying it sends no command: call SequenceSetdown.
class Instance {
public:
    // Values start at the declared defaults, the point's percentages kept as declared until a layer size turns
    // them into pixels at the first render.
    explicit Instance(Host& host);
    ~Instance();

    PF_Err SequenceSetup();
    PF_Err SequenceResetup();
    PF_Err SequenceSetdown();
    PF_Handle sequenceData() const;
    void setSequenceData(PF_Handle handle);
    const PF_OutData& outData() const;

    // By parameter index, 1 … . Throws std::out_of_range for an index that the effect has not added, and
    // std::invalid_argument for a value that is not of the parameter's type.
    void Set(std::int32_t index, const ParamValue& value);
    ParamValue Get(std::int32_t index) const;
    // Overrides the value for check-outs at one time only. Not saved.
    void SetAt(std::int32_t time, std::int32_t index, const ParamValue& value);

    SavedInstance Save() const;
    // Values are matched by disk id; ids that the effect does not have are ignored. The sequence data is put into
    // a new handle, to be followed by SequenceResetup. Throws std::invalid_argument as Set does.
    void Load(const SavedInstance& saved);

    // Pre-render and render, with the values as they are at the call; no render after a failed pre-render. With
    // `render` false only the pre-render. Throws std::logic_error in the editing host, which has no smart render.
    RenderResult SmartRender(const RenderSettings& settings, bool render = true);
    RenderResult PlainRender(const RenderSettings& settings);
    RenderResult Render(RenderPath path, const RenderSettings& settings);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace refhost
