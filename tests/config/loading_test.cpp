// A host that loads and unloads an add-on, and with it the library, a thousand times.
//
// usage: loading_test MODULE LIBRARY

#include "tests/config/loading.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: loading_test MODULE LIBRARY\n", stderr);
        return 2;
    }
    for (int round = 0; round < 1000; ++round) {
        void* module = kvttest::LoadModule(argv[1]);
        if (!module) {
            std::fprintf(stderr, "round %d: %s was not loaded\n", round, argv[1]);
            return 1;
        }
        const auto function = kvttest::FindFunction(module, "KvtfileModuleRound");
        const int result = function ? function(round) : -1;
        if (result != 0) {
            std::fprintf(stderr, "round %d: the module returned %d\n", round, result);
            return 1;
        }
        if (!kvttest::UnloadModule(module) || kvttest::IsModuleLoaded(argv[1]) || kvttest::IsModuleLoaded(argv[2])) {
            std::fprintf(stderr, "round %d: the module or the library stayed\n", round);
            return 1;
        }
    }
    return 0;
}
