// The reader of shell links, on any bytes.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "platform/shell/link_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    const auto targets = kvtshell::ParseLink({data, size});
    // No text can be longer than what it was read from.
    if (targets && targets->local.size() + targets->network.size() > 4 * size) {
        std::abort();
    }
    return 0;
}
