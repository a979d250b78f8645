// The entity table, packed at compile time, and its lookup. Of two names that differ only in case the capital form
// stands first in its bucket, and so is the one found.

#include "xml/entities.h"

#include <iterator>

#include "xml/packed_table.h"

namespace kvtfile {

namespace {

constexpr NamedNumber g_rows[] = {
#include "xml/entities_data.inc"
};

consteval bool CapitalFormsComeFirst() {
    for (std::size_t i = 1; i < std::size(g_rows); ++i) {
        if (g_rows[i].name <= g_rows[i - 1].name) {
            return false;
        }
    }
    return true;
}
static_assert(CapitalFormsComeFirst());

constexpr PackedLayout g_layout{entityBucketCount, 1, 4};
constexpr PackedTable<g_layout, g_rows> g_table;

}  // namespace

LPCWSTR EntityBucket(int index) {
    return g_table.Bucket(index);
}

int LookupEntity(const WCHAR* name, int length) {
    const int found = g_table.Find(name, length);
    return found < 0 ? 0 : found;
}

}  // namespace kvtfile
