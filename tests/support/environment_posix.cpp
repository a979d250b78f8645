// A prefix of its own for every test process, made before the library reads its environment for the first time.

#include <stdlib.h>

#include <filesystem>
#include <iostream>

#include "tests/support/support.h"

namespace kvttest::detail {

namespace {
// Never freed: programs that check their own end clean up when their statics are gone.
const std::filesystem::path* g_prefix = nullptr;
}  // namespace

void PrepareEnvironment() {
    std::string name = (std::filesystem::temp_directory_path() / "kvtfile-test-XXXXXX").string();
    if (!mkdtemp(name.data())) {
        std::cerr << "no folder for the test prefix: " << name << '\n';
        std::exit(2);
    }
    g_prefix = new std::filesystem::path(name);
    setenv("KVTFILE_PREFIX", name.c_str(), 1);
    // The user's own trash stands there.
    setenv("XDG_DATA_HOME", (name + "/data").c_str(), 1);
    unsetenv("DISPLAY");
}

void CleanEnvironment() {
    std::error_code ignored;
    std::filesystem::remove_all(*g_prefix, ignored);
}

}  // namespace kvttest::detail
