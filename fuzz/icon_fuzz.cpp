// The readers of .ico files and of programs' icons, on any bytes.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "platform/shell/icon_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    kvtshell::MemorySource source({data, size});
    const auto file = kvtshell::IconFile::Open(source);
    if (!file) {
        return 0;
    }
    constexpr size_t kEnough = 4;
    for (size_t i = 0; i < std::min(file->Count(), kEnough); ++i) {
        for (const int side : {16, 32}) {
            const auto image = file->Load(i, side);
            if (image && (image->width != side || image->height != side ||
                          image->rgba.size() != static_cast<size_t>(side * side * 4))) {
                std::abort();
            }
        }
    }
    file->Find(1);
    return 0;
}
