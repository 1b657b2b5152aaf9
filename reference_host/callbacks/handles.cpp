#include <string>

#include "reference_host/callbacks/callbacks.h"
#include "reference_host/internal/command.h"
#include "reference_host/internal/command_names.h"

namespace refhost {
namespace {

using Owner = HandleStore::Owner;

std::string SizeText(const std::optional<HandleStore::Info>& info) {
    return info ? std::to_string(info->size) : std::string();
}

std::string SizeOf(const Callback& callback, PF_Handle handle) {
    return SizeText(callback.state().handles.Find(handle));
}

// Returns what is known about a live handle. Reports misuse if the handle is not live.
std::optional<HandleStore::Info> Require(const Callback& callback, PF_Handle handle) {
    auto info = callback.state().handles.Find(handle);
    if (!info) callback.ReportMisuse(handle ? "the handle is not live" : "the handle is null");
    return info;
}

// The effect may free a handle that the host owns only in certain commands: global data in global commands,
// sequence data in sequence commands, and any handle in the delete function of pre-render data.
bool MayDispose(const Command& command, PF_Handle handle) {
    switch (command.cmd) {
        case PF_Cmd_GLOBAL_SETUP:
        case PF_Cmd_GLOBAL_SETDOWN:
            return handle == command.globalData;
        case PF_Cmd_SEQUENCE_SETUP:
        case PF_Cmd_SEQUENCE_RESETUP:
        case PF_Cmd_SEQUENCE_FLATTEN:
        case PF_Cmd_SEQUENCE_SETDOWN:
            return handle == command.sequenceData;
        case kDeletePreRenderData:
            return true;
        default:
            return false;
    }
}

}  // namespace

PF_Handle NewHandle(A_HandleSize size) {
    const Callback callback(Call::newHandle);
    if (callback.Fate([&] { return std::to_string(size); })) return nullptr;
    return callback.state().handles.New(size, Owner::effect, callback.command().recycle);
}

void* LockHandle(PF_Handle handle) {
    const Callback callback(Call::lockHandle);
    if (callback.Fate([&] { return SizeOf(callback, handle); })) return nullptr;
    return Require(callback, handle) ? callback.state().handles.Lock(handle) : nullptr;
}

void UnlockHandle(PF_Handle handle) {
    const Callback callback(Call::unlockHandle);
    if (!callback) return;
    const auto info = Require(callback, handle);
    if (info && info->locks == 0) {
        callback.ReportMisuse("a handle of " + std::to_string(info->size) + " bytes is not locked");
    }
    callback.state().handles.Unlock(handle);
    static_cast<void>(callback.Fate([&] { return SizeText(info); }));
}

void DisposeHandle(PF_Handle handle) {
    const Callback callback(Call::disposeHandle);
    if (!callback) return;
    const auto info = Require(callback, handle);
    const std::string name = "a handle of " + SizeText(info) + " bytes ";
    if (info && info->locks > 0) callback.ReportMisuse(name + "is still locked");
    if (info && info->owner == Owner::host && !MayDispose(callback.command(), handle)) {
        callback.ReportMisuse(name + "is the host's");
    }
    callback.state().handles.Dispose(handle, callback.command().recycle);
    static_cast<void>(callback.Fate([&] { return SizeText(info); }));
}

A_HandleSize GetHandleSize(PF_Handle handle) {
    const Callback callback(Call::getHandleSize);
    if (callback.Fate([&] { return SizeOf(callback, handle); })) return 0;
    const auto info = Require(callback, handle);
    return info ? info->size : 0;
}

PF_Err ResizeHandle(A_HandleSize size, PF_Handle* handle) {
    const Callback callback(Call::resizeHandle);
    if (const auto fate = callback.Fate([&] { return std::to_string(size); })) return *fate;
    const auto info = Require(callback, handle ? *handle : nullptr);
    if (!info) return PF_Err_BAD_CALLBACK_PARAM;
    if (info->locks > 0) {
        callback.ReportMisuse("a handle of " + std::to_string(info->size) + " bytes is locked and cannot move");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    const bool resized = callback.state().handles.Resize(*handle, size, callback.command().recycle);
    return resized ? PF_Err_NONE : PF_Err_OUT_OF_MEMORY;
}

}  // namespace refhost
