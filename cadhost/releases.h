#pragma once

// The releases of AutoCAD: one table of what is known of each.

#include <span>

#include "kvtfile/CadHost.h"

namespace kvtfile::detail {

/// The key under which AutoCAD keeps its releases, in both hives.
inline constexpr WCHAR ACAD_KEY[] = _T("Software\\Autodesk\\AutoCAD");

/// One release, or one product of it.
struct Release {
    ACADVER value;
    LPCWSTR root;         ///< Its key below HKEY_LOCAL_MACHINE; empty: none of its own.
    LPCWSTR productName;  ///< What the names of its products begin with; empty: unknown.
    int year;             ///< Its number in zqolecad::START_ACADVER; 0: none.
    LPCWSTR release;      ///< The last part of its key, such as "R17.0"; empty as `root` is.

    bool HasRoot() const { return *root != 0; }
    /// Whether the current R15 product stands for it when product keys are searched for.
    bool IsR15() const { return year == zqolecad::START_ACAD2000; }
};

/// All rows, by value.
std::span<const Release> Releases();
/// The row of a release; null for a number that is none.
const Release* FindRelease(ACADVER value);
/// The first product of a year that has a key; null when there is none.
const Release* FindYear(int year);

}  // namespace kvtfile::detail
