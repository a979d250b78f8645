#pragma once

// One run of the element parser over a text: the state shared by the loop that builds records (tree_builder.h,
// compiled for each instruction set) and by the rules for markup that is not well formed (parse.cpp).

#include <memory>

#include "kvtfile/XmlFile.h"
#include "xml/scanned_node.h"

namespace kvtfile {

class OpenNames;

/// No stack is kept: the open elements are the innermost one and its parents. While elements are open, the field
/// "previous" of their first child is not yet the last child; it is set when the parent closes.
struct CFXmlFile::Parser {
    using Record = ElemPos;

    CFXmlFile& document;
    const WCHAR* text;
    ptrdiff_t limit;
    ptrdiff_t position;  ///< where scanning goes on
    bool ignoreCase;
    const int startParent;
    const int startLevel;
    int open;               ///< innermost open element, or the start parent
    int last = 0;           ///< last child of the open element so far
    int depth = 0;          ///< number of open elements
    bool tracking = false;  ///< `names` is kept
    bool failed = false;    ///< an error was recorded
    std::unique_ptr<OpenNames> names;

    // The document's record table while the loop runs.
    Record** segments;
    int free;
    int allocated;

    Parser(CFXmlFile& owner, int parent, const TokenPos& token);
    ~Parser();

    /// Parses to the end of the text.
    void Run();

    // The loop for each instruction set: runs until the text ends, or until it meets an error node or an end tag that
    // does not close the innermost open element, and returns that node.
    static ScannedNode BuildScalar(Parser& parser);
    static ScannedNode BuildSse2(Parser& parser);
    static ScannedNode BuildAvx2(Parser& parser);
    static ScannedNode BuildAvx512(Parser& parser);

    // Called by the loop.

    /// Makes room for another record; `segments` and every pointer into it change.
    void Grow();
    /// Whether the end tag at `tag` closes the innermost open element, by the whole rule.
    bool ClosesOpen(ptrdiff_t tag) const;
    /// Follows what the loop opens and closes, once `names` is kept.
    void NameOpened(int position);
    void NameClosed(int position);

private:
    Record& At(int index) { return segments[index >> 16][index & 0xFFFF]; }
    const Record& At(int index) const { return segments[index >> 16][index & 0xFFFF]; }
    CString Name(ptrdiff_t from) const;
    int NameLength(ptrdiff_t from) const;
    void RecordError(const CString& error);
    void EndTagMismatch(const ScannedNode& node);
    int FindOpen(ptrdiff_t name, int length);
    bool Matches(int position, ptrdiff_t name, int length) const;
    void Close(const ScannedNode& node);
    void CloseNotEnded(int position);
};

// `ScanNode` for each instruction set.
ScannedNode ScanNodeScalar(const WCHAR* text, ptrdiff_t limit, ptrdiff_t pos);
ScannedNode ScanNodeSse2(const WCHAR* text, ptrdiff_t limit, ptrdiff_t pos);
ScannedNode ScanNodeAvx2(const WCHAR* text, ptrdiff_t limit, ptrdiff_t pos);
ScannedNode ScanNodeAvx512(const WCHAR* text, ptrdiff_t limit, ptrdiff_t pos);

}  // namespace kvtfile
