#include <algorithm>

#include "newer_host.h"

namespace broken {
namespace {

constexpr PF_Cmd kAbout = PF_Cmd_ABOUT;

void WriteNoText(MainCall& c) {
    if (!InEditor(c)) c.outData->return_msg[0] = '\0';
}

void FillTheMessage(MainCall& c) {
    std::ranges::fill(c.outData->return_msg, 'a');
}

void WriteTwoLanguages(MainCall& c) {
    constexpr char kText[] = "NUV \xC3\xA9";
    std::ranges::copy(kText, c.outData->return_msg);
}

constexpr Control kControls[] = {
    {.check = "about.succeeds", .fault = "refuses", .command = Refuses<kAbout>},
    {.check = "about.text", .fault = "writes no text", .command = After<kAbout, WriteNoText>},
    {.check = "about.bounded", .fault = "fills all 256 bytes", .command = After<kAbout, FillTheMessage>},
    {.check = "about.text-only", .fault = "writes a width", .command = After<kAbout, WriteAWidth>},
    {.check = "about.printable", .fault = "writes an accent", .command = After<kAbout, WriteTwoLanguages>},
    {.check = "about.balanced", .fault = "keeps a handle", .command = After<kAbout, KeepAHandle>},
};

}  // namespace

std::span<const Control> AboutControls() {
    return kControls;
}

}  // namespace broken
