// replay FILE_OR_FOLDER…: plays the inputs in these files as the fuzzer would, but needs no libFuzzer.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "play.h"

namespace {

using Paths = std::vector<std::filesystem::path>;

Paths FilesIn(const std::filesystem::path& path) {
    if (!std::filesystem::is_directory(path)) return {path};
    Paths files;
    for (const auto& entry : std::filesystem::directory_iterator(path))
        files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

bool PlayFile(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<std::uint8_t> input{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) {
        std::fprintf(stderr, "replay: cannot read %s\n", file.string().c_str());
        return false;
    }
    fuzz::Play(input);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    int played = 0, unreadable = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& file : FilesIn(argv[i])) {
            std::fprintf(stderr, "%s\n", file.filename().string().c_str());  // a crash belongs to the last name
            ++(PlayFile(file) ? played : unreadable);
        }
    }
    std::printf("%d inputs, as promised\n", played);
    return played > 0 && unreadable == 0 ? 0 : 1;
}
