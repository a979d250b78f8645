// Host discovery: what AutoCAD keeps for each user - the current profile's search path and the per-user folders.

#include "cadhost/host.h"
#include "platform/companion/pmxutil.h"
#include "platform/quiet.h"

namespace kvtfile {

using namespace detail;

namespace {

constexpr WCHAR ROAMABLE[] = _T("RoamableRootFolder");
constexpr WCHAR LOCAL[] = _T("LocalRootFolder");

CString ReleaseKey(const CString& release) {
    return Join(ACAD_KEY, release);
}

// The current product of a release, as the user hive names it.
int FindCurrentProduct(const CString& release, CString& key) {
    CString product;
    if (!ReadCurrent(ReleaseKey(release), product)) {
        return 0;
    }
    key = Join(ReleaseKey(release), product);
    return 1;
}

// The search path of the current profile. What a profile lacks is an empty text.
int ReadSearchPath(const CString& productKey, CString& env) {
    CString settings;
    if (!FindProfileSettings(productKey, settings)) {
        return 0;
    }
    GetRegKeyValue(HKEY_CURRENT_USER, settings, env, SEARCH_PATH);
    env.TrimRight();
    env.TrimRight(_T(';'));
    return 1;
}

bool IsOfGeneration(const CString& release, LPCWSTR generation) {
    return release.Left(3).CompareNoCase(generation) == 0;
}

// A release of the generation ("R16"): the user's current one, else the first of the machine.
int FindGeneration(LPCWSTR generation, CString& release) {
    if (ReadCurrent(ACAD_KEY, release) && IsOfGeneration(release, generation)) {
        return 1;
    }
    CStringArray installed;
    GetKeyListArray(ACAD_KEY, installed);
    for (INT_PTR i = 0; i < installed.GetSize(); ++i) {
        if (IsOfGeneration(installed[i], generation)) {
            release = installed[i];
            return 1;
        }
    }
    return 0;
}

int ReadUserFolder(const CString& release, LPCWSTR name, CString& out) {
    CString product;
    return FindCurrentProduct(release, product) ? ReadText(USER_HIVE, product, name, out) : 0;
}

int RootFolder(LPCWSTR generation, const CString& release, LPCWSTR name, CString& out) {
    return Quiet(0, [&] {
        CString present;
        out.Empty();
        return FindGeneration(generation, present) ? ReadUserFolder(release, name, out) : 0;
    });
}

// A folder beside the host's other folders of a user, or of all users for R15.
int HostFolder(zqolecad::START_ACADVER year, LPCWSTR folder, CString& out) {
    return Quiet(0, [&] {
        out.Empty();
        const Release* row = FindYear(year);
        if (!row) {
            return 0;
        }
        int found = 0;
        if (row->IsR15()) {
            CString key;
            ACADVER product = row->value;
            found = GetAcadR15CurVer(key, product, out);
        } else if (IsOfGeneration(row->release, _T("R16"))) {
            found = GetAcadR16RootFolder(row->release, out);
        } else {
            found = ReadUserFolder(row->release, ROAMABLE, out);
        }
        if (found) {
            out = pmxutil::ConfirmBackslash(out) + folder;
        }
        return found;
    });
}

}  // namespace

int detail::FindProfileSettings(const CString& productKey, CString& settingsKey) {
    const CString profiles = Join(productKey, _T("Profiles"));
    CString profile;
    if (!GetRegKeyValue(HKEY_CURRENT_USER, profiles, profile, _T(""))) {
        return 0;
    }
    settingsKey = Join(Join(profiles, profile), _T("General"));
    return 1;
}

int GetAcadEnvPath(ACADVER v, CString& env) {
    return Quiet(0, [&] {
        env.Empty();
        CString product;
        return GetAcadRegKey(product, v) ? ReadSearchPath(product, env) : 0;
    });
}

int GetAcadEnvPath(CString release, CString& env) {
    return Quiet(0, [&] {
        env.Empty();
        CString product;
        return FindCurrentProduct(release, product) ? ReadSearchPath(product, env) : 0;
    });
}

int GetAcadR16RootFolder(CString& out) {
    return Quiet(0, [&] {
        out.Empty();
        CString release;
        return FindGeneration(_T("R16"), release) ? ReadUserFolder(release, ROAMABLE, out) : 0;
    });
}

int GetAcadR16RootFolder(CString release, CString& out) {
    return RootFolder(_T("R16"), release, ROAMABLE, out);
}

int GetAcadR17RootFolder(CString release, CString& out) {
    return RootFolder(_T("R17"), release, ROAMABLE, out);
}

int GetAcadR18RootFolder(CString release, CString& out) {
    return RootFolder(_T("R18"), release, ROAMABLE, out);
}

int GetAcadR16LocalRootFolder(CString release, CString& out) {
    return RootFolder(_T("R16"), release, LOCAL, out);
}

int GetAcadR17LocalRootFolder(CString release, CString& out) {
    return RootFolder(_T("R17"), release, LOCAL, out);
}

int GetAcadR18LocalRootFolder(CString release, CString& out) {
    return RootFolder(_T("R18"), release, LOCAL, out);
}

int GetAcadSupportPath(zqolecad::START_ACADVER y, CString& out) {
    return HostFolder(y, _T("support\\"), out);
}

int GetAcadTemplatePath(zqolecad::START_ACADVER y, CString& out) {
    return HostFolder(y, _T("template\\"), out);
}

}  // namespace kvtfile
