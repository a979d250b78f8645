#pragma once

// Expecting an exception that is thrown as a pointer, and ending it.

#include <gtest/gtest.h>

#define EXPECT_THROWS_POINTER(statement, exception)                     \
    do {                                                                \
        bool kvttestThrown = false;                                     \
        try {                                                           \
            (void)(statement);                                          \
        } catch (exception * kvttestError) {                            \
            kvttestThrown = true;                                       \
            kvttestError->Delete();                                     \
        }                                                               \
        EXPECT_TRUE(kvttestThrown) << #statement " throws " #exception; \
    } while (false)

/// Also the number of m_cause.
#define EXPECT_THROWS_CAUSE(statement, exception, cause)                \
    do {                                                                \
        int kvttestCause = -1;                                          \
        try {                                                           \
            (void)(statement);                                          \
        } catch (exception * kvttestError) {                            \
            kvttestCause = kvttestError->m_cause;                       \
            kvttestError->Delete();                                     \
        }                                                               \
        EXPECT_EQ(kvttestCause, static_cast<int>(cause)) << #statement; \
    } while (false)
