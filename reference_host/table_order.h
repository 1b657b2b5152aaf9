// For tables with one row for each value of an enumeration.
#pragma once

#include <cstddef>

namespace refhost {

// Whether each row carries the value of its place. A table with as many rows as the enumeration has values is then
// complete: a row that was forgotten is left at the first value.
template <class Table, class Row, class Key>
constexpr bool HasRowForEach(const Table& table, Key Row::*key) {
    std::size_t place = 0;
    for (const Row& row : table) {
        if (row.*key != static_cast<Key>(place++)) return false;
    }
    return true;
}

}  // namespace refhost
