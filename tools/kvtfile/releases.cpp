// Names of AutoCAD releases: the year, or the product for those that share one.

#include "tools/kvtfile/releases.h"

#include "tools/kvtfile/report.h"

namespace kvtcommand {

using kvtfile::ACADVER;

namespace {

struct NamedRelease {
    const char* name;
    ACADVER release;
};

constexpr NamedRelease kNamedReleases[] = {
    {"R14", kvtfile::ACAD_R14},         {"2000", kvtfile::ACAD_2000},       {"Map2000", kvtfile::ACAD_MAP2000},
    {"2002", kvtfile::ACAD_2002},       {"2004", kvtfile::ACAD_2004},       {"2005", kvtfile::ACAD_2005},
    {"2006", kvtfile::ACAD_2006},       {"Map6", kvtfile::ACAD_MAP6},       {"Map2004", kvtfile::ACAD_MAP2004},
    {"Map2005", kvtfile::ACAD_MAP2005}, {"Map2006", kvtfile::ACAD_MAP2006}, {"2007", kvtfile::ACAD_2007},
    {"2008", kvtfile::ACAD_2008},       {"2009", kvtfile::ACAD_2009},       {"2010", kvtfile::ACAD_2010},
    {"2011", kvtfile::ACAD_2011},       {"2012", kvtfile::ACAD_2012},       {"2013", kvtfile::ACAD_2013},
    {"2014", kvtfile::ACAD_2014},       {"2015", kvtfile::ACAD_2015},       {"2016", kvtfile::ACAD_2016},
    {"2017", kvtfile::ACAD_2017},       {"2018", kvtfile::ACAD_2018},       {"2019", kvtfile::ACAD_2019},
    {"2020", kvtfile::ACAD_2020},       {"2021", kvtfile::ACAD_2021},       {"2022", kvtfile::ACAD_2022},
};

}  // namespace

ACADVER ParseRelease(const std::string& name) {
    const CString given = Wide(name);
    for (const NamedRelease& named : kNamedReleases) {
        if (given.CompareNoCase(Wide(named.name)) == 0) {
            return named.release;
        }
    }
    throw Failure(exitUsage, "there is no release '" + name + "'", kReleaseHelp);
}

}  // namespace kvtcommand
