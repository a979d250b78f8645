// CFLogFile: a log file that stays open.
//
// Whatever was written before stays: the file is never emptied, each line goes behind its end, and a line that the disk
// does not take whole is cut off again.

#include "kvtfile/FileUtil.h"
#include "kvtfile/LogFile.h"
#include "platform/companion/pmxutil.h"
#include "platform/io/folders.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Quiet;

namespace {

constexpr UINT OPEN_FLAGS = CFile::modeWrite | CFile::typeText | CFile::shareDenyWrite;

}  // namespace

CFLogFile::CFLogFile() = default;

CFLogFile::CFLogFile(CString strPath) : m_strPath(strPath) {}

CFLogFile::~CFLogFile() {
    CloseFile();
}

int CFLogFile::SetPath(CString strPath) {
    m_strPath = strPath;
    return 1;
}

int CFLogFile::OpenFile(CString strPath) {
    if (!strPath.IsEmpty() && strPath.CompareNoCase(m_strPath) != 0) {
        CloseFile();
        m_strPath = strPath;
    }
    if (m_bOpen) {
        return 1;
    }
    if (m_strPath.IsEmpty()) {
        return 0;
    }
    FMakeSurePathExists(m_strPath, 1);
    m_bOpen = Quiet(0, [&] {
        const kvtio::Path path = kvtio::LongForm(m_strPath);
        return m_file.Open(path.c_str(), OPEN_FLAGS) ||
                       m_file.Open(path.c_str(), OPEN_FLAGS | CFile::modeCreate | CFile::modeNoTruncate)
                   ? 1
                   : 0;
    });
    return m_bOpen;
}

int CFLogFile::CloseFile() {
    if (!m_bOpen) {
        return 0;
    }
    const int ended = Append(_T("\n"));
    m_bOpen = 0;
    const int closed = Quiet(0, [&] {
        m_file.Close();
        return 1;
    });
    return ended && closed ? 1 : 0;
}

int CFLogFile::WriteString(CString strText) {
    return Quiet(0, [&] {
        CString line(strText.GetString());
        if (line.Right(1) != _T("\n")) {
            line += _T('\n');
        }
        return OpenFile(CString()) && Append(line) ? 1 : 0;
    });
}

int CFLogFile::WriteTimeAndString(CString strText) {
    return Quiet(0, [&] { return WriteString(Time2Str(pmxutil::GetCurSysTime()) + _T("  ") + strText); });
}

CString CFLogFile::Time2Str(COleDateTime time) {
    return Quiet(CString(), [&] {
        CString text;
        text.Format(_T("%02d-%02d-%02d %02d:%02d:%02d"), time.GetYear(), time.GetMonth(), time.GetDay(), time.GetHour(),
                    time.GetMinute(), time.GetSecond());
        return text;
    });
}

int CFLogFile::Append(const CString& strText) {
    ULONGLONG end = 0;
    const int written = Quiet(-1, [&] {
        end = m_file.SeekToEnd();
        return Quiet(0, [&] {
            m_file.WriteString(strText);
            m_file.Flush();
            return 1;
        });
    });
    if (written == 0) {
        Quiet(0, [&] {
            m_file.SetLength(end);
            return 1;
        });
    }
    return written > 0 ? 1 : 0;
}

}  // namespace kvtfile
