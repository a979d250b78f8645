#pragma once

// What the tests of the packed tables share: the rows as they stand in the source, and a reader of packed buckets.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/support.h"

namespace kvttest {

struct NamedNumber {
    std::string_view name;
    int number;
};

/// A number that stands for all the rows: FNV-1a over "name TAB number LF" each.
inline uint64_t Fingerprint(const std::vector<NamedNumber>& rows) {
    uint64_t hash = 0xCBF29CE484222325;
    for (const NamedNumber& row : rows) {
        for (const char c : std::string(row.name) + "\t" + std::to_string(row.number) + "\n") {
            hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
        }
    }
    return hash;
}

inline std::string Lowered(std::string_view name) {
    std::string lowered(name);
    for (char& c : lowered) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c + 32);
        }
    }
    return lowered;
}

inline int HashOf(std::string_view name, int buckets) {
    int sum = 0;
    for (const char c : Lowered(name)) {
        sum += static_cast<unsigned char>(c);
    }
    return sum % buckets;
}

inline std::basic_string<WCHAR> Characters(std::string_view ascii) {
    return {ascii.begin(), ascii.end()};
}

/// A number in exactly so many digits.
inline std::string Digits(int number, size_t count) {
    const std::string digits = std::to_string(number);
    return std::string(count - digits.size(), '0') + digits;
}

/// What a bucket has to hold: the rows that belong to it, in their order.
inline std::string PackedBucket(const std::vector<NamedNumber>& rows, int bucket, int buckets, size_t lengthDigits,
                                size_t numberDigits) {
    std::string packed;
    for (const NamedNumber& row : rows) {
        if (HashOf(row.name, buckets) == bucket) {
            packed += Digits(static_cast<int>(row.name.size()), lengthDigits) + Digits(row.number, numberDigits) +
                      Lowered(row.name);
        }
    }
    return packed;
}

}  // namespace kvttest
