#pragma once

// A CFRegistry on a test's key, and its status in one piece.

#include <vector>

#include "kvtfile/Registry.h"
#include "tests/cadhost/test_key.h"

namespace kvttest {

/// Error, type and size.
using Statuses = std::vector<long long>;

/// What no operation records, so that a field that is left alone shows.
inline const Statuses spoilt = {77, 88, 99};

inline void Spoil(kvtfile::CFRegistry& registry) {
    registry.m_lLastError = 77;
    registry.m_dwLastType = 88;
    registry.m_dwLastSize = 99;
}

inline Statuses Status(const kvtfile::CFRegistry& registry) {
    return {registry.m_lLastError, registry.m_dwLastType, registry.m_dwLastSize};
}

/// Has the test's key open, and a spoilt status.
class OpenedRegistry : public kvtfile::CFRegistry {
public:
    explicit OpenedRegistry(const TestKey& key, int readOnly = 0) : CFRegistry(0, readOnly) {
        SetHKey(key.Root());
        EXPECT_EQ(Open(key.Path()), 1);
        Spoil(*this);
    }
};

}  // namespace kvttest
