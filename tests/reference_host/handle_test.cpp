// The reference host's handles.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>

#include "support/host_fixture.h"

namespace refhost {
namespace {

TEST_F(HostTest, HandleIsOutstandingUntilDisposedOf) {
    Do([&](const Arguments& a) {
        const auto& utils = *a.in->utils;
        const PF_Handle handle = utils.host_new_handle(24);
        EXPECT_EQ(utils.host_get_handle_size(handle), 24U);
        EXPECT_EQ(Outstanding(), Lines{"handle of 24 bytes"});
        EXPECT_EQ(utils.host_lock_handle(handle), *handle);
        EXPECT_EQ(Outstanding(), Lines{"handle of 24 bytes, locked"});
        utils.host_unlock_handle(handle);
        utils.host_dispose_handle(handle);
    });
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, HandleOfNoBytesIsLegal) {
    Do([](const Arguments& a) {
        const PF_Handle handle = a.in->utils->host_new_handle(0);
        ASSERT_NE(handle, nullptr);
        EXPECT_NE(a.in->utils->host_lock_handle(handle), nullptr);
        a.in->utils->host_unlock_handle(handle);
        a.in->utils->host_dispose_handle(handle);
    });
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, ResizedHandleKeepsItsBytes) {
    Do([](const Arguments& a) {
        PF_Handle handle = a.in->utils->host_new_handle(8);
        std::memcpy(*handle, "12345678", 8);
        EXPECT_EQ(a.in->utils->host_resize_handle(4, &handle), 0);
        EXPECT_EQ(a.in->utils->host_get_handle_size(handle), 4U);
        EXPECT_EQ(std::memcmp(*handle, "1234", 4), 0);
        EXPECT_EQ(a.in->utils->host_resize_handle(100, &handle), 0);
        EXPECT_EQ(std::memcmp(*handle, "1234", 4), 0);
        a.in->utils->host_dispose_handle(handle);
    });
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, HandlesOfSeveralGibibytesWork) {
    Do([](const Arguments& a) {
        constexpr A_HandleSize size = A_HandleSize{5} << 30;
        const PF_Handle handle = a.in->utils->host_new_handle(size);
        ASSERT_NE(handle, nullptr);
        EXPECT_EQ(a.in->utils->host_get_handle_size(handle), size);
        static_cast<char*>(*handle)[size - 1] = 1;
        a.in->utils->host_dispose_handle(handle);
    });
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, HandleMisuseIsNamed) {
    void* nobody = nullptr;
    const auto misuse = [&](const std::function<void(const PF_UtilCallbacks&, PF_Handle)>& work) {
        host.account().Reclaim();
        Do([&](const Arguments& a) { work(*a.in->utils, a.in->utils->host_new_handle(8)); });
        return Misuse();
    };
    EXPECT_EQ(misuse([](auto& utils, PF_Handle) { EXPECT_EQ(utils.host_lock_handle(nullptr), nullptr); }),
              Lines{"host_lock_handle: the handle is null"});
    EXPECT_EQ(misuse([&](auto& utils, PF_Handle) { EXPECT_EQ(utils.host_lock_handle(&nobody), nullptr); }),
              Lines{"host_lock_handle: the handle is not live"});
    EXPECT_EQ(misuse([](auto& utils, PF_Handle handle) { utils.host_unlock_handle(handle); }),
              Lines{"host_unlock_handle: a handle of 8 bytes is not locked"});
    EXPECT_EQ(misuse([](auto& utils, PF_Handle) { utils.host_unlock_handle(nullptr); }),
              Lines{"host_unlock_handle: the handle is null"});
    EXPECT_EQ(misuse([](auto& utils, PF_Handle handle) {
                  utils.host_dispose_handle(handle);
                  utils.host_dispose_handle(handle);
              }),
              Lines{"host_dispose_handle: the handle is not live"});
    EXPECT_EQ(misuse([](auto& utils, PF_Handle handle) {
                  utils.host_lock_handle(handle);
                  utils.host_dispose_handle(handle);
              }),
              Lines{"host_dispose_handle: a handle of 8 bytes is still locked"});
    EXPECT_EQ(misuse([](auto& utils, PF_Handle handle) {
                  static_cast<char*>(*handle)[8] ^= 1;
                  utils.host_dispose_handle(handle);
              }),
              Lines{"byte 0 after the end of a handle of 8 bytes was overwritten"});
    EXPECT_EQ(misuse([](auto& utils, PF_Handle handle) {
                  static_cast<char*>(*handle)[-2] ^= 1;
                  utils.host_dispose_handle(handle);
              }),
              Lines{"the byte 2 before the start of a handle of 8 bytes was overwritten"});
}

TEST_F(HostTest, FreshHandlesHoldAPattern) {
    Do([](const Arguments& a) {
        const PF_Handle handle = a.in->utils->host_new_handle(100);
        const auto* bytes = static_cast<const unsigned char*>(*handle);
        EXPECT_TRUE(std::all_of(bytes, bytes + 100, [](unsigned char b) { return b == 0xC9; }));
        a.in->utils->host_dispose_handle(handle);
    });
}

TEST_F(HostTest, KeptBlocksAreHandedOutAgainAsTheyAre) {
    host.options().keepFreedHandles = true;
    Do([](const Arguments& a) {
        const PF_Handle first = a.in->utils->host_new_handle(1 << 20);
        void* const block = *first;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0U);
        std::memcpy(block, "kept", 4);
        a.in->utils->host_dispose_handle(first);
        const PF_Handle second = a.in->utils->host_new_handle(1 << 20);
        EXPECT_EQ(*second, block);
        EXPECT_EQ(std::memcmp(*second, "kept", 4), 0);
        a.in->utils->host_dispose_handle(second);
    });
    EXPECT_EQ(Misuse(), Lines{});
}

TEST_F(HostTest, ReclaimFreesTheEffectsHandlesOnly) {
    const PF_Handle own = host.NewHandle(4);
    PF_Handle leaked = nullptr;
    Do([&](const Arguments& a) { leaked = a.in->utils->host_new_handle(8); });
    host.account().Reset();
    EXPECT_EQ(Outstanding(), Lines{"handle of 8 bytes"});
    host.account().Reclaim();
    EXPECT_EQ(Outstanding(), Lines{});
    EXPECT_FALSE(host.IsLive(leaked));
    EXPECT_TRUE(host.IsLive(own));
    host.DisposeHandle(own);
    EXPECT_FALSE(host.IsLive(own));
}

TEST_F(HostTest, HostsHandlesAreNotTheEffectsToFree) {
    const PF_Handle own = host.NewHandle(4);
    Do([&](const Arguments& a) { a.in->utils->host_dispose_handle(own); });
    EXPECT_EQ(Misuse(), Lines{"host_dispose_handle: a handle of 4 bytes is the host's"});
}

}  // namespace
}  // namespace refhost
