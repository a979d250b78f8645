// CIniFile with files that are hostile, large, refused or changing.

#include <chrono>
#include <map>
#include <random>

#include "kvtfile/IniFile.h"
#include "tests/support/support.h"

using kvtfile::CIniFile;
using kvttest::Exists;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::WriteBytes;

namespace {

CString Number(int number) {
    CString text;
    text.Format(_T("%d"), number);
    return text;
}

std::string Value(std::string_view bytes, LPCWSTR section, LPCWSTR name) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.ini")), bytes);
    CIniFile ini(folder.Path(_T("a.ini")), false);
    return Utf8(ini.GetValue(section, name));
}

/// What a store reads from the bytes comes out of a write and a second read again.
void ExpectStableAfterOneWrite(std::string_view bytes) {
    TestFolder folder;
    const CString path = folder.Path(_T("a.ini"));
    WriteBytes(path, bytes);
    { CIniFile ini(path, true); }
    const std::string once = ReadBytes(path);
    { CIniFile ini(path, true); }
    EXPECT_EQ(ReadBytes(path), once);
}

}  // namespace

TEST(IniHostile, AnEmptyFileIsAnEmptyStore) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.ini")), "");
    CIniFile ini(folder.Path(_T("a.ini")), true);
    EXPECT_EQ(ini.GetNumKeys(), 0);
}

TEST(IniHostile, HalfACharacterNeverSwallowsTheLineBreak) {
    EXPECT_EQ(Value("a=1\xD6\nb=2\n", _T(""), _T("b")), "2");
    EXPECT_EQ(Value("a=1\xD6\r\nb=2\r\n", _T(""), _T("b")), "2");
    EXPECT_EQ(Value("b=2\na=1\xD6", _T(""), _T("b")), "2");
    EXPECT_EQ(Value("a=\xFF\xFF\xFE\nb=2\n", _T(""), _T("b")), "2");
}

TEST(IniHostile, ANulNeverEndsTheFile) {
    using namespace std::string_literals;
    EXPECT_EQ(Value("a=1\0x\nb=2\n"s, _T(""), _T("b")), "2");
    EXPECT_EQ(Value("\0\0\0\nb=2\n"s, _T(""), _T("b")), "2");
}

TEST(IniHostile, LinesOfAMegabyteAreRead) {
    const std::string name(300000, 'n');
    const std::string value(1 << 20, 'v');
    EXPECT_EQ(Value("[S]\na=" + value + "\nb=2\n", _T("S"), _T("a")), value);
    EXPECT_EQ(Value("[S]\na=" + value + "\nb=2\n", _T("S"), _T("b")), "2");
    EXPECT_EQ(Value("[S]\n" + name + "=3\n", _T("S"), Wide(name)), "3");
    EXPECT_EQ(Value("[" + name + "]\nx=4\n", Wide(name), _T("x")), "4");
}

TEST(IniHostile, MultibyteCharactersStayWholeWhereverTheBufferEnds) {
    // One byte more each time moves every pair over every possible end of a buffer.
    for (const size_t size : {4095u, 4096u, 8191u, 8192u, 65535u, 65536u}) {
        for (size_t lead = 0; lead < 2; ++lead) {
            std::string text(lead, 'x');
            while (text.size() < size + 4) {
                text += "\xD6\xD0";
            }
            EXPECT_EQ(Value(text + "=1\r\nb=2\r\n", _T(""), _T("b")), "2") << size << '+' << lead;
            const CString name = CString(_T('x'), static_cast<int>(lead)) +
                                 CString(WCHAR{0x4E2D}, static_cast<int>((text.size() - lead) / 2));
            EXPECT_EQ(Value(text + "=1\r\nb=2\r\n", _T(""), name), "1") << size << '+' << lead;
        }
    }
}

TEST(IniHostile, RandomBytesAreReadAndOneWriteMakesThemStable) {
    std::mt19937 random(20);
    const std::string alphabet("[]=;\r\n\t ab\xD6\xD0\xA3\xBB\x80\xFF\x1A\x00", 19);
    for (int round = 0; round < 60; ++round) {
        std::string bytes(random() % 200, '\0');
        for (char& c : bytes) {
            c = random() % 4 ? alphabet[random() % alphabet.size()] : static_cast<char>(random());
        }
        TestFolder folder;
        const CString path = folder.Path(_T("a.ini"));
        WriteBytes(path, bytes);
        { CIniFile ini(path, true); }
        // The first write settles what trimming and brackets make of odd names; from then on nothing moves but names
        // that are only read as something else again, which shortens the file.
        std::string before = ReadBytes(path);
        for (int again = 0; again < 8; ++again) {
            { CIniFile ini(path, true); }
            const std::string after = ReadBytes(path);
            if (after == before) {
                break;
            }
            before = after;
        }
        { CIniFile ini(path, true); }
        EXPECT_EQ(ReadBytes(path), before) << kvttest::Hex(bytes);
    }
}

TEST(IniHostile, OrdinaryFilesAreStableAfterOneWrite) {
    ExpectStableAfterOneWrite("a=1\n[S]\nb = 2 \nflag\n[T]\n=x\n[S]\nc=3");
    ExpectStableAfterOneWrite("[\xD6\xD0]\n\xCE\xC4=\x80\n");
}

TEST(IniHostile, AFolderIsNoFile) {
    TestFolder folder;
    const CString path = folder.Path(_T("folder.ini"));
    kvttest::MakeFolders(path);
    {
        CIniFile ini(path, true);
        EXPECT_EQ(ini.GetNumKeys(), 0);
        ini.SetValue(_T("S"), _T("x"), _T("1"), true);
        EXPECT_FALSE(ini.WriteFile());
    }
    EXPECT_TRUE(Exists(path));
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"folder.ini"});
}

TEST(IniSave, AReadOnlyFileIsRefusedAndWhole) {
    TestFolder folder;
    const CString path = folder.Path(_T("a.ini"));
    WriteBytes(path, "[S]\nx=1\n");
    ASSERT_TRUE(::SetFileAttributesW(path, FILE_ATTRIBUTE_READONLY));
    {
        CIniFile ini(path, true);
        ini.SetValue(_T("S"), _T("x"), _T("2"), true);
        EXPECT_FALSE(ini.WriteFile());
    }
    ::SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(ReadBytes(path), "[S]\nx=1\n");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.ini"});
}

TEST(IniSave, AFileInAMissingFolderIsRefused) {
    TestFolder folder;
    CIniFile ini;
    ini.SetPath(folder.Path(_T("none\\a.ini")));
    ini.SetValue(_T("S"), _T("x"), _T("1"), true);
    EXPECT_FALSE(ini.WriteFile());
    EXPECT_EQ(folder.Names(), std::vector<std::string>{});
    CIniFile nowhere;
    EXPECT_FALSE(nowhere.WriteFile());
}

TEST(IniSave, AFileThatCouldNotBeReadIsNotSavedByItself) {
    TestFolder folder;
    const CString path = folder.Path(_T("a.ini"));
    WriteBytes(path, "[S]\nx=1\n");
    {
        // Held without sharing while it is read, free again when the store ends.
        const HANDLE held =
            ::CreateFileW(path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        ASSERT_NE(held, INVALID_HANDLE_VALUE);
        CIniFile ini(path, true);
        ::CloseHandle(held);
        EXPECT_EQ(ini.GetNumKeys(), 0);
        ini.SetValue(_T("S"), _T("y"), _T("2"), true);
    }
    EXPECT_EQ(ReadBytes(path), "[S]\nx=1\n");
}

TEST(IniSave, WritingAnUnreadFileIsTheCallersChoice) {
    TestFolder folder;
    const CString path = folder.Path(_T("a.ini"));
    WriteBytes(path, "[S]\nx=1\n");
    {
        const HANDLE held =
            ::CreateFileW(path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        ASSERT_NE(held, INVALID_HANDLE_VALUE);
        CIniFile ini(path, true);
        ::CloseHandle(held);
        ini.SetValue(_T("S"), _T("y"), _T("2"), true);
        EXPECT_TRUE(ini.WriteFile());
        ini.SetValue(_T("S"), _T("z"), _T("3"), true);
    }
    EXPECT_EQ(ReadBytes(path), "[S]\r\ny=2\r\nz=3\r\n\r\n");
}

TEST(IniSave, ReadingAgainAfterAFailureAllowsTheSave) {
    TestFolder folder;
    const CString path = folder.Path(_T("a.ini"));
    WriteBytes(path, "[S]\nx=1\n");
    {
        const HANDLE held =
            ::CreateFileW(path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        ASSERT_NE(held, INVALID_HANDLE_VALUE);
        CIniFile ini(path, true);
        ::CloseHandle(held);
        EXPECT_TRUE(ini.ReadFile());
        ini.SetValue(_T("S"), _T("y"), _T("2"), true);
    }
    EXPECT_EQ(ReadBytes(path), "[S]\r\nx=1\r\ny=2\r\n\r\n");
}

TEST(IniIndex, AMillionEntriesOfOneSectionAreReadAndFoundInSeconds) {
    constexpr int COUNT = 1000000;
    TestFolder folder;
    const CString path = folder.Path(_T("large.ini"));
    std::string bytes = "[S]\r\n";
    for (int i = 0; i < COUNT; ++i) {
        bytes += "Name" + std::to_string(i) + '=' + std::to_string(i) + "\r\n";
    }
    WriteBytes(path, bytes);
    const auto start = std::chrono::steady_clock::now();
    CIniFile ini(path, false);
    ASSERT_EQ(ini.GetNumValues(_T("S")), COUNT);
    for (int i = 0; i < COUNT; i += 7) {
        ASSERT_EQ(ini.GetValueI(_T("s"), _T("NAME") + Number(i)), i);
    }
    EXPECT_TRUE(ini.DeleteValue(_T("S"), _T("Name500000")));
    EXPECT_EQ(ini.FindValue(0, _T("Name500000")), -1);
    EXPECT_EQ(ini.FindValue(0, _T("Name499999")), 499999);
    EXPECT_EQ(ini.FindValue(0, _T("Name500001")), 500000);
    // A search from the start of the section for every entry would take hours.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(120));
}

TEST(IniIndex, AgreesWithASimpleModelUnderRandomEdits) {
    std::mt19937 random(7);
    for (int round = 0; round < 20; ++round) {
        CIniFile ini;
        // Sections and entries in order; names as first written.
        std::vector<std::pair<std::string, std::vector<std::pair<std::string, std::string>>>> model;
        const auto fold = [](std::string text) {
            for (char& c : text) {
                c = static_cast<char>(std::tolower(c));
            }
            return text;
        };
        const auto find = [&](const auto& list, const std::string& name) {
            for (size_t i = 0; i < list.size(); ++i) {
                if (fold(list[i].first) == fold(name)) {
                    return static_cast<int>(i);
                }
            }
            return -1;
        };
        const unsigned names = round % 2 ? 8 : 300;
        const auto name = [&](char letter) {
            std::string text = letter + std::to_string(random() % names);
            text[0] = static_cast<char>(random() % 2 ? std::toupper(letter) : letter);
            return text;
        };
        for (int step = 0; step < 3000; ++step) {
            const std::string section = name(random() % 3 ? 's' : 't');
            const std::string entry = name('e');
            const int k = find(model, section);
            const int e = k < 0 ? -1 : find(model[static_cast<size_t>(k)].second, entry);
            switch (random() % 8) {
                case 0:
                    if (random() % 10 == 0) {
                        ASSERT_EQ(ini.DeleteKey(Wide(section)), k >= 0);
                        if (k >= 0) {
                            model.erase(model.begin() + k);
                        }
                    }
                    break;
                case 1:
                case 2:
                    ASSERT_EQ(ini.DeleteValue(Wide(section), Wide(entry)), e >= 0);
                    if (e >= 0) {
                        auto& entries = model[static_cast<size_t>(k)].second;
                        entries.erase(entries.begin() + e);
                    }
                    break;
                case 3:
                    ASSERT_EQ(ini.FindKey(Wide(section)), k);
                    ASSERT_EQ(ini.FindValue(k, Wide(entry)), e);
                    break;
                default: {
                    const bool create = random() % 4 != 0;
                    const std::string value = std::to_string(random() % 5);
                    ASSERT_EQ(ini.SetValue(Wide(section), Wide(entry), Wide(value), create), create || e >= 0);
                    if (create && k < 0) {
                        model.push_back({section, {{entry, value}}});
                    } else if (create && e < 0) {
                        model[static_cast<size_t>(k)].second.push_back({entry, value});
                    } else if (e >= 0) {
                        model[static_cast<size_t>(k)].second[static_cast<size_t>(e)].second = value;
                    }
                }
            }
        }
        ASSERT_EQ(ini.GetNumKeys(), static_cast<int>(model.size()));
        CStringArray lines;
        ini.GetAllValues(lines);
        std::vector<std::string> got;
        for (INT_PTR i = 0; i < lines.GetSize(); ++i) {
            got.push_back(Utf8(lines[i]));
        }
        std::vector<std::string> want;
        for (const auto& [section, entries] : model) {
            for (const auto& [entry, value] : entries) {
                want.push_back(entry + "=" + value);
            }
        }
        ASSERT_EQ(got, want);
    }
}

TEST(IniModel, RandomFilesReadAsASimpleReaderSays) {
    std::mt19937 random(11);
    for (int round = 0; round < 200; ++round) {
        std::string bytes;
        std::vector<std::pair<std::string, std::map<std::string, std::string>>> model;
        std::string section;
        for (auto line = random() % 40; line > 0; --line) {
            const std::string blanks(random() % 3, ' ');
            switch (random() % 5) {
                case 0:
                    section = "S" + std::to_string(random() % 4);
                    bytes += blanks + "[" + section + "]" + blanks;
                    break;
                case 1:
                    bytes += blanks + ";" + "x=1";
                    break;
                case 2:
                    bytes += blanks;
                    break;
                default: {
                    const std::string name = "n" + std::to_string(random() % 6);
                    const std::string value = random() % 3 ? "v" + std::to_string(random() % 9) + "=" : "";
                    bytes += blanks + name + (value.empty() && random() % 2 ? "" : "=" + value) + blanks;
                    auto at = model.begin();
                    while (at != model.end() && at->first != section) {
                        ++at;
                    }
                    if (at == model.end()) {
                        at = model.insert(at, {section, {}});
                    }
                    at->second[name] = value;
                }
            }
            bytes += random() % 2 ? "\r\n" : "\n";
        }
        TestFolder folder;
        WriteBytes(folder.Path(_T("a.ini")), bytes);
        CIniFile ini(folder.Path(_T("a.ini")), false);
        ASSERT_EQ(ini.GetNumKeys(), static_cast<int>(model.size())) << bytes;
        int key = 0;
        for (const auto& [name, entries] : model) {
            ASSERT_EQ(ini.FindKey(Wide(name)), key++) << bytes;
            ASSERT_EQ(ini.GetNumValues(Wide(name)), static_cast<int>(entries.size())) << bytes;
            for (const auto& [entry, value] : entries) {
                ASSERT_EQ(Utf8(ini.GetValue(Wide(name), Wide(entry))), value) << bytes;
            }
        }
    }
}
