// Reading a log as it grows. Lines are cut at line feeds before they are decoded: no byte of a character is one.

#include "tools/kvtfile/log_reader.h"

#include <algorithm>
#include <utility>

namespace kvtcommand {

namespace {

constexpr UINT kCodePage = 936;
constexpr ULONGLONG kNearEnd = 1 << 20;
constexpr size_t kCompared = 64;
constexpr UINT kBlock = 1 << 16;

/// Bytes from the position of a file on; less than asked at its end.
std::string ReadPart(CFile& file, size_t wanted) {
    std::string bytes(wanted, '\0');
    size_t got = 0;
    while (got < wanted) {
        const UINT part = file.Read(bytes.data() + got, static_cast<UINT>(std::min<size_t>(wanted - got, kBlock)));
        if (part == 0) {
            break;
        }
        got += part;
    }
    bytes.resize(got);
    return bytes;
}

CString Decode(std::string line) {
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return CString::FromCodePage(line, kCodePage);
}

}  // namespace

bool LogReader::OpenFile(CFile& file, DWORD& error) const {
    CFileException reason;
    const bool opened = file.Open(m_path, CFile::modeRead | CFile::shareDenyNone, &reason) != FALSE;
    error = opened ? ERROR_SUCCESS : static_cast<DWORD>(reason.m_lOsError);
    return opened;
}

DWORD LogReader::Open() {
    CFile file;
    DWORD error = ERROR_SUCCESS;
    OpenFile(file, error);
    return error;
}

DWORD LogReader::OpenNearEnd() {
    CFile file;
    DWORD error = ERROR_SUCCESS;
    if (OpenFile(file, error) && file.GetLength() > kNearEnd) {
        // The byte before tells whether a line begins there.
        m_position = file.GetLength() - kNearEnd - 1;
        m_skip = true;
    }
    return error;
}

bool LogReader::IsSameFile(CFile& file) {
    if (file.GetLength() < m_position) {
        return false;
    }
    file.Seek(static_cast<LONGLONG>(m_position - m_before.size()), CFile::begin);
    return ReadPart(file, m_before.size()) == m_before;
}

void LogReader::Remember(const std::string& bytes) {
    m_position += bytes.size();
    m_before += bytes.substr(bytes.size() - std::min(bytes.size(), kCompared));
    m_before.erase(0, m_before.size() - std::min(m_before.size(), kCompared));
}

void LogReader::BeginAnew() {
    m_position = 0;
    m_before.clear();
    m_line.clear();
    m_skip = false;
    m_shown = true;
}

// Gives out what was read of a line. @return false: no more are wanted.
bool LogReader::GiveOut(bool ended, const Use& use) {
    const std::string line = std::exchange(m_line, std::string());
    const bool skip = std::exchange(m_skip, !ended && m_skip);
    const bool shown = std::exchange(m_shown, !ended);
    return skip || (shown && (line.empty() || line == "\r")) || use(Decode(line));
}

void LogReader::Read(Rest rest, const Use& use) {
    m_replaced = false;
    CFile file;
    DWORD error = ERROR_SUCCESS;
    if (!OpenFile(file, error)) {
        return;
    }
    if (!IsSameFile(file)) {
        BeginAnew();
        m_replaced = true;
    }
    file.Seek(static_cast<LONGLONG>(m_position), CFile::begin);
    bool grew = false;
    for (std::string bytes; !(bytes = ReadPart(file, kBlock)).empty(); grew = true) {
        Remember(bytes);
        for (size_t at = 0; at < bytes.size();) {
            const size_t end = std::min(bytes.find('\n', at), bytes.size());
            m_line.append(bytes, at, end - at);
            if (end < bytes.size() && !GiveOut(true, use)) {
                return;
            }
            at = end + 1;
        }
    }
    if (!m_line.empty() && (rest == Rest::Included || !grew)) {
        GiveOut(false, use);
    }
}

}  // namespace kvtcommand
