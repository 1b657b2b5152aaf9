// The one place through which the effect calls its host. cmake/host_calls.sh makes sure of that.
#pragma once

#include <type_traits>

namespace nuv {

#if defined(_WIN32)

// Runs work(argument). A host's C++ runtime may be another one than ours. Our frames do not notice its exceptions,
// so no destructor would run. If such an exception leaves `work`, this function ends it and throws an int instead:
// the thrown int, or PF_Err_INTERNAL_STRUCT_DAMAGED if something else was thrown. All other exceptions pass
// through, those of our own runtime as well as an access violation.
void RunGuarded(void (*work)(void* argument), void* argument);

template <class Work>
void Guard(Work work) {
    RunGuarded([](void* argument) { (*static_cast<Work*>(argument))(); }, &work);
}

#else

template <class Work>
void Guard(Work work) {
    work();  // all code of the process has the same C++ runtime
}

#endif

// Calls the host and returns its answer. An exception of the host leaves it as a C++ exception.
template <class Callback, class... Arguments>
auto CallHost(Callback callback, Arguments... arguments) {
    using Result = std::invoke_result_t<Callback, Arguments...>;
    if constexpr (std::is_void_v<Result>) {
        Guard([&] { callback(arguments...); });
    } else {
        Result result{};
        Guard([&] { result = callback(arguments...); });
        return result;
    }
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
