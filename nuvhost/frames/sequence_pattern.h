// File names that stand for a sequence of pictures.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace nuvhost {

// A path with a place for the frame's number, at least so many digits wide, padded with zeros:
//   #       four digits; a run of two or more has as many digits as it is long, so #### is four as well
//   @       one digit; a run as above
//   %04d    as printf has it; %d has one digit
// A minus sign counts as a digit: frame -5 at four digits is -005. Folders are taken as they are if the file's own
// name has the place.
class SequencePattern {
public:
    // nullopt if the path has no such place. Throws UsageError if the file's name, or else its folders, has more
    // than one.
    static std::optional<SequencePattern> Parse(const std::filesystem::path& path);

    std::filesystem::path At(int frame) const;
    // The frames whose files or folders exist, in ascending order. Throws std::runtime_error if the folder to look
    // in cannot be read.
    std::vector<int> Existing() const;

private:
    std::string before_, after_;
    int width_ = 1;
};

}  // namespace nuvhost
