#pragma once

/// @file
/// Names for what would otherwise collide.

#include <string>

namespace kvtwin {

enum class CollisionStyle { Copy, Other };

/// The n-th name (from 1) to be tried when `name` is taken: "x - Copy.txt", "x - Copy (2).txt", ... for a copy,
/// "x (2).txt", "x (3).txt", ... else. A folder's name, and one that only begins with a dot, has no extension. A name
/// that would become too long for the file system is cut before the addition, between characters.
std::string CollisionName(const std::string& name, bool folder, CollisionStyle style, unsigned n);

/// `stem` and `end`, the first cut so that both fit into a name of the file system.
std::string FittingName(const std::string& stem, const std::string& end);

/// Where the extension begins; the name's length when there is none (one of more than 64 bytes is none).
size_t ExtensionAt(const std::string& name, bool folder);

}  // namespace kvtwin
