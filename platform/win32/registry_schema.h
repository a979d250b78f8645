#pragma once

/// @file
/// What a file of the registry is made of, and the keys that every one has.

#include <cstdint>

namespace kvtwin {

class RegistryDatabase;

constexpr std::int64_t kRegistryApplication = 0x4B565247;  ///< "KVRG" in the file's header.
constexpr std::int64_t kRegistryVersion = 1;

/// The keys that are always there, by the numbers that they have in every file; they cannot be deleted.
constexpr std::int64_t kRootKey = 1;
constexpr std::int64_t kMachineKey = 2;
constexpr std::int64_t kUsersKey = 3;
constexpr std::int64_t kMachineClassesKey = 5;
constexpr std::int64_t kCurrentConfigKey = 9;
constexpr std::int64_t kLastFixedKey = 9;

/// Makes tables and fixed keys in an empty file. REQUIRES: a write transaction.
void MakeRegistry(RegistryDatabase& database);

}  // namespace kvtwin
