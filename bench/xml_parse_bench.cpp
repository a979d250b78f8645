// Parsing, walking, editing and appending, beside pugixml, RapidXML and expat in the same run. Each parser takes the
// form it likes best (ours UTF-16, theirs UTF-8) from warm memory; bytes a second count the UTF-8 text for all.
//
// Further documents are taken from KVTFILE_BENCH_DOCS (paths separated by ":"), besides the installed ones.

#include <benchmark/benchmark.h>
#include <expat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <pugixml.hpp>
#include <rapidxml/rapidxml.hpp>

#include "kvtfile/XmlFile.h"

namespace {

using kvtfile::CFXmlFile;

struct Document {
    std::string name;
    std::string utf8;
    CString wide;
};

/// A settings store: classes of data items with short attributes.
std::string Settings(int classes, int items) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Settings Version=\"1\">\r\n";
    for (int i = 0; i < classes; ++i) {
        text += "<Class Key=\"Class" + std::to_string(i) + "\" Caption=\"Group of settings\">\r\n";
        for (int k = 0; k < items; ++k)
            text += "<Data Key=\"Item" + std::to_string(k) + "\" Value=\"" + std::to_string(i * k) +
                    "\" Type=\"int\" Note=\"\"/>\r\n";
        text += "</Class>\r\n";
    }
    return text + "</Settings>\r\n";
}

/// Data items with eight attributes each.
std::string Attributes(int items) {
    std::string text = "<Settings>\r\n";
    for (int i = 0; i < items; ++i) {
        text += "<Data";
        for (const char* name : {"Key", "Value", "Type", "Default", "Minimum", "Maximum", "Unit", "Note"})
            text += std::string(" ") + name + "=\"" + std::to_string(i) + "\"";
        text += "/>\r\n";
    }
    return text + "</Settings>\r\n";
}

/// Small elements with text.
std::string Rows(int rows) {
    std::string text = "<rows>";
    for (int i = 0; i < rows; ++i)
        text += "<row><id>" + std::to_string(i) + "</id><name>row " + std::to_string(i) + "</name></row>";
    return text + "</rows>";
}

CString Widen(const std::string& utf8) {
    CString wide;
    const int size = static_cast<int>(utf8.size());
    const int length = CFXmlFile::UTF8To16(nullptr, utf8.data(), size);
    CFXmlFile::UTF8To16(wide.GetBuffer(length), utf8.data(), size);
    wide.ReleaseBufferSetLength(length);
    return wide;
}

void AddFile(std::vector<Document>& documents, const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    if (file)
        documents.push_back({path.substr(path.rfind('/') + 1), bytes.str(), CString()});
}

std::vector<Document>& Documents() {
    static std::vector<Document> documents = [] {
        std::vector<Document> all;
        all.push_back({"settings", Settings(100, 100), CString()});
        all.push_back({"attributes", Attributes(10000), CString()});
        all.push_back({"rows", Rows(20000), CString()});
        AddFile(all, "/usr/share/mime/packages/freedesktop.org.xml");
        AddFile(all, "/usr/lib/libreoffice/share/registry/main.xcd");
        if (const char* more = std::getenv("KVTFILE_BENCH_DOCS")) {
            std::stringstream paths(more);
            std::string path;
            while (std::getline(paths, path, ':'))
                AddFile(all, path);
        }
        for (Document& document : all)
            document.wide = Widen(document.utf8);
        return all;
    }();
    return documents;
}

void Count(benchmark::State& state, const Document& document) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(document.utf8.size()));
}

// --- Parsing

void ParseKvtfile(benchmark::State& state, const Document& document) {
    CFXmlFile xml;
    for (auto _ : state) {
        if (!xml.SetDoc(document.wide))
            state.SkipWithError("not well formed");
    }
    Count(state, document);
}

void ParsePugixml(benchmark::State& state, const Document& document) {
    std::vector<char> buffer(document.utf8.size());
    pugi::xml_document xml;
    for (auto _ : state) {
        state.PauseTiming();
        std::memcpy(buffer.data(), document.utf8.data(), buffer.size());
        state.ResumeTiming();
        if (!xml.load_buffer_inplace(buffer.data(), buffer.size(), pugi::parse_minimal, pugi::encoding_utf8))
            state.SkipWithError("not well formed");
    }
    Count(state, document);
}

template <int flags>
void ParseRapidxml(benchmark::State& state, const Document& document) {
    std::vector<char> buffer(document.utf8.size() + 1);
    rapidxml::xml_document<> xml;
    for (auto _ : state) {
        state.PauseTiming();
        std::memcpy(buffer.data(), document.utf8.c_str(), buffer.size());
        xml.clear();
        state.ResumeTiming();
        xml.parse<flags>(buffer.data());
    }
    Count(state, document);
}

void ParseExpat(benchmark::State& state, const Document& document) {
    const XML_Parser parser = XML_ParserCreate("UTF-8");
    for (auto _ : state) {
        XML_ParserReset(parser, "UTF-8");
        if (XML_Parse(parser, document.utf8.data(), static_cast<int>(document.utf8.size()), 1) == XML_STATUS_ERROR)
            state.SkipWithError("not well formed");
    }
    XML_ParserFree(parser);
    Count(state, document);
}

void Memcpy(benchmark::State& state, const Document& document) {
    std::vector<WCHAR> buffer(static_cast<size_t>(document.wide.GetLength()));
    for (auto _ : state) {
        std::memcpy(buffer.data(), static_cast<LPCWSTR>(document.wide), buffer.size() * sizeof(WCHAR));
        benchmark::ClobberMemory();
    }
    Count(state, document);
}

// --- Walking: every element in document order, one attribute each

void WalkKvtfile(benchmark::State& state, const Document& document) {
    CFXmlFile xml;
    xml.SetDoc(document.wide);
    for (auto _ : state) {
        size_t total = 0;
        xml.ResetPos();
        for (;;) {
            if (xml.FindElem()) {
                total += static_cast<size_t>(xml.GetAttrib(_T("Key")).GetLength());
                xml.IntoElem();
            } else if (!xml.OutOfElem()) {
                break;
            }
        }
        benchmark::DoNotOptimize(total);
    }
    Count(state, document);
}

void WalkPugixml(benchmark::State& state, const Document& document) {
    pugi::xml_document xml;
    xml.load_buffer(document.utf8.data(), document.utf8.size(), pugi::parse_minimal);
    for (auto _ : state) {
        size_t total = 0;
        for (pugi::xml_node node = xml.first_child(); node;) {
            total += std::string(node.attribute("Key").value()).size();
            if (node.first_child()) {
                node = node.first_child();
                continue;
            }
            while (node && !node.next_sibling())
                node = node.parent();
            node = node.next_sibling();
        }
        benchmark::DoNotOptimize(total);
    }
    Count(state, document);
}

// --- Editing

void EditRandomAttribute(benchmark::State& state, const Document& document) {
    CFXmlFile xml;
    xml.SetDoc(document.wide);
    std::mt19937 random(1);
    std::vector<CString> names;
    xml.FindElem();
    while (xml.FindChildElem()) {
        CString name;
        name.Format(_T("%d"), static_cast<int>(names.size()));
        xml.SavePos(name);
        names.push_back(name);
    }
    for (auto _ : state) {
        xml.RestorePos(names[random() % names.size()]);
        xml.SetChildAttrib(_T("Edited"), static_cast<int>(random() % 100000));
    }
}

void AppendRows(benchmark::State& state) {
    const auto count = state.range(0);
    for (auto _ : state) {
        CFXmlFile xml;
        xml.AddElem(_T("rows"));
        for (int64_t i = 0; i < count; ++i)
            xml.AddChildElem(_T("row"), _T("value"));
        benchmark::DoNotOptimize(xml.GetDoc().GetLength());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * count);
}
BENCHMARK(AppendRows)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void AppendRowsPugixml(benchmark::State& state) {
    const auto count = state.range(0);
    for (auto _ : state) {
        pugi::xml_document xml;
        pugi::xml_node rows = xml.append_child("rows");
        for (int64_t i = 0; i < count; ++i)
            rows.append_child("row").append_child(pugi::node_pcdata).set_value("value");
        benchmark::DoNotOptimize(rows);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * count);
}
BENCHMARK(AppendRowsPugixml)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);

[[maybe_unused]] const bool g_registered = [] {
    const struct {
        const char* name;
        void (*run)(benchmark::State&, const Document&);
    } benches[] = {
        {"Parse/kvtfile", ParseKvtfile},
        {"Parse/pugixml", ParsePugixml},
        {"Parse/rapidxml_fastest", ParseRapidxml<rapidxml::parse_fastest>},
        {"Parse/rapidxml_validating", ParseRapidxml<rapidxml::parse_fastest | rapidxml::parse_validate_closing_tags>},
        {"Parse/expat", ParseExpat},
        {"Memcpy", Memcpy},
        {"Walk/kvtfile", WalkKvtfile},
        {"Walk/pugixml", WalkPugixml},
        {"EditRandomAttribute/kvtfile", EditRandomAttribute}};
    for (const Document& document : Documents()) {
        for (const auto& bench : benches)
            benchmark::RegisterBenchmark((document.name + "/" + bench.name).c_str(), [&document, run = bench.run](
                                                                                         benchmark::State& state) {
                run(state, document);
            })->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

}  // namespace

BENCHMARK_MAIN();
