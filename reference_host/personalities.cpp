#include "reference_host/personalities.h"

#include <stdexcept>
#include <string>

namespace refhost {

const PersonalityTraits& TraitsOf(Personality personality) {
    const auto index = static_cast<std::size_t>(personality);
    if (index >= kPersonalities.size())
        throw std::invalid_argument("no host has personality " + std::to_string(index));
    return kPersonalities[index];
}

std::string_view NameOf(Personality personality) {
    return TraitsOf(personality).name;
}

Personality PersonalityNamed(std::string_view word) {
    for (const PersonalityTraits& row : kPersonalities) {
        if (word == row.name || word == row.application) return row.personality;
    }
    throw std::invalid_argument("\"" + std::string(word) + "\" names no host");
}

}  // namespace refhost
