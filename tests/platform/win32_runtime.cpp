// Numbers from text and parts of a path, as the runtime library has them.

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "tests/support/support.h"

namespace {

struct IntegerCase {
    LPCWSTR text;
    int value;
};

class RuntimeInteger : public testing::TestWithParam<IntegerCase> {};

TEST_P(RuntimeInteger, IsReadFromTheStartOfTheText) {
    EXPECT_EQ(::_wtoi(GetParam().text), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Rows, RuntimeInteger,
                         testing::Values(IntegerCase{_T(""), 0}, IntegerCase{_T("12"), 12}, IntegerCase{_T("-7x"), -7},
                                         IntegerCase{_T("+7"), 7}, IntegerCase{_T("+ 1"), 0}, IntegerCase{_T("--1"), 0},
                                         IntegerCase{_T("0x1F"), 0}, IntegerCase{_T("1e3"), 1},
                                         IntegerCase{_T("\t\n 42"), 42},
                                         IntegerCase{_T("\x3000\x00A0\x2003"
                                                        "5"),
                                                     5},
                                         IntegerCase{_T("2147483647"), 2147483647},
                                         IntegerCase{_T("2147483648"), 2147483647},
                                         IntegerCase{_T("99999999999999999999"), 2147483647},
                                         IntegerCase{_T("-2147483648"), std::numeric_limits<int>::min()},
                                         IntegerCase{_T("-2147483649"), std::numeric_limits<int>::min()},
                                         IntegerCase{_T("\xFF11\xFF12"), 12}, IntegerCase{_T("\x0661\x0662"), 12},
                                         IntegerCase{_T("abc"), 0}, IntegerCase{_T("007"), 7}),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST(RuntimeNumbers, OutOfRangeSetsErrno) {
    errno = 0;
    ::_wtoi(_T("2147483648"));
    EXPECT_EQ(errno, ERANGE);
    errno = 0;
    ::_wtoi(_T("2147483647"));
    EXPECT_EQ(errno, 0);
    ::_wtof(_T("1e400"));
    EXPECT_EQ(errno, ERANGE);
}

struct NumberCase {
    LPCWSTR text;
    double value;
};

class RuntimeNumber : public testing::TestWithParam<NumberCase> {};

TEST_P(RuntimeNumber, IsReadFromTheStartOfTheText) {
    EXPECT_EQ(::_wtof(GetParam().text), GetParam().value);
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();

INSTANTIATE_TEST_SUITE_P(Rows, RuntimeNumber,
                         testing::Values(NumberCase{_T(""), 0}, NumberCase{_T("1.5e2x"), 150},
                                         NumberCase{_T("1d3"), 1000}, NumberCase{_T("1D3"), 1000},
                                         NumberCase{_T(".5"), 0.5}, NumberCase{_T("5."), 5}, NumberCase{_T("1,5"), 1},
                                         NumberCase{_T("."), 0}, NumberCase{_T("-"), 0}, NumberCase{_T("-2.25"), -2.25},
                                         NumberCase{_T("+2"), 2}, NumberCase{_T("1e400"), kInfinity},
                                         NumberCase{_T("-1e400"), -kInfinity}, NumberCase{_T("1e-400"), 0},
                                         NumberCase{_T("0.1e400"), kInfinity}, NumberCase{_T("1e"), 1},
                                         NumberCase{_T("1e+"), 1}, NumberCase{_T("\xFF11"), 0},
                                         NumberCase{_T("\x3000"
                                                       "7"),
                                                    7},
                                         NumberCase{_T("0x10"), 16}, NumberCase{_T("0x1.8p1"), 3},
                                         NumberCase{_T("inf"), kInfinity}, NumberCase{_T("-infinity"), -kInfinity},
                                         NumberCase{_T("0.1"), 0.1},
                                         NumberCase{_T("2.2250738585072011e-308"), 2.2250738585072011e-308}),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST(RuntimeNumbers, NanIsRead) {
    EXPECT_TRUE(std::isnan(::_wtof(_T("nan"))));
}

struct SplitCase {
    LPCWSTR path;
    LPCWSTR drive;
    LPCWSTR folder;
    LPCWSTR name;
    LPCWSTR extension;
};

class RuntimeSplitPath : public testing::TestWithParam<SplitCase> {};

TEST_P(RuntimeSplitPath, CutsByTextAlone) {
    WCHAR drive[_MAX_DRIVE];
    WCHAR folder[_MAX_DIR];
    WCHAR name[_MAX_FNAME];
    WCHAR extension[_MAX_EXT];
    ::_wsplitpath(GetParam().path, drive, folder, name, extension);
    EXPECT_EQ(CString(drive), CString(GetParam().drive));
    EXPECT_EQ(CString(folder), CString(GetParam().folder));
    EXPECT_EQ(CString(name), CString(GetParam().name));
    EXPECT_EQ(CString(extension), CString(GetParam().extension));
    ::_wsplitpath(GetParam().path, nullptr, nullptr, nullptr, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Rows, RuntimeSplitPath,
                         testing::Values(SplitCase{_T("C:\\a\\b.txt"), _T("C:"), _T("\\a\\"), _T("b"), _T(".txt")},
                                         SplitCase{_T("C:b.txt"), _T("C:"), _T(""), _T("b"), _T(".txt")},
                                         SplitCase{_T("\\\\srv\\share\\d\\f.e"), _T(""), _T("\\\\srv\\share\\d\\"),
                                                   _T("f"), _T(".e")},
                                         SplitCase{_T("\\\\srv\\share"), _T(""), _T("\\\\srv\\"), _T("share"), _T("")},
                                         SplitCase{_T("a/b.c/d"), _T(""), _T("a/b.c/"), _T("d"), _T("")},
                                         SplitCase{_T("C:\\a\\b\\"), _T("C:"), _T("\\a\\b\\"), _T(""), _T("")},
                                         SplitCase{_T(".htaccess"), _T(""), _T(""), _T(""), _T(".htaccess")},
                                         SplitCase{_T("a."), _T(""), _T(""), _T("a"), _T(".")},
                                         SplitCase{_T(".."), _T(""), _T(""), _T("."), _T(".")},
                                         SplitCase{_T("a.b.c"), _T(""), _T(""), _T("a.b"), _T(".c")},
                                         SplitCase{_T("C:"), _T("C:"), _T(""), _T(""), _T("")},
                                         SplitCase{_T("CC:\\x"), _T(""), _T("CC:\\"), _T("x"), _T("")},
                                         SplitCase{_T("a:b:c"), _T("a:"), _T(""), _T("b:c"), _T("")},
                                         SplitCase{_T("C:\\d.x\\"), _T("C:"), _T("\\d.x\\"), _T(""), _T("")}),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

}  // namespace
