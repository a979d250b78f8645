// CIniFile: paths, reading, writing, and the merge with a newer installed file.
//
// Invariants. A file is written whole or not at all. A file that is there and could not be read to its end is never
// written without being asked (m_bUnread). The time of a merge is recorded only once the merged file was written.

#include <string>

#include "config/syncregister.h"
#include "kvtfile/FileBase.h"
#include "kvtfile/IniFile.h"
#include "platform/io/safe_save.h"
#include "platform/mfc/codepage936.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Quiet;

namespace {

constexpr size_t WRITE_AT_ONCE = 1 << 20;

// Collects lines as bytes of the code page and hands them on in large parts. The first failure ends the writing.
class Writer {
public:
    explicit Writer(kvtio::SafeSave& file) : m_file(file) {}

    /// Text with LF as line end, written as CR LF.
    void Text(const CString& text) {
        const kvtmfc::WideView units(text.GetString(), static_cast<size_t>(text.GetLength()));
        kvtmfc::codepage936::AppendEncoded(units, m_bytes);
        if (m_bytes.size() >= WRITE_AT_ONCE) {
            Flush();
        }
    }

    bool Finish() {
        Flush();
        return m_error == ERROR_SUCCESS && m_file.Commit() == ERROR_SUCCESS;
    }

private:
    void Flush() {
        if (m_error == ERROR_SUCCESS) {
            m_error = m_file.Write(m_bytes.data(), m_bytes.size());
        }
        m_bytes.clear();
    }

    kvtio::SafeSave& m_file;
    std::string m_bytes;
    kvtio::Error m_error = ERROR_SUCCESS;
};

}  // namespace

CIniFile::CIniFile() = default;

CIniFile::CIniFile(CString strPath, bool bAutoSave) : m_bAutoSave(bAutoSave) {
    SetPath(strPath);
    ReadFile();
}

CIniFile::CIniFile(CString strWorkFile, CString strPath, bool bAutoSave) : m_bAutoSave(bAutoSave) {
    SetPath(strWorkFile, strPath);
    ReadFile();
}

CIniFile::~CIniFile() {
    if (m_bModified && m_bAutoSave && !m_bUnread) {
        WriteFile();
    }
    DropIniAssociation(m_strPath);
}

void CIniFile::SetPath(CString strPath) {
    m_strPath = strPath;
    m_bUnread = false;
    Quiet(false, [&] {
        CFFileSyncRegister* files = IniRegister();
        return files && files->RedirectToWorkCopy(m_strPath);
    });
}

void CIniFile::SetPath(CString strWorkFile, CString strPath) {
    m_strPath = strPath;
    m_bUnread = false;
    Quiet(false, [&] {
        CFFileSyncRegister* files = IniRegister();
        if (!files) {
            return false;
        }
        if (strWorkFile.IsEmpty()) {
            files->SetAssociation(strPath, CString());
        } else if (files->MakeWorkCopy(strPath, strWorkFile)) {
            files->SetAssociation(strWorkFile, strPath);
            m_strPath = strWorkFile;
        }
        return true;
    });
}

bool CIniFile::ReadFile() {
    m_bUnread = true;
    const bool there = Quiet(true, [&] {
        if (!FileExists(m_strPath)) {
            m_bUnread = false;
            return false;
        }
        m_bReading = true;
        if (ReadEntries()) {
            m_bUnread = false;
            SetItemFromAssiFile();
        }
        return true;
    });
    m_bReading = false;
    return there;
}

bool CIniFile::ReadEntries() {
    CFStdioFile file(m_strPath, CFile::modeRead | CFile::shareDenyNone);
    CString section;
    CString line;
    while (file.ReadString(line)) {
        line.Trim();
        const int length = line.GetLength();
        if (length == 0 || line[0] == _T(';') || line[0] == WCHAR{0xFF1B}) {
            continue;
        }
        if (line[0] == _T('[') && line[length - 1] == _T(']')) {
            section = line;
            section.TrimLeft(_T('['));
            section.TrimRight(_T(']'));
            continue;
        }
        const int sign = line.Find(_T('='));
        const bool stored = sign < 0 ? SetValue(section, line, CString(), true)
                                     : SetValue(section, line.Left(sign), line.Mid(sign + 1), true);
        if (!stored) {
            return false;
        }
    }
    return true;
}

bool CIniFile::WriteFile() {
    const bool written = Quiet(false, [&] {
        kvtio::SafeSave file;
        if (file.Open(m_strPath, kvtio::SafeSave::Mode::Replace) != ERROR_SUCCESS) {
            return false;
        }
        Writer writer(file);
        for (int key = 0; key < GetNumKeys(); ++key) {
            const Key& entries = m_arrKeys[static_cast<size_t>(key)];
            if (entries.names.Count() == 0) {
                continue;
            }
            writer.Text(_T("[") + m_arrKeyNames[key] + _T("]\n"));
            for (int i = 0; i < entries.names.Count(); ++i) {
                const CString& value = entries.values[static_cast<size_t>(i)];
                writer.Text(value.IsEmpty() ? entries.names[i] + _T("\n")
                                            : entries.names[i] + _T("=") + value + _T("\n"));
            }
            writer.Text(_T("\n"));
        }
        return writer.Finish();
    });
    m_bUnread = m_bUnread && !written;
    return written;
}

void CIniFile::SetItemFromAssiFile() {
    CFFileSyncRegister* files = IniRegister();
    CString installed;
    if (!files || !files->GetAssociation(m_strPath, installed) || installed.IsEmpty() || !FileExists(installed) ||
        !files->NeedSynchronize(installed)) {
        return;
    }
    {
        const CIniFile other(CString(), installed, false);
        if (other.m_bUnread) {
            return;
        }
        for (int key = 0; key < other.GetNumKeys(); ++key) {
            const CString& section = other.m_arrKeyNames[key];
            const Key& entries = other.m_arrKeys[static_cast<size_t>(key)];
            for (int i = 0; !section.IsEmpty() && i < entries.names.Count(); ++i) {
                if (!entries.names[i].IsEmpty() && !IsHaveValueName(section, entries.names[i])) {
                    SetValue(section, entries.names[i], entries.values[static_cast<size_t>(i)], true);
                }
            }
        }
    }
    if (WriteFile()) {
        files->RecordSyncTime(installed, 0);
    }
}

}  // namespace kvtfile
