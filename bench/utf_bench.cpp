// UTF-8 to UTF-16 and back, and the check that finds UTF-8, beside ICU and iconv in the same run. The texts are ASCII,
// Chinese, and markup with Chinese content; bytes a second count the UTF-8 side.

#include <benchmark/benchmark.h>
#include <iconv.h>
#include <unicode/ustring.h>

#include <cstdlib>
#include <string>

#include "kvtfile/XmlFile.h"

namespace {

using kvtfile::CFXmlFile;
using Units = std::u16string;

enum Kind { ascii, chinese, mixed };
constexpr const char* g_names[] = {"ASCII", "CJK", "mixed"};

/// About a megabyte of one kind.
std::string Utf8Of(Kind kind) {
    std::string text;
    for (unsigned i = 0; text.size() < (1u << 20); ++i) {
        if (kind != chinese) {
            text += "<item name=\"layer" + std::to_string(i) + "\">";
        }
        if (kind == ascii) {
            text += "continuous line, red";
        } else {
            for (unsigned j = 0; j < (kind == chinese ? 40u : 6u); ++j) {
                char bytes[4];
                int length = 0;
                CFXmlFile::EncodeCharUTF8(static_cast<int>(0x4E00 + (i * 31 + j * 97) % 0x5000), bytes, length);
                text.append(bytes, static_cast<size_t>(length));
            }
        }
        if (kind != chinese) {
            text += "</item>\r\n";
        }
    }
    return text;
}

Units Utf16Of(const std::string& text) {
    Units units(static_cast<size_t>(CFXmlFile::UTF8To16(nullptr, text.data(), static_cast<int>(text.size()))), u'\0');
    CFXmlFile::UTF8To16(units.data(), text.data(), static_cast<int>(text.size()));
    return units;
}

class Iconv {
public:
    Iconv(const char* to, const char* from) : m_state(iconv_open(to, from)) {}
    ~Iconv() { iconv_close(m_state); }
    void Convert(void* in, size_t size, void* out, size_t room) {
        char* from = static_cast<char*>(in);
        char* to = static_cast<char*>(out);
        if (iconv(m_state, &from, &size, &to, &room) == static_cast<size_t>(-1)) {
            std::abort();
        }
    }

private:
    iconv_t m_state;
};

void Finish(benchmark::State& state, size_t bytes) {
    state.SetBytesProcessed(static_cast<int64_t>(bytes) * state.iterations());
    state.SetLabel(g_names[state.range(0)]);
}

void To16Kvtfile(benchmark::State& state) {
    const std::string text = Utf8Of(static_cast<Kind>(state.range(0)));
    Units out(text.size(), u'\0');
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(CFXmlFile::UTF8To16(out.data(), text.data(), static_cast<int>(text.size())));
    }
    Finish(state, text.size());
}

void To16Icu(benchmark::State& state) {
    const std::string text = Utf8Of(static_cast<Kind>(state.range(0)));
    Units out(text.size(), u'\0');
    for ([[maybe_unused]] auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        u_strFromUTF8(out.data(), static_cast<int32_t>(out.size()), &length, text.data(),
                      static_cast<int32_t>(text.size()), &error);
        benchmark::DoNotOptimize(length);
    }
    Finish(state, text.size());
}

void To16Iconv(benchmark::State& state) {
    std::string text = Utf8Of(static_cast<Kind>(state.range(0)));
    Units out(text.size(), u'\0');
    Iconv converter("UTF-16LE", "UTF-8");
    for ([[maybe_unused]] auto _ : state) {
        converter.Convert(text.data(), text.size(), out.data(), out.size() * 2);
    }
    Finish(state, text.size());
}

void To8Kvtfile(benchmark::State& state) {
    const std::string text = Utf8Of(static_cast<Kind>(state.range(0)));
    const Units units = Utf16Of(text);
    std::string out(text.size(), '\0');
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(CFXmlFile::UTF16To8(out.data(), units.data(), static_cast<int>(units.size())));
    }
    Finish(state, text.size());
}

void To8Icu(benchmark::State& state) {
    const std::string text = Utf8Of(static_cast<Kind>(state.range(0)));
    const Units units = Utf16Of(text);
    std::string out(text.size(), '\0');
    for ([[maybe_unused]] auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &length, units.data(),
                    static_cast<int32_t>(units.size()), &error);
        benchmark::DoNotOptimize(length);
    }
    Finish(state, text.size());
}

void To8Iconv(benchmark::State& state) {
    const std::string text = Utf8Of(static_cast<Kind>(state.range(0)));
    Units units = Utf16Of(text);
    std::string out(text.size(), '\0');
    Iconv converter("UTF-8", "UTF-16LE");
    for ([[maybe_unused]] auto _ : state) {
        converter.Convert(units.data(), units.size() * 2, out.data(), out.size());
    }
    Finish(state, text.size());
}

void Detect(benchmark::State& state) {
    const std::string text = Utf8Of(static_cast<Kind>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(CFXmlFile::DetectUTF8(text.data(), static_cast<int>(text.size())));
    }
    Finish(state, text.size());
}

BENCHMARK(To16Kvtfile)->DenseRange(ascii, mixed);
BENCHMARK(To16Icu)->DenseRange(ascii, mixed);
BENCHMARK(To16Iconv)->DenseRange(ascii, mixed);
BENCHMARK(To8Kvtfile)->DenseRange(ascii, mixed);
BENCHMARK(To8Icu)->DenseRange(ascii, mixed);
BENCHMARK(To8Iconv)->DenseRange(ascii, mixed);
BENCHMARK(Detect)->DenseRange(ascii, mixed);

}  // namespace

BENCHMARK_MAIN();
