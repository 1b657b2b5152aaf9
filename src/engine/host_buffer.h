// Host memory for one pixel buffer.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pf_data.h"

namespace nuv {

// A handle of the host. It is locked as long as this object lives. The destructor unlocks the handle and disposes
// of it. Use it on the command's thread only.
class HostBuffer {
public:
    explicit HostBuffer(const PF_UtilCallbacks& utils) : utils_(utils) {}
    ~HostBuffer() {
        if (pixels_ != nullptr) GiveBack(utils_.host_unlock_handle);
        if (handle_ != nullptr) GiveBack(utils_.host_dispose_handle);
    }
    HostBuffer(const HostBuffer&) = delete;
    HostBuffer& operator=(const HostBuffer&) = delete;

    // Call it at most once. Returns false if the host gives no memory. For 0 bytes it returns true in any case,
    // because empty layers are common. The contents are undefined.
    bool Allocate(std::uint64_t bytes) {
        handle_ = utils_.host_new_handle(bytes);
        if (handle_ != nullptr) pixels_ = static_cast<std::byte*>(utils_.host_lock_handle(handle_));
        return pixels_ != nullptr || bytes == 0;
    }

    std::byte* pixels() const { return pixels_; }

private:
    void GiveBack(void (*callback)(PF_Handle)) const {
        try {
            callback(handle_);
        } catch (...) {
            // If the host throws here, we must assume that it has taken its handle back.
        }
    }

    const PF_UtilCallbacks& utils_;
    PF_Handle handle_ = nullptr;
    std::byte* pixels_ = nullptr;
};

}  // namespace nuv
