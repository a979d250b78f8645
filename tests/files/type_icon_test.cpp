// GetTypeIcon: registered types, programs, and the shell's own icons by kind.

#include "kvtfile/FileUtil.h"
#include "tests/support/icon_bytes.h"
#include "tests/support/registry.h"
#include "tests/support/support.h"

namespace {

using kvttest::ImageBytes;
using kvttest::Picture;
using kvttest::Shown;

constexpr kvttest::Rgba kRed = 0xFF0000FF, kGreen = 0x00FF00FF, kBlue = 0x0000FFFF, kWhite = 0xFFFFFFFF;

const CString kExtensionKey = _T("Software\\Classes\\.kvtplan");
const CString kClassKey = _T("Software\\Classes\\kvtfile.plan");

class TypeIcon : public testing::Test {
protected:
    TypeIcon() { Clear(); }
    ~TypeIcon() override { Clear(); }

    /// The file's icon, with the pixels of both sizes.
    CString WriteIcons(const CString& name, kvttest::Rgba large, kvttest::Rgba small) {
        kvttest::WriteBytes(m_folder.Path(name), kvttest::IcoBytes(Images(large, small)));
        return m_folder.Path(name);
    }

    static std::vector<std::string> Images(kvttest::Rgba large, kvttest::Rgba small) {
        return {ImageBytes(Picture::Filled(16, small), 32), ImageBytes(Picture::Filled(32, large), 32)};
    }

    void Register(const CString& icon, DWORD type = REG_SZ) {
        kvttest::PutText(HKEY_LOCAL_MACHINE, kExtensionKey, _T(""), _T("kvtfile.plan "));
        const std::string bytes(reinterpret_cast<const char*>(icon.GetString()),
                                static_cast<size_t>(icon.GetLength() + 1) * 2);
        kvttest::PutBytes(HKEY_LOCAL_MACHINE, kClassKey + _T("\\DefaultIcon"), _T(""), type, bytes);
    }

    static std::string Pixels(const CString& path, int kind, bool small) {
        const HICON icon = kvtfile::GetTypeIcon(path, kind, small);
        kvtmfc::IconPixels pixels;
        if (!icon || !kvtmfc::GetIconPixels(icon, pixels)) {
            ADD_FAILURE() << "no icon";
            return "";
        }
        EXPECT_EQ(pixels.width, small ? 16 : 32);
        EXPECT_EQ(pixels.height, small ? 16 : 32);
        EXPECT_TRUE(::DestroyIcon(icon));
        return {pixels.rgba.begin(), pixels.rgba.end()};
    }

    /// Whether the type's large icon is filled with a colour.
    static void ExpectFilled(const CString& path, kvttest::Rgba colour) {
        EXPECT_EQ(Shown(Pixels(path, 0, false)), Shown(Picture::Filled(32, colour)));
    }

    static void Clear() {
        kvttest::RemoveKey(HKEY_LOCAL_MACHINE, kExtensionKey);
        kvttest::RemoveKey(HKEY_LOCAL_MACHINE, kClassKey);
    }

    kvttest::TestFolder m_folder;
};

TEST_F(TypeIcon, RegisteredIconComesInBothSizes) {
    Register(WriteIcons(_T("a.ico"), kRed, kGreen));
    EXPECT_EQ(Shown(Pixels(_T("C:\\house.kvtplan"), 0, false)), Shown(Picture::Filled(32, kRed)));
    EXPECT_EQ(Shown(Pixels(_T("C:\\house.KVTPLAN"), 0, true)), Shown(Picture::Filled(16, kGreen)));
    EXPECT_EQ(Shown(Pixels(_T("C:\\house.kvtplan"), 3, false)), Shown(Pixels(_T("b.kvtplan"), 0, false)));
}

TEST_F(TypeIcon, NumberBehindTheLastCommaChoosesTheIcon) {
    kvttest::Icons icons;
    icons[7] = Images(kRed, kRed);
    icons[90] = Images(kGreen, kGreen);
    const CString library = m_folder.Path(_T("icons,old.dll"));
    kvttest::WriteBytes(library, kvttest::ProgramBytes(icons));
    const struct {
        CString text;
        kvttest::Rgba colour;
    } rows[] = {
        {library, kRed},
        {library + _T(",0"), kRed},
        {library + _T(",1"), kGreen},
        {library + _T(", 1 "), kGreen},
        {library + _T(",-90"), kGreen},
        {library + _T(",-7"), kRed},
        {library + _T(",x"), kRed},
        {library + _T(","), kRed},
        {_T("\"") + library + _T("\",1"), kGreen},
        {_T("\"") + library + _T("\""), kRed},
    };
    for (const auto& row : rows) {
        Register(row.text);
        SCOPED_TRACE(kvttest::Utf8(row.text));
        ExpectFilled(_T("a.kvtplan"), row.colour);
    }
}

TEST_F(TypeIcon, VariablesAreExpandedWhateverTheValuesType) {
    for (const DWORD type : {DWORD{REG_SZ}, DWORD{REG_EXPAND_SZ}}) {
        Register(_T("%SystemRoot%\\system32\\shell32.dll,3"), type);
        EXPECT_EQ(Shown(Pixels(_T("a.kvtplan"), 0, false)), Shown(Pixels(_T(""), 3, false))) << type;
    }
}

TEST_F(TypeIcon, PercentOneIsTheFileItself) {
    const CString file = WriteIcons(_T("own.kvtplan"), kBlue, kWhite);
    for (const LPCWSTR text : {_T("%1"), _T("\"%1\""), _T("%1,0")}) {
        Register(text);
        ExpectFilled(file, kBlue);
    }
}

TEST_F(TypeIcon, ProgramsShowTheirOwnIcon) {
    const CString program = m_folder.Path(_T("Draw.EXE"));
    kvttest::WriteBytes(program, kvttest::ProgramBytes({{1, Images(kGreen, kGreen)}, {2, Images(kRed, kRed)}}));
    ExpectFilled(program, kGreen);
    const std::string application = Pixels(_T(""), 2, false);
    EXPECT_EQ(Shown(Pixels(m_folder.Path(_T("missing.exe")), 0, false)), Shown(application));
    kvttest::WriteBytes(program, kvttest::ProgramBytes({}));
    EXPECT_EQ(Shown(Pixels(program, 0, false)), Shown(application));
}

TEST_F(TypeIcon, ShellIconOfTheKindServesWhereNothingIsRegistered) {
    const std::string document = Pixels(_T(""), 0, false);
    for (int kind = 0; kind < 18; ++kind) {
        HICON icon = nullptr;
        ASSERT_EQ(::ExtractIconExW(_T("shell32.dll"), kind, &icon, nullptr, 1), 1u);
        kvtmfc::IconPixels pixels;
        ASSERT_TRUE(kvtmfc::GetIconPixels(icon, pixels));
        ::DestroyIcon(icon);
        EXPECT_EQ(Shown(Pixels(_T("a.kvtplan"), kind, false)),
                  Shown(std::string(pixels.rgba.begin(), pixels.rgba.end())))
            << kind;
    }
    EXPECT_NE(Shown(Pixels(_T("a.kvtplan"), 3, true)), Shown(Pixels(_T("a.kvtplan"), 0, true)));
    for (const int kind : {-1, 18, 1000, INT_MIN, INT_MAX}) {
        EXPECT_EQ(Shown(Pixels(_T("a.kvtplan"), kind, false)), Shown(document));
    }
    EXPECT_EQ(Shown(Pixels(_T("noextension"), 0, false)), Shown(document));
}

TEST_F(TypeIcon, RegisteredIconThatCannotBeHadCountsAsNone) {
    const std::string folder = Pixels(_T(""), 3, false);
    kvttest::WriteBytes(m_folder.Path(_T("text.ico")), "no icon");
    const CString good = WriteIcons(_T("a.ico"), kRed, kRed);
    for (const CString& text :
         {m_folder.Path(_T("missing.ico")), m_folder.Path(_T("text.ico")), good + _T(",5"), CString(_T(",")),
          CString(_T("\"\"")), CString(_T("%kvtfile no such%\\a.ico")), CString()}) {
        Register(text);
        EXPECT_EQ(Shown(Pixels(_T("a.kvtplan"), 3, false)), Shown(folder)) << kvttest::Utf8(text);
    }
}

}  // namespace
