// A file that notices if bytes cannot be written, for picture writers that do not check it.
#pragma once

#include <OpenImageIO/filesystem.h>

#include <cstdio>
#include <string>
#include <utility>

namespace nuvhost {

// Destroy it after the writer that uses it.
class CheckedFile : public OIIO::Filesystem::IOFile {
public:
    explicit CheckedFile(const std::string& name) : IOFile(name, Write) {}

    // The name must not be "file", because writers bypass write() for a plain file.
    const char* proxytype() const override { return "checked"; }
    std::size_t write(const void* bytes, std::size_t size) override {
        return Checked(IOFile::write(bytes, size), size);
    }
    std::size_t pwrite(const void* bytes, std::size_t size, std::int64_t offset) override {
        return Checked(IOFile::pwrite(bytes, size, offset), size);
    }

    void close() override { Close(); }

    bool made() const { return handle() != nullptr; }
    // Closes the file and returns whether every byte was written. Some file systems report an error only now. Call
    // it when no writer uses the file any more.
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
