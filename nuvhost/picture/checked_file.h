// A file for picture writers that do not ask whether their bytes reached the disk.
#pragma once

#include <OpenImageIO/filesystem.h>

#include <cstdio>
#include <string>

namespace nuvhost {

// Outlives the writer that it is given to.
class CheckedFile : public OIIO::Filesystem::IOFile {
public:
    explicit CheckedFile(const std::string& name) : IOFile(name, Write) {}

    // Not "file": writers that know a plain file go around write().
    const char* proxytype() const override { return "checked"; }
    std::size_t write(const void* bytes, std::size_t size) override {
        return Checked(IOFile::write(bytes, size), size);
    }
    std::size_t pwrite(const void* bytes, std::size_t size, std::int64_t offset) override {
        return Checked(IOFile::pwrite(bytes, size, offset), size);
    }

    // Whether the file could be made and has taken every byte so far.
    bool Complete() {
        return handle() != nullptr && std::fflush(handle()) == 0 && std::ferror(handle()) == 0 && complete_;
    }

private:
    std::size_t Checked(std::size_t written, std::size_t size) {
        complete_ = complete_ && written == size;
        return written;
    }

    bool complete_ = true;
};

}  // namespace nuvhost
