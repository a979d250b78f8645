// The readers of icon files: choice of images, scaling, limits, and bytes that are damaged in every way.

#include "platform/shell/icon_file.h"

#include <random>

#include "platform/shell/stock_icons.h"
#include "tests/support/icon_bytes.h"
#include "tests/support/little_endian.h"
#include "tests/support/support.h"

namespace {

using kvtshell::IconFile;
using kvtshell::IconImage;
using kvttest::Dword;
using kvttest::IcoBytes;
using kvttest::ImageBytes;
using kvttest::Picture;
using kvttest::ProgramBytes;
using kvttest::Shown;
using kvttest::Word;

constexpr kvttest::Rgba kRed = 0xFF0000FF, kGreen = 0x00FF00FF, kBlue = 0x0000FFFF, kWhite = 0xFFFFFFFF;

std::string Shown(const std::optional<IconImage>& image) {
    return image ? kvttest::Shown(std::string(image->rgba.begin(), image->rgba.end())) : "none";
}

std::string Loaded(const std::string& bytes, size_t index, int side) {
    kvtshell::MemorySource source({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    const auto file = IconFile::Open(source);
    return file && index < file->Count() ? Shown(file->Load(index, side)) : "no file";
}

TEST(ShellIconFile, DeepestImageOfTheSizeIsChosen) {
    const std::string images[] = {ImageBytes(Picture::Filled(32, kRed), 4), ImageBytes(Picture::Filled(32, kGreen), 24),
                                  ImageBytes(Picture::Filled(32, kBlue), 8)};
    EXPECT_EQ(Loaded(IcoBytes({images[0], images[1], images[2]}), 0, 32), Shown(Picture::Filled(32, kGreen)));
    EXPECT_EQ(Loaded(IcoBytes({images[0], images[2]}), 0, 32), Shown(Picture::Filled(32, kBlue)));
}

TEST(ShellIconFile, SmallestLargerImageElseTheLargest) {
    const auto of = [](int side, kvttest::Rgba colour) { return ImageBytes(Picture::Filled(side, colour), 32); };
    const std::string bytes = IcoBytes({of(24, kRed), of(64, kGreen), of(48, kBlue), of(8, kWhite)});
    EXPECT_EQ(Loaded(bytes, 0, 32), Shown(Picture::Filled(32, kBlue)));
    EXPECT_EQ(Loaded(bytes, 0, 16), Shown(Picture::Filled(16, kRed)));
    EXPECT_EQ(Loaded(IcoBytes({of(8, kRed), of(24, kGreen)}), 0, 32), Shown(Picture::Filled(32, kGreen)));
}

TEST(ShellIconFile, CompressedImagesArePassedOver) {
    const std::string png = "\x89PNG\r\n\x1A\n" + std::string(100, '\0');
    const std::string file = Word(0) + Word(1) + Word(2) + std::string(8, '\0') + Dword(108) + Dword(38) +
                             std::string(8, '\0') + Dword(0) + Dword(146) + png;
    EXPECT_EQ(Loaded(file, 0, 32), "none");
    const std::string image = ImageBytes(Picture::Filled(16, kRed), 32);
    const std::string both = Word(0) + Word(1) + Word(2) + std::string(8, '\0') + Dword(108) + Dword(38) +
                             std::string(8, '\0') + Dword(static_cast<std::uint32_t>(image.size())) + Dword(146) + png +
                             image;
    EXPECT_EQ(Loaded(both, 0, 32), Shown(Picture::Filled(32, kRed)));
}

TEST(ShellIconFile, ScalingIsTheMeanOfWhatIsSeen) {
    const IconImage image{2, 2, {255, 0, 0, 255, 0, 0, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0}};
    EXPECT_EQ(Shown(kvtshell::Scaled(image, 1, 1)), "80008080 x 1");
    const IconImage halves{3, 1, {200, 0, 0, 255, 100, 0, 0, 255, 0, 0, 0, 255}};
    EXPECT_EQ(Shown(kvtshell::Scaled(halves, 2, 1)), "A70000FF x 1, 210000FF x 1");
    EXPECT_EQ(Shown(kvtshell::Scaled(image, 4, 2)), "FF0000FF x 2, 0000FFFF x 2, 00000000 x 4");
}

TEST(ShellIconFile, NumbersThatNoImageHasAreRefused) {
    const std::string good = ImageBytes(Picture::Filled(32, kRed), 32);
    const struct {
        size_t at;
        std::string value;
    } rows[] = {
        {0, Dword(12)}, {0, Dword(0x7FFFFFFF)}, {4, Dword(0)},          {4, Dword(1025)}, {4, Dword(0xFFFFFFFF)},
        {8, Dword(1)},  {8, Dword(2050)},       {8, Dword(0xFFFFFFC0)}, {14, Word(2)},    {14, Word(0)},
        {14, Word(64)}, {16, Dword(1)},         {16, Dword(3)},         {4, Dword(1024)}, {32, Dword(0xFFFFFFFF)},
    };
    for (const auto& row : rows) {
        std::string image = good;
        image.replace(row.at, row.value.size(), row.value);
        EXPECT_EQ(Loaded(IcoBytes({image}), 0, 32), "none") << row.at << " " << kvttest::Hex(row.value);
    }
    EXPECT_EQ(Loaded(IcoBytes({good}), 0, 32), Shown(Picture::Filled(32, kRed)));
}

TEST(ShellIconFile, MaskOf32BitsMayBeMissing) {
    const std::string image = ImageBytes(Picture::Filled(32, kRed), 32);
    EXPECT_EQ(Loaded(IcoBytes({image.substr(0, 40 + 4096)}), 0, 32), Shown(Picture::Filled(32, kRed)));
    EXPECT_EQ(Loaded(IcoBytes({image.substr(0, 40 + 4095)}), 0, 32), "none");
    const std::string deep = ImageBytes(Picture::Filled(32, kRed), 24);
    EXPECT_EQ(Loaded(IcoBytes({deep.substr(0, deep.size() - 1)}), 0, 32), "none");
}

TEST(ShellIconFile, ColoursBeyondThePaletteAreBlack) {
    std::string image = ImageBytes(Picture::Filled(32, kRed), 8);
    // One colour is left of the palette, and every pixel asks for the second one.
    image.replace(32, 4, Dword(1));
    image.erase(44, 255 * 4);
    std::fill_n(image.begin() + 44, 1024, '\x01');
    EXPECT_EQ(Loaded(IcoBytes({image}), 0, 32), "000000FF x 1024");
}

TEST(ShellIconFile, EmptyAndOtherFilesAreNone) {
    EXPECT_EQ(Loaded("", 0, 32), "no file");
    EXPECT_EQ(Loaded("text", 0, 32), "no file");
    EXPECT_EQ(Loaded(std::string(100, '\0'), 0, 32), "no file");
    EXPECT_EQ(Loaded("MZ" + std::string(100, '\xFF'), 0, 32), "no file");
}

TEST(ShellIconFile, ProgramWithoutResourcesHasNoIcons) {
    const std::string bytes = ProgramBytes({});
    kvtshell::MemorySource source({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    const auto file = IconFile::Open(source);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->Count(), 0u);
    EXPECT_EQ(file->Find(1), std::nullopt);
}

TEST(ShellIconFile, BuiltInIconsDifferAndFillTheirSquare) {
    ASSERT_EQ(kvtshell::StockIconCount(), 18u);
    for (size_t i = 0; i < kvtshell::StockIconCount(); ++i) {
        for (const int side : {16, 32}) {
            const IconImage icon = kvtshell::StockIcon(i, side);
            EXPECT_EQ(icon.rgba.size(), static_cast<size_t>(side * side * 4));
            EXPECT_NE(Shown(icon), Shown(kvtshell::StockIcon(i == 0 ? 1 : 0, side)));
        }
    }
}

/// Small files of every kind.
std::vector<std::string> Samples() {
    std::vector<std::string> samples;
    std::vector<std::string> images;
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        images.push_back(ImageBytes(Picture::Square(5, [](int x, int y) { return x < y ? kRed : 0; }), bits));
        samples.push_back(IcoBytes({images.back()}));
    }
    samples.push_back(IcoBytes(images));
    for (const bool wide : {true, false}) {
        samples.push_back(ProgramBytes({{1, {images[0], images[5]}}, {2, {images[3]}}}, wide));
    }
    return samples;
}

/// Loads all that there is; how many images that were.
size_t LoadAll(const std::vector<std::uint8_t>& bytes) {
    kvtshell::MemorySource source(bytes);
    const auto file = IconFile::Open(source);
    size_t loaded = 0;
    for (size_t i = 0; file && i < std::min<size_t>(file->Count(), 4); ++i) {
        const auto image = file->Load(i, 16);
        EXPECT_TRUE(!image || image->rgba.size() == 1024);
        loaded += image ? 1 : 0;
    }
    return loaded;
}

TEST(ShellIconFile, EveryCutIsRead) {
    for (const std::string& sample : Samples()) {
        const size_t whole = LoadAll({sample.begin(), sample.end()});
        EXPECT_GT(whole, 0u);
        for (size_t size = 0; size < sample.size(); ++size) {
            // A block of its own size, so that a read beyond its end is one beyond the allocation.
            EXPECT_LE(LoadAll({sample.begin(), sample.begin() + static_cast<std::ptrdiff_t>(size)}), whole);
        }
    }
}

TEST(ShellIconFile, DamagedBytesAreRead) {
    std::mt19937 random(4711);
    const std::vector<std::string> samples = Samples();
    size_t loaded = 0;
    for (int round = 0; round < 10000; ++round) {
        const std::string& sample = samples[random() % samples.size()];
        std::vector<std::uint8_t> bytes(sample.begin(), sample.end());
        for (size_t changes = random() % 6 + 1; changes-- > 0;) {
            // The headers, and in programs the tree of resources, are where damage matters most.
            const size_t start = bytes.size() > 0x200 && random() % 2 == 0 ? 0x200 : 0;
            const size_t room = std::min<size_t>(bytes.size() - start, random() % 2 == 0 ? 0x100 : bytes.size());
            constexpr std::uint8_t kEdges[] = {0, 1, 0x7F, 0x80, 0xFF};
            bytes[start + random() % room] =
                random() % 2 == 0 ? kEdges[random() % 5] : static_cast<std::uint8_t>(random());
        }
        loaded += LoadAll(bytes);
    }
    EXPECT_GT(loaded, 1000u);
}

}  // namespace
