// Icons of files: counting, extracting, pixels, releasing. The same files are read by the system on Windows.

#include "kvtfile/types.h"
#include "tests/support/icon_bytes.h"
#include "tests/support/support.h"

namespace {

using kvtmfc::IconPixels;

using kvttest::IcoBytes;
using kvttest::ImageBytes;
using kvttest::Picture;
using kvttest::ProgramBytes;
using kvttest::Rgba;
using kvttest::Shown;

constexpr UINT kNoFile = 0xFFFFFFFF;
constexpr Rgba kRed = 0xFF0000FF, kGreen = 0x00FF00FF, kBlue = 0x0000FFFF, kWhite = 0xFFFFFFFF, kClear = 0;

/// Four quarters, of which the last one is transparent.
Picture Quarters(int side) {
    return Picture::Square(side, [side](int x, int y) {
        return x < side / 2 ? y < side / 2 ? kRed : kBlue : y < side / 2 ? kWhite : kClear;
    });
}

std::string PixelsOf(HICON icon, int side) {
    IconPixels pixels;
    EXPECT_TRUE(kvtmfc::GetIconPixels(icon, pixels));
    EXPECT_EQ(pixels.width, side);
    EXPECT_EQ(pixels.height, side);
    return {pixels.rgba.begin(), pixels.rgba.end()};
}

class Win32Icons : public testing::Test {
protected:
    CString Write(const CString& name, const std::string& bytes) {
        kvttest::WriteBytes(m_folder.Path(name), bytes);
        return m_folder.Path(name);
    }

    UINT Count(const CString& path) { return ::ExtractIconExW(path, -1, nullptr, nullptr, 0); }

    /// The bytes of one icon of a file; empty when there is none.
    std::string Pixels(const CString& path, int index, int side) {
        HICON icon = nullptr;
        const UINT count = ::ExtractIconExW(path, index, side == 32 ? &icon : nullptr, side == 32 ? nullptr : &icon, 1);
        if (count != 1 || !icon) {
            return "";
        }
        std::string bytes = PixelsOf(icon, side);
        EXPECT_TRUE(::DestroyIcon(icon));
        return bytes;
    }

    kvttest::TestFolder m_folder;
};

TEST_F(Win32Icons, EveryDepthGivesItsPixels) {
    for (const int bits : {4, 8, 16, 24, 32}) {
        for (const int side : {16, 32}) {
            const CString path = Write(_T("a.ico"), IcoBytes(Quarters(side), bits));
            EXPECT_EQ(Shown(Pixels(path, 0, side)), Shown(Quarters(side))) << bits << " bits, " << side;
        }
    }
}

TEST_F(Win32Icons, TwoColoursAndAMask) {
    const Picture picture = Picture::Square(32, [](int x, int y) {
        return x < 16 ? 0x000000FF : y < 16 ? kWhite : kClear;
    });
    EXPECT_EQ(Shown(Pixels(Write(_T("a.ico"), IcoBytes(picture, 1)), 0, 32)), Shown(picture));
}

TEST_F(Win32Icons, AlphaIsKept) {
    const Picture picture =
        Picture::Square(32, [](int x, int y) -> Rgba { return (x + y) % 2 == 0 ? 0x20406080 : 0xFF8000FF; });
    EXPECT_EQ(Shown(Pixels(Write(_T("a.ico"), IcoBytes(picture, 32)), 0, 32)), Shown(picture));
}

TEST_F(Win32Icons, ImageOfTheSizeIsChosen) {
    const CString path = Write(
        _T("a.ico"), IcoBytes({ImageBytes(Picture::Filled(48, kBlue), 32), ImageBytes(Picture::Filled(16, kRed), 32),
                               ImageBytes(Picture::Filled(32, kGreen), 32)}));
    EXPECT_EQ(Shown(Pixels(path, 0, 32)), Shown(Picture::Filled(32, kGreen)));
    EXPECT_EQ(Shown(Pixels(path, 0, 16)), Shown(Picture::Filled(16, kRed)));
}

TEST_F(Win32Icons, OtherSizesAreScaled) {
    const CString path = Write(_T("a.ico"), IcoBytes({ImageBytes(Picture::Filled(48, kBlue), 32)}));
    EXPECT_EQ(Shown(Pixels(path, 0, 32)), Shown(Picture::Filled(32, kBlue)));
    EXPECT_EQ(Shown(Pixels(path, 0, 16)), Shown(Picture::Filled(16, kBlue)));
}

TEST_F(Win32Icons, IcoFileHoldsOneIcon) {
    const CString path = Write(
        _T("a.ico"), IcoBytes({ImageBytes(Picture::Filled(32, kRed), 32), ImageBytes(Picture::Filled(16, kRed), 32)}));
    EXPECT_EQ(Count(path), 1u);
    EXPECT_EQ(Pixels(path, 1, 32), "");
    EXPECT_EQ(Shown(Pixels(path, -5, 32)), Shown(Picture::Filled(32, kRed)));
}

TEST_F(Win32Icons, ProgramsHoldIconsByNumberAndById) {
    for (const bool wide : {true, false}) {
        kvttest::Icons icons;
        icons[7] = {ImageBytes(Picture::Filled(32, kRed), 32), ImageBytes(Picture::Filled(16, kRed), 32)};
        icons[90] = {ImageBytes(Picture::Filled(32, kGreen), 32), ImageBytes(Picture::Filled(16, kBlue), 8)};
        const CString path = Write(_T("a.dll"), ProgramBytes(icons, wide));
        EXPECT_EQ(Count(path), 2u) << wide;
        EXPECT_EQ(Shown(Pixels(path, 0, 32)), Shown(Picture::Filled(32, kRed)));
        EXPECT_EQ(Shown(Pixels(path, 1, 32)), Shown(Picture::Filled(32, kGreen)));
        EXPECT_EQ(Shown(Pixels(path, 1, 16)), Shown(Picture::Filled(16, kBlue)));
        EXPECT_EQ(Shown(Pixels(path, -90, 32)), Shown(Picture::Filled(32, kGreen)));
        EXPECT_EQ(Pixels(path, 2, 32), "");
        EXPECT_EQ(Pixels(path, -8, 32), "");
    }
}

TEST_F(Win32Icons, BothSizesAtOnce) {
    const CString path =
        Write(_T("a.ico"),
              IcoBytes({ImageBytes(Picture::Filled(16, kGreen), 32), ImageBytes(Picture::Filled(32, kGreen), 32)}));
    HICON large = nullptr, small = nullptr;
    EXPECT_EQ(::ExtractIconExW(path, 0, &large, &small, 1), 2u);
    EXPECT_EQ(Shown(PixelsOf(large, 32)), Shown(Picture::Filled(32, kGreen)));
    EXPECT_EQ(Shown(PixelsOf(small, 16)), Shown(Picture::Filled(16, kGreen)));
    EXPECT_TRUE(::DestroyIcon(large));
    EXPECT_TRUE(::DestroyIcon(small));
}

TEST_F(Win32Icons, OtherFilesHoldNone) {
    EXPECT_EQ(Count(Write(_T("a.txt"), "text")), 0u);
    EXPECT_EQ(Count(Write(_T("none.dll"), ProgramBytes({}))), 0u);
    EXPECT_EQ(Count(m_folder.Path(_T("missing.ico"))), kNoFile);
    EXPECT_EQ(Pixels(m_folder.Path(_T("a.txt")), 0, 32), "");
    EXPECT_EQ(Pixels(m_folder.Path(_T("missing.ico")), 0, 32), "");
}

TEST_F(Win32Icons, ShellLibraryHasIconsInBothSizes) {
    EXPECT_GE(Count(_T("shell32.dll")), 18u);
    for (const int side : {32, 16}) {
        const std::string document = Pixels(_T("shell32.dll"), 0, side);
        const std::string folder = Pixels(_T("C:\\windows\\system32\\shell32.dll"), 3, side);
        EXPECT_EQ(document.size(), static_cast<size_t>(side * side * 4));
        EXPECT_NE(document, folder);
        EXPECT_NE(document.find_first_not_of('\0'), std::string::npos);
    }
}

TEST_F(Win32Icons, ReleasedIconIsNone) {
    const CString path = Write(_T("a.ico"), IcoBytes(Picture::Filled(32, kRed), 32));
    HICON icon = nullptr;
    ASSERT_EQ(::ExtractIconExW(path, 0, &icon, nullptr, 1), 1u);
    EXPECT_TRUE(::DestroyIcon(icon));
    IconPixels pixels;
    pixels.width = 7;
    EXPECT_FALSE(kvtmfc::GetIconPixels(icon, pixels));
    EXPECT_FALSE(kvtmfc::GetIconPixels(nullptr, pixels));
    EXPECT_EQ(pixels.width, 7);
    EXPECT_FALSE(::DestroyIcon(icon));
    EXPECT_EQ(::GetLastError(), 1402u);
}

}  // namespace
