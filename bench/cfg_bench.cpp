// CFXmlCfg: look-ups and writes in classes of 10 to 10,000 data items, and the merge of a newer installed file.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "kvtfile/XmlCfg.h"

using kvtfile::CFXmlCfg;

namespace {

CString Wide(const std::string& text) {
    return CString::FromUtf8(text);
}

std::string Path(const std::string& name) {
    return (std::filesystem::temp_directory_path() / ("kvtfile-bench-" + name)).string();
}

/// A settings file with a class of so many items, the last of them named too.
CString File(const std::string& name, int64_t items) {
    std::ofstream file(Path(name), std::ios::binary);
    file << "<CONFIG><CLASS key=\"A\"><CLASS key=\"B\">";
    for (int64_t i = 0; i < items; ++i) {
        file << "<DATA key=\"Item" << i << "\" text=\"t\" value=\"" << i
             << "\" type=\"\" default=\"\" range=\"\" dict=\"\" extend=\"\"/>\r\n";
    }
    file << "</CLASS></CLASS></CONFIG>\r\n";
    return Wide(Path(name));
}

CString LastItem(int64_t items) {
    return Wide("A.B.Item" + std::to_string(items - 1));
}

void Sizes(benchmark::internal::Benchmark* bench) {
    bench->RangeMultiplier(10)->Range(10, 10000)->Unit(benchmark::kMicrosecond);
}

void Open(benchmark::State& state) {
    const CString path = File("open.xml", state.range(0));
    for (auto _ : state) {
        CFXmlCfg cfg;
        if (!cfg.Open(path, 0)) {
            state.SkipWithError("not opened");
            break;
        }
    }
}
BENCHMARK(Open)->Apply(Sizes);

/// The worst look-up: the last of all siblings.
void ReadLastItem(benchmark::State& state) {
    CFXmlCfg cfg;
    cfg.Open(File("read.xml", state.range(0)), 0);
    const CString path = LastItem(state.range(0));
    CFXmlCfg::SDataMember member;
    for (auto _ : state) {
        if (!cfg.ReadData(path, member)) {
            state.SkipWithError("not found");
            break;
        }
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(ReadLastItem)->Apply(Sizes)->Complexity(benchmark::oN);

void ListItems(benchmark::State& state) {
    CFXmlCfg cfg;
    cfg.Open(File("list.xml", state.range(0)), 0);
    CArray<CFXmlCfg::SDataMember, CFXmlCfg::SDataMember> items;
    for (auto _ : state) {
        cfg.ReadChildData(_T("A.B"), items);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ListItems)->Apply(Sizes);

/// In memory; what immediate save adds is one write of the file.
void WriteLastValue(benchmark::State& state) {
    CFXmlCfg cfg;
    cfg.Open(File("write.xml", state.range(0)), 0);
    cfg.SetImmediateSave(static_cast<int>(state.range(1)));
    const CString path = LastItem(state.range(0));
    int value = 0;
    for (auto _ : state) {
        CString text;
        text.Format(_T("%d"), ++value);
        if (!cfg.WriteDataValue(path, text)) {
            state.SkipWithError("not written");
            break;
        }
    }
}
BENCHMARK(WriteLastValue)->ArgsProduct({{10, 100, 1000, 10000}, {0, 1}})->Unit(benchmark::kMicrosecond);

/// Every second item is new.
void Merge(benchmark::State& state) {
    const CString installed = File("installed.xml", state.range(0));
    const std::string work = Path("work.xml");
    for (auto _ : state) {
        state.PauseTiming();
        {
            CFXmlCfg cfg;
            cfg.Open(File("work.xml", 0), 0);
            cfg.SetImmediateSave(0);
            CFXmlCfg::SDataMember member;
            for (int64_t i = 0; i < state.range(0); i += 2) {
                member.strKey = Wide("Item" + std::to_string(i));
                cfg.WriteData(_T("A.B"), member);
            }
            cfg.Save();
        }
        // Newer than whatever an earlier size recorded.
        static const auto start = std::filesystem::file_time_type::clock::now();
        static int newer = 0;
        std::filesystem::last_write_time(Path("installed.xml"),
                                         start + std::chrono::hours(1) + std::chrono::seconds(2 * ++newer));
        state.ResumeTiming();
        CFXmlCfg cfg;
        cfg.Open(Wide(work), installed, 0);
        if (!cfg.FindNodeByPath(LastItem(state.range(0)), 1)) {
            state.SkipWithError("not merged");
            break;
        }
    }
}
BENCHMARK(Merge)->RangeMultiplier(10)->Range(10, 1000)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

int main(int argc, char** argv) {
    // The lists of the registers go into a prefix of the benchmark's own, without what an earlier run recorded.
    std::filesystem::remove_all(Path("prefix"));
    setenv("KVTFILE_PREFIX", Path("prefix").c_str(), 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
