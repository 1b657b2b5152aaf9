// The reference host with an effect made up for the test: whatever the host is to notice is done to it there.
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

// Every format; padding, rows bottom-up and misalignment among them.
inline constexpr WorldLayout kLayouts[] = {
    {.format = kFormatArgb8, .width = 3, .height = 4},
    {.format = kFormatBgra8, .width = 3, .height = 4, .padding = 5},
    {.format = kFormatArgb16, .width = 5, .height = 2, .padding = 3, .bottomUp = true},
    {.format = kFormatArgbFloat, .width = 1, .height = 7, .bottomUp = true, .misalignment = 1},
    {.format = kFormatBgraFloat, .width = 2, .height = 3, .padding = 1, .misalignment = 7},
    {.format = kFormatBgraFloatLinear, .width = 2, .height = 1, .padding = 16},
};
static_assert(std::ranges::equal(kLayouts, kFormats, {}, &WorldLayout::format));

// Bytes of which any 256 in a row differ.
std::vector<std::byte> Counting(std::size_t size);

struct Arguments {
    PF_Cmd cmd;
    PF_InData* in;
    PF_OutData* out;
    PF_ParamDef** params;
    PF_LayerDef* output;
    void* extra;
};

// What the effect does with a command; nothing if it is empty.
inline std::function<PF_Err(const Arguments&)> g_effect;

PluginLibrary FakeEffect();

// Three parameters: a point with the disk id 12, a popup with 11, a slider with 13.
void AddParams(const Arguments& a);

// The suite, released already: the host's suites stay where they are.
const PF_WorldSuite2& WorldSuite(const Arguments& a);

class HostTest : public testing::Test {
protected:
    explicit HostTest(HostOptions options = {}) : host(FakeEffect(), std::move(options)) {}
    ~HostTest() override { g_effect = nullptr; }

    void SetUp() override;

    // Sends a command that does just this.
    PF_Err Do(const std::function<void(const Arguments&)>& work, PF_Cmd cmd = PF_Cmd_DO_DIALOG);

    Lines Outstanding() { return host.account().Outstanding(); }
    Lines Misuse() { return host.account().Misuse(); }

    Host host;
};

}  // namespace refhost
