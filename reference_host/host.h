// The reference host: plays the compositing and the editing host to a loaded effect, through the binary interface
// only, and keeps account of everything that it hands out.
//
// A Host is one loaded effect in one application. Make its set-up calls from one thread. Renders of one instance or
// of several may come from several threads at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "pf_data.h"
#include "reference_host/account.h"
#include "reference_host/calls.h"
#include "reference_host/instance.h"
#include "reference_host/personalities.h"
#include "reference_host/plugin_library.h"

namespace refhost {

struct HostOptions {
    Personality personality = Personality::compositor;
    int iterationThreads = 2;      // threads of one row iteration, including the command's own; at least 1
    bool genericIteration = true;  // whether "PF Iterate8 Suite" has its iterate_generic entry
    std::uint32_t rowOrder = 0;    // 0: rows are handed out in ascending order; otherwise shuffled by this number
    // For benchmarks. If true, the next request of the same size gets a freed block with its old bytes. If false,
    // every block is new, is filled with a pattern (a block over 64 MiB only at its ends), and has guard bytes at
    // both ends.
    bool keepFreedHandles = false;
    bool recordCalls = false;  // keep every CallRecord for Account::Calls
    FaultPlan faults;
};

// What PluginDataEntryFunction reported.
struct Registration {
    PF_Err result = PF_Err_NONE;
    int calls = 0;  // how often the effect called the callback
    std::string name, matchName, category, entryPoint;
    std::int32_t kind = 0, apiMajor = 0, apiMinor = 0, reserved = 0;
};

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
    // The record of the last set-up command. The host sets it to zero before each command.
    const PF_OutData& outData() const;

    // Scan, global set-up and parameter set-up in the host's order. Throws std::runtime_error that names the
    // failing command and its code.
    void SetUp();

    // The parameters that the effect added, in order: element 0 has index 1. Strings are copies. An instance keeps
    // the parameters that the host had when the instance was made.
    const std::vector<PF_ParamDef>& parameters() const;
    // The pixel formats that the effect declared at global set-up in the editing host.
    std::vector<PF_PixelFormat> supportedFormats() const;

    // Sends any command with any arguments, and checks it like the host's own commands. `inData` should be a record
    // from InData(), which the caller may change. While the command runs, its effect_ref names this command, unless
    // the caller has set effect_ref. An exception that leaves the effect is misuse, and the result is then -1.
    PF_Err Send(PF_Cmd cmd, PF_InData* inData, PF_OutData* outData, PF_ParamDef* params[] = nullptr,
                PF_LayerDef* output = nullptr, void* extra = nullptr);
    // A fresh record for the next command, with the callbacks and the application id of the personality.
    PF_InData InData();
    // Makes a block like those that the effect gets, but the host owns it. Returns null if there is no memory.
    PF_Handle NewHandle(std::uint64_t size);
    void DisposeHandle(PF_Handle handle);
    bool IsLive(PF_Handle handle) const;
    std::uint64_t HandleSize(PF_Handle handle) const;  // 0 if the handle is not live
    std::span<std::byte> HandleBytes(PF_Handle handle);

    struct Impl;

private:
    friend class Instance;
    std::unique_ptr<Impl> impl_;
};

}  // namespace refhost
