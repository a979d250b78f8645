// The table of the releases, and how a row of it is found. Nothing else in the library lists releases.

#include "cadhost/releases.h"

namespace kvtfile::detail {

namespace {

#define WITH_KEY(release) _T("Software\\Autodesk\\AutoCAD\\") _T(release)
#define ROW(value, release, productName, year) \
    { value, WITH_KEY(release), _T(productName), year, _T(release) }
#define ROW_WITHOUT_KEY(value, productName, year) \
    { value, _T(""), _T(productName), year, _T("") }

// By value, without gaps.
constexpr Release RELEASES[] = {
    ROW(ACAD_R14, "R14.0", "AutoCAD R14", 0),
    ROW(ACAD_2000, "R15.0", "AutoCAD 2000", 2000),
    ROW(ACAD_MAP2000, "R15.0", "AutoCAD Map 2000", 2000),
    ROW(ACAD_2002, "R15.0", "AutoCAD 2002", 2000),
    ROW(ACAD_2004, "R16.0", "AutoCAD 2004", 2004),
    ROW(ACAD_2005, "R16.1", "AutoCAD 2005", 2005),
    ROW(ACAD_2006, "R16.2", "AutoCAD 2006", 2006),
    ROW_WITHOUT_KEY(ACAD_MAP6, "AutoDesk Map 6", 2000),
    ROW_WITHOUT_KEY(ACAD_MAP2004, "", 2004),
    ROW_WITHOUT_KEY(ACAD_MAP2005, "", 2005),
    ROW_WITHOUT_KEY(ACAD_MAP2006, "", 2006),
    ROW(ACAD_2007, "R17.0", "AutoCAD 2007", 2007),
    ROW(ACAD_2008, "R17.1", "AutoCAD 2008", 2008),
    ROW(ACAD_2009, "R17.2", "AutoCAD 2009", 2009),
    ROW(ACAD_2010, "R18.0", "AutoCAD 2010", 2010),
    ROW(ACAD_2011, "R18.1", "AutoCAD 2011", 2011),
    ROW(ACAD_2012, "R18.2", "AutoCAD 2012", 2012),
    ROW(ACAD_2013, "R19.0", "AutoCAD 2013", 2013),
    ROW(ACAD_2014, "R19.1", "AutoCAD 2014", 2014),
    ROW(ACAD_2015, "R20.0", "AutoCAD 2015", 2015),
    ROW(ACAD_2016, "R20.1", "AutoCAD 2016", 2016),
    ROW(ACAD_2017, "R21.0", "AutoCAD 2017", 2017),
    ROW(ACAD_2018, "R22.0", "AutoCAD 2018", 2018),
    ROW(ACAD_2019, "R23.0", "AutoCAD 2019", 2019),
    ROW(ACAD_2020, "R23.1", "AutoCAD 2020", 2020),
    ROW_WITHOUT_KEY(ACAD_2021, "", 2021),
    ROW_WITHOUT_KEY(ACAD_2022, "", 2022),
};

#undef ROW
#undef ROW_WITHOUT_KEY
#undef WITH_KEY

constexpr bool RowsStandByValue() {
    int value = 0;
    for (const Release& row : RELEASES) {
        if (row.value != value++) {
            return false;
        }
    }
    return value == ACAD_2022 + 1;
}
static_assert(RowsStandByValue());

}  // namespace

std::span<const Release> Releases() {
    return RELEASES;
}

const Release* FindRelease(ACADVER value) {
    return value >= ACAD_R14 && value <= ACAD_2022 ? &RELEASES[value] : nullptr;
}

const Release* FindYear(int year) {
    for (const Release& row : RELEASES) {
        if (row.year == year && row.year != 0 && row.HasRoot()) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace kvtfile::detail
