#pragma once

// Paths and times as texts of a listing.

#include <string>
#include <string_view>

#include "kvtfile/types.h"

namespace kvtcommand {

/// A path below the scanned folder in UTF-8, different for different paths: a byte that is no text comes out as
/// "\\xFF", another lone surrogate as "\\uD800". Two backslashes stand in no such path otherwise.
std::string PathText(const CString& path);

/// The text of a path on a line: control characters come out as "\\x0A".
std::string Shown(std::string_view path);

/// "2026-11-21 18:30:00+01:00": local time and what it is ahead of UTC; empty when the time is not valid. Of an hour
/// that the clock shows twice it is the first.
std::string StampText(const COleDateTime& time);

/// The date and time of day of a stamp's text.
std::string_view LocalPart(std::string_view stamp);

/// Whether two stamps' texts mean the same moment, whatever the zones they were written in.
bool SameMoment(const std::string& a, const std::string& b);

}  // namespace kvtcommand
