// Names beside names that are taken, as the shell makes them.

#include "shell_names.h"

#include <limits.h>

namespace kvtwin {

namespace {

constexpr bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

}  // namespace

size_t ExtensionAt(const std::string& name, bool folder) {
    constexpr size_t kLongest = 64;
    const size_t dot = name.rfind('.');
    const bool none = folder || dot == std::string::npos || dot == 0 || name.size() - dot > kLongest;
    return none ? name.size() : dot;
}

std::string FittingName(const std::string& stem, const std::string& end) {
    size_t room = end.size() < NAME_MAX ? NAME_MAX - end.size() : 1;
    if (room >= stem.size()) {
        return stem + end;
    }
    while (room > 1 && IsContinuation(stem[room])) {
        --room;
    }
    return stem.substr(0, room) + end;
}

std::string CollisionName(const std::string& name, bool folder, CollisionStyle style, unsigned n) {
    const size_t extension = ExtensionAt(name, folder);
    std::string end = style == CollisionStyle::Copy ? " - Copy" : "";
    const unsigned number = style == CollisionStyle::Copy ? n : n + 1;
    if (number > 1) {
        end += " (" + std::to_string(number) + ")";
    }
    return FittingName(name.substr(0, extension), end + name.substr(extension));
}

}  // namespace kvtwin
