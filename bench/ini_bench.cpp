// INI files of 10,000 to 1,000,000 entries in one section: reading, looking every entry up, writing; with the same jobs
// done by other INI readers where they are installed. The time must grow as the file does.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "kvtfile/IniFile.h"

#if defined(KVTFILE_BENCH_SIMPLEINI)
#define SI_NO_CONVERSION
#include <SimpleIni.h>
#endif
#if defined(KVTFILE_BENCH_INIH)
#include <INIReader.h>
#endif

using kvtfile::CIniFile;

namespace {

/// A file with so many entries, made once.
std::string File(int64_t entries) {
    const std::string path =
        (std::filesystem::temp_directory_path() / ("kvtfile-bench-" + std::to_string(entries) + ".ini")).string();
    if (!std::filesystem::exists(path)) {
        std::ofstream file(path, std::ios::binary);
        file << "[Section]\r\n";
        for (int64_t i = 0; i < entries; ++i) {
            file << "Name" << i << '=' << "Value " << i * 7 << "\r\n";
        }
    }
    return path;
}

CString Wide(const std::string& text) {
    return CString::FromUtf8(text);
}

std::vector<std::string> Names(int64_t entries) {
    std::vector<std::string> names;
    for (int64_t i = 0; i < entries; ++i) {
        names.push_back("NAME" + std::to_string((i * 7919) % entries));
    }
    return names;
}

std::vector<CString> WideNames(int64_t entries) {
    std::vector<CString> names;
    for (const std::string& name : Names(entries)) {
        names.push_back(Wide(name));
    }
    return names;
}

void Sizes(benchmark::internal::Benchmark* bench) {
    bench->RangeMultiplier(10)->Range(10000, 1000000)->Unit(benchmark::kMillisecond);
}

void Count(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetComplexityN(state.range(0));
}

void Read(benchmark::State& state) {
    const CString path = Wide(File(state.range(0)));
    for (auto _ : state) {
        CIniFile ini(path, false);
        if (ini.GetNumValues(_T("Section")) != state.range(0)) {
            state.SkipWithError("wrong number of entries");
            break;
        }
    }
    Count(state);
}
BENCHMARK(Read)->Apply(Sizes)->Complexity(benchmark::oN);

void LookUpAll(benchmark::State& state) {
    CIniFile ini(Wide(File(state.range(0))), false);
    const std::vector<CString> names = WideNames(state.range(0));
    for (auto _ : state) {
        for (const CString& name : names) {
            if (ini.GetValue(_T("Section"), name).IsEmpty()) {
                state.SkipWithError("an entry is missing");
                break;
            }
        }
    }
    Count(state);
}
BENCHMARK(LookUpAll)->Apply(Sizes)->Complexity(benchmark::oN);

void SetAll(benchmark::State& state) {
    CIniFile ini(Wide(File(state.range(0))), false);
    const std::vector<CString> names = WideNames(state.range(0));
    int value = 0;
    for (auto _ : state) {
        ++value;
        for (const CString& name : names) {
            ini.SetValueI(_T("Section"), name, value, false);
        }
    }
    Count(state);
}
BENCHMARK(SetAll)->Apply(Sizes)->Complexity(benchmark::oN);

void Write(benchmark::State& state) {
    CIniFile ini(Wide(File(state.range(0))), false);
    ini.SetPath(Wide(File(state.range(0)) + ".out"));
    for (auto _ : state) {
        if (!ini.WriteFile()) {
            state.SkipWithError("not written");
            break;
        }
    }
    Count(state);
}
BENCHMARK(Write)->Apply(Sizes)->Complexity(benchmark::oN);

#if defined(KVTFILE_BENCH_SIMPLEINI)
void SimpleIniRead(benchmark::State& state) {
    const std::string path = File(state.range(0));
    for (auto _ : state) {
        CSimpleIniA ini;
        ini.LoadFile(path.c_str());
        if (ini.GetSectionSize("Section") != state.range(0)) {
            state.SkipWithError("wrong number of entries");
            break;
        }
    }
    Count(state);
}
BENCHMARK(SimpleIniRead)->Apply(Sizes);

void SimpleIniLookUpAll(benchmark::State& state) {
    CSimpleIniA ini;
    ini.LoadFile(File(state.range(0)).c_str());
    const std::vector<std::string> names = Names(state.range(0));
    for (auto _ : state) {
        for (const std::string& name : names) {
            if (!ini.GetValue("Section", name.c_str())) {
                state.SkipWithError("an entry is missing");
                break;
            }
        }
    }
    Count(state);
}
BENCHMARK(SimpleIniLookUpAll)->Apply(Sizes);
#endif

#if defined(KVTFILE_BENCH_INIH)
void InihRead(benchmark::State& state) {
    const std::string path = File(state.range(0));
    for (auto _ : state) {
        INIReader ini(path);
        if (ini.ParseError() != 0) {
            state.SkipWithError("not read");
            break;
        }
    }
    Count(state);
}
BENCHMARK(InihRead)->Apply(Sizes);

void InihLookUpAll(benchmark::State& state) {
    INIReader ini(File(state.range(0)));
    const std::vector<std::string> names = Names(state.range(0));
    for (auto _ : state) {
        for (const std::string& name : names) {
            if (ini.Get("Section", name, "").empty()) {
                state.SkipWithError("an entry is missing");
                break;
            }
        }
    }
    Count(state);
}
BENCHMARK(InihLookUpAll)->Apply(Sizes);
#endif

}  // namespace

BENCHMARK_MAIN();
