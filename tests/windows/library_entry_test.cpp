// The effect asks Windows not to tell it of threads, and Windows agrees.
#include "loader_entry.h"
#include "support/protocol_support.h"

namespace {

using protocol::Binary;

const LoaderEntry* Effect() {
    return FindLoaderEntry(reinterpret_cast<const void*>(Binary().effectMain),
                           support::PluginPath().filename().wstring());
}

TEST(LibraryEntry, IsNotCalledForThreads) {
    const LoaderEntry* const effect = Effect();
    ASSERT_NE(effect, nullptr);
    EXPECT_TRUE(effect->WithoutThreadCalls()) << "DisableThreadLibraryCalls failed when the library was loaded";
    EXPECT_TRUE(DisableThreadLibraryCalls(static_cast<HMODULE>(effect->base)));
}

TEST(LibraryEntry, NeedsNoStaticThreadLocalStorage) {
    const LoaderEntry* const effect = Effect();
    ASSERT_NE(effect, nullptr);
    const auto* const base = static_cast<const char*>(effect->base);
    const auto& dos = *reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto& headers = *reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos.e_lfanew);
    ASSERT_EQ(headers.Signature, DWORD{IMAGE_NT_SIGNATURE});
    const IMAGE_DATA_DIRECTORY& storage = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_TLS];
    EXPECT_EQ(storage.VirtualAddress, 0u);
    EXPECT_EQ(storage.Size, 0u);
}

}  // namespace
