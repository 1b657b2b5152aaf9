// Host memory for one pixel buffer.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pf_data.h"

namespace nuv {

// A handle of the host's, locked for as long as this object lives, then unlocked and disposed of. Command thread
// only.
class HostBuffer {
public:
    explicit HostBuffer(const PF_UtilCallbacks& utils) : utils_(utils) {}
    ~HostBuffer() {
        if (pixels_ != nullptr) GiveBack(utils_.host_unlock_handle);
        if (handle_ != nullptr) GiveBack(utils_.host_dispose_handle);
    }
    HostBuffer(const HostBuffer&) = delete;
    HostBuffer& operator=(const HostBuffer&) = delete;

    // At most once. False if the host gives no memory; a host without any for an empty buffer is no failure, since
    // layers of no size are everyday. Contents are undefined.
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
            // A host that throws here has had its handle back as far as we can tell.
        }
    }

    const PF_UtilCallbacks& utils_;
    PF_Handle handle_ = nullptr;
    std::byte* pixels_ = nullptr;
};

}  // namespace nuv
