// The encoding-name table: its packed form, every row, collisions and misses.

#include "xml/encoding_names.h"

#include "tests/xml/packed_rows.h"

namespace {

using kvttest::Characters;
using kvttest::NamedNumber;

const std::vector<NamedNumber> g_rows = {
#include "xml/encoding_names_data.inc"
};

int Lookup(std::string_view name) {
    return kvtfile::LookupEncoding(Characters(name).c_str(), static_cast<int>(name.size()));
}

TEST(EncodingNames, RowsAreThoseOfTheCodePageServices) {
    EXPECT_EQ(g_rows.size(), 254u);
    EXPECT_EQ(kvttest::Fingerprint(g_rows), 0xE9A735C77076EE7Cu);
}

TEST(EncodingNames, BucketsHoldTheirRowsPackedBackToBack) {
    int used = 0;
    for (int bucket = 0; bucket < kvtfile::encodingBucketCount; ++bucket) {
        const std::string expected = kvttest::PackedBucket(g_rows, bucket, 150, 2, 5);
        EXPECT_EQ(kvttest::Utf8(CString(kvtfile::EncodingBucket(bucket))), expected);
        used += expected.empty() ? 0 : 1;
    }
    EXPECT_EQ(kvtfile::encodingBucketCount, 150);
    EXPECT_EQ(used, 128);
}

TEST(EncodingNames, EntryIsLengthCodePageAndName) {
    const char* const name = "x-ebcdic-international-euro";
    const CString bucket = kvtfile::EncodingBucket(kvttest::HashOf(name, 150));
    EXPECT_GE(bucket.Find(_T("2701148x-ebcdic-international-euro")), 0);
}

TEST(EncodingNames, EveryRowIsFound) {
    for (const NamedNumber& row : g_rows) {
        EXPECT_EQ(Lookup(row.name), row.number) << row.name;
    }
}

TEST(EncodingNames, NamesOfTheSameLettersAreToldApart) {
    // One bucket, one length, different names.
    EXPECT_EQ(kvttest::HashOf("iso-8859-1", 150), kvttest::HashOf("iso-8895-1", 150));
    EXPECT_EQ(Lookup("iso-8859-1"), 28591);
    EXPECT_EQ(Lookup("iso-8895-1"), -1);
    EXPECT_EQ(Lookup("windows-1252"), 1252);
    EXPECT_EQ(Lookup("windows-1225"), -1);
}

TEST(EncodingNames, OtherNamesAreMissed) {
    for (const char* name : {"", "u", "utf-88", "utf-", "UTF-8", "0565001utf-8", "65001"}) {
        EXPECT_EQ(Lookup(name), -1) << name;
    }
    const WCHAR beyond[] = {0x4E2D, 0xFFFF, 0};
    EXPECT_EQ(kvtfile::LookupEncoding(beyond, 2), -1);
}

}  // namespace
