// The property list in the file's resources, which hosts read before they run any of its code. Only Windows has
// resources.
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "validator/registry.h"

namespace validator {
namespace {

using Bytes = std::vector<unsigned char>;

// The file's resources. The file is loaded as data only, so that none of its code runs.
class Resources {
public:
    explicit Resources(const std::filesystem::path& file)
        : module_(LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE)) {}
    ~Resources() {
        if (module_ != nullptr) FreeLibrary(module_);
    }
    Resources(const Resources&) = delete;
    Resources& operator=(const Resources&) = delete;

    // Empty if there is none.
    Bytes PropertyList() const {
        const HRSRC found = FindResourceW(module_, MAKEINTRESOURCEW(16000), L"PIPL");
        const HGLOBAL loaded = found != nullptr ? LoadResource(module_, found) : nullptr;
        const auto* const first =
            static_cast<const unsigned char*>(loaded != nullptr ? LockResource(loaded) : nullptr);
        return first != nullptr ? Bytes(first, first + SizeofResource(module_, found)) : Bytes{};
    }

    int PropertyLists() const {
        int count = 0;
        const auto countOne = [](HMODULE, LPCWSTR, LPWSTR, LONG_PTR number) -> BOOL {
            ++*reinterpret_cast<int*>(number);
            return TRUE;
        };
        EnumResourceNamesW(module_, L"PIPL", countOne, reinterpret_cast<LONG_PTR>(&count));
        return count;
    }

private:
    HMODULE module_;
};

std::uint32_t Number(const Bytes& bytes, std::size_t offset) {
    std::uint32_t number = 0;
    if (offset + sizeof number <= bytes.size()) std::memcpy(&number, bytes.data() + offset, sizeof number);
    return number;
}

// The properties' data by key, for example "eVER". Numbers are little-endian. The file has the characters of a key
// in reverse order.
struct PropertyList {
    std::map<std::string, Bytes> properties;
    std::string flaw;  // what is wrong with the whole list; empty if nothing is

    explicit PropertyList(const Bytes& bytes) {
        constexpr std::size_t kHead = 10, kPropertyHead = 16;
        std::size_t offset = kHead;
        while (offset + kPropertyHead <= bytes.size()) {
            const std::size_t length = Number(bytes, offset + 12);
            if (length > bytes.size() - offset - kPropertyHead) break;
            const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
            std::string key(first + 4, first + 8);
            std::ranges::reverse(key);
            properties[key] =
                Bytes(first + kPropertyHead, first + kPropertyHead + static_cast<std::ptrdiff_t>(length));
            offset += kPropertyHead + (length + 3) / 4 * 4;
        }
        const std::uint32_t count = Number(bytes, 6);
        if (bytes.size() < kHead || Number(bytes, 0) != 1) {
            flaw = "it does not begin with the number 1";
        } else if (offset != bytes.size()) {
            flaw = "its properties do not fill it";
        } else if (properties.size() != count) {
            flaw =
                "it holds " + std::to_string(properties.size()) + " properties, but says " + std::to_string(count);
        }
    }

    std::uint32_t NumberOf(const std::string& key) const {
        const auto found = properties.find(key);
        return found == properties.end() ? 0 : Number(found->second, 0);
    }
    // A string that begins with its length.
    std::string TextOf(const std::string& key) const {
        const auto found = properties.find(key);
        if (found == properties.end() || found->second.empty()) return "";
        const Bytes& data = found->second;
        const std::size_t length = std::min<std::size_t>(data[0], data.size() - 1);
        return {data.begin() + 1, data.begin() + 1 + static_cast<std::ptrdiff_t>(length)};
    }
    // A string that ends with a zero byte.
    std::string EntryPoint() const {
        const auto found = properties.find("8664");
        if (found == properties.end()) return "";
        return {found->second.begin(), std::ranges::find(found->second, 0)};
    }
};

PropertyList Read(Context& context) {
    const PropertyList list(Resources(context.plugin()).PropertyList());
    return list;
}

void IsThereOnce(Context& context) {
    const int count = Resources(context.plugin()).PropertyLists();
    context.Expect(count == 1, "the file has " + std::to_string(count) + " property lists");
}

void IsWellFormed(Context& context) {
    const PropertyList list = Read(context);
    context.Expect(list.flaw.empty(), "the property list is damaged: " + list.flaw);
    for (const char* key : {"kind", "name", "catg", "8664", "ePVR", "eSVR", "eVER", "eGLO", "eGL2", "eMNA"})
        context.Expect(list.properties.contains(key), std::string("the property ") + key + " is missing");
}

void AgreesWithRegistration(Context& context) {
    const PropertyList list = Read(context);
    const auto registration = refhost::Host(context.Load(), context.HostOptions()).Scan();
    const auto expectText = [&](const char* key, const std::string& registered) {
        context.Expect(list.TextOf(key) == registered,
                       std::string(key) + " is \"" + list.TextOf(key) + "\", registered is \"" + registered + "\"");
    };
    expectText("name", registration.name);
    expectText("catg", registration.category);
    expectText("eMNA", registration.matchName);
    context.Expect(list.NumberOf("kind") == static_cast<std::uint32_t>(registration.kind), "the kind differs");
    context.Expect(
        list.NumberOf("eSVR") == static_cast<std::uint32_t>(registration.apiMajor | registration.apiMinor << 16),
        "the version of the effect interface differs");
}

void AgreesOnTheEntryPoint(Context& context) {
    const std::string listed = Read(context).EntryPoint();
    const std::string registered = refhost::Host(context.Load(), context.HostOptions()).Scan().entryPoint;
    context.Expect(listed == registered, "8664 is \"" + listed + "\", registered is \"" + registered + "\"");
}

void AgreesWithGlobalSetup(Context& context) {
    const PropertyList list = Read(context);
    refhost::Host host(context.Load(), context.HostOptions());
    context.Require(host.GlobalSetup() == PF_Err_NONE, "global set-up fails");
    const auto expect = [&](const char* key, std::uint32_t said) {
        context.Expect(list.NumberOf(key) == said, std::string(key) + " is " + std::to_string(list.NumberOf(key)) +
                                                       ", global set-up says " + std::to_string(said));
    };
    expect("eVER", host.outData().my_version);
    expect("eGLO", static_cast<std::uint32_t>(host.outData().out_flags));
    expect("eGL2", static_cast<std::uint32_t>(host.outData().out_flags2));
}

constexpr Check kChecks[] = {
    {"property-list.once", "The file has exactly one property list.", Where::compositor, IsThereOnce},
    {"property-list.well-formed", "The property list is whole and holds every property that hosts read.",
     Where::compositor, IsWellFormed},
    {"property-list.registration", "The property list and the registration name the same effect.",
     Where::compositor, AgreesWithRegistration},
    {"property-list.entry-point", "The property list and the registration name the same entry point.",
     Where::compositor, AgreesOnTheEntryPoint},
    {"property-list.global-setup", "The property list has the version and the flags of global set-up.",
     Where::compositor, AgreesWithGlobalSetup},
};

}  // namespace

std::span<const Check> PropertyListChecks() {
    return kChecks;
}

}  // namespace validator
