// The reference host with a fake effect. In the effect, each test does what the host must notice.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "reference_host/host.h"

namespace refhost {

using Lines = std::vector<std::string>;

// One layout for each format. Some have padding, bottom-up rows or misaligned memory.
inline constexpr WorldLayout kLayouts[] = {
    {.format = kFormatArgb8, .width = 3, .height = 4},
    {.format = kFormatBgra8, .width = 3, .height = 4, .padding = 5},
    {.format = kFormatArgb16, .width = 5, .height = 2, .padding = 3, .bottomUp = true},
    {.format = kFormatArgbFloat, .width = 1, .height = 7, .bottomUp = true, .misalignment = 1},
    {.format = kFormatBgraFloat, .width = 2, .height = 3, .padding = 1, .misalignment = 7},
    {.format = kFormatBgraFloatLinear, .width = 2, .height = 1, .padding = 16},
};
static_assert(std::ranges::equal(kLayouts, kFormats, {}, &WorldLayout::format));

// Bytes in which any 256 neighbours are all different.
std::vector<std::byte> Counting(std::size_t size);

struct Arguments {
    PF_Cmd cmd;
    PF_InData* in;
    PF_OutData* out;
    PF_ParamDef** params;
    PF_LayerDef* output;
    void* extra;
};

// What the fake effect does with a command. If this is empty, the effect does nothing and succeeds.
inline std::function<PF_Err(const Arguments&)> g_effect;

PluginLibrary FakeEffect();

// Three parameters: a point with the disk id 12, a popup with 11, a slider with 13.
void AddParams(const Arguments& a);

// The suite, already released. The pointer stays valid, because the host never frees its suites.
const PF_WorldSuite2& WorldSuite(const Arguments& a);

class HostTest : public testing::Test {
protected:
    explicit HostTest(HostOptions options = {}) : host(FakeEffect(), std::move(options)) {}
    ~HostTest() override { g_effect = nullptr; }

    void SetUp() override;

    // Sends a command in which the effect does this work, and then succeeds.
    PF_Err Do(const std::function<void(const Arguments&)>& work, PF_Cmd cmd = PF_Cmd_DO_DIALOG);

    Lines Outstanding() { return host.account().Outstanding(); }
    Lines Misuse() { return host.account().Misuse(); }

    Host host;
};

}  // namespace refhost
