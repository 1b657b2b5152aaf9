// Throws what the hosts' own C++ runtime throws. Frames of our compiler do not notice such an exception: no
// destructor and no `catch` of theirs runs.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace refhost {

// What that runtime's compiler writes down about a type that is thrown. All addresses are relative to this record,
// which stands for the image of the code that throws.
struct ThrownType {
    explicit ThrownType(const char* decoratedName);
    ThrownType(const ThrownType&) = delete;
    ThrownType& operator=(const ThrownType&) = delete;

    // What `throw object;` passes to the system.
    std::array<std::uintptr_t, 4> Parameters(const void* object) const;

    struct {
        std::int32_t attributes = 0, destructor = 0, compatibility = 0, types = 0;
    } information;
    struct {
        std::int32_t count = 1, first = 0;
    } types;
    struct {
        std::int32_t properties = 1, descriptor = 0, displacements[3] = {0, -1, 0}, size = 0, copy = 0;
    } type;
    struct {
        const void* table = nullptr;
        void* spare = nullptr;
        char name[64] = {};
    } descriptor;
};

// `throw value;`
void ThrowForeign(int value);
// Throws an object of a class with this name.
void ThrowForeign(const char* decoratedName);
// Passes these parameters to the system, whatever they are.
void RaiseForeign(std::span<const std::uintptr_t> parameters);

}  // namespace refhost
