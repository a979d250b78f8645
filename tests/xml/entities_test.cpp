// The entity table: its packed form, every row, collisions and misses.

#include "xml/entities.h"

#include <algorithm>
#include <map>

#include "tests/xml/packed_rows.h"

namespace {

using kvttest::Characters;
using kvttest::Lowered;
using kvttest::NamedNumber;

const std::vector<NamedNumber> g_rows = {
#include "xml/entities_data.inc"
};

int Lookup(std::string_view name) {
    return kvtfile::LookupEntity(Characters(name).c_str(), static_cast<int>(name.size()));
}

TEST(Entities, RowsAreThoseOfHtml) {
    EXPECT_EQ(g_rows.size(), 253u);
    EXPECT_EQ(kvttest::Fingerprint(g_rows), 0x50EDBC18610E8D8Eu);
}

TEST(Entities, BucketsHoldTheirRowsPackedBackToBack) {
    int used = 0;
    for (int bucket = 0; bucket < kvtfile::entityBucketCount; ++bucket) {
        const std::string expected = kvttest::PackedBucket(g_rows, bucket, 130, 1, 4);
        EXPECT_EQ(kvttest::Utf8(CString(kvtfile::EntityBucket(bucket))), expected);
        used += expected.empty() ? 0 : 1;
    }
    EXPECT_EQ(kvtfile::entityBucketCount, 130);
    EXPECT_EQ(used, 93);
}

TEST(Entities, EntryIsLengthCodePointAndName) {
    const CString bucket = kvtfile::EntityBucket(kvttest::HashOf("oslash", 130));
    EXPECT_GE(bucket.Find(_T("60216oslash")), 0);
}

TEST(Entities, CapitalFormComesFirstInItsBucket) {
    const CString bucket = kvtfile::EntityBucket(kvttest::HashOf("oslash", 130));
    EXPECT_GE(bucket.Find(_T("60216oslash")), 0);
    EXPECT_GT(bucket.Find(_T("60248oslash")), bucket.Find(_T("60216oslash")));
}

TEST(Entities, EveryNameIsFoundAsItsFirstForm) {
    std::map<std::string, int> first;
    for (const NamedNumber& row : g_rows) {
        first.emplace(Lowered(row.name), row.number);
    }
    EXPECT_EQ(first.size(), 253u - 64u);
    for (const auto& [name, number] : first) {
        EXPECT_EQ(Lookup(name), number) << name;
    }
}

TEST(Entities, KnownNamesHaveTheirCodePoints) {
    EXPECT_EQ(Lookup("lt"), '<');
    EXPECT_EQ(Lookup("gt"), '>');
    EXPECT_EQ(Lookup("amp"), '&');
    EXPECT_EQ(Lookup("apos"), '\'');
    EXPECT_EQ(Lookup("quot"), '"');
    EXPECT_EQ(Lookup("nbsp"), 0xA0);
    EXPECT_EQ(Lookup("euro"), 0x20AC);
    EXPECT_EQ(Lookup("oslash"), 0xD8);
    EXPECT_EQ(Lookup("larr"), 0x21D0);
}

TEST(Entities, NamesOfOneBucketAreToldApart) {
    std::map<int, std::vector<std::string>> byBucket;
    for (const NamedNumber& row : g_rows) {
        byBucket[kvttest::HashOf(row.name, 130)].push_back(Lowered(row.name));
    }
    const auto fullest = std::max_element(byBucket.begin(), byBucket.end(), [](const auto& a, const auto& b) {
        return a.second.size() < b.second.size();
    });
    ASSERT_GT(fullest->second.size(), 2u);
    for (const std::string& name : fullest->second) {
        EXPECT_NE(Lookup(name), 0) << name;
        std::string other = name;
        std::reverse(other.begin(), other.end());
        if (other != name) {
            EXPECT_EQ(Lookup(other), 0) << other;
        }
    }
}

TEST(Entities, OtherNamesAreMissed) {
    for (const char* name : {"", "l", "ltt", "unknown", "oslash1", "oslas", "60216oslash", "LT", "0060lt"}) {
        EXPECT_EQ(Lookup(name), 0) << name;
    }
    const WCHAR beyond[] = {0x4E2D, 0xFFFF, 0};
    EXPECT_EQ(kvtfile::LookupEntity(beyond, 2), 0);
}

}  // namespace
