#pragma once

/// @file
/// The module-wide registers that let the stores work on per-user working copies of installed files.

#include <map>

#include "kvtfile/types.h"

namespace kvtfile {

/// Redirects installed settings files to working copies, remembers which installed file each copy came from, and
/// records when an installed file was last merged. Not locked: used from one thread. Results are 1 or 0.
///
/// No operation reports errors: each succeeds, or leaves the path and the files as they were.
class CFFileSyncRegister {
public:
    enum Kind : int { kindIni = 0, kindText = 1, kindXml = 2 };

    /// Any other kind has no files and no filter names.
    explicit CFFileSyncRegister(int nKind);

    /// Replaces the path of a file under a versioned product folder by its working copy, made when missing, and
    /// associates the two. The path is unchanged for other products, older versions and filtered names.
    int RedirectToWorkCopy(CString& strPath);

    /// The working copy that a path is redirected to; empty for one that is not. Touches neither file.
    CString GetWorkCopyPath(const CString& strPath);

    /// Makes sure that the working copy exists: an existing one is left alone, else the installed file is copied and
    /// its time recorded.
    int MakeWorkCopy(const CString& strInstalled, const CString& strWorking);

    void SetAssociation(const CString& strWorking, const CString& strInstalled);
    int GetAssociation(const CString& strPath, CString& strInstalled) const;
    void RemoveAssociation(const CString& strPath);

    void AddFilterFile(const CString& strName);
    /// Index in the filter list, or -1.
    int FindFilterFile(const CString& strName);
    /// Whether the name part of the path is in the filter list.
    int IsFilterFile(const CString& strPath);

    /// 0 for a known product code (as spelled in the table) of at least its lowest version, else 1.
    int IsProductExcluded(const CString& strProduct, double dVersion) const;

    /// Writes the file's last-write time, or -1 with `bNever`, under the path into the time file.
    void RecordSyncTime(const CString& strPath, int bNever);
    /// Whether the file is newer than recorded, or not recorded; never for one marked with -1.
    int NeedSynchronize(const CString& strPath) const;

    /// Whether the file exists, an empty one being made when it does not.
    static int EnsureFileExists(const CString& strPath);

protected:
    void LoadFilterList();
    /// Empty for a path that has no working copy.
    static CString BuildWorkCopyPath(const CString& strPath);

    /// Whether any register has loaded its filter list: one flag for the whole module, so that only the first register
    /// to search or extend its list loads its file.
    static bool s_bFilterLoaded;

    CStringArray m_arrFilter;
    CString m_strFilterFile;
    CString m_strTimeFile;
    std::map<CString, CString> m_mapAssociation;
    std::map<CString, double> m_mapProduct;
    int m_nKind;
};

/// The registers of the module, made when first asked for; null when they are already gone at the end of the process.
CFFileSyncRegister* XmlRegister();
CFFileSyncRegister* IniRegister();

/// What the stores' destructors do: drop an association, of a register that was made and is not gone.
void DropXmlAssociation(const CString& strPath) noexcept;
void DropIniAssociation(const CString& strPath) noexcept;

/// Last-write time of a file or folder in seconds since 1970. @return false when its status cannot be read.
bool ReadFileSeconds(const CString& strPath, LONGLONG& nSeconds);
bool FileExists(const CString& strPath);

}  // namespace kvtfile
