// The scanner and the element parser's loop without vector instructions.

#include "xml/simd_scalar.h"
#include "xml/tree_builder.h"

namespace kvtfile {

ScannedNode CFXmlFile::Parser::BuildScalar(Parser& parser) {
    return BuildTree<ScalarSimd>(parser);
}

ScannedNode ScanNodeScalar(const WCHAR* text, ptrdiff_t limit, ptrdiff_t pos) {
    return Scanner<ScalarSimd>(text, limit, pos).Node(pos);
}

}  // namespace kvtfile
