// The property list of the linked library. A host reads it before it runs any code of the library.
#include <windows.h>

#include <array>
#include <filesystem>
#include <map>

#include "support/plugin_path.h"
#include "support/protocol_support.h"

namespace {

using namespace protocol;

// Numbers are little-endian. The bytes of four-character codes are stored in reverse order.
// clang-format off
constexpr std::array<unsigned char, 294> kPropertyList = {
    // Format marker 1, version 0, 12 properties.
    1, 0, 0, 0, 0, 0, 12, 0, 0, 0,
    // kind: eFKT
    'M', 'I', 'B', '8', 'd', 'n', 'i', 'k', 0, 0, 0, 0, 4, 0, 0, 0,
    'T', 'K', 'F', 'e',
    // name: 24 characters, padded to 28 bytes
    'M', 'I', 'B', '8', 'e', 'm', 'a', 'n', 0, 0, 0, 0, 28, 0, 0, 0,
    24, 'N', 'U', 'V', ' ', 'C', 'h', 'r', 'o', 'm', 'a', 't', 'i', 'c', ' ',
    'A', 'b', 'e', 'r', 'r', 'a', 't', 'i', 'o', 'n', 0, 0, 0,
    // catg
    'M', 'I', 'B', '8', 'g', 't', 'a', 'c', 0, 0, 0, 0, 4, 0, 0, 0,
    3, 'N', 'U', 'V',
    // 8664: zero-terminated, padded to 12 bytes
    'M', 'I', 'B', '8', '4', '6', '6', '8', 0, 0, 0, 0, 12, 0, 0, 0,
    'E', 'f', 'f', 'e', 'c', 't', 'M', 'a', 'i', 'n', 0, 0,
    // ePVR: 2.0
    'M', 'I', 'B', '8', 'R', 'V', 'P', 'e', 0, 0, 0, 0, 4, 0, 0, 0,
    2, 0, 0, 0,
    // eSVR: 13.27
    'M', 'I', 'B', '8', 'R', 'V', 'S', 'e', 0, 0, 0, 0, 4, 0, 0, 0,
    13, 0, 27, 0,
    // eVER: 0x00100001
    'M', 'I', 'B', '8', 'R', 'E', 'V', 'e', 0, 0, 0, 0, 4, 0, 0, 0,
    0x01, 0x00, 0x10, 0x00,
    // eINF: 2 bytes, padded to 4
    'M', 'I', 'B', '8', 'F', 'N', 'I', 'e', 0, 0, 0, 0, 2, 0, 0, 0,
    0, 0, 0, 0,
    // eGLO: 0x06008244
    'M', 'I', 'B', '8', 'O', 'L', 'G', 'e', 0, 0, 0, 0, 4, 0, 0, 0,
    0x44, 0x82, 0x00, 0x06,
    // eGL2: 0x08021488
    'M', 'I', 'B', '8', '2', 'L', 'G', 'e', 0, 0, 0, 0, 4, 0, 0, 0,
    0x88, 0x14, 0x02, 0x08,
    // eMNA: 13 characters, padded to 16 bytes
    'M', 'I', 'B', '8', 'A', 'N', 'M', 'e', 0, 0, 0, 0, 16, 0, 0, 0,
    13, 'n', 'u', 'v', '_', 'c', 'h', 'r', 'o', 'm', 'a', 'b', 'e', 'r', 0, 0,
    // aeFL: 8
    'M', 'I', 'B', '8', 'L', 'F', 'e', 'a', 0, 0, 0, 0, 4, 0, 0, 0,
    8, 0, 0, 0,
};
// clang-format on

class PropertyList : public testing::Test {
protected:
    void SetUp() override {
        module_ = LoadLibraryExW(support::PluginPath().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
        ASSERT_NE(module_, nullptr);
        const HRSRC found = FindResourceExW(module_, L"PIPL", MAKEINTRESOURCEW(16000), 1033);
        ASSERT_NE(found, nullptr);
        const HGLOBAL loaded = LoadResource(module_, found);
        ASSERT_NE(loaded, nullptr);
        const auto* first = static_cast<const unsigned char*>(LockResource(loaded));
        ASSERT_NE(first, nullptr);
        bytes.assign(first, first + SizeofResource(module_, found));
    }
    void TearDown() override {
        if (module_ != nullptr) FreeLibrary(module_);
    }

    std::uint32_t Number(std::size_t offset) const {
        std::uint32_t number = 0;
        if (offset + sizeof number <= bytes.size()) std::memcpy(&number, bytes.data() + offset, sizeof number);
        return number;
    }

    // The first 32-bit number of each property's data, by the property's key.
    std::map<std::string, std::uint32_t> Properties() const {
        std::map<std::string, std::uint32_t> properties;
        std::size_t offset = 10;
        while (offset + 16 <= bytes.size()) {
            std::string key(bytes.begin() + static_cast<std::ptrdiff_t>(offset) + 4,
                            bytes.begin() + static_cast<std::ptrdiff_t>(offset) + 8);
            std::ranges::reverse(key);
            properties[key] = Number(offset + 16);
            offset += 16 + (Number(offset + 12) + 3) / 4 * 4;
        }
        EXPECT_EQ(offset, bytes.size()) << "the properties fill the resource";
        return properties;
    }

    std::vector<unsigned char> bytes;

private:
    HMODULE module_ = nullptr;
};

TEST_F(PropertyList, HasThese294Bytes) {
    EXPECT_EQ(bytes.size(), 294u);
    EXPECT_EQ(bytes, std::vector<unsigned char>(kPropertyList.begin(), kPropertyList.end()));
}

TEST_F(PropertyList, HoldsTwelveProperties) {
    EXPECT_EQ(Number(6), 12u);
    EXPECT_EQ(Properties().size(), 12u);
}

TEST_F(PropertyList, AgreesWithGlobalSetupInTheCompositor) {
    refhost::Host host(Binary(), InOrder());
    ASSERT_EQ(host.GlobalSetup(), PF_Err_NONE);
    auto properties = Properties();
    EXPECT_EQ(properties["eVER"], host.outData().my_version);
    EXPECT_EQ(properties["eGLO"], static_cast<std::uint32_t>(host.outData().out_flags));
    EXPECT_EQ(properties["eGL2"], static_cast<std::uint32_t>(host.outData().out_flags2));
}

TEST_F(PropertyList, AgreesWithTheRegistration) {
    const auto registration = refhost::Host(Binary(), InOrder()).Scan();
    const std::string text(bytes.begin(), bytes.end());
    for (const auto& name : {registration.name, registration.matchName, registration.category}) {
        EXPECT_NE(text.find(static_cast<char>(name.size()) + name), std::string::npos) << name;
    }
    EXPECT_NE(text.find(registration.entryPoint + '\0'), std::string::npos);
    auto properties = Properties();
    EXPECT_EQ(properties["kind"], static_cast<std::uint32_t>(registration.kind));
    EXPECT_EQ(properties["eSVR"], static_cast<std::uint32_t>(registration.apiMajor | registration.apiMinor << 16));
    EXPECT_EQ(properties["aeFL"], static_cast<std::uint32_t>(registration.reserved));
}

}  // namespace
