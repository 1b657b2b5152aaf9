#include "reference_host/windows/other_runtime.h"

#include <windows.h>

#include <algorithm>
#include <string_view>

namespace refhost {

ThrownType::ThrownType(const char* decoratedName) {
    const auto relative = [this](const void* part) {
        return static_cast<std::int32_t>(static_cast<const char*>(part) - reinterpret_cast<const char*>(this));
    };
    information.types = relative(&types);
    types.first = relative(&type);
    type.descriptor = relative(&descriptor);
    std::ranges::copy(std::string_view(decoratedName).substr(0, sizeof descriptor.name - 1), descriptor.name);
}

std::array<std::uintptr_t, 4> ThrownType::Parameters(const void* object) const {
    constexpr std::uintptr_t kMagic = 0x19930520;
    return {kMagic, reinterpret_cast<std::uintptr_t>(object), reinterpret_cast<std::uintptr_t>(&information),
            reinterpret_cast<std::uintptr_t>(this)};
}

void ThrowForeign(int value) {
    static const ThrownType type(".H");
    RaiseForeign(type.Parameters(&value));
}

void ThrowForeign(const char* decoratedName) {
    const ThrownType type(decoratedName);
    const char object[16] = {};
    RaiseForeign(type.Parameters(object));
}

void RaiseForeign(std::span<const std::uintptr_t> parameters) {
    constexpr DWORD kThrow = 0xE06D7363;
    const auto* const first = reinterpret_cast<const ULONG_PTR*>(parameters.data());
    RaiseException(kThrow, EXCEPTION_NONCONTINUABLE, static_cast<DWORD>(parameters.size()), first);
}

}  // namespace refhost
