#pragma once

/// @file
/// The XML document engine: `CFXmlFile`, and `MCD_CSTR`, the argument type of its text parameters.

#include <memory>
#include <type_traits>

#include "kvtfile/export.h"
#include "kvtfile/types.h"

namespace kvtfile {

struct ScannedNode;

/// A text argument: a `CString`, a NUL-terminated wide text, or nothing (null). It passes the characters on up to the
/// first NUL and owns none of them, so that it must not outlive what it was made from.
class MCD_CSTR {
public:
    MCD_CSTR() = default;
    MCD_CSTR(LPCWSTR text) : m_text(text) {}
    MCD_CSTR(const CString& text) : m_text(text) {}

    /// Where `wchar_t` is not the library's character (UTF-32 instead of UTF-16), `L"..."` is converted and kept.
    template <class Char,
              class = std::enable_if_t<std::is_same<Char, wchar_t>::value && !std::is_same<WCHAR, wchar_t>::value>>
    MCD_CSTR(const Char* text)
        : m_converted(text ? std::make_shared<const CString>(text) : nullptr),
          m_text(text ? static_cast<LPCWSTR>(*m_converted) : nullptr) {}

    /// The characters, ended by NUL; null when made from nothing.
    operator LPCWSTR() const { return m_text; }
    /// True for null and for the empty text.
    bool IsEmpty() const { return m_text == nullptr || *m_text == 0; }

private:
    std::shared_ptr<const CString> m_converted;
    LPCWSTR m_text = nullptr;
};

/// An XML document held as one wide text, with an array of element positions beside it in place of node objects.
///
/// **Positions.** The object has a cursor of three elements: the *main* element, its *parent* (nothing at document
/// level) and one *child* of main. Beside it stands a node cursor, used when the current item is a text, a comment or
/// another node that is not an element. `FindElem`, `FindChildElem`, `IntoElem`, `OutOfElem` and `FindNode` move them.
///
/// **Editing.** An edit splices markup into the text in place and shifts the positions after it: one move of the text
/// that follows and one pass over the records that follow. Adding at the document's end costs amortised constant time.
/// Line breaks written are CR LF; nothing is ever indented.
///
/// **Memory.** 2 bytes a character and 32 bytes an element, plus room for growth. Nothing recurses over the document's
/// depth.
///
/// **Offsets** count UTF-16 code units from the start of the text and are 32-bit: a text holds at most 2,147,483,647
/// units. A NUL ends the document for the parser.
///
/// **Failure.** Moves and edits return false when the position or the arguments do not allow them. Unless said
/// otherwise, nothing has changed then. Records keep start tags of up to 4,194,303 characters and end tags of up to
/// 1,023: no edit makes a longer start tag, and the content of an element with a longer tag is not edited. A document
/// that is not well formed is indexed as far as possible all the same; `IsWellFormed` tells, and `GetError` holds the
/// first error.
///
/// **Threads.** One object is used by one thread at a time; different objects are independent.
class KVTFILE_API CFXmlFile {
public:
    /// Flags of the document (`GetDocFlags`); a file's flags are found on reading and followed on writing.
    enum DocFlag : int {
        docUtf16Le = 0x1,     ///< the file is UTF-16 little-endian with its mark
        docUtf8Mark = 0x4,    ///< the file has, or is to get, the UTF-8 mark EF BB BF
        docIgnoreCase = 0x8,  ///< names compare without regard to the case of ASCII letters
        docRead = 0x10,       ///< open for reading (file operations only)
        docWrite = 0x20,      ///< open for writing (file operations only)
        docAppend = 0x40,     ///< append (file operations only)
        docUtf16Be = 0x80     ///< the file is UTF-16 big-endian
    };

    /// Types of a node, as `FindNode` and `GetNodeType` return them; a set of them is the mask that `FindNode` takes.
    enum NodeType : int {
        nodeNone = 0,
        nodeElement = 1,
        nodeText = 2,
        nodeWhitespace = 4,  ///< text made of spaces, tabs, CR and LF only
        nodeCData = 8,
        nodeInstruction = 16,  ///< a processing instruction, the XML declaration too
        nodeComment = 32,
        nodeDocType = 64,        ///< a document type declaration, or another "<!" declaration
        nodeLoneEndTag = 128,    ///< an end tag that does not close the current parent
        nodeError = 32768,       ///< something that is not XML
        nodeEndTag = 0,          ///< parser only
        nodeErrorParsed = -1,    ///< parser only
        nodeEndOfDocument = -2,  ///< parser only
    };

    /// Flags of the editing operations; they may be combined.
    enum EditFlag : int {
        editCData = 0x1,              ///< write the value as a CDATA section instead of escaped text
        editNoLines = 0x2,            ///< no CR LF around the new markup
        editEmptySpace = 0x4,         ///< write an empty element with " />"
        editKeepReferences = 0x8,     ///< keep "&" where it already begins a reference
        editStartTagOnly = 0x10,      ///< write a start tag without end tag; refused together with a value
        editEscapeQuotes = 0x100,     ///< escape both quotes too
        editReplaceContent = 0x1000,  ///< replace the parent's content (the data operations' own; no effect when given)
        editBefore = 0x2000,          ///< put the item before the reference instead of after it
        editChild = 0x4000            ///< work on the child of main
    };

    // --- Construction -------------------------------------------------------------------------------------------

    /// An empty document with flags 0.
    CFXmlFile();
    /// An empty document with these document flags.
    explicit CFXmlFile(int flags);
    /// A document with this text, parsed as by `SetDoc`; flags 0.
    explicit CFXmlFile(MCD_CSTR text);
    /// A copy: text, result text, cursor, flags, positions and saved positions.
    CFXmlFile(const CFXmlFile& other);
    CFXmlFile& operator=(const CFXmlFile& other);
    ~CFXmlFile();

    // --- The document -------------------------------------------------------------------------------------------

    /// Replaces the document by a copy of the text (nothing for null) and parses it; linear in its length. The
    /// cursor is reset, saved positions and the result text are dropped. Returns `IsWellFormed()`.
    bool SetDoc(LPCWSTR text);
    bool SetDoc(const CString& text);
    /// The whole text, as it stands after every edit; valid until the next change. Linear time is only spent by the
    /// next edit when the caller keeps a copy of the string.
    const CString& GetDoc() const { return m_strDoc; }
    /// The result text: status of the last load or save, and the first error of the last parse.
    const CString& GetError() const { return m_strResult; }
    /// The document flags, a set of `DocFlag`. Setting them leaves text and records as they are: `docIgnoreCase` is
    /// followed by the next look-up or parse, the others by the next load or save.
    int GetDocFlags() const { return m_nDocFlags; }
    void SetDocFlags(int flags) { m_nDocFlags = flags; }
    /// Back to 0. Without it a document that was big-endian once makes the next file without a mark big-endian.
    void InitDocFlags() { m_nDocFlags = 0; }
    /// True when the last parse met no error and there is exactly one root element.
    bool IsWellFormed() const;

    // --- Files --------------------------------------------------------------------------------------------------

    /// Reads a file as `ReadTextFile` does without a given encoding and parses it as `SetDoc` does, but for the result
    /// text: the status of reading, followed by a space and the first parse error if there is one. The document flags
    /// take the mark found. Linear in the file's size.
    /// @param path the file
    /// @return false when the file cannot be read (the document is then empty, the flags are unchanged, and `GetError`
    ///         holds the reason, a space and "Empty document") or its text is not well formed. The object is usable
    ///         either way.
    bool Load(MCD_CSTR path);
    /// Writes the document as `WriteTextFile` does without a given encoding: in the encoding chosen by the document
    /// flags or by its own declaration, after the file's old content with `docAppend`. All or nothing; the document
    /// and its flags are unchanged. `GetError` holds the status, or the system's text after a failure. Success with
    /// "(chars lost in conversion!)" in it means that the encoding lacks characters of the text; each was written as
    /// the code page's default character ("?"), in UTF-8 half a surrogate pair as U+FFFD.
    /// @param path the file; it is replaced, or made when its folder exists
    /// @return false when it cannot be written; it then stands as it was
    bool Save(MCD_CSTR path);
    /// Reads a whole text file of at most 2,147,483,647 bytes. NULs are removed; bytes that are not valid UTF-8 become
    /// U+FFFD; what is invalid in another code page becomes what the system makes of it.
    ///
    /// The encoding is, in this order: UTF-16 when the file has its mark; `encoding`; UTF-8 when the file has its mark;
    /// the one declared in the first 1,024 bytes; UTF-8 when the first byte is "<"; UTF-8 when every byte fits it; the
    /// ANSI code page, which also stands for an unknown name. A mark is never part of the text.
    ///
    /// The status text is made of the encoding's name or "ANSI", "BOM +", "forced NAME", "length N" (units: bytes, or
    /// two bytes for UTF-16), "(N nulls removed)", "endian swap", "(used UTF-8 detection)", "to N wide chars", as far
    /// as they apply, each followed by a space; "0 length " for an empty file.
    /// @param path     the file
    /// @param text     receives the text; empty after a failure
    /// @param result   receives the status text, or the system's text after a failure; may be null
    /// @param flags    in: document flags; out: `docUtf16Le` and `docUtf8Mark` as found, `docUtf16Be` set when found,
    ///                 but never cleared: a file without a mark is read as big-endian when it comes in set. Others, and
    ///                 all after a failure, stay as they are. May be null
    /// @param encoding in: the encoding to force, over a UTF-8 mark too (empty: find out); out: the one used, empty for
    ///                 the ANSI code page; unchanged after a failure; may be null
    /// @return false when the file cannot be opened or read, is too large, or is in an encoding that the system cannot
    ///         convert ("to 0 wide chars " at the end of the status).
    static bool ReadTextFile(MCD_CSTR path, CString& text, CString* result = nullptr, int* flags = nullptr,
                             CString* encoding = nullptr);
    /// Writes a text as a whole file, or appends it (`docAppend`); all or nothing.
    ///
    /// The flags ask for a mark, which decides on the encoding; of several the first of UTF-8, UTF-16 little-endian and
    /// big-endian counts. Without one the encoding is, in this order: `encoding`; the one declared in the text; UTF-8
    /// when it begins with "<"; the ANSI code page, which also stands for an unknown name. The mark is written when the
    /// file is empty so far; an empty text writes nothing else.
    ///
    /// The status text is made of the name of a UTF-16 encoding, "from wide length N", "endian swap", "(chars lost in
    /// conversion!)", "length N" (units), as far as they apply, each followed by a space; "0 length " for an empty
    /// text.
    /// @param path     the file; replaced, or made when its folder exists
    /// @param text     the text, NULs included
    /// @param result   receives the status text, or the system's text after a failure; may be null
    /// @param flags    document flags; unchanged; may be null (0)
    /// @param encoding in: the encoding to use (empty: find out); out: the one used; unchanged after a failure; may be
    ///                 null
    /// @return false when the file cannot be opened, written or replaced, or the system cannot convert to the encoding;
    ///         the old file then stands as it was.
    static bool WriteTextFile(MCD_CSTR path, const CString& text, CString* result = nullptr, int* flags = nullptr,
                              CString* encoding = nullptr);
    /// The encoding that the text names for itself: in the XML declaration at its start, or after "charset=" in the
    /// "Content-Type" meta element of an HTML text's head; empty when there is none. Linear.
    static CString GetDeclaredEncoding(MCD_CSTR text);
    /// Whether every byte at or above 0x80, up to the first NUL or the length, belongs to a valid UTF-8 sequence.
    /// @param count receives the number of such sequences met up to the first bad byte; may be null
    static bool DetectUTF8(const char* bytes, int length, int* count = nullptr);
    /// Converts `length` bytes of UTF-8, NULs included, and returns the number of units; only counts when `out` is
    /// null. What is not valid becomes U+FFFD, one for each longest start of a sequence. No byte gives more than one
    /// unit.
    static int UTF8To16(WCHAR* out, const char* in, int length);
    /// Converts `length` units of UTF-16, NULs included, and returns the number of bytes; only counts when `out` is
    /// null. Half a surrogate pair becomes U+FFFD. No unit gives more than three bytes. A result beyond 2,147,483,647
    /// is refused with 0.
    static int UTF16To8(char* out, const WCHAR* in, int length);
    /// Decodes one code point and moves past it; -1, and past the bad part, for an invalid or cut sequence; -1 at the
    /// end.
    static int DecodeCharUTF8(const char*& p, const char* end);
    static int DecodeCharUTF16(const WCHAR*& p, const WCHAR* end);
    /// Appends a code point at `out + length` and moves `length` by at most 4 bytes, or 2 units; only counts when `out`
    /// is null. What is no code point, and in UTF-8 a surrogate, is written as U+FFFD.
    static void EncodeCharUTF8(int codePoint, char* out, int& length);
    static void EncodeCharUTF16(int codePoint, WCHAR* out, int& length);

    // --- Moving -------------------------------------------------------------------------------------------------

    /// Moves main to the next element after it (or to the parent's first child when main is not set) whose name
    /// matches; null or empty matches any. What follows one of " =/[]" in the searched name is ignored. On success
    /// the child and the node cursor are cleared. Linear in the siblings passed.
    bool FindElem(MCD_CSTR name = MCD_CSTR());
    /// Moves child to the next matching child of main; without main, the first element becomes main.
    bool FindChildElem(MCD_CSTR name = MCD_CSTR());
    /// Steps into main: it becomes the parent, child becomes main.
    bool IntoElem();
    /// Steps out of the parent: it becomes main, main becomes child.
    bool OutOfElem();
    /// Back before the first element of the document.
    void ResetPos();
    /// Back before the first child of the parent.
    void ResetMainPos();
    /// Back before the first child of main.
    void ResetChildPos();
    /// Moves to the next node of one of the types (a mask of `NodeType`; 0 for any) under the same parent. Returns
    /// its type, or 0 when there is none: the whole position is then unchanged.
    int FindNode(int types = 0);
    /// Type of the current node: 1 on an element, 0 before the first one.
    int GetNodeType() const { return m_nNodeType; }

    // --- Reading ------------------------------------------------------------------------------------------------

    /// Name of main, or of the current node ("#text", "#comment", "#cdata-section", the target of a processing
    /// instruction, the name of a document type declaration).
    CString GetTagName() const;
    CString GetChildTagName() const;
    /// Value of an attribute of main, or of the current processing instruction, unescaped; empty when absent.
    CString GetAttrib(MCD_CSTR name) const;
    CString GetChildAttrib(MCD_CSTR name) const;
    /// Name of the n-th attribute, from 0; empty when there is none.
    CString GetAttribName(int index) const;
    /// Text of main without markup (empty when it has a child element), or of the current node.
    CString GetData() const;
    CString GetChildData() const;
    /// Markup of the element, with the whitespace after it unless text follows.
    CString GetSubDoc() const;
    CString GetChildSubDoc() const;
    /// Everything between main's start and end tags, as it stands in the document.
    CString GetElemContent() const;
    /// Replaces character and entity references; an unknown one is kept as it stands. `length` -1: up to the NUL.
    static CString UnescapeText(MCD_CSTR text, int length = -1);
    /// Escapes "<", "&", ">" and, with `editEscapeQuotes`, both quotes; with `editKeepReferences` an "&" that begins
    /// a reference stays.
    static CString EscapeText(MCD_CSTR text, int flags = 0);

    // --- Adding and changing ------------------------------------------------------------------------------------

    // `flags` is a set of `EditFlag`.

    /// Adds an element after main or the current node (at the end of the parent without either) and moves main to it.
    /// @param name  written as given
    /// @param value escaped, or written as CDATA with `editCData`; a number in decimal; empty for `<name/>`
    /// @return false, with nothing changed, for an empty name, or a value together with `editStartTagOnly`
    bool AddElem(MCD_CSTR name, MCD_CSTR value = MCD_CSTR(), int flags = 0);
    bool AddElem(MCD_CSTR name, int value, int flags = 0);
    /// The same before main (at the start of the parent without main).
    bool InsertElem(MCD_CSTR name, MCD_CSTR value = MCD_CSTR(), int flags = 0);
    bool InsertElem(MCD_CSTR name, int value, int flags = 0);
    /// The same after, or before, the child of main (at the end, or start, of main without child); child moves to the
    /// new element. False without main.
    bool AddChildElem(MCD_CSTR name, MCD_CSTR value = MCD_CSTR(), int flags = 0);
    bool AddChildElem(MCD_CSTR name, int value, int flags = 0);
    bool InsertChildElem(MCD_CSTR name, MCD_CSTR value = MCD_CSTR(), int flags = 0);
    bool InsertChildElem(MCD_CSTR name, int value, int flags = 0);
    /// Adds markup that holds one element. More than one element is inserted too, and text that does not parse is
    /// inserted as it stands; the result is false in both cases.
    bool AddSubDoc(MCD_CSTR text);
    bool InsertSubDoc(MCD_CSTR text);
    bool AddChildSubDoc(MCD_CSTR text);
    bool InsertChildSubDoc(MCD_CSTR text);
    /// Adds a node of a `NodeType` after (before) the current item and moves the node cursor to it. False, with
    /// nothing changed, for a CDATA text that holds "]]>" and for a lone end tag.
    bool AddNode(int type, MCD_CSTR text);
    bool InsertNode(int type, MCD_CSTR text);
    /// Sets an attribute of main, or of the current processing instruction: its value is replaced, or the attribute
    /// added at the end of the tag. Quotes and markup characters are escaped; a number is written in decimal. False,
    /// with nothing changed, on anything else or for an empty name.
    bool SetAttrib(MCD_CSTR name, MCD_CSTR value, int flags = 0);
    bool SetAttrib(MCD_CSTR name, int value, int flags = 0);
    bool SetChildAttrib(MCD_CSTR name, MCD_CSTR value, int flags = 0);
    bool SetChildAttrib(MCD_CSTR name, int value, int flags = 0);
    bool AddAttrib(MCD_CSTR name, MCD_CSTR value);
    bool AddAttrib(MCD_CSTR name, int value);
    bool AddChildAttrib(MCD_CSTR name, MCD_CSTR value);
    bool AddChildAttrib(MCD_CSTR name, int value);
    /// Replaces the content of main by text, or the current node's text; refused on an element with a child element.
    bool SetData(MCD_CSTR text, int flags = 0);
    bool SetData(int value);
    bool SetChildData(MCD_CSTR text, int flags = 0);
    /// Replaces the content of main by markup. False when the markup is not well formed; it is inserted all the same.
    bool SetElemContent(MCD_CSTR text);

    // --- Removing -----------------------------------------------------------------------------------------------

    /// Removes main with the whitespace after it, unless text follows; main becomes the previous sibling. False without
    /// main, or on another node.
    bool RemoveElem();
    /// Removes the child of main in the same way; child becomes its previous sibling. False without child.
    bool RemoveChildElem();
    /// Removes the current node or element and moves to the item before it. False before the first one.
    bool RemoveNode();

    // --- Saved positions ----------------------------------------------------------------------------------------

    // Positions are kept in maps, numbered from 0 and looked up by a hash of the name; a map that is made takes the
    // missing ones below it along. Edits keep the positions right and forget those of removed elements; a parse
    // (`SetDoc`, `Load`) forgets all. The maps stay, with their sizes.

    /// Remembers the current element (child, else main, else parent, which may be the document itself). Constant time
    /// on average while a map has about as many buckets as names.
    /// @param name compared exactly; the position saved under it before is replaced. May be empty
    /// @param map  the map's number; one that does not exist is made with 7 buckets
    /// @return false, with nothing changed, for a null name or a negative number
    bool SavePos(MCD_CSTR name, int map = 0);
    /// Returns to a remembered element as what it was: child, main, or parent with no main. The node cursor is cleared.
    /// @return false, with the position unchanged, when the map holds no such name: it was never saved, or its element
    ///         has been removed
    bool RestorePos(MCD_CSTR name, int map = 0);
    /// Makes map number `map`, and the missing ones below it, with so many buckets.
    /// @return false, with nothing changed, when it exists already, the size is not positive or the number negative
    bool SetMapSize(int size, int map = 0);

protected:
    /// Bits of `ElemPos::flags`, and of a parsed node's flags.
    enum ElemFlag : unsigned {
        elemLevelMask = 0xFFFF,
        elemEmptyNode = 0x10000,  ///< parsed nodes only: the start tag is closed by "/>"
        elemReleased = 0x20000,
        elemFirstChild = 0x80000,
        elemNotEnded = 0x100000,
        elemIllFormedContent = 0x200000,
        elemIllFormed = 0x800000
    };

    /// Position of one element: where it stands in the text and which elements stand around it.
    struct ElemPos {
        int start;            ///< offset of "<"
        int length;           ///< of the whole element, to the end of its end tag
        unsigned tagLengths;  ///< low 22 bits: start tag; high 10 bits: end tag (0: empty or not ended)
        unsigned flags;       ///< low 16 bits: nesting level; above: `ElemFlag`
        int parent;           ///< 0 for a top-level element
        int child;            ///< first child, 0 for none
        int next;             ///< next sibling, 0 for the last; in a released record the next released one
        int previous;         ///< previous sibling; in a first child the last child

        enum { longestStartTag = 0x3FFFFF };
        int StartTagLength() const { return static_cast<int>(tagLengths & 0x3FFFFF); }
        int EndTagLength() const { return static_cast<int>(tagLengths >> 22); }
        /// Both are stored modulo their fields.
        void SetStartTagLength(int value) { tagLengths = (tagLengths & ~0x3FFFFFu) | (unsigned(value) & 0x3FFFFFu); }
        void SetEndTagLength(int value) { tagLengths = (tagLengths & 0x3FFFFFu) | (unsigned(value) << 22); }
        int Level() const { return static_cast<int>(flags & elemLevelMask); }
        bool HasFlag(ElemFlag flag) const { return (flags & flag) != 0; }
        /// No content: `<a/>`, or a start tag without end tag.
        bool IsEmpty() const { return StartTagLength() == length; }
        int End() const { return start + length; }
        int ContentStart() const { return start + StartTagLength(); }
        int ContentEnd() const { return start + length - EndTagLength(); }
        int ContentLength() const { return length - StartTagLength() - EndTagLength(); }
    };
    static_assert(sizeof(unsigned) == 4, "records are 32 bytes");

    /// A place in a text that is being scanned, and the token found there.
    struct TokenPos {
        int left;      ///< first character of the token
        int right;     ///< its last character; left - 1 for an empty one
        int next;      ///< where scanning resumes
        LPCWSTR text;  ///< the text; not owned
        int flags;     ///< document flags; 0x8000 while the token is a quoted value
        int length;    ///< of the text

        enum { quoted = 0x8000 };
        TokenPos(LPCWSTR text_, int length_, int flags_, int next_ = 0)
            : left(0), right(-1), next(next_), text(text_), flags(flags_), length(length_) {}
        int TokenLength() const { return right - left + 1; }
    };

    /// A node that was scanned, or is to be inserted.
    struct NodePos {
        int type = 0;
        int start = 0;
        int length = 0;
        int flags = 0;  ///< `ElemFlag` when scanned, `EditFlag` when inserted
        CString meta;   ///< error text of an error node; the markup to insert
    };

    /// A remembered position, an entry of a bucket.
    struct SavedPos {
        enum { isMain = 0x1, isChild = 0x2, inUse = 0x4, isLast = 0x8 };
        CString name;
        int position = 0;
        int flags = 0;
    };

    /// One map of remembered positions: `size` buckets, each an array that ends at the entry with `SavedPos::isLast`.
    struct SavedPosMap {
        SavedPos** buckets = nullptr;
        int size = 0;
    };

    /// An open text file.
    struct FilePos {
        struct Handle;  ///< the file itself, reading or replacing

        std::unique_ptr<Handle> file;
        int flags = 0;      ///< document flags in use
        int byteCount = 0;  ///< size in bytes after any mark
        int unitSize = 1;   ///< bytes a unit: 1, or 2 for UTF-16
        int unitCount = 0;  ///< units read
        CString result;     ///< status text
        CString encoding;   ///< encoding name

        FilePos();
        ~FilePos();
    };

    /// A conversion between a code page and wide text.
    struct ConvertRequest {
        CString encoding;            ///< of the narrow side; empty or unknown: the system's ANSI code page
        const void* from = nullptr;  ///< bytes, or wide characters; not owned
        int fromCount = 0;           ///< in bytes, or in wide characters
        int room = 0;                ///< of the output, in wide characters, or in bytes
        bool toWide = false;         ///< direction: true from bytes to wide text
        bool lost = false;           ///< set when a character had to be replaced
    };

    struct Parser;  ///< one run of the element parser (xml/parser.h)

    // --- Model (model.cpp) and parser (parse.cpp, node.cpp)

    bool x_ParseDoc();
    int x_ParseElem(int parent, TokenPos& token);
    static int x_ParseNode(TokenPos& token, NodePos& node);
    static CString x_ErrorText(const ScannedNode& node);
    bool x_AllocPosArray(int wanted);
    void x_FreePosArray();
    int x_GetFreePos();
    int x_ReleasePos(int position);
    void x_SetPos(int parent, int main, int child);
    static CString x_GetLastError();
    static CString x_IntToStr(int value);
    /// The record of an index.
    ElemPos& x_Elem(int position) { return m_pSegments[position >> 16][position & 0xFFFF]; }
    const ElemPos& x_Elem(int position) const { return m_pSegments[position >> 16][position & 0xFFFF]; }
    TokenPos x_DocToken(int next) const { return TokenPos(m_strDoc, m_strDoc.GetLength(), m_nDocFlags, next); }

    // --- Navigation and reading (navigate.cpp, read.cpp, attribute.cpp)

    int x_FindElem(int parent, int from, LPCWSTR name) const;
    static bool x_FindName(TokenPos& token);
    static bool x_FindAttrib(TokenPos& token, LPCWSTR name, int index = 0);
    static bool x_Matches(const TokenPos& token, LPCWSTR name);
    static CString x_TokenText(const TokenPos& token);
    bool x_AttribStart(int position, TokenPos& token) const;
    CString x_GetTagName(int position) const;
    int x_SkipBlanks(int offset) const;
    int x_SubDocEnd(int position) const;
    CString x_GetData(int position) const;
    CString x_GetAttrib(int position, LPCWSTR name) const;
    CString x_GetSubDoc(int position) const;
    CString x_GetElemContent(int position) const;

    // --- Editing (edit*.cpp)

    bool x_AddElem(LPCWSTR name, LPCWSTR value, int flags);
    bool x_AddSubDoc(LPCWSTR text, int flags);
    bool x_AddNode(int type, LPCWSTR text, int flags);
    bool x_SetAttrib(int position, LPCWSTR name, LPCWSTR value, int flags);
    bool x_SetData(int position, LPCWSTR text, int flags);
    bool x_SetElemContent(LPCWSTR text);
    int x_RemoveElem(int position);
    void x_RemoveNode(int parent, int& main, int& nodeType, int& nodeOffset, int& nodeLength);
    static bool x_CreateNode(CString& markup, int type, LPCWSTR text);
    static CString x_EncodeCDATASection(LPCWSTR text);
    int x_InsertNew(int parent, int& reference, NodePos& node);
    void x_DocChange(int offset, int length, const CString& text);
    void x_Adjust(int position, int delta, bool after = false);
    void x_AdjustForNode(int parent, int position, int delta);
    void x_LinkElem(int parent, int previous, int position);
    int x_UnlinkElem(int position);
    void x_ReleaseChildren(int position);
    int x_ChildBefore(int parent, int offset, int guess) const;
    bool x_HasRoom(const CString& text) const;
    bool x_HasExactTags(int position) const;
    CString x_EndTagName(int position) const;
    bool x_Target(int flags, int& parent, int& reference, NodePos& node) const;
    void x_SetAdded(int flags, int position);
    int x_NewScratch(int parent);
    int x_TakeParsed(int scratch, int parent, int previous, int delta);
    bool x_HasCleanContent(int parent) const;

    // --- Saved positions, copies (saved_pos.cpp, copy.cpp)

    static int x_Hash(LPCWSTR text, int size);
    int x_CountMaps() const;
    static int x_BucketCount(const SavedPos* bucket);
    static SavedPos* x_FindSavedPos(const SavedPosMap& map, LPCWSTR name);
    static SavedPos& x_AppendSavedPos(SavedPos*& bucket);
    static void x_CutBucket(SavedPos*& bucket, int kept, int count);
    static SavedPosMap* x_NewMap(int size);
    bool x_GetMap(SavedPosMap*& out, int map, int size = 7);
    void x_CheckSavedPos();
    void x_ClearSavedPos();
    void x_FreeSavedPos();
    CString x_GetPath(int position) const;
    void x_Copy(const CFXmlFile& other);

    // --- Text files (textfile.cpp, encoding*.cpp)

    static bool x_Open(LPCWSTR path, FilePos& file);
    static bool x_OpenForReading(LPCWSTR path, FilePos& file);
    static bool x_OpenForWriting(LPCWSTR path, FilePos& file);
    static bool x_Close(FilePos& file);
    /// The system's text of the last error, or its number where the system has no text for it.
    static CString x_FileError();
    static bool x_Read(void* buffer, FilePos& file);
    static bool x_ReadText(CString& text, FilePos& file);
    static bool x_Write(const void* buffer, FilePos& file, int count);
    static bool x_WriteText(const CString& text, FilePos& file);
    static int x_GetEncodingCodePage(LPCWSTR name);
    static bool x_EndianSwapRequired(int flags);
    static void x_EndianSwapUTF16(WCHAR* buffer, int count);
    static int x_ConvertEncoding(ConvertRequest& request, void* out);

    CString m_strDoc;
    CString m_strResult;
    int m_iPosParent = 0;
    int m_iPos = 0;
    int m_iPosChild = 0;
    int m_iPosFree = 1;
    int m_iPosReleased = 0;
    int m_nNodeType = 0;
    int m_nNodeOffset = 0;
    int m_nNodeLength = 0;
    int m_nDocFlags = 0;
    SavedPosMap** m_pSavedPosMaps = nullptr;  ///< ended by null; null while no position was ever saved
    ElemPos** m_pSegments = nullptr;
    int m_nPosAllocated = 0;
    int m_nSegmentCapacity = 0;
};

}  // namespace kvtfile
