// The version resource, which Windows shows and by which the installer compares versions.
#include <windows.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "resources/identity.h"
#include "support/plugin_path.h"
#include "support/protocol_support.h"

namespace {

class VersionResource : public testing::Test {
protected:
    void SetUp() override {
        const std::filesystem::path file = support::PluginPath();
        DWORD ignored = 0;
        bytes_.resize(GetFileVersionInfoSizeW(file.c_str(), &ignored));
        ASSERT_FALSE(bytes_.empty());
        ASSERT_TRUE(GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(bytes_.size()), bytes_.data()));
    }

    // The value of an entry; null if there is no such entry.
    const void* Find(const std::wstring& name) const {
        void* found = nullptr;
        UINT size = 0;
        return VerQueryValueW(bytes_.data(), name.c_str(), &found, &size) && size > 0 ? found : nullptr;
    }

    std::string Text(const std::wstring& name) const {
        const auto* text = static_cast<const wchar_t*>(Find(L"\\StringFileInfo\\040904B0\\" + name));
        return text != nullptr ? std::filesystem::path(text).string() : "none";
    }

private:
    std::vector<unsigned char> bytes_;
};

TEST_F(VersionResource, CarriesTheVersionAsNumbers) {
    const auto* info = static_cast<const VS_FIXEDFILEINFO*>(Find(L"\\"));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->dwSignature, 0xFEEF04BDu);
    constexpr DWORD kVersion = NUV_VERSION_MAJOR << 16 | NUV_VERSION_MINOR;
    EXPECT_EQ(std::pair(info->dwFileVersionMS, info->dwFileVersionLS), std::pair(kVersion, DWORD{0}));
    EXPECT_EQ(std::pair(info->dwProductVersionMS, info->dwProductVersionLS), std::pair(kVersion, DWORD{0}));
    EXPECT_EQ(info->dwFileType, static_cast<DWORD>(VFT_DLL));
}

TEST_F(VersionResource, CarriesTheVersionAndTheNamesAsText) {
    EXPECT_EQ(Text(L"FileVersion"), "2.0");
    EXPECT_EQ(Text(L"ProductVersion"), "2.0");
    EXPECT_EQ(Text(L"ProductName"), "NUV Chromatic Aberration");
    EXPECT_EQ(Text(L"FileDescription"), "NUV Chromatic Aberration, an effect for After Effects and Premiere Pro");
    EXPECT_EQ(Text(L"CompanyName"), "The NUV Chromatic Aberration authors");
    EXPECT_EQ(Text(L"OriginalFilename"), "nuv_chromaber.aex");
    EXPECT_EQ(Text(L"OriginalFilename"), support::PluginPath().filename().string());
}

}  // namespace
