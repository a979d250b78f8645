// The tables of the registry, version 1, and its fixed keys. docs/registry-store.md tells what each column means.

#include "registry_schema.h"

#include <string_view>

#include "registry_database.h"
#include "registry_store.h"

namespace kvtwin {

namespace {

constexpr char kTables[] = R"(
CREATE TABLE key (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    parent INTEGER REFERENCES key (id),
    fold BLOB NOT NULL,
    name BLOB NOT NULL,
    class BLOB NOT NULL,
    level INTEGER NOT NULL,
    subkeys INTEGER NOT NULL DEFAULT 0,
    written INTEGER NOT NULL
) STRICT;
CREATE UNIQUE INDEX key_by_name ON key (parent, fold);
CREATE INDEX key_by_length ON key (parent, length(name));
CREATE TABLE value (
    key INTEGER NOT NULL REFERENCES key (id),
    position INTEGER NOT NULL,
    fold BLOB NOT NULL,
    name BLOB NOT NULL,
    type INTEGER NOT NULL,
    data BLOB NOT NULL,
    written INTEGER NOT NULL,
    PRIMARY KEY (key, position)
) STRICT, WITHOUT ROWID;
CREATE UNIQUE INDEX value_by_name ON value (key, fold);
PRAGMA application_id = 0x4B565247;
PRAGMA user_version = 1;
INSERT INTO key (id, parent, fold, name, class, level, written) VALUES (1, NULL, x'', x'', x'', 0, 0);
)";

struct FixedKey {
    std::int64_t number;
    std::int64_t parent;
    std::u16string_view name;
};

constexpr FixedKey kFixedKeys[] = {
    {kMachineKey, kRootKey, u"MACHINE"}, {kUsersKey, kRootKey, u"USER"},     {4, kMachineKey, u"SOFTWARE"},
    {kMachineClassesKey, 4, u"Classes"}, {6, kMachineKey, u"SYSTEM"},        {7, 6, u"CurrentControlSet"},
    {8, 7, u"Hardware Profiles"},        {kCurrentConfigKey, 8, u"Current"},
};

}  // namespace

void MakeRegistry(RegistryDatabase& database) {
    database.Run(kTables);
    // New keys are numbered in their order.
    for (const FixedKey& row : kFixedKeys) {
        if (AddKey(database, row.parent, row.name, {}) != row.number) {
            throw RegistryError{ERROR_REGISTRY_CORRUPT};
        }
    }
}

}  // namespace kvtwin
