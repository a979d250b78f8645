// The scanner and the element parser's loop with SSE2.

#include "xml/simd_sse2.h"
#include "xml/tree_builder.h"

namespace kvtfile {

ScannedNode CFXmlFile::Parser::BuildSse2(Parser& parser) {
    return BuildTree<Sse2Simd>(parser);
}

ScannedNode ScanNodeSse2(const WCHAR* text, ptrdiff_t limit, ptrdiff_t pos) {
    return Scanner<Sse2Simd>(text, limit, pos).Node(pos);
}

}  // namespace kvtfile
