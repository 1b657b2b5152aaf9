// What Windows' loader notes of a library.
#pragma once

#include <windows.h>

#include <string>

// The first fields of the loader's record.
struct LoaderEntry {
    struct Text {
        USHORT length, capacity;
        const wchar_t* text;
    };
    LIST_ENTRY links[3];
    void* base;
    void* entryPoint;
    ULONG size;
    Text fullName, baseName;
    ULONG flags;

    // Whether the library is left alone when threads start and end.
    bool WithoutThreadCalls() const {
        constexpr ULONG kDontCallForThreads = 0x40000;
        return (flags & kDontCallForThreads) != 0;
    }
};

// The record of the library that has this address. Null if there is none with this file name.
inline const LoaderEntry* FindLoaderEntry(const void* address, const std::wstring& fileName) {
    using Find = LONG(WINAPI*)(const void* address, LoaderEntry** entry);
    const auto find = reinterpret_cast<Find>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "LdrFindEntryForAddress")));
    LoaderEntry* entry = nullptr;
    if (find == nullptr || find(address, &entry) != 0) return nullptr;
    const std::wstring found(entry->baseName.text, entry->baseName.length / sizeof(wchar_t));
    return found == fileName ? entry : nullptr;
}
