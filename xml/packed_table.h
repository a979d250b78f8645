#pragma once

// Tables of names and numbers, packed into hash buckets while compiling.
//
// A bucket is a wide text of entries written back to back and ended by NUL. An entry is the name's length and the
// number, each in a fixed count of decimal digits, and then the name in small letters. A name's bucket is the sum of
// its characters modulo the number of buckets. Rows keep their order within a bucket, and a search takes the first
// match.

#include <array>
#include <cstddef>
#include <iterator>
#include <string_view>

#include "kvtfile/types.h"

namespace kvtfile {

/// A readable row of a table.
struct NamedNumber {
    std::string_view name;
    int number;
};

constexpr char FoldAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// What tells one table's layout from another's.
struct PackedLayout {
    int buckets;
    int lengthDigits;
    int numberDigits;

    constexpr int BucketOf(std::string_view name) const {
        int sum = 0;
        for (const char c : name) {
            sum += FoldAscii(c);
        }
        return sum % buckets;
    }
    constexpr std::size_t EntryLength(std::string_view name) const {
        return static_cast<std::size_t>(lengthDigits + numberDigits) + name.size();
    }
};

constexpr bool FitsDigits(std::size_t value, int digits) {
    for (; digits > 0; --digits) {
        value /= 10;
    }
    return value == 0;
}

/// The packed form of `Rows`, an array of NamedNumber.
template <PackedLayout Layout, const auto& Rows>
class PackedTable {
public:
    static constexpr int bucketCount = Layout.buckets;

    consteval PackedTable() {
        std::array<int, std::size(Rows)> buckets{};
        for (std::size_t i = 0; i < buckets.size(); ++i) {
            buckets[i] = Layout.BucketOf(Rows[i].name);
        }
        std::size_t at = 0;
        for (int bucket = 0; bucket < Layout.buckets; ++bucket) {
            m_starts[static_cast<std::size_t>(bucket)] = at;
            for (std::size_t i = 0; i < buckets.size(); ++i) {
                if (buckets[i] == bucket) {
                    at = Pack(Rows[i], at);
                }
            }
            m_pool[at++] = 0;
        }
    }

    /// The packed entries of a bucket.
    constexpr LPCWSTR Bucket(int index) const { return &m_pool[m_starts[static_cast<std::size_t>(index)]]; }

    /// The number of the first entry with this name, which stands in small letters; -1 when there is none.
    int Find(const WCHAR* name, int length) const {
        unsigned sum = 0;
        for (int i = 0; i < length; ++i) {
            sum += name[i];
        }
        const WCHAR* entry = Bucket(static_cast<int>(sum % static_cast<unsigned>(Layout.buckets)));
        while (*entry != 0) {
            const int entryLength = ReadDigits(entry, Layout.lengthDigits);
            const int number = ReadDigits(entry, Layout.numberDigits);
            if (entryLength == length && std::basic_string_view<WCHAR>(entry, static_cast<std::size_t>(length)) ==
                                             std::basic_string_view<WCHAR>(name, static_cast<std::size_t>(length))) {
                return number;
            }
            entry += entryLength;
        }
        return -1;
    }

private:
    static consteval std::size_t PoolSize() {
        std::size_t size = static_cast<std::size_t>(Layout.buckets);
        for (const NamedNumber& row : Rows) {
            size += Layout.EntryLength(row.name);
        }
        return size;
    }

    consteval std::size_t Pack(const NamedNumber& row, std::size_t at) {
        if (!FitsDigits(row.name.size(), Layout.lengthDigits) ||
            !FitsDigits(static_cast<std::size_t>(row.number), Layout.numberDigits)) {
            throw "a row does not fit the digits of its table";
        }
        at = PackDigits(row.name.size(), Layout.lengthDigits, at);
        at = PackDigits(static_cast<std::size_t>(row.number), Layout.numberDigits, at);
        for (const char c : row.name) {
            m_pool[at++] = static_cast<WCHAR>(FoldAscii(c));
        }
        return at;
    }

    consteval std::size_t PackDigits(std::size_t value, int digits, std::size_t at) {
        for (int i = digits - 1; i >= 0; --i) {
            m_pool[at + static_cast<std::size_t>(i)] = static_cast<WCHAR>('0' + value % 10);
            value /= 10;
        }
        return at + static_cast<std::size_t>(digits);
    }

    static int ReadDigits(const WCHAR*& p, int digits) {
        int value = 0;
        for (; digits > 0; --digits) {
            value = value * 10 + (*p++ - '0');
        }
        return value;
    }

    std::array<WCHAR, PoolSize()> m_pool{};
    std::array<std::size_t, static_cast<std::size_t>(Layout.buckets)> m_starts{};
};

}  // namespace kvtfile
