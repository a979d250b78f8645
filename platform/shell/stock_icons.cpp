// The built-in icons: pictures of 16 x 16 pixels, and which number shows which.

#include "stock_icons.h"

#include <array>
#include <iterator>

namespace kvtshell {

namespace {

constexpr int kPictureSide = 16;

struct Picture {
    std::array<const char*, kPictureSide> rows;
};

#include "stock_icons_data.inc"

struct PaletteEntry {
    char name;
    std::array<std::uint8_t, 4> rgba;
};

constexpr PaletteEntry kPalette[] = {
    {'.', {0, 0, 0, 0}},         {'k', {64, 64, 64, 255}},    {'w', {255, 255, 255, 255}}, {'g', {208, 208, 208, 255}},
    {'G', {144, 144, 144, 255}}, {'y', {255, 224, 128, 255}}, {'Y', {192, 144, 32, 255}},  {'b', {64, 112, 192, 255}},
    {'r', {208, 64, 64, 255}},   {'n', {48, 176, 80, 255}},
};

/// By the numbers that the icons have in the shell's own library.
constexpr const Picture* kPictures[] = {
    &kPage,        // 0: a document that no program is known for
    &kText,        // 1: a document
    &kWindow,      // 2: an application
    &kFolder,      // 3
    &kOpenFolder,  // 4
    &kDrive,       // 5: a floppy disk of 5.25 inches
    &kDrive,       // 6: of 3.5 inches
    &kDrive,       // 7: a removable disk
    &kDrive,       // 8: a hard disk
    &kDrive,       // 9: a network drive
    &kDrive,       // 10: a network drive out of reach
    &kDisc,        // 11: an optical disc
    &kDrive,       // 12: a disk in memory
    &kComputer,    // 13: the network
    &kComputer,    // 14: the computers of a network
    &kComputer,    // 15: this computer
    &kPrinter,     // 16
    &kComputer,    // 17: the computers around
};

const std::array<std::uint8_t, 4>& ColourOf(char name) {
    for (const PaletteEntry& entry : kPalette) {
        if (entry.name == name) {
            return entry.rgba;
        }
    }
    return kPalette[0].rgba;
}

}  // namespace

size_t StockIconCount() {
    return std::size(kPictures);
}

IconImage StockIcon(size_t index, int side) {
    IconImage picture{kPictureSide, kPictureSide, {}};
    for (const char* row : kPictures[index]->rows) {
        for (int x = 0; x < kPictureSide; ++x) {
            const auto& colour = ColourOf(row[x]);
            picture.rgba.insert(picture.rgba.end(), colour.begin(), colour.end());
        }
    }
    return side == kPictureSide ? picture : Scaled(picture, side, side);
}

}  // namespace kvtshell
