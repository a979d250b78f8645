#pragma once

// What the scanner reports about one node of the text.

#include <cstddef>

#include "kvtfile/types.h"

namespace kvtfile {

/// What is wrong with an error node.
enum class NodeFault : int {
    None,
    TagNameCharacter,  ///< "<" before something that starts no markup
    Bang,              ///< "<!" before something unknown
    CommentTag,        ///< "<!-" without a second "-"
    Tag,               ///< "<![" without "C"
    Unterminated       ///< the text ends inside the node
};

struct ScannedNode {
    int type;         ///< `CFXmlFile::NodeType`; for an unterminated node the type it would have had, see `fault`
    ptrdiff_t start;  ///< first character
    ptrdiff_t end;    ///< behind the last character consumed
    bool empty;       ///< start tag closed by "/>"
    NodeFault fault;  ///< other than None: an error node
};

/// Type of an unterminated node whose kind was not yet known.
constexpr int nodeUndecided = -3;

/// Behind the ">" that ends the document type declaration whose "<!" stands before `from`; -1 when the text ends first.
/// Quoted texts, comments and processing instructions inside it are passed over whole.
ptrdiff_t FindDocTypeEnd(const WCHAR* text, ptrdiff_t limit, ptrdiff_t from);

/// Scans the node at `pos` with the best instructions of this machine. `text[limit]` is NUL.
ScannedNode ScanNode(const WCHAR* text, ptrdiff_t limit, ptrdiff_t pos);

}  // namespace kvtfile
