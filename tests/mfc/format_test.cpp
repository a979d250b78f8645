// CString::Format: Microsoft's wide printf rules, checked arguments, and the variadic form.
#include <cstdarg>
#include <limits>

#include "tests/mfc/throws.h"
#include "tests/support/support.h"

namespace {

template <typename... Args>
CString Formatted(LPCWSTR format, const Args&... args) {
    CString text;
    text.Format(format, args...);
    return text;
}

CString FormattedV(LPCWSTR format, ...) {
    va_list args;
    va_start(args, format);
    CString text;
    text.FormatV(format, args);
    va_end(args);
    return text;
}

TEST(Format, Integers) {
    EXPECT_EQ(Formatted(_T("%d %i"), 5, -7), _T("5 -7"));
    EXPECT_EQ(Formatted(_T("%u"), 4294967295u), _T("4294967295"));
    EXPECT_EQ(Formatted(_T("%u"), -1), _T("4294967295"));
    EXPECT_EQ(Formatted(_T("%x %X %o"), 0xBEEF, 0xBEEF, 8), _T("beef BEEF 10"));
    EXPECT_EQ(Formatted(_T("%5d|%-5d|%05d"), 42, 42, 42), _T("   42|42   |00042"));
    EXPECT_EQ(Formatted(_T("%05d"), -42), _T("-0042"));
    EXPECT_EQ(Formatted(_T("%+d % d %+d"), 1, 1, -1), _T("+1  1 -1"));
    EXPECT_EQ(Formatted(_T("%.3d|%5.3d|%05.3d"), 7, 7, 7), _T("007|  007|  007"));
    EXPECT_EQ(Formatted(_T("%.0d|%.0d"), 0, 1), _T("|1"));
    EXPECT_EQ(Formatted(_T("%#x %#X %#o %#x"), 255, 255, 8, 0), _T("0xff 0XFF 010 0"));
    EXPECT_EQ(Formatted(_T("%#06x"), 255), _T("0x00ff"));
    EXPECT_EQ(Formatted(_T("%hd %hu"), 65537, 65537), _T("1 1"));
    EXPECT_EQ(Formatted(_T("%hhd %hhu"), 257, 511), _T("1 255"));
    EXPECT_EQ(Formatted(_T("%d"), std::numeric_limits<int>::min()), _T("-2147483648"));
    EXPECT_EQ(Formatted(_T("%02d-%02d"), WORD{5}, BYTE{6}), _T("05-06"));
    EXPECT_EQ(Formatted(_T("%d"), true), _T("1"));
}

TEST(Format, WideIntegers) {
    EXPECT_EQ(Formatted(_T("%I64d"), -5000000000LL), _T("-5000000000"));
    EXPECT_EQ(Formatted(_T("%I64u"), 18446744073709551615ULL), _T("18446744073709551615"));
    EXPECT_EQ(Formatted(_T("%I64x"), 0x123456789ABCDEF0LL), _T("123456789abcdef0"));
    EXPECT_EQ(Formatted(_T("%I64X"), 0x123456789ABCDEF0LL), _T("123456789ABCDEF0"));
    EXPECT_EQ(Formatted(_T("%I32d"), -5), _T("-5"));
    EXPECT_EQ(Formatted(_T("%Iu %zu %td"), size_t{7}, size_t{8}, std::ptrdiff_t{-9}), _T("7 8 -9"));
    EXPECT_EQ(Formatted(_T("%lld %llu %llx"), -1LL, 1ULL, 255LL), _T("-1 1 ff"));
    EXPECT_EQ(Formatted(_T("%ld %lu"), -1, 1u), _T("-1 1"));
    EXPECT_EQ(Formatted(_T("%I64d"), std::numeric_limits<long long>::min()), _T("-9223372036854775808"));
    EXPECT_EQ(Formatted(_T("%d"), 0x100000005LL), _T("5")) << "cut to the conversion's width";
    EXPECT_EQ(Formatted(_T("%ld"), 0x100000005LL), _T("5")) << "l is 32 bits";
    EXPECT_EQ(Formatted(_T("%I64d"), -5), _T("-5")) << "widened by its own sign";
}

TEST(Format, FloatingPoint) {
    EXPECT_EQ(Formatted(_T("%e"), 1.5), _T("1.500000e+00"));
    EXPECT_EQ(Formatted(_T("%E"), 1.5e-7), _T("1.500000E-07"));
    EXPECT_EQ(Formatted(_T("%e"), 1e123), _T("1.000000e+123"));
    EXPECT_EQ(Formatted(_T("%f %F"), 1.5, -2.25), _T("1.500000 -2.250000"));
    EXPECT_EQ(Formatted(_T("%.0f %.0f %.0f"), 0.5, 1.5, 2.5), _T("0 2 2"));
    EXPECT_EQ(Formatted(_T("%.3f"), 2.0 / 3), _T("0.667"));
    EXPECT_EQ(Formatted(_T("%8.2f|%-8.2f|%08.2f|%+.1f"), 3.14159, 3.14159, -3.14159, 1.0),
              _T("    3.14|3.14    |-0003.14|+1.0"));
    EXPECT_EQ(Formatted(_T("%g %g %g %g"), 100000.0, 1000000.0, 0.0001, 0.00001), _T("100000 1e+06 0.0001 1e-05"));
    EXPECT_EQ(Formatted(_T("%g %G"), 1.5, 1e-10), _T("1.5 1E-10"));
    EXPECT_EQ(Formatted(_T("%#g %#.0f %#.3g"), 1.5, 2.0, 2.0), _T("1.50000 2. 2.00"));
    EXPECT_EQ(Formatted(_T("%.10g"), 0.1), _T("0.1"));
    EXPECT_EQ(Formatted(_T("%.17g"), 0.1), _T("0.10000000000000001"));
    EXPECT_EQ(Formatted(_T("%g %.0g"), 0.0, 123.0), _T("0 1e+02"));
    EXPECT_EQ(Formatted(_T("%a"), 1.0), _T("0x1.0000000000000p+0"));
    EXPECT_EQ(Formatted(_T("%.1A"), -0.5), _T("-0X1.0P-1"));
    EXPECT_EQ(Formatted(_T("%f"), -0.0), _T("-0.000000"));
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Formatted(_T("%f %F %06f"), infinity, infinity, -infinity), _T("inf INF   -inf"));
    EXPECT_EQ(Formatted(_T("%f"), std::numeric_limits<double>::quiet_NaN()), _T("nan"));
    EXPECT_EQ(Formatted(_T("%.1f"), 1.25f), _T("1.2"));
    EXPECT_EQ(Formatted(_T("%.2000f"), 0.5).GetLength(), 2002);
    EXPECT_EQ(Formatted(_T("%.2f"), 1e300).GetLength(), 304);
}

TEST(Format, Texts) {
    const CString text = _T("中文");
    EXPECT_EQ(Formatted(_T("%s"), _T("wide")), _T("wide"));
    EXPECT_EQ(Formatted(_T("%s"), text), _T("中文"));
    EXPECT_EQ(Formatted(_T("%s"), static_cast<LPCWSTR>(text)), _T("中文"));
    EXPECT_EQ(Formatted(_T("%ls %ws %lS"), text, text, text), _T("中文 中文 中文"));
    EXPECT_EQ(Formatted(_T("%S %hs %hS"), "ab", "cd", "ef"), _T("ab cd ef"));
    EXPECT_EQ(Formatted(_T("%s"), L"literal"), _T("literal"));
    EXPECT_EQ(Formatted(_T("%5s|%-5s|"), _T("ab"), _T("ab")), _T("   ab|ab   |"));
    EXPECT_EQ(Formatted(_T("%.1s|%.9s|%.0s"), text, text, text), _T("中|中文|"));
    EXPECT_EQ(Formatted(_T("%.2S"), "abcd"), _T("ab"));
    EXPECT_EQ(Formatted(_T("%*s|%-*s|%*s"), 4, _T("a"), 4, _T("a"), -4, _T("a")), _T("   a|a   |a   "));
    EXPECT_EQ(Formatted(_T("%.*s"), 2, _T("abcd")), _T("ab"));
    EXPECT_EQ(Formatted(_T("%.*s"), -1, _T("abcd")), _T("abcd"));
    EXPECT_EQ(Formatted(_T("%s"), static_cast<LPCWSTR>(nullptr)), _T("(null)"));
    EXPECT_EQ(Formatted(_T("%s|%S"), nullptr, nullptr), _T("(null)|(null)"));
    EXPECT_EQ(Formatted(_T("%c%c%C%hc%lc"), _T('x'), 0x4E2D, 'y', 'z', _T('w')), _T("x中yzw"));
    EXPECT_EQ(Formatted(_T("%3c|%-3c|"), 'a', 'b'), _T("  a|b  |"));
    EXPECT_EQ(Formatted(_T("%c"), 0).GetLength(), 1);
}

TEST(Format, PrecisionReadsNoFurther) {
    const WCHAR unended[3] = {'a', 'b', 'c'};
    EXPECT_EQ(Formatted(_T("%.3s"), static_cast<const WCHAR*>(unended)), _T("abc"));
    const char narrow[2] = {'a', 'b'};
    EXPECT_EQ(Formatted(_T("%.2S"), static_cast<const char*>(narrow)), _T("ab"));
}

TEST(Format, PercentAndPointers) {
    EXPECT_EQ(Formatted(_T("100%%")), _T("100%"));
    EXPECT_EQ(Formatted(_T("a%")), _T("a"));
    EXPECT_EQ(Formatted(_T("a%-5")), _T("a"));
    EXPECT_EQ(Formatted(_T("")), _T(""));
    EXPECT_EQ(Formatted(_T("%p"), reinterpret_cast<void*>(0xABCDEF)), _T("0000000000ABCDEF"));
    EXPECT_EQ(Formatted(_T("%p"), nullptr), _T("0000000000000000"));
    EXPECT_EQ(Formatted(_T("%20p|"), reinterpret_cast<void*>(1)), _T("    0000000000000001|"));
}

TEST(Format, RefusesWhatDoesNotFit) {
    CString text = _T("kept");
    EXPECT_THROWS_POINTER(text.Format(static_cast<LPCWSTR>(nullptr)), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%d")), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%d %d"), 1), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%*d"), 1), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%d"), 1, 2), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("none"), 1), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%d"), _T("text")), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%d"), CString(_T("text"))), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%d"), 1.5), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%f"), 1), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%s"), 1), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%s"), "narrow"), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%S"), _T("wide")), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%c"), _T("text")), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%p"), 5), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%y"), 5), CInvalidArgException);
    EXPECT_THROWS_POINTER(text.Format(_T("%99999999999d"), 5), CInvalidArgException);
    int count = 77;
    EXPECT_THROWS_POINTER(text.Format(_T("abc%n"), &count), CInvalidArgException);
    EXPECT_EQ(count, 77);
    EXPECT_EQ(text, _T("kept"));
}

TEST(Format, TargetMayBeAnArgument) {
    CString text = _T("x");
    text.Format(_T("<%s>"), text);
    EXPECT_EQ(text, _T("<x>"));
    text.AppendFormat(_T("[%s]%d"), text, 1);
    EXPECT_EQ(text, _T("<x>[<x>]1"));
    text.Format(L"%d", 5);
    EXPECT_EQ(text, _T("5"));
}

TEST(Format, ArgumentListsFormatAlike) {
    EXPECT_EQ(FormattedV(_T("%d|%5s|%S|%c|%%|%I64d|%.2f|%x"), -3, _T("ab"), "n", 'c', 5000000000LL, 1.5, 255),
              _T("-3|   ab|n|c|%|5000000000|1.50|ff"));
    EXPECT_EQ(FormattedV(_T("%s"), static_cast<LPCWSTR>(nullptr)), _T("(null)"));
    EXPECT_EQ(FormattedV(_T("%*d"), 4, 1), _T("   1"));
    EXPECT_EQ(FormattedV(_T("%p"), static_cast<void*>(nullptr)), _T("0000000000000000"));
    EXPECT_THROWS_POINTER(FormattedV(nullptr), CInvalidArgException);
}

TEST(Format, LongResultsHaveNoLimit) {
    const CString big(_T('x'), 100000);
    EXPECT_EQ(Formatted(_T("%s%s"), big, big).GetLength(), 200000);
    EXPECT_EQ(Formatted(_T("%100000d"), 1).GetLength(), 100000);
}

}  // namespace
