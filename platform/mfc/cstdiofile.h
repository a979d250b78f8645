// CStdioFile: buffered text files, line by line.
#pragma once

#include "cfile.h"

#include <string>
#include <string_view>
#include <vector>

namespace kvtmfc {

/// A buffered file of lines. As text (the default, unless typeBinary is given) its bytes are code page 936 on every
/// target and in every locale; CR LF is written for a line feed, and CR LF and LF are read as one. As binary, texts are
/// UTF-16 units as they stand.
///
/// Reading loses no line: bytes that are no character become "?", but never take the line break behind them with them.
/// A NUL is a character like others. So is 1A; only as the very last byte of a file it is an end mark and not part of
/// the text. Writing loses no line either: a character that the code page lacks, a surrogate pair or a lone half of one
/// becomes "?" and is counted. Bytes are buffered: a failure of the disk may show at Flush, Seek or Close. The
/// destructor writes what is left and reports nothing, so call Close where it matters.
class KVTFILE_API CStdioFile : public CFile {
    DECLARE_DYNAMIC(CStdioFile)

public:
    CStdioFile();
    CStdioFile(LPCWSTR fileName, UINT openFlags);
    ~CStdioFile() override;

    BOOL Open(LPCWSTR fileName, UINT openFlags, CFileException* error = nullptr) override;

    /// Reads the rest of the line without its break. FALSE: the end of the file came before any character; `text` is
    /// then empty.
    virtual BOOL ReadString(CString& text);
    /// Reads at most `room` - 1 characters, up to and with the line feed, and adds a NUL. Null at the end of the file,
    /// with the buffer unchanged. While a line is read in pieces, GetPosition is that of its end.
    virtual LPWSTR ReadString(LPWSTR buffer, UINT room);
    /// Writes the text without its NUL.
    virtual void WriteString(LPCWSTR text);
    /// How many characters were written as "?" since the file was opened.
    ULONGLONG GetLostCharacterCount() const { return m_lost; }

    void Close() override;
    void Abort() override;
    ULONGLONG GetPosition() const override;
    ULONGLONG Seek(LONGLONG offset, UINT from) override;
    ULONGLONG GetLength() const override;
    void SetLength(ULONGLONG length) override;
    /// As text: bytes, a CR LF as one LF.
    UINT Read(void* buffer, UINT count) override;
    /// As text: bytes, an LF as CR LF.
    void Write(const void* buffer, UINT count) override;
    /// Hands the buffer to the system.
    void Flush() override;

private:
    void BeginReading();
    void BeginWriting();
    bool Fill();
    void Reset();
    void DropRest();
    void FlushLarge();
    bool ReadLine(CString& text, bool& broken);
    bool ReadTextLine(CString& text, bool& broken);
    bool ReadBinaryLine(CString& text, bool& broken);
    bool IsAtEnd();

    bool m_binary = false;
    std::vector<char> m_input;  // bytes read ahead: from m_cursor to m_filled
    size_t m_cursor = 0;
    size_t m_filled = 0;
    std::string m_output;  // bytes not yet written; empty while there is input
    CString m_rest;        // a line that was longer than the caller's buffer
    int m_restStart = 0;   // what of it was not yet read
    ULONGLONG m_lost = 0;
};

}  // namespace kvtmfc
