// One application of the effect to a layer: its parameter values, its sequence data and its renders.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <variant>
#include <vector>

#include "pf_data.h"
#include "pf_smart_render.h"
#include "reference_host/world.h"

namespace refhost {

class Host;

// The two ways in which a host has a frame rendered: by the commands pre-render and smart render, or by the one
// command render.
enum class RenderPath { smart, plain };

// A parameter's value: a point in pixels (16.16 fixed point), the choice of a popup, or the value of a slider.
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

// What a project file keeps of one instance.
struct SavedInstance {
    std::map<std::int32_t, ParamValue> params;  // by disk id
    std::vector<std::byte> sequenceData;        // flat
    std::set<std::int32_t> percentPoints;       // disk ids of points that are still percentages of the layer
};

struct RenderSettings {
    // Null: the layer has no pixels. Smart render then hands out a null world, and plain render an empty record.
    World* input = nullptr;
    World* output = nullptr;  // null: the effect is handed a null world
    std::int32_t currentTime = 0, timeStep = 1;
    std::uint32_t timeScale = 25;
    PF_RationalScale downsampleX{1, 1}, downsampleY{1, 1}, pixelAspect{1, 1};
    std::int32_t layerWidth = 0, layerHeight = 0;  // layer size in in_data; 0: the input world's size
    std::int32_t field = PF_Field_FRAME;
    // Smart render only: the area that the host asks for. Empty: the whole area of the output world.
    PF_LRect request{};
    std::int32_t channelMask = PF_ChannelMask_ARGB;  // also a part of the request
    bool preserveRgbOfZeroAlpha = false;             // also a part of the request
    // Smart render only: what the check-out of the input layer answers. With a value, the effect gets the whole
    // input world. Without one, the check-out answers with the part of the input world (placed at its origin) that
    // the effect asks for, and the effect gets that part.
    std::optional<PF_LRect> checkoutResult;
    PF_LRect initialResultRect{};  // smart render only: both output rectangles of pre-render before the command
    // With a value, "PF World Suite" names this format for input and output. "PF Pixel Format Suite" always names
    // their true format.
    std::optional<PF_PixelFormat> worldSuiteFormat;
    // Plain render only: entries 1, 2, … of the parameter array. Missing entries are null, so an effect that reads
    // the array needs all of them.
    std::vector<PF_ParamDef*> plainParams;
};

struct RenderResult {
    PF_Err preRender = PF_Err_NONE;  // smart render only
    PF_Err render = PF_Err_NONE;
    bool rendered = false;  // whether the render command was sent; it is not sent if pre-render fails
    PF_PreRenderOutput preRenderOutput{};  // as pre-render left it; its pre_render_data is no longer valid
    PF_RenderRequest inputRequest{};       // what the effect asked of its input
    // The bytes in the pre-render data handle after pre-render. Empty without a handle.
    std::vector<std::byte> preRenderData;
    PF_OutData outData{};  // of the last command sent
};

// The destructor sends no command. Call SequenceSetdown before.
class Instance {
public:
    // Parameters start at their declared defaults. A point stays a percentage of the layer until the first render
    // with a layer size turns it into pixels.
    explicit Instance(Host& host);
    ~Instance();

    PF_Err SequenceSetup();
    PF_Err SequenceResetup();
    PF_Err SequenceSetdown();
    PF_Handle sequenceData() const;
    void setSequenceData(PF_Handle handle);
    const PF_OutData& outData() const;

    // By parameter index, from 1. Throws std::out_of_range for an index that the effect has not added, and
    // std::invalid_argument for a value of another type than the parameter's.
    void Set(std::int32_t index, const ParamValue& value);
    ParamValue Get(std::int32_t index) const;
    // Replaces the value only for check-outs at this time. Save() does not keep it.
    void SetAt(std::int32_t time, std::int32_t index, const ParamValue& value);

    SavedInstance Save() const;
    // Values are matched by disk id. Ids that the effect does not have are ignored. The sequence data is put into a
    // new handle; call SequenceResetup next. Throws std::invalid_argument as Set does, and std::bad_alloc.
    void Load(const SavedInstance& saved);

    // Sends pre-render and smart render with the current parameter values. Sends only pre-render if that fails or
    // if `render` is false. Throws std::logic_error in a host without smart render.
    RenderResult SmartRender(const RenderSettings& settings, bool render = true);
    RenderResult PlainRender(const RenderSettings& settings);
    RenderResult Render(RenderPath path, const RenderSettings& settings);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace refhost
