// The scanner and the element parser's loop with AVX-512BW.

#include "xml/simd_avx512.h"
#include "xml/tree_builder.h"

namespace kvtfile {

ScannedNode CFXmlFile::Parser::BuildAvx512(Parser& parser) {
    return BuildTree<Avx512Simd>(parser);
}

ScannedNode ScanNodeAvx512(const WCHAR* text, ptrdiff_t limit, ptrdiff_t pos) {
    return Scanner<Avx512Simd>(text, limit, pos).Node(pos);
}

}  // namespace kvtfile
