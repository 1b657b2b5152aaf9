// The one place through which the effect calls its host. cmake/host_calls.sh makes sure of that.
#pragma once

#include <type_traits>

namespace nuv {

// Calls the host and returns its answer. Lets the host's exceptions through.
template <class Callback, class... Arguments>
auto CallHost(Callback callback, Arguments... arguments) {
    return callback(arguments...);
}

// For destructors: gives something back to the host. If the host throws, we must assume that it has taken its thing
// back, and the exception is dropped.
template <class Callback, class... Arguments>
void GiveBackToHost(Callback callback, Arguments... arguments) noexcept {
    try {
        CallHost(callback, arguments...);
    } catch (...) {
        // A destructor cannot report it, and the other things must still be given back.
    }
}

// For a function of ours that the host calls, and that has nothing to clean up. Frames of the host wait for an
// exception of the host, so it must come back to them as it is.
template <class Result, class... Parameters>
Result CallHostUnguarded(Result (*callback)(Parameters...), std::type_identity_t<Parameters>... arguments) {
    return callback(arguments...);
}

}  // namespace nuv
