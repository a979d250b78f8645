// Text files in every form: saved byte for byte as they were loaded, saved as every other form, cut at every byte.

#include <algorithm>
#include <string>
#include <vector>

#include "tests/xml/textfile_support.h"

namespace {

using namespace kvttest;
using kvtfile::CFXmlFile;

/// One document in one form: the same content, with the declaration of the form.
struct Form {
    const char* declared;
    int flags;
    std::string (*encode)(const std::string& utf8);
    bool chinese;
};

std::string Same(const std::string& utf8) {
    return utf8;
}
std::string MarkedUtf8(const std::string& utf8) {
    return utf8Mark + utf8;
}
std::string MarkedLe(const std::string& utf8) {
    return leMark + Le(utf8);
}
std::string MarkedBe(const std::string& utf8) {
    return beMark + Be(utf8);
}
std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}
std::string Gbk(const std::string& utf8) {
    return Replaced(Replaced(utf8, "\xC3\xA9", "\xA8\xA6"), "\xE4\xB8\xAD", "\xD6\xD0");
}
std::string Latin(const std::string& utf8) {
    return Replaced(utf8, "\xC3\xA9", "\xE9");
}

const Form g_forms[] = {
    {nullptr, 0, Same, true},           {nullptr, flagUtf8Mark, MarkedUtf8, true},
    {nullptr, flagLe, MarkedLe, true},  {nullptr, flagBe, MarkedBe, true},
    {"utf-8", 0, Same, true},           {"UTF-8", flagUtf8Mark, MarkedUtf8, true},
    {"utf-16", flagLe, MarkedLe, true}, {"utf-16", flagBe, MarkedBe, true},
    {"gb2312", 0, Gbk, true},           {"GBK", 0, Gbk, true},
    {"windows-1252", 0, Latin, false},  {"iso-8859-1", 0, Latin, false},
};

std::string DocumentIn(const Form& form, const std::string& content) {
    const std::string declaration =
        form.declared ? std::string("<?xml version=\"1.0\" encoding=\"") + form.declared + "\"?>\r\n" : "";
    return declaration + "<r a='\xC3\xA9'>" + content + "</r>\r\n";
}

TEST(TextFile, EveryFormIsLoadedAndSavedByteForByte) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    for (const Form& form : g_forms) {
        for (const int repeat : {1, 3000}) {
            std::string content;
            for (int i = 0; i < repeat; ++i) {
                content += form.chinese ? "ab\xE4\xB8\xAD\xC3\xA9\n" : "ab\xC3\xA9\n";
            }
            const std::string bytes = form.encode(DocumentIn(form, content));
            WriteBytes(path, bytes);
            CFXmlFile file;
            ASSERT_TRUE(file.Load(path)) << Utf8(file.GetError());
            EXPECT_EQ(Utf8(file.GetDoc()), DocumentIn(form, content));
            ASSERT_TRUE(file.Save(path)) << Utf8(file.GetError());
            EXPECT_TRUE(ReadBytes(path) == bytes) << Utf8(file.GetError());
        }
    }
}

TEST(TextFile, EveryFormIsSavedAsEveryOther) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    for (const Form& source : g_forms) {
        for (const Form& target : g_forms) {
            const std::string content = source.chinese && target.chinese ? "\xC3\xA9\xE4\xB8\xAD" : "\xC3\xA9";
            WriteBytes(path, source.encode(DocumentIn(source, content)));
            CFXmlFile file;
            ASSERT_TRUE(file.Load(path)) << Utf8(file.GetError());
            const std::string declared =
                Replaced(Utf8(file.GetDoc()), DocumentIn(source, content), DocumentIn(target, content));
            ASSERT_TRUE(file.SetDoc(Wide(declared)));
            file.SetDocFlags(target.flags);
            ASSERT_TRUE(file.Save(path)) << Utf8(file.GetError());
            EXPECT_EQ(ReadBytes(path), target.encode(DocumentIn(target, content)));
        }
    }
}

TEST(TextFile, FilesCutAtEveryByteAreReadAsFarAsTheyGo) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    for (const Form& form : g_forms) {
        const std::string document = DocumentIn(form, form.chinese ? "\xE4\xB8\xAD\xC3\xA9" : "\xC3\xA9");
        const std::string whole = form.encode(document);
        const CString text = Wide(document);
        for (size_t length = 0; length <= whole.size(); ++length) {
            WriteBytes(path, whole.substr(0, length));
            const Read read = ReadFrom(path);
            ASSERT_TRUE(read.done) << length;
            // Everything that was whole comes out; what was cut is one character more at most, or a mark in parts.
            const int common = std::min(read.text.GetLength(), text.GetLength());
            const bool markCut = form.flags != 0 && length < 3;
            const bool declarationCut = form.declared && read.encoding != CString(form.declared) && form.flags == 0;
            if (!markCut && !declarationCut) {
                ASSERT_EQ(read.text.Left(common - 1), text.Left(common - 1)) << length;
            }
        }
        EXPECT_EQ(ReadFrom(path).text, text);
    }
}

TEST(TextFile, LongTextsInOneCodePageComeBack) {
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"gbk\"?>";
    std::string utf8 = declaration;
    for (int code = 0x4E00; code < 0x9FA5; ++code) {
        char bytes[4];
        int length = 0;
        CFXmlFile::EncodeCharUTF8(code, bytes, length);
        utf8.append(bytes, static_cast<size_t>(length));
    }
    const CString text = Wide(utf8);
    const Written written = Write(text);
    EXPECT_TRUE(written.done);
    EXPECT_EQ(written.result.find("lost"), std::string::npos);
    EXPECT_EQ(written.bytes.size(), declaration.size() + 2 * (0x9FA5 - 0x4E00));
    EXPECT_TRUE(ReadOf(written.bytes).text == text);
}

}  // namespace
