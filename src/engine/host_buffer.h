// Host memory for one pixel buffer.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/host_call.h"
#include "pf_data.h"

namespace nuv {

// A handle of the host. It is locked as long as this object lives. The destructor unlocks the handle and disposes
// of it. Use it on the command's thread only.
class HostBuffer {
public:
    explicit HostBuffer(const PF_UtilCallbacks& utils) : utils_(utils) {}
    ~HostBuffer() {
        if (pixels_ != nullptr) GiveBackToHost(utils_.host_unlock_handle, handle_);
        if (handle_ != nullptr) GiveBackToHost(utils_.host_dispose_handle, handle_);
    }
    HostBuffer(const HostBuffer&) = delete;
    HostBuffer& operator=(const HostBuffer&) = delete;

    // Call it at most once. Returns false if the host gives no memory. For 0 bytes it returns true in any case,
    // because empty layers are common. The contents are undefined.
    bool Allocate(std::uint64_t bytes) {
        handle_ = CallHost(utils_.host_new_handle, bytes);
        if (handle_ != nullptr) pixels_ = static_cast<std::byte*>(CallHost(utils_.host_lock_handle, handle_));
        return pixels_ != nullptr || bytes == 0;
    }

    std::byte* pixels() const { return pixels_; }

private:
    const PF_UtilCallbacks& utils_;
    PF_Handle handle_ = nullptr;
    std::byte* pixels_ = nullptr;
};

}  // namespace nuv
