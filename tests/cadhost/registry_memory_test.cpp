// CFRegistry and memory: damaged archives ask for no more than their bytes justify, and memory that runs out while an
// object is stored or loaded ends in a failure that changes nothing.
#include <string>

#include "kvtfile/Registry.h"
#include "tests/cadhost/test_key.h"
#include "tests/config/failing_new.h"

namespace {

using namespace std::string_literals;
using kvtfile::CFRegistry;
using kvttest::FailAllocation;
using kvttest::LargestAllocation;
using kvttest::TestKey;

TEST(RegistryMemory, AbsurdCountsAskForNoMemory) {
    const std::string damaged[] = {
        "\xFE\xFF"s,
        "\xFF\xFF\xFF\xFF\xFF\x7F\0\0\0\0"s,
        "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F"s,
        "\x01\0\xFF\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F"s,
        "\xFF\xFF\xFF\x7F\x01\0"s,
    };
    const TestKey key;
    CFRegistry registry(0, 0);
    ASSERT_EQ(registry.Open(key.Path()), 1);
    for (const std::string& bytes : damaged) {
        SCOPED_TRACE(kvttest::Hex(bytes));
        key.Put(_T("v"), REG_BINARY, bytes);
        CByteArray array;
        CWordArray words;
        CDWordArray numbers;
        CStringArray texts;
        CStringList textList;
        CObList objects;
        CObject* object = nullptr;
        LargestAllocation();
        registry.Read(_T("v"), array);
        EXPECT_EQ(registry.Read(_T("v"), words), 0);
        registry.Read(_T("v"), numbers);
        EXPECT_EQ(registry.Read(_T("v"), texts), 0);
        EXPECT_EQ(registry.Read(_T("v"), textList), 0);
        EXPECT_EQ(registry.Read(_T("v"), objects), 0);
        EXPECT_EQ(registry.Read(_T("v"), object), 0);
        EXPECT_LE(LargestAllocation(), 16384u) << "blocks of a fixed size alone";
    }
}

TEST(RegistryMemory, StoringWithoutMemoryWritesNothing) {
    const TestKey key;
    CFRegistry registry(0, 0);
    ASSERT_EQ(registry.Open(key.Path()), 1);
    CStringArray texts;
    texts.Add(_T("A"));
    int allocation = 0;
    for (bool failed = true; failed; ++allocation) {
        key.Put(_T("v"), REG_BINARY, "x");
        FailAllocation(allocation);
        const int written = registry.Write(_T("v"), texts);
        FailAllocation(-1);
        failed = !written;
        EXPECT_EQ(key.Shown(_T("v")), written ? "3: 01 00 FF FE FF 01 41 00" : "3: 78") << allocation;
        ASSERT_LT(allocation, 1000);
    }
    EXPECT_GT(allocation, 2);
}

TEST(RegistryMemory, LoadingWithoutMemoryFails) {
    const TestKey key;
    const std::string bytes =
        "\x02\0\xFF\xFE\xFF\x01"
        "A\0\xFF\xFE\xFF\x01"
        "B\0"s;
    key.Put(_T("v"), REG_BINARY, bytes);
    CFRegistry registry(0, 0);
    ASSERT_EQ(registry.Open(key.Path()), 1);
    int allocation = 0;
    for (bool failed = true; failed; ++allocation) {
        CStringArray texts;
        FailAllocation(allocation);
        const int read = registry.Read(_T("v"), texts);
        FailAllocation(-1);
        failed = !read;
        EXPECT_EQ(read ? texts.GetSize() : 2, 2) << allocation;
        ASSERT_LT(allocation, 1000);
    }
    EXPECT_GT(allocation, 2);
}

}  // namespace
