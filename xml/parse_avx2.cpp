// The scanner and the element parser's loop with AVX2.

#include "xml/simd_avx2.h"
#include "xml/tree_builder.h"

namespace kvtfile {

ScannedNode CFXmlFile::Parser::BuildAvx2(Parser& parser) {
    return BuildTree<Avx2Simd>(parser);
}

ScannedNode ScanNodeAvx2(const WCHAR* text, ptrdiff_t limit, ptrdiff_t pos) {
    return Scanner<Avx2Simd>(text, limit, pos).Node(pos);
}

}  // namespace kvtfile
