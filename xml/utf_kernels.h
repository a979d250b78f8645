#pragma once

// What the vector code does for xml/utf.cpp. A kernel takes the pointers as far as it can and stops in front of what it
// leaves to the scalar code: a bad part, a character beyond the Basic Multilingual Plane, or too little input for whole
// vectors. It always stops between characters.

#include <cstddef>

#include "kvtfile/types.h"

namespace kvtfile::utf {

/// What was counted in UTF-8 passed over.
struct Counts {
    std::size_t units = 0;      ///< of the same text in UTF-16
    std::size_t sequences = 0;  ///< characters beyond ASCII
};

struct Kernels {
    void (*to16)(const char*& in, const char* end, WCHAR*& out);
    void (*count8)(const char*& in, const char* end, Counts& counts);
    void (*to8)(const WCHAR*& in, const WCHAR* end, char*& out);
    void (*count16)(const WCHAR*& in, const WCHAR* end, std::size_t& bytes);
};

extern const Kernels kernelsSse2;  ///< ASCII runs only
extern const Kernels kernelsAvx2;  ///< the whole Basic Multilingual Plane

}  // namespace kvtfile::utf
