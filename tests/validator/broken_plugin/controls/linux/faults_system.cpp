#include <pthread.h>

#include <new>

#include "callback_fault.h"

namespace broken {
namespace {

// Uses no std::thread, because that allocates memory, which may fail as well.
template <Moment in>
PF_Err StartsThread(MainCall& command) {
    if (in(command)) {
        pthread_t thread;
        if (::pthread_create(
                &thread, nullptr, [](void* memory) { return memory; }, nullptr) != 0)
            throw 1;
        ::pthread_join(thread, nullptr);
    }
    return Effect(command);
}

enum class Form { usual, aligned, nothrow };

template <Moment in, Form form>
PF_Err Allocates(MainCall& command) {
    constexpr std::align_val_t kAlignment{64};
    if (in(command)) {
        if constexpr (form == Form::usual) ::operator delete(::operator new(100));
        if constexpr (form == Form::aligned) ::operator delete(::operator new(100, kAlignment), kAlignment);
        if constexpr (form == Form::nothrow) {
            void* const memory = ::operator new(100, std::nothrow);
            if (memory == nullptr) throw 1;
            ::operator delete(memory);
        }
    }
    return Effect(command);
}

constexpr Control kControls[] = {
    {.check = "faults.session-thread",
     .fault = "starts a thread and lets the exception out",
     .command = StartsThread<InSetUp>},
    {.check = "faults.session-memory",
     .fault = "allocates and lets the exception out",
     .command = Allocates<InSetUp, Form::usual>},
    {.check = "faults.smart-thread",
     .fault = "starts a thread and lets the exception out",
     .command = StartsThread<InSmartRender>},
    {.check = "faults.smart-memory",
     .fault = "allocates and lets the exception out",
     .command = Allocates<InSmartRender, Form::aligned>},
    {.check = "faults.plain-thread",
     .fault = "starts a thread and lets the exception out",
     .command = StartsThread<InPlainRender>},
    {.check = "faults.plain-memory",
     .fault = "allocates and lets the exception out",
     .command = Allocates<InPlainRender, Form::nothrow>},
};

}  // namespace

std::span<const Control> FaultsSystemControls() {
    return kControls;
}

}  // namespace broken
