// The headers in the opposite order of the alphabet, each needing nothing that came before it.

// clang-format off
#include "kvtfile/XmlFile.h"
#include "kvtfile/XmlCfg.h"
#include "kvtfile/SupportPath.h"
#include "kvtfile/Registry.h"
#include "kvtfile/IniFile.h"
#include "kvtfile/FileBase.h"
#include "kvtfile/DataPath.h"
#include "kvtfile/CadHost.h"
#include "kvtfile/AutoLoadArx.h"
#include "kvtfile/types.h"
// clang-format on

#include "tests/support/support.h"

TEST(Headers, AnyOrderGivesTheSameClasses) {
    kvtfile::CFXmlFile file;
    kvtfile::CIniFile ini;
    EXPECT_FALSE(file.IsWellFormed());
    EXPECT_EQ(ini.GetNumKeys(), 0);
}
