#pragma once

// Files as bytes, and whether a text keeps all of itself in an encoding: what stands between an edit and a file that
// comes back changed in other places.

#include <string>

#include "kvtfile/XmlFile.h"

namespace kvtcommand {

/// Where something stands in a text, counted from 1; a column is one character (a surrogate pair is one).
struct Place {
    int line = 1;
    int column = 1;
};

/// The place of an offset in UTF-16 units. Line breaks are CR LF, LF and CR. Linear in the offset.
Place PlaceOf(const CString& text, int offset);

/// How a text is written to its file.
struct Encoding {
    CString name;   ///< empty: the system's ANSI code page
    int flags = 0;  ///< `CFXmlFile::DocFlag`

    bool IsUtf16() const;
    /// For messages: the name, or "ANSI".
    std::string Label() const;
};

/// The encoding in which the engine saves a document with this text and these flags.
Encoding EncodingOnSave(const CString& text, int flags);

/// A file named on the command line; one that cannot be a path is a failure.
struct FileName {
    explicit FileName(const std::string& text);

    std::string given;  ///< as messages name it
    CString full;       ///< the absolute form: a drive letter, "\" as separator
};

/// The system's text for an error.
std::string SystemText(DWORD error);

bool FileExists(const CString& path);
/// The whole file; a failure when it cannot be read.
std::string ReadBytes(const CString& path, const std::string& shown);
/// Makes the file hold these bytes, in place of what it held; a failure, and the file as it was, when that cannot be.
void WriteBytes(const CString& path, const std::string& shown, const std::string& bytes);

/// Offset of the first UTF-16 unit that comes back changed from the encoding, or -1.
int FindLost(const Encoding& encoding, const CString& text);
/// How many units come back changed.
int CountLost(const Encoding& encoding, const CString& text);
/// Offset of the first byte of the file that the text does not give back in the encoding, or -1.
long long FindChangedByte(const Encoding& encoding, const CString& text, const std::string& bytes);
/// "U+20AC" and, where it can be shown, the character itself.
std::string CharacterAt(const CString& text, int at);

/// Refuses a document that the encoding cannot hold, naming the first such character.
/// @param shown The file as messages name it.
void RequireHeldBy(const Encoding& encoding, const CString& text, const std::string& shown);
/// Refuses a document whose file's bytes would not come back from it: saving would change more than the edit.
void RequireLossless(const Encoding& encoding, const CString& text, const CString& path, const std::string& shown);

/// Refuses a text that holds what no XML document may (control characters, lone surrogates).
void RequireXmlText(const CString& text, const std::string& what);

}  // namespace kvtcommand
