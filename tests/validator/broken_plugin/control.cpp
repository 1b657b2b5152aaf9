#include "control.h"

#include <atomic>
#include <cstdlib>
#include <vector>

#include "entry/entry_points.h"

namespace broken {
namespace {

#define NUV_CONTROLS(family) family##Controls,
constexpr std::span<const Control> (*kFamilies[])() = {NUV_FAMILIES(NUV_CONTROLS)};
#undef NUV_CONTROLS

std::atomic<const PF_InData*> g_host{nullptr};

const std::uint8_t* Bytes(const char* text) {
    return reinterpret_cast<const std::uint8_t*>(text);
}

}  // namespace

std::span<const Control> AllControls() {
    static const std::vector<Control> controls = [] {
        std::vector<Control> all;
        for (const auto family : kFamilies)
            all.insert(all.end(), family().begin(), family().end());
        return all;
    }();
    return controls;
}

const Control* Chosen() {
    static const Control* const chosen = [] {
        const char* const id = std::getenv(kChoice);  // NOLINT(concurrency-mt-unsafe)
        const Control* found = nullptr;
        for (const Control& control : AllControls()) {
            if (id != nullptr && control.check == id) found = &control;
        }
        return found;
    }();
    return chosen;
}

signs::Size OwnSize() {
    static const signs::Size size = signs::SizeOf(Chosen()->check);
    return size;
}

bool IsOfSize(const MainCall& command, signs::Size size) {
    return command.inData != nullptr && command.inData->width == size.width &&
           command.inData->height == size.height;
}

PF_Err Effect(const MainCall& c) {
    return nuv::Dispatch(c.cmd, c.inData, c.outData, c.params, c.output, c.extra);
}

PF_Err Register(const RegistrationCall& r) {
    return r.callback(r.record, Bytes(r.name), Bytes(r.matchName), Bytes(r.category), Bytes(r.entryPoint), r.kind,
                      r.apiMajor, r.apiMinor, r.reserved);
}

OwnRecords::OwnRecords(MainCall& command)
    : inData(*command.inData),
      utils(command.inData->utils ? *command.inData->utils : PF_UtilCallbacks{}),
      basic(command.inData->pica_basicP ? *command.inData->pica_basicP : SPBasicSuite{}),
      command_(command),
      theirs_(command.inData),
      outer_(g_host.exchange(command.inData)) {
    // If the host lacks something, the effect must not get it from a fault.
    if (inData.utils) inData.utils = &utils;
    if (inData.pica_basicP) inData.pica_basicP = &basic;
    command.inData = &inData;
}

OwnRecords::~OwnRecords() {
    theirs_->sequence_data = inData.sequence_data;
    theirs_->global_data = inData.global_data;
    command_.inData = theirs_;
    g_host = outer_;
}

const PF_InData& OwnRecords::Host() {
    return *g_host;
}

}  // namespace broken
