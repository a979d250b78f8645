// CIniFile: what a file reads as, look-ups and edits in memory, and what is written.

#include "kvtfile/IniFile.h"

#include "tests/support/support.h"

using kvtfile::CIniFile;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::Wide;
using kvttest::WriteBytes;

namespace {

/// Reaches the texts and flags that derived classes see.
class Ini : public CIniFile {
public:
    using CIniFile::CIniFile;
    std::string Error() const { return Utf8(m_strError); }
    bool Modified() const { return m_bModified; }
    std::string Path() const { return Utf8(m_strPath); }
};

/// Every section and entry, one a line.
std::string Listing(const CIniFile& ini) {
    std::string text;
    CStringArray keys;
    ini.GetAllKeyname(keys);
    for (INT_PTR k = 0; k < keys.GetSize(); ++k) {
        text += "<" + Utf8(keys[k]) + ">\n";
        CStringArray names;
        CStringArray values;
        EXPECT_TRUE(ini.GetValue(keys[k], names, values));
        EXPECT_EQ(names.GetSize(), values.GetSize());
        for (INT_PTR i = 0; i < names.GetSize(); ++i) {
            text += "{" + Utf8(names[i]) + "}{" + Utf8(values[i]) + "}\n";
        }
    }
    return text;
}

std::string Read(std::string_view bytes) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.ini")), bytes);
    return Listing(CIniFile(folder.Path(_T("a.ini")), false));
}

std::string Joined(const CStringArray& lines) {
    std::string text;
    for (INT_PTR i = 0; i < lines.GetSize(); ++i) {
        text += Utf8(lines[i]) + "\n";
    }
    return text;
}

}  // namespace

TEST(IniRead, SectionsAndEntriesKeepTheirOrder) {
    EXPECT_EQ(Read("[B]\r\nz=1\r\na=2\r\n[A]\r\nm=3\r\n"), "<B>\n{z}{1}\n{a}{2}\n<A>\n{m}{3}\n");
}

TEST(IniRead, BothLineEndsAreRead) {
    EXPECT_EQ(Read("[A]\nx=1\r\ny=2\n"), "<A>\n{x}{1}\n{y}{2}\n");
}

TEST(IniRead, LastLineNeedsNoLineEnd) {
    EXPECT_EQ(Read("[A]\nx=1"), "<A>\n{x}{1}\n");
}

TEST(IniRead, LinesAreTrimmedOutsideOnly) {
    EXPECT_EQ(Read(" \t[A] \r\n\t key = value \t\r\n"), "<A>\n{key }{ value}\n");
}

TEST(IniRead, IdeographicSpaceIsTrimmedToo) {
    EXPECT_EQ(Read("\xA1\xA1x=1\xA1\xA1\n"), "<>\n{x}{1}\n");
}

TEST(IniRead, CommentsAndEmptyLinesAreSkipped) {
    EXPECT_EQ(Read("; a=1\r\n\r\n  ;b=2\r\n\xA3\xBB\x63=3\r\n \t \r\nd=4;e\r\n"), "<>\n{d}{4;e}\n");
}

TEST(IniRead, TextBeforeTheFirstHeaderBelongsToTheEmptySection) {
    EXPECT_EQ(Read("a=1\n[S]\nb=2\n"), "<>\n{a}{1}\n<S>\n{b}{2}\n");
}

TEST(IniRead, DoubledBracketsBelongToTheHeader) {
    EXPECT_EQ(Read("[[Name]]\na=1\n"), "<Name>\n{a}{1}\n");
}

TEST(IniRead, BracketsInsideStayInTheName) {
    EXPECT_EQ(Read("[[a]b]]]\nx=1\n"), "<a]b>\n{x}{1}\n");
}

TEST(IniRead, BlanksInsideTheBracketsBelongToTheName) {
    EXPECT_EQ(Read("[ A ]\nx=1\n"), "< A >\n{x}{1}\n");
}

TEST(IniRead, AnOpenBracketAloneIsAnEntry) {
    EXPECT_EQ(Read("[A\nB]\n[\n"), "<>\n{[A}{}\n{B]}{}\n{[}{}\n");
}

TEST(IniRead, EmptyBracketsNameTheEmptySection) {
    EXPECT_EQ(Read("[S]\na=1\n[]\nb=2\n"), "<S>\n{a}{1}\n<>\n{b}{2}\n");
}

TEST(IniRead, LineWithoutSignIsANameWithoutValue) {
    EXPECT_EQ(Read("[S]\nFlag\n"), "<S>\n{Flag}{}\n");
}

TEST(IniRead, TheFirstSignDivides) {
    EXPECT_EQ(Read("a=b=c\n=d\ne=\n"), "<>\n{a}{b=c}\n{}{d}\n{e}{}\n");
}

TEST(IniRead, ANameReadAgainKeepsOneEntryWithTheLastValue) {
    EXPECT_EQ(Read("[S]\nName=1\nother=2\nNAME=3\n"), "<S>\n{Name}{3}\n{other}{2}\n");
}

TEST(IniRead, AHeaderReadAgainGoesOnWithItsSection) {
    EXPECT_EQ(Read("[S]\na=1\n[T]\nb=2\n[s]\nc=3\n"), "<S>\n{a}{1}\n{c}{3}\n<T>\n{b}{2}\n");
}

TEST(IniRead, AHeaderWithoutEntriesMakesNoSection) {
    EXPECT_EQ(Read("[S]\n[T]\nb=2\n"), "<T>\n{b}{2}\n");
}

TEST(IniRead, TextIsCodePage936) {
    EXPECT_EQ(Read("[\xD6\xD0\xCE\xC4]\r\n\xB5\xE3=\x80 5\r\n"), "<中文>\n{点}{€ 5}\n");
}

TEST(IniRead, NamesFoldBeyondAscii) {
    EXPECT_EQ(Read("[\xA7\xA1]\na=1\n[\xA7\xD1]\nA=2\n"), "<А>\n{a}{2}\n");  // Cyrillic А and а
}

TEST(IniLookup, SectionsAndNamesIgnoreCase) {
    CIniFile ini;
    ini.SetValue(_T("Sec"), _T("Name"), _T("v"), true);
    ini.SetValue(_T("Äé"), _T("Жук"), _T("w"), true);
    EXPECT_EQ(ini.FindKey(_T("SEC")), 0);
    EXPECT_EQ(ini.FindKey(_T("äÉ")), 1);
    EXPECT_EQ(ini.FindKey(_T("none")), -1);
    EXPECT_EQ(ini.FindValue(0, _T("nAME")), 0);
    EXPECT_EQ(ini.FindValue(1, _T("жУК")), 0);
    EXPECT_EQ(ini.FindValue(0, _T("none")), -1);
}

TEST(IniLookup, SectionsThatAreNotThereHoldNothing) {
    CIniFile ini;
    ini.SetValue(_T("S"), _T("a"), _T("1"), true);
    EXPECT_EQ(ini.FindValue(-1, _T("a")), -1);
    EXPECT_EQ(ini.FindValue(1, _T("a")), -1);
    EXPECT_EQ(ini.FindValue(-2147483647, _T("a")), -1);
    EXPECT_EQ(ini.FindValue(2147483647, _T("a")), -1);
}

TEST(IniLookup, FindKeyByValueNameGivesTheFirstSection) {
    CIniFile ini;
    ini.SetValue(_T("A"), _T("x"), _T("1"), true);
    ini.SetValue(_T("B"), _T("y"), _T("2"), true);
    ini.SetValue(_T("C"), _T("Y"), _T("3"), true);
    CString key = _T("before");
    EXPECT_FALSE(ini.FindKey(_T("z"), key));
    EXPECT_EQ(Utf8(key), "before");
    EXPECT_TRUE(ini.FindKey(_T("Y"), key));
    EXPECT_EQ(Utf8(key), "B");
}

TEST(IniLookup, Counts) {
    CIniFile ini;
    EXPECT_EQ(ini.GetNumKeys(), 0);
    ini.SetValue(_T("A"), _T("x"), _T("1"), true);
    ini.SetValue(_T("A"), _T("y"), _T("1"), true);
    ini.SetValue(_T("B"), _T("x"), _T("1"), true);
    EXPECT_EQ(ini.GetNumKeys(), 2);
    EXPECT_EQ(ini.GetNumValues(_T("a")), 2);
    EXPECT_EQ(ini.GetNumValues(_T("b")), 1);
    EXPECT_EQ(ini.GetNumValues(_T("c")), -1);
}

TEST(IniLookup, MissingValueIsEmptyAndNamesWhatIsMissing) {
    Ini ini;
    ini.SetValue(_T("A"), _T("x"), _T("1"), true);
    EXPECT_EQ(Utf8(ini.GetValue(_T("A"), _T("x"))), "1");
    EXPECT_EQ(ini.Error(), "");
    EXPECT_EQ(Utf8(ini.GetValue(_T("B"), _T("x"))), "");
    EXPECT_EQ(ini.Error(), "Unable to locate specified key.");
    EXPECT_EQ(Utf8(ini.GetValue(_T("A"), _T("y"))), "");
    EXPECT_EQ(ini.Error(), "Unable to locate specified value.");
    EXPECT_EQ(Utf8(ini.GetValue(_T("A"), _T("x"))), "1");
    EXPECT_EQ(ini.Error(), "Unable to locate specified value.");
}

TEST(IniLookup, IntegersReadAsFarAsTheyGo) {
    const struct {
        LPCWSTR text;
        int value;
    } rows[] = {
        {_T("42"), 42},
        {_T("-7"), -7},
        {_T("+7"), 7},
        {_T("  12 "), 12},
        {_T("12abc"), 12},
        {_T("abc"), 0},
        {_T(""), 0},
        {_T("1.9"), 1},
        {_T("0x1F"), 0},
        {_T("1e3"), 1},
        {_T("- 5"), 0},
        {_T("0012"), 12},
        {_T("2147483647"), 2147483647},
        {_T("2147483648"), 2147483647},
        {_T("-2147483648"), -2147483647 - 1},
        {_T("-99999999999"), -2147483647 - 1},
    };
    CIniFile ini;
    for (const auto& row : rows) {
        ini.SetValue(_T("A"), _T("n"), row.text, true);
        EXPECT_EQ(ini.GetValueI(_T("A"), _T("n")), row.value) << Utf8(row.text);
    }
    EXPECT_EQ(ini.GetValueI(_T("A"), _T("missing")), 0);
    EXPECT_EQ(ini.GetValueI(_T("missing"), _T("n")), 0);
}

TEST(IniLookup, NumbersReadAsFarAsTheyGo) {
    const struct {
        LPCWSTR text;
        double value;
    } rows[] = {{_T("0.5"), 0.5},    {_T("5.000000e-01"), 0.5},
                {_T("1.5e2x"), 150}, {_T("-2"), -2},
                {_T(".5"), 0.5},     {_T("5."), 5},
                {_T("1,5"), 1},      {_T("."), 0},
                {_T("x"), 0},        {_T(""), 0}};
    CIniFile ini;
    for (const auto& row : rows) {
        ini.SetValue(_T("A"), _T("n"), row.text, true);
        EXPECT_EQ(ini.GetValueF(_T("A"), _T("n")), row.value) << Utf8(row.text);
    }
    EXPECT_EQ(ini.GetValueF(_T("A"), _T("missing")), 0);
}

TEST(IniLookup, ListsAreAppended) {
    CIniFile ini;
    ini.SetValue(_T("A"), _T("x"), _T("1"), true);
    ini.SetValue(_T("A"), _T("flag"), _T(""), true);
    ini.SetValue(_T("B"), _T(""), _T("v"), true);
    CStringArray keys;
    keys.Add(_T("first"));
    ini.GetAllKeyname(keys);
    EXPECT_EQ(Joined(keys), "first\nA\nB\n");

    CStringArray names;
    CStringArray values;
    names.Add(_T("n"));
    values.Add(_T("v"));
    EXPECT_TRUE(ini.GetValue(_T("a"), names, values));
    EXPECT_EQ(Joined(names), "n\nx\nflag\n");
    EXPECT_EQ(Joined(values), "v\n1\n\n");
    EXPECT_FALSE(ini.GetValue(_T("none"), names, values));
    EXPECT_EQ(names.GetSize(), 3);

    CStringArray lines;
    lines.Add(_T("first"));
    EXPECT_TRUE(ini.GetValue(_T("A"), lines));
    EXPECT_EQ(Joined(lines), "first\nx=1\nflag\n");
    EXPECT_FALSE(ini.GetValue(_T("none"), lines));
    EXPECT_EQ(lines.GetSize(), 3);

    lines.RemoveAll();
    ini.GetAllValues(lines);
    EXPECT_EQ(Joined(lines), "x=1\nflag\n=v\n");
}

TEST(IniLookup, ItemsAreFoundInAnySection) {
    CIniFile ini;
    ini.SetValue(_T("A"), _T("x"), _T("1"), true);
    ini.SetValue(_T("B"), _T("y"), _T("2"), true);
    ini.SetValue(_T("C"), _T("y"), _T("3"), true);
    CString value = _T("v");
    CString key = _T("k");
    EXPECT_FALSE(ini.GetItemValue(_T("z"), value));
    EXPECT_FALSE(ini.GetItemValueAndKey(_T("z"), value, key));
    EXPECT_EQ(Utf8(value), "v");
    EXPECT_EQ(Utf8(key), "k");
    EXPECT_TRUE(ini.GetItemValue(_T("Y"), value));
    EXPECT_EQ(Utf8(value), "2");
    EXPECT_TRUE(ini.GetItemValueAndKey(_T("y"), value, key));
    EXPECT_EQ(Utf8(key), "B");
    EXPECT_TRUE(ini.IsHaveValueName(_T("b"), _T("Y")));
    EXPECT_FALSE(ini.IsHaveValueName(_T("A"), _T("y")));
    EXPECT_FALSE(ini.IsHaveValueName(_T("D"), _T("y")));
}

TEST(IniEdit, MissingSectionOrEntryIsAddedOnlyWhenAsked) {
    Ini ini;
    EXPECT_FALSE(ini.SetValue(_T("S"), _T("a"), _T("1"), false));
    EXPECT_FALSE(ini.Modified());
    EXPECT_EQ(ini.GetNumKeys(), 0);
    EXPECT_TRUE(ini.SetValue(_T("S"), _T("a"), _T("1"), true));
    EXPECT_TRUE(ini.Modified());
    EXPECT_FALSE(ini.SetValue(_T("S"), _T("b"), _T("2"), false));
    EXPECT_EQ(Listing(ini), "<S>\n{a}{1}\n");
    EXPECT_TRUE(ini.SetValue(_T("s"), _T("A"), _T("3"), false));
    EXPECT_EQ(Listing(ini), "<S>\n{a}{3}\n");
}

TEST(IniEdit, AnEqualValueIsNoChangeAndCaseIsADifference) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.ini")), "");
    Ini ini(folder.Path(_T("a.ini")), false);
    EXPECT_FALSE(ini.Modified());
    ini.SetValue(_T("S"), _T("a"), _T("x"), true);
    EXPECT_TRUE(ini.SetValue(_T("S"), _T("a"), _T("X"), false));
    EXPECT_EQ(Utf8(ini.GetValue(_T("S"), _T("a"))), "X");
}

TEST(IniEdit, NumbersAreStoredAsText) {
    CIniFile ini;
    EXPECT_TRUE(ini.SetValueI(_T("S"), _T("i"), -2147483647 - 1, true));
    EXPECT_EQ(Utf8(ini.GetValue(_T("S"), _T("i"))), "-2147483648");
    const struct {
        double value;
        const char* text;
    } rows[] = {{0.5, "5.000000e-01"},
                {1.5, "1.500000e+00"},
                {-1234567.25, "-1.234567e+06"},
                {0, "0.000000e+00"},
                {1e-300, "1.000000e-300"}};
    for (const auto& row : rows) {
        EXPECT_TRUE(ini.SetValueF(_T("S"), _T("f"), row.value, true));
        EXPECT_EQ(Utf8(ini.GetValue(_T("S"), _T("f"))), row.text);
    }
    EXPECT_FALSE(ini.SetValueI(_T("S"), _T("new"), 1, false));
    EXPECT_FALSE(ini.SetValueF(_T("T"), _T("new"), 1, false));
}

TEST(IniEdit, ArraysOfNamesAndValues) {
    CIniFile ini;
    CStringArray names;
    CStringArray values;
    names.Add(_T("a"));
    names.Add(_T("b"));
    values.Add(_T("1"));
    values.Add(_T("2"));
    EXPECT_TRUE(ini.SetValue(_T("S"), names, values, true));
    EXPECT_EQ(Listing(ini), "<S>\n{a}{1}\n{b}{2}\n");
    names.Add(_T("c"));
    EXPECT_FALSE(ini.SetValue(_T("S"), names, values, true));
    EXPECT_EQ(Listing(ini), "<S>\n{a}{1}\n{b}{2}\n");
    EXPECT_FALSE(ini.SetValue(_T("T"), names, false));
    EXPECT_TRUE(ini.SetValue(_T("S"), names, true));
    EXPECT_EQ(Listing(ini), "<S>\n{a}{}\n{b}{}\n{c}{}\n");
}

TEST(IniEdit, DeleteKeyTakesItsEntriesAlong) {
    Ini ini;
    ini.SetValue(_T("A"), _T("x"), _T("1"), true);
    ini.SetValue(_T("B"), _T("y"), _T("2"), true);
    ini.SetValue(_T("C"), _T("z"), _T("3"), true);
    EXPECT_FALSE(ini.DeleteKey(_T("D")));
    EXPECT_TRUE(ini.DeleteKey(_T("b")));
    EXPECT_EQ(Listing(ini), "<A>\n{x}{1}\n<C>\n{z}{3}\n");
    EXPECT_EQ(ini.FindKey(_T("C")), 1);
    EXPECT_TRUE(ini.SetValue(_T("B"), _T("w"), _T("4"), true));
    EXPECT_EQ(Listing(ini), "<A>\n{x}{1}\n<C>\n{z}{3}\n<B>\n{w}{4}\n");
}

TEST(IniEdit, DeleteValueTakesOneEntry) {
    CIniFile ini;
    ini.SetValue(_T("A"), _T("x"), _T("1"), true);
    ini.SetValue(_T("A"), _T("y"), _T("2"), true);
    EXPECT_FALSE(ini.DeleteValue(_T("B"), _T("x")));
    EXPECT_FALSE(ini.DeleteValue(_T("A"), _T("z")));
    EXPECT_TRUE(ini.DeleteValue(_T("a"), _T("X")));
    EXPECT_EQ(Listing(ini), "<A>\n{y}{2}\n");
    EXPECT_TRUE(ini.DeleteValue(_T("A"), _T("y")));
    EXPECT_EQ(ini.GetNumKeys(), 1);
    EXPECT_EQ(ini.GetNumValues(_T("A")), 0);
}

TEST(IniEdit, DeletionsAndResetAreChanges) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.ini")), "");
    for (int job = 0; job < 3; ++job) {
        Ini ini(folder.Path(_T("a.ini")), false);
        ASSERT_FALSE(ini.Modified());
        EXPECT_FALSE(ini.DeleteKey(_T("A")));
        EXPECT_FALSE(ini.DeleteValue(_T("A"), _T("x")));
        EXPECT_FALSE(ini.Modified());
        ini.Reset();
        EXPECT_TRUE(ini.Modified());
        EXPECT_EQ(ini.GetNumKeys(), 0);
    }
}

TEST(IniWrite, SectionsEntriesAndOneEmptyLineEach) {
    TestFolder folder;
    CIniFile ini;
    ini.SetPath(folder.Path(_T("a.ini")));
    ini.SetValue(_T("B"), _T("z"), _T("1"), true);
    ini.SetValue(_T("B"), _T("Flag"), _T(""), true);
    ini.SetValue(_T("中文"), _T("点"), _T("€"), true);
    EXPECT_TRUE(ini.WriteFile());
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.ini"))),
              "[B]\r\nz=1\r\nFlag\r\n\r\n[\xD6\xD0\xCE\xC4]\r\n\xB5\xE3=\x80\r\n\r\n");
}

TEST(IniWrite, SectionsWithoutEntriesAreLeftOut) {
    TestFolder folder;
    CIniFile ini;
    ini.SetPath(folder.Path(_T("a.ini")));
    ini.SetValue(_T("A"), _T("x"), _T("1"), true);
    ini.SetValue(_T("B"), _T("y"), _T("2"), true);
    ini.DeleteValue(_T("A"), _T("x"));
    EXPECT_TRUE(ini.WriteFile());
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.ini"))), "[B]\r\ny=2\r\n\r\n");
}

TEST(IniWrite, TheEmptySectionHasEmptyBrackets) {
    TestFolder folder;
    {
        CIniFile ini(folder.Path(_T("a.ini")), true);
        ini.SetValue(_T(""), _T("a"), _T("1"), true);
    }
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.ini"))), "[]\r\na=1\r\n\r\n");
    EXPECT_EQ(Listing(CIniFile(folder.Path(_T("a.ini")), false)), "<>\n{a}{1}\n");
}

TEST(IniWrite, CharactersThatTheCodePageLacksAreQuestionMarks) {
    TestFolder folder;
    CIniFile ini;
    ini.SetPath(folder.Path(_T("a.ini")));
    ini.SetValue(_T("S"), _T("a"), _T("xñ\u0E01y"), true);
    ini.SetValue(_T("S"), _T("b"), _T("after"), true);
    EXPECT_TRUE(ini.WriteFile());
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.ini"))), "[S]\r\na=x??y\r\nb=after\r\n\r\n");
}

TEST(IniWrite, NothingIsEscaped) {
    TestFolder folder;
    {
        CIniFile ini(folder.Path(_T("a.ini")), true);
        ini.SetValue(_T("S"), _T("a=b"), _T("c\nd"), true);
        ini.SetValue(_T("S"), _T(";e"), _T(" f "), true);
        ini.SetValue(_T("S"), _T("[g]"), _T(""), true);
        ini.SetValue(_T("S"), _T("h"), _T("1"), true);
    }
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.ini"))), "[S]\r\na=b=c\r\nd\r\n;e= f \r\n[g]\r\nh=1\r\n\r\n");
    EXPECT_EQ(Listing(CIniFile(folder.Path(_T("a.ini")), false)), "<S>\n{a}{b=c}\n{d}{}\n<g>\n{h}{1}\n");
}

TEST(IniWrite, AStoreReadWithAutoSaveLeavesItsFileInTheNormalForm) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.ini")), " x = 1\n; comment\n[S]\nb=2\nB=3\n[Empty]\n");
    { CIniFile ini(folder.Path(_T("a.ini")), true); }
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.ini"))), "[]\r\nx = 1\r\n\r\n[S]\r\nb=3\r\n\r\n");
}

TEST(IniWrite, WithoutAutoSaveTheFileIsLeftAlone) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.ini")), "x=1\n");
    {
        CIniFile ini(folder.Path(_T("a.ini")), false);
        ini.SetValue(_T(""), _T("x"), _T("2"), true);
    }
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.ini"))), "x=1\n");
    {
        CIniFile ini(folder.Path(_T("a.ini")), false);
        ini.SetAutoSave(true);
    }
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.ini"))), "[]\r\nx=1\r\n\r\n");
}

TEST(IniWrite, AnUnchangedStoreIsNotSaved) {
    TestFolder folder;
    { CIniFile ini(folder.Path(_T("missing.ini")), true); }
    EXPECT_EQ(folder.Names(), std::vector<std::string>{});
    WriteBytes(folder.Path(_T("a.ini")), "; only a comment\n");
    { CIniFile ini(folder.Path(_T("a.ini")), true); }
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.ini"))), "; only a comment\n");
}

TEST(IniWrite, AResetStoreLeavesAnEmptyFile) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.ini")), "[S]\nx=1\n");
    {
        CIniFile ini(folder.Path(_T("a.ini")), true);
        ini.Reset();
    }
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.ini"))), "");
}

TEST(IniWrite, AMissingFileIsCreated) {
    TestFolder folder;
    {
        Ini ini(folder.Path(_T("new.ini")), true);
        EXPECT_FALSE(ini.ReadFile());
        ini.SetValue(_T("S"), _T("x"), _T("1"), true);
    }
    EXPECT_EQ(ReadBytes(folder.Path(_T("new.ini"))), "[S]\r\nx=1\r\n\r\n");
}

TEST(IniRead, ReadFileTellsWhetherTheFileIsThere) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.ini")), "x=1\n");
    CIniFile ini;
    EXPECT_FALSE(ini.ReadFile());
    ini.SetPath(folder.Path(_T("none.ini")));
    EXPECT_FALSE(ini.ReadFile());
    ini.SetPath(folder.Path(_T("a.ini")));
    EXPECT_EQ(ini.GetNumKeys(), 0);
    EXPECT_TRUE(ini.ReadFile());
    EXPECT_EQ(Listing(ini), "<>\n{x}{1}\n");
}

TEST(IniRead, ReadingAgainAddsToWhatIsThere) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("a.ini")), "x=1\n");
    WriteBytes(folder.Path(_T("b.ini")), "y=2\nX=3\n");
    CIniFile ini(folder.Path(_T("a.ini")), false);
    ini.SetPath(folder.Path(_T("b.ini")));
    EXPECT_TRUE(ini.ReadFile());
    EXPECT_EQ(Listing(ini), "<>\n{x}{3}\n{y}{2}\n");
}

TEST(IniPath, WorkCopyIsMadeAndUsed) {
    TestFolder folder;
    const CString source = folder.Path(_T("source.ini"));
    const CString work = folder.Path(_T("sub\\deep\\work.ini"));
    WriteBytes(source, "[S]\nx=1\n");
    {
        Ini ini(work, source, true);
        EXPECT_EQ(ini.Path(), Utf8(work));
        ini.SetValue(_T("S"), _T("x"), _T("2"), true);
    }
    EXPECT_EQ(ReadBytes(source), "[S]\nx=1\n");
    EXPECT_EQ(ReadBytes(work), "[S]\r\nx=2\r\n\r\n");
    const Ini again(work, source, false);
    EXPECT_EQ(Listing(again), "<S>\n{x}{2}\n");
}

TEST(IniPath, WithoutAWorkCopyTheFileItselfIsUsed) {
    TestFolder folder;
    const CString source = folder.Path(_T("source.ini"));
    WriteBytes(source, "x=1\n");
    EXPECT_EQ(Ini(_T(""), source, false).Path(), Utf8(source));
    EXPECT_EQ(Ini(folder.Path(_T("work.ini")), folder.Path(_T("none.ini")), false).Path(),
              Utf8(folder.Path(_T("none.ini"))));
    Ini ini;
    ini.SetPath(_T(""), source);
    EXPECT_EQ(ini.Path(), Utf8(source));
    EXPECT_EQ(ini.GetNumKeys(), 0);
    ini.SetPath(folder.Path(_T("work.ini")), source);
    EXPECT_EQ(ini.Path(), Utf8(folder.Path(_T("work.ini"))));
    EXPECT_EQ(ini.GetNumKeys(), 0);
}
