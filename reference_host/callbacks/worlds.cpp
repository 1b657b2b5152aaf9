#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>

#include "reference_host/callbacks/callbacks.h"
#include "reference_host/internal/command.h"
#include "reference_host/pixel_formats.h"

namespace refhost {
namespace {

std::string Pixels(std::int32_t width, std::int32_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

PF_Err Make(PF_ProgPtr ref, std::int32_t width, std::int32_t height, bool clear, PF_PixelFormat format,
            PF_EffectWorld* record) {
    const Callback callback(Call::newWorld, ref);
    if (const auto fate = callback.Fate([&] { return Pixels(width, height); })) return *fate;
    if (!record || width < 0 || height < 0 || !FindFormat(format)) {
        callback.ReportMisuse("no record to fill, a negative size, or an unknown format");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    World world({.format = format, .width = width, .height = height, .padding = 16});
    if (clear) world.SetPixels(std::vector<std::byte>(world.Pixels().size()));
    *record = *world.effectWorld();
    record->world_flags |= PF_WorldFlag_WRITEABLE;

    auto& state = callback.state();
    const std::lock_guard lock(state.mutex);
    state.worlds.emplace(record, std::move(world));
    return PF_Err_NONE;
}

// Finds the world that was made in this record. If the effect has made several worlds in the record and not freed
// them, it is the last one. Returns end() if there is none.
auto FindMade(Account::State& state, const PF_EffectWorld* record) {
    const auto [first, last] = state.worlds.equal_range(record);
    return first == last ? state.worlds.end() : std::prev(last);
}

PF_Err TellFormat(const PF_EffectWorld* world, PF_PixelFormat* format, const char* suite,
                  PF_PixelFormat KnownWorld::*answer) {
    const Callback callback(Call::getPixelFormat);
    if (const auto fate = callback.Fate([&] { return std::string(suite); })) return *fate;
    if (format) {
        const auto& worlds = callback.command().worlds;
        if (const auto known = worlds.find(world); known != worlds.end()) {
            *format = known->second.*answer;
            return PF_Err_NONE;
        }
        auto& state = callback.state();
        const std::lock_guard lock(state.mutex);
        if (const auto made = FindMade(state, world); made != state.worlds.end()) {
            *format = made->second.layout().format;
            return PF_Err_NONE;
        }
    }
    callback.ReportMisuse(format ? "the world is not one that the host has handed over"
                                 : "nowhere to put the format");
    return PF_Err_BAD_CALLBACK_PARAM;
}

}  // namespace

PF_Err NewWorld(PF_ProgPtr ref, std::int32_t width, std::int32_t height, std::int32_t flags,
                PF_EffectWorld* world) {
    return Make(ref, width, height, (flags & PF_NewWorldFlag_CLEAR_PIXELS) != 0,
                (flags & PF_NewWorldFlag_DEEP_PIXELS) != 0 ? kFormatArgb16 : kFormatArgb8, world);
}

PF_Err NewWorldInFormat(PF_ProgPtr ref, std::int32_t width, std::int32_t height, PF_Boolean clear,
                        PF_PixelFormat format, PF_EffectWorld* world) {
    return Make(ref, width, height, clear != 0, format, world);
}

PF_Err NewWorldOfPixelFormat(PF_ProgPtr ref, std::uint32_t width, std::uint32_t height, std::int32_t flags,
                             PF_PixelFormat format, PF_EffectWorld* world) {
    constexpr std::uint32_t kMostPixels = std::numeric_limits<std::int32_t>::max();
    const auto size = [](std::uint32_t value) {
        return value > kMostPixels ? -1 : static_cast<std::int32_t>(value);
    };
    return Make(ref, size(width), size(height), (flags & PF_NewWorldFlag_CLEAR_PIXELS) != 0, format, world);
}

PF_Err DisposeWorld(PF_ProgPtr ref, PF_EffectWorld* world) {
    const Callback callback(Call::disposeWorld, ref);
    if (!callback) return PF_Err_INVALID_CALLBACK;
    std::optional<World> given;
    {
        auto& state = callback.state();
        const std::lock_guard lock(state.mutex);
        if (const auto made = FindMade(state, world); made != state.worlds.end()) {
            given = std::move(made->second);
            state.worlds.erase(made);
        }
    }
    if (!given) {
        callback.ReportMisuse("the world was not made by the host");
    } else {
        if (const auto written = given->Surroundings(); !written.empty()) callback.ReportMisuse(written);
        *world = {};
    }
    const auto fate = callback.Fate(
        [&] { return given ? Pixels(given->layout().width, given->layout().height) : std::string(); });
    return fate.value_or(given ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM);
}

PF_Err WorldSuiteGetPixelFormat(const PF_EffectWorld* world, PF_PixelFormat* format) {
    return TellFormat(world, format, "PF World Suite", &KnownWorld::worldSuiteFormat);
}

PF_Err FormatSuiteGetPixelFormat(PF_EffectWorld* world, PF_PixelFormat* format) {
    return TellFormat(world, format, "PF Pixel Format Suite", &KnownWorld::format);
}

PF_Err AddSupportedPixelFormat(PF_ProgPtr ref, PF_PixelFormat format) {
    const Callback callback(Call::addPixelFormat, ref);
    const auto fate = callback.Fate([&] {
        char text[16];
        std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(format));
        return std::string(text);
    });
    if (fate) return *fate;
    auto& state = callback.state();
    const std::lock_guard lock(state.mutex);
    state.formats.push_back(format);
    return PF_Err_NONE;
}

PF_Err ClearSupportedPixelFormats(PF_ProgPtr ref) {
    const Callback callback(Call::clearPixelFormats, ref);
    if (const auto fate = callback.Fate()) return *fate;
    auto& state = callback.state();
    const std::lock_guard lock(state.mutex);
    state.formats.clear();
    return PF_Err_NONE;
}

PF_Err ConvertColor(PF_PixelFormat format, float alpha, float red, float green, float blue, void* pixel) {
    const PixelFormat* const known = FindFormat(format);
    if (!pixel || !known) return PF_Err_BAD_CALLBACK_PARAM;
    std::array<float, 4> channels{alpha, red, green, blue};
    if (known->order == ChannelOrder::bgra) std::ranges::reverse(channels);
    const auto put = [&](auto white) {
        std::array<decltype(white), 4> values;
        std::ranges::transform(channels, values.begin(), [white](float channel) {
            if constexpr (std::is_floating_point_v<decltype(white)>) return channel;
            return static_cast<decltype(white)>(std::clamp(channel, 0.0f, 1.0f) * static_cast<float>(white) + 0.5f);
        });
        std::memcpy(pixel, &values, sizeof values);
    };
    if (known->bitsPerChannel == 8) put(std::uint8_t{255});
    if (known->bitsPerChannel == 16) put(std::uint16_t{32768});
    if (known->bitsPerChannel == 32) put(1.0f);
    return PF_Err_NONE;
}

}  // namespace refhost
