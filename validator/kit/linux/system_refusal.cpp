#include "validator/kit/system_refusal.h"

#include <dlfcn.h>
#include <link.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

struct AddressRange {
    std::uintptr_t first = 0, end = 0;

    bool Holds(const void* address) const {
        const auto at = reinterpret_cast<std::uintptr_t>(address);
        return at >= first && at < end;
    }
};

struct Watch {
    std::atomic<bool> threads{false}, memory{false};
    AddressRange code;
    std::atomic<int> failing{0}, asked{0};

    bool Refuses() { return ++asked == failing; }
};
constinit Watch g_watch;

// The addresses of the library that holds this code.
AddressRange RangeAround(const void* code) {
    struct Search {
        const void* code;
        AddressRange found;
    } search{code, {}};
    ::dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* memory) {
            auto& wanted = *static_cast<Search*>(memory);
            AddressRange range{UINTPTR_MAX, 0};
            for (int i = 0; i < info->dlpi_phnum; ++i) {
                const auto& segment = info->dlpi_phdr[i];
                if (segment.p_type != PT_LOAD) continue;
                range.first = std::min<std::uintptr_t>(range.first, info->dlpi_addr + segment.p_vaddr);
                range.end =
                    std::max<std::uintptr_t>(range.end, info->dlpi_addr + segment.p_vaddr + segment.p_memsz);
            }
            if (!range.Holds(wanted.code)) return 0;
            wanted.found = range;
            return 1;
        },
        &search);
    return search.found;
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

// Returns null if there is no memory, or if this request is to be refused.
void* Allocate(std::size_t size, const void* caller, std::size_t alignment = 0) noexcept {
    if (g_watch.memory && g_watch.code.Holds(caller) && g_watch.Refuses()) return nullptr;
    if (alignment == 0) return std::malloc(size == 0 ? 1 : size);
    void* memory = nullptr;
    return ::posix_memalign(&memory, std::max(alignment, sizeof(void*)), size == 0 ? 1 : size) == 0 ? memory
                                                                                                    : nullptr;
}

void* OrThrow(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

std::size_t Bytes(std::align_val_t alignment) {
    return static_cast<std::size_t>(alignment);
}

// Frees through a pointer. A compiler that sees free() without the malloc() that belongs to it warns of a mismatch.
void (*const volatile g_free)(void*) = std::free;

#endif

}  // namespace

// These functions replace the system's own, also for the plug-in. Sanitizers replace the same functions, so a build
// with a sanitizer counts and refuses nothing.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

extern "C" __attribute__((visibility("default"))) int pthread_create(pthread_t* thread,
                                                                     const pthread_attr_t* attributes,
                                                                     void* (*routine)(void*),
                                                                     void* argument) noexcept {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto create = reinterpret_cast<Create>(::dlsym(RTLD_NEXT, "pthread_create"));
    if (g_watch.threads && g_watch.Refuses()) return EAGAIN;
    return create(thread, attributes, routine, argument);
}

void* operator new(std::size_t size) {
    return OrThrow(Allocate(size, __builtin_return_address(0)));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size, __builtin_return_address(0));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return OrThrow(Allocate(size, __builtin_return_address(0), Bytes(alignment)));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Allocate(size, __builtin_return_address(0), Bytes(alignment));
}
void* operator new[](std::size_t size) {
    return OrThrow(Allocate(size, __builtin_return_address(0)));
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return OrThrow(Allocate(size, __builtin_return_address(0), Bytes(alignment)));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Allocate(size, __builtin_return_address(0), Bytes(alignment));
}
void operator delete(void* memory) noexcept {
    g_free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    g_free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    g_free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    g_free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    g_free(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    g_free(memory);
}
void operator delete[](void* memory) noexcept {
    g_free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    g_free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    g_free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    g_free(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    g_free(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    g_free(memory);
}

#endif

namespace validator {

Refusal::Refusal(Ask ask, const void* code, int failing) {
    g_watch.code = RangeAround(code);
    g_watch.asked = 0;
    g_watch.failing = failing;
    (ask == Ask::thread ? g_watch.threads : g_watch.memory) = true;
}

Refusal::~Refusal() {
    g_watch.threads = g_watch.memory = false;
}

int Refusal::asked() const {
    return g_watch.asked;
}

}  // namespace validator
