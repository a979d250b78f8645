// Code page 936 (GBK) as the library's text files use it: tables taken once from the platform's own conversion, so that
// a line costs no call.
#pragma once

#include "cstring.h"

#include <string>
#include <string_view>

namespace kvtmfc::codepage936 {

/// Converts bytes as MultiByteToWideChar(936) does: a lead byte with a bad second byte, or without one, becomes one
/// "?".
CString Decode(std::string_view bytes);

/// Appends the text's bytes, a line feed as CR LF. A character that the page lacks becomes one "?", also a surrogate
/// pair or a lone half. Returns how many characters were lost so.
size_t AppendEncoded(WideView text, std::string& bytes);

}  // namespace kvtmfc::codepage936
