// A file for picture writers that do not ask whether their bytes reached the disk.
#pragma once

#include <OpenImageIO/filesystem.h>

#include <cstdio>
#include <string>
#include <utility>

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

    void close() override { Close(); }

    bool made() const { return handle() != nullptr; }
    // Whether the file has taken every byte, which some file systems know only now. No writer uses it any more.
    bool Close() {
        if (std::FILE* const file = std::exchange(m_file, nullptr)) {
            complete_ = std::ferror(file) == 0 && complete_;
            complete_ = std::fclose(file) == 0 && complete_;
        }
        return complete_;
    }

private:
    std::size_t Checked(std::size_t written, std::size_t size) {
        complete_ = complete_ && written == size;
        return written;
    }

    bool complete_ = true;
};

}  // namespace nuvhost
