// The encoding-name table, packed at compile time, and its lookup.

#include "xml/encoding_names.h"

#include "xml/packed_table.h"

namespace kvtfile {

namespace {

constexpr NamedNumber g_rows[] = {
#include "xml/encoding_names_data.inc"
};

constexpr PackedLayout g_layout{encodingBucketCount, 2, 5};
constexpr PackedTable<g_layout, g_rows> g_table;

}  // namespace

LPCWSTR EncodingBucket(int index) {
    return g_table.Bucket(index);
}

int LookupEncoding(const WCHAR* name, int length) {
    return g_table.Find(name, length);
}

}  // namespace kvtfile
