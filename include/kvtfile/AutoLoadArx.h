#pragma once

/// @file
/// `CAutoLoadArx`: registers an add-on (an ARX module) with an AutoCAD release, which then loads it by itself.

#include "kvtfile/CadHost.h"

namespace kvtfile {

/// Registers add-on applications with one AutoCAD release for loading on demand or at start-up, and removes them again.
///
/// All keys stand below HKEY_LOCAL_MACHINE. N is the host's entry of an application, `m_strAcadRegKey` +
/// "\Applications\" + its name; S is the maker's key of it, `m_strSoftRegKey` + its name. Two layouts exist:
///
/// | layout       | key        | value             | content                                          |
/// |--------------|------------|-------------------|--------------------------------------------------|
/// | both         | N          | "LoadCtrls"       | the load-control flags, a DWORD as given         |
/// | R14, R15     | N          | "REGPATH"         | "\\HKEY_LOCAL_MACHINE\" + S                      |
/// | R14, R15     | S\Loader   | "MODULE"          | `m_strAppInstallPath` + name + ".arx"            |
/// | R14, R15     | S\Name     | "Name"            | the name                                         |
/// | R14, R15     | S\Groups   | the group         | the group, when one is given                     |
/// | R14, R15     | S\Commands | each command      | the command, when commands are given             |
/// | R16 and later| N          | "Loader"          | `m_strAppInstallPath` + module name + ".arx"     |
/// | R16 and later| N\Groups   | the group         | the group, when one is given                     |
/// | R16 and later| N\Commands | each command      | the command, when commands are given             |
///
/// The maker's own auto-load switches are texts ("1" on, "0" off) right under `m_strSoftRegKey`.
///
///     CAutoLoadArx arx;
///     arx.SetAppInstallPath(_T("C:\\Program Files\\App\\"));
///     if (arx.SetAcadVer(ACAD_2010)) {
///         arx.AddAutoArx(_T("App"), commands, _T("AppGroup"), 2);
///     }
///
/// Members return 1 for success and 0 for failure. Nothing is thrown. Objects are values; one object is used by one
/// thread at a time. Writing needs the right to change the machine hive.
class KVTFILE_API CAutoLoadArx {
public:
    /// No release is chosen, and no folder of modules; the maker's root is "Software\orva\apps\".
    CAutoLoadArx();
    CAutoLoadArx(const CAutoLoadArx&) = default;
    CAutoLoadArx& operator=(const CAutoLoadArx&) = default;
    virtual ~CAutoLoadArx();

    /// Chooses the release: finds its product key and keeps it and the release, also when the search failed.
    /// @return The result of `GetAcadRegKey`.
    int SetAcadVer(ACADVER v);

    /// The product key as the function `kvtfile::GetAcadRegKey` finds it, but `ACAD_MAP6` too is looked for as the
    /// current R15 product, and product keys are opened for writing: one that may not be written is not found.
    int GetAcadRegKey(CString& key, ACADVER v);

    /// The maker's root; application names are appended directly, so it ends in "\".
    void SetSoftRegKey(CString strKey);
    /// The folder of the modules; file names are appended directly, so it ends in "\".
    void SetAppInstallPath(CString strPath);

    /// The path of N. @return 0 (`path` unchanged) when no product key is known.
    int GetAppRegPath(CString& path, CString app);

    /// Registers an application: the R16 layout for the releases 2004 to 2020 (4, 5, 6, 11 to 24), the R14/R15 layout
    /// for all others. White space around the name and the commands is dropped.
    ///
    /// Writes that fail are not reported, the registration is then partial; values of a key that could not be made are
    /// left out.
    /// @param cmds Command names; not changed. @param group Command group, empty: none.
    /// @param loadCtrls When the host loads it, stored as given. A sum of 1: when a drawing holds its objects, 2: when
    /// the host starts, 4: when one of its commands is called, 8: when it is asked for, 16: never, 32: without being
    /// shown; 0: not by itself.
    /// @return 0 when the folder of modules is not set (a message box says "应用程序路径未设置!") or no product key is
    ///         known; nothing is written then.
    int AddAutoArx(CString app, CStringArray& cmds, CString group, int loadCtrls);
    /// The R16 layout whatever the release, with the application's name as module name; the name is taken as it stands.
    int AddAutoArx16(CString app, CStringArray& cmds, CString group, int loadCtrls);
    /// The R16 layout whatever the release, with a module name of its own; the names are taken as they stand.
    int AddAutoArx(CString app, CString module, CStringArray& cmds, CString group, int loadCtrls);

    /// Whether N and S are both there. S is only made by the R14/R15 layout: 0 for every application in the other.
    int ArxIsAutoLoad(CString app);

    /// Deletes N with all below it and then, if that succeeded, S with all below it.
    /// @return The result of the last deletion tried: 0 after the R16 layout, which makes no S. Without a product key
    ///         or an application name (a name of nothing but "\" is none) 0, and nothing is touched.
    int DelAutoArx(CString app);

    /// The load-control flags. @return Whether N is there; `v` is unchanged when it has no flags.
    int GetArxLoadCtrls(CString app, int& v);
    /// Stores the load-control flags. @return Whether N is there.
    int SetArxLoadCtrls(CString app, int v);

    /// Whether the maker's auto-load switch `name` is on: 1 exactly when its text is "1".
    int GetRegAutoLoadInfo(CString name);
    /// Turns the switch on (`on` not 0) or off; the maker's root is made when missing.
    int SetRegAutoLoadInfo(CString name, int on);

    CString m_strAcadRegKey;      ///< The host's product key; empty until `SetAcadVer` found one.
    CString m_strSoftRegKey;      ///< The maker's root.
    CString m_strAppInstallPath;  ///< The folder of the modules.
    ACADVER m_nAcadVer;           ///< The release that `SetAcadVer` was given; `ACAD_R14` before.
};

}  // namespace kvtfile
