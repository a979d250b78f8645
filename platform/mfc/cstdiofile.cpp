// CStdioFile. Lines are found in the bytes before these are decoded: no byte of a character is a line feed, so that
// damaged text cannot join lines. Invariant: input read ahead and output not yet written never exist at once.
#include "platform/mfc/cstdiofile.h"

#include <algorithm>
#include <cstring>

#include "kvtfile/types.h"
#include "platform/io/io.h"
#include "platform/mfc/codepage936.h"

namespace kvtmfc {

IMPLEMENT_DYNAMIC(CStdioFile, CFile)

namespace {

constexpr size_t blockSize = 65536;
constexpr char endMark = 0x1A;

}  // namespace

CStdioFile::CStdioFile() = default;

CStdioFile::CStdioFile(LPCWSTR fileName, UINT openFlags) {
    CFileException error;
    if (!CStdioFile::Open(fileName, openFlags, &error)) {
        AfxThrowFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
    }
}

CStdioFile::~CStdioFile() {
    try {
        CStdioFile::Close();
    } catch (CException* error) {
        error->Delete();
    }
}

BOOL CStdioFile::Open(LPCWSTR fileName, UINT openFlags, CFileException* error) {
    Close();
    m_binary = (openFlags & typeBinary) != 0;
    m_lost = 0;
    return CFile::Open(fileName, openFlags, error);
}

void CStdioFile::Reset() {
    m_cursor = m_filled = 0;
    m_output.clear();
    DropRest();
}

void CStdioFile::DropRest() {
    m_rest.Empty();
    m_restStart = 0;
}

// --- the buffers ---

void CStdioFile::BeginReading() {
    Flush();
}

void CStdioFile::BeginWriting() {
    DropRest();
    if (m_cursor != m_filled) {
        const LONGLONG ahead = static_cast<LONGLONG>(m_filled - m_cursor);
        m_cursor = m_filled = 0;
        CFile::Seek(-ahead, current);
    }
}

// Reads the next block when the last one is used up. False: the file is at its end.
bool CStdioFile::Fill() {
    if (m_cursor == m_filled) {
        m_input.resize(blockSize);
        m_cursor = m_filled = 0;
        size_t got = 0;
        Check(m_file->Read(m_input.data(), m_input.size(), got));
        m_filled = got;
    }
    return m_cursor != m_filled;
}

void CStdioFile::Flush() {
    if (!m_output.empty()) {
        std::string bytes;
        bytes.swap(m_output);
        Check(m_file->Write(bytes.data(), bytes.size()));
    }
}

void CStdioFile::FlushLarge() {
    if (m_output.size() >= blockSize) {
        const DWORD error = m_file->Write(m_output.data(), m_output.size());
        m_output.clear();  // what failed is not tried once more, as in Flush
        Check(error);
    }
}

void CStdioFile::Close() {
    try {
        Flush();
    } catch (CException*) {
        Abort();
        throw;
    }
    Reset();
    CFile::Close();
}

void CStdioFile::Abort() {
    Reset();
    CFile::Abort();
}

// --- positions ---

ULONGLONG CStdioFile::GetPosition() const {
    return CFile::GetPosition() - (m_filled - m_cursor) + m_output.size();
}

ULONGLONG CStdioFile::Seek(LONGLONG offset, UINT from) {
    Flush();
    const LONGLONG ahead = from == current ? static_cast<LONGLONG>(m_filled - m_cursor) : 0;
    const ULONGLONG position = CFile::Seek(offset - ahead, from);
    m_cursor = m_filled = 0;
    DropRest();
    return position;
}

ULONGLONG CStdioFile::GetLength() const {
    const ULONGLONG size = CFile::GetLength();
    return m_output.empty() ? size : std::max(size, GetPosition());
}

void CStdioFile::SetLength(ULONGLONG length) {
    Flush();
    m_cursor = m_filled = 0;
    DropRest();
    CFile::SetLength(length);
}

// --- bytes ---

UINT CStdioFile::Read(void* buffer, UINT count) {
    BeginReading();
    char* to = static_cast<char*>(buffer);
    UINT got = 0;
    while (got < count && Fill()) {
        const char byte = m_input[m_cursor++];
        to[got++] = byte;
        if (!m_binary && byte == '\r' && Fill() && m_input[m_cursor] == '\n') {
            to[got - 1] = '\n';
            ++m_cursor;
        }
    }
    return got;
}

void CStdioFile::Write(const void* buffer, UINT count) {
    BeginWriting();
    const char* from = static_cast<const char*>(buffer);
    for (UINT i = 0; i < count; ++i) {
        if (!m_binary && from[i] == '\n') {
            m_output += '\r';
        }
        m_output += from[i];
        FlushLarge();
    }
}

// --- lines ---

bool CStdioFile::IsAtEnd() {
    return !Fill();
}

// One line as it stands in the file, decoded. False: the end of the file came before any character.
bool CStdioFile::ReadTextLine(CString& text, bool& broken) {
    std::string carried;
    std::string_view line;
    broken = false;
    while (!broken && Fill()) {
        const char* const start = m_input.data() + m_cursor;
        const size_t ahead = m_filled - m_cursor;
        const void* const found = std::memchr(start, '\n', ahead);
        broken = found != nullptr;
        const size_t length = broken ? static_cast<size_t>(static_cast<const char*>(found) - start) : ahead;
        m_cursor += length + (broken ? 1 : 0);
        if (broken && carried.empty()) {
            line = std::string_view(start, length);
        } else {
            carried.append(start, length);
            line = carried;
        }
    }
    if (broken) {
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
    } else if (!line.empty() && line.back() == endMark) {
        line.remove_suffix(1);
    }
    text = codepage936::Decode(line);
    return broken || !line.empty();
}

bool CStdioFile::ReadBinaryLine(CString& text, bool& broken) {
    text.Empty();
    broken = false;
    bool any = false;
    while (!broken && Fill()) {
        WCHAR unit = 0;
        char* const bytes = reinterpret_cast<char*>(&unit);
        bytes[0] = m_input[m_cursor++];
        if (IsAtEnd()) {
            break;  // half a unit at the end of the file
        }
        bytes[1] = m_input[m_cursor++];
        any = true;
        broken = unit == '\n';
        if (!broken) {
            text.AppendChar(unit);
        }
    }
    return any;
}

bool CStdioFile::ReadLine(CString& text, bool& broken) {
    BeginReading();
    return m_binary ? ReadBinaryLine(text, broken) : ReadTextLine(text, broken);
}

BOOL CStdioFile::ReadString(CString& text) {
    if (m_rest.IsEmpty()) {
        bool broken = false;
        return ReadLine(text, broken) ? TRUE : FALSE;
    }
    text = m_rest.Mid(m_restStart);
    DropRest();
    if (text[text.GetLength() - 1] == '\n') {
        text.Truncate(text.GetLength() - 1);
    }
    return TRUE;
}

LPWSTR CStdioFile::ReadString(LPWSTR buffer, UINT room) {
    if (!buffer || room == 0) {
        AfxThrowInvalidArgException();
    }
    if (m_rest.IsEmpty()) {
        bool broken = false;
        if (!ReadLine(m_rest, broken)) {
            return nullptr;
        }
        if (broken) {
            m_rest.AppendChar('\n');
        }
    }
    const int left = m_rest.GetLength() - m_restStart;
    const int count = std::min(left, static_cast<int>(std::min<UINT>(room - 1, 0x7FFFFFFE)));
    std::copy_n(m_rest.GetString() + m_restStart, count, buffer);
    buffer[count] = 0;
    m_restStart += count;
    if (count == left) {
        DropRest();
    }
    return buffer;
}

void CStdioFile::WriteString(LPCWSTR text) {
    if (!text) {
        AfxThrowInvalidArgException();
    }
    if (!m_file->IsOpen()) {
        Throw(ERROR_INVALID_HANDLE);
    }
    BeginWriting();
    const WideView units(text);
    if (m_binary) {
        m_output.append(reinterpret_cast<const char*>(units.data()), units.size() * sizeof(WCHAR));
    } else {
        m_lost += codepage936::AppendEncoded(units, m_output);
    }
    FlushLarge();
}

}  // namespace kvtmfc
