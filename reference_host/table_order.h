// For tables with one row for each value of an enumeration.
#pragma once

#include <cstddef>

namespace refhost {

// Whether the key of each row is the enumeration's value with the row's number. If the table has as many rows as
// the enumeration has values, the table is then complete: a forgotten row would lie at the end and have the first
// value.
template <class Table, class Row, class Key>
constexpr bool HasRowForEach(const Table& table, Key Row::*key) {
    std::size_t place = 0;
    for (const Row& row : table) {
        if (row.*key != static_cast<Key>(place++)) return false;
    }
    return true;
}

}  // namespace refhost
