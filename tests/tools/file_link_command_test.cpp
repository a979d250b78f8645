// kvtfile file lnk, icon.

#include <cstdint>

#include "tests/support/icon_bytes.h"
#include "tests/support/link_bytes.h"
#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

class FileLinkCommand : public CommandTest {};

constexpr Rgba kRed = 0xFF0000FF, kGreen = 0x00FF0080;

std::uint32_t BigEndianAt(const std::string& bytes, size_t at) {
    std::uint32_t value = 0;
    for (size_t i = at; i < at + 4; ++i) {
        value = value << 8 | static_cast<unsigned char>(bytes.at(i));
    }
    return value;
}

/// The checksum of a chunk, by the polynomial's long division over the message.
std::uint32_t CrcOf(const std::string& bytes) {
    std::uint64_t rest = 0;
    for (size_t bit = 0; bit < (bytes.size() + 4) * 8; ++bit) {
        const int in = bit / 8 < bytes.size() ? static_cast<unsigned char>(bytes[bit / 8]) >> (bit % 8) & 1 : 0;
        rest = rest << 1 | static_cast<std::uint64_t>(bit < 32 ? 1 - in : in);
        if ((rest >> 32 & 1) != 0) {
            rest ^= 0x104C11DB7;
        }
    }
    std::uint32_t crc = 0;
    for (int bit = 0; bit < 32; ++bit) {
        crc |= static_cast<std::uint32_t>(rest >> bit & 1) << (31 - bit);
    }
    return ~crc;
}

/// Reads a PNG file of one stored block, and checks everything in it.
Picture ReadPng(const std::string& png) {
    EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1A\n");
    std::vector<std::string> types, data;
    for (size_t at = 8; at + 12 <= png.size();) {
        const std::uint32_t size = BigEndianAt(png, at);
        types.push_back(png.substr(at + 4, 4));
        data.push_back(png.substr(at + 8, size));
        EXPECT_EQ(BigEndianAt(png, at + 8 + size), CrcOf(types.back() + data.back())) << types.back();
        at += 12 + size;
    }
    EXPECT_EQ(types, (std::vector<std::string>{"IHDR", "IDAT", "IEND"}));
    Picture picture;
    picture.width = static_cast<int>(BigEndianAt(data.at(0), 0));
    picture.height = static_cast<int>(BigEndianAt(data.at(0), 4));
    EXPECT_EQ(data[0].substr(8), std::string("\x08\x06\0\0\0", 5));
    const std::string& stream = data.at(1);
    const std::string rows = stream.substr(7, stream.size() - 11);
    std::uint32_t low = 1, high = 0;
    for (const char byte : rows) {
        low = (low + static_cast<unsigned char>(byte)) % 65521;
        high = (high + low) % 65521;
    }
    EXPECT_EQ(BigEndianAt(stream, stream.size() - 4), high << 16 | low);
    EXPECT_EQ((static_cast<unsigned char>(stream[0]) << 8 | static_cast<unsigned char>(stream[1])) % 31, 0);
    EXPECT_EQ(stream[2], 1);  // the last block, stored
    EXPECT_EQ(static_cast<size_t>(static_cast<unsigned char>(stream[3]) | static_cast<unsigned char>(stream[4]) << 8),
              rows.size());
    const size_t stride = 1 + static_cast<size_t>(picture.width) * 4;
    EXPECT_EQ(rows.size(), stride * static_cast<size_t>(picture.height));
    for (size_t at = 0; at < rows.size(); ++at) {
        if (at % stride == 0) {
            EXPECT_EQ(rows[at], '\0');
        } else if (at % stride % 4 == 1) {
            picture.pixels.push_back(BigEndianAt(rows, at));
        }
    }
    return picture;
}

TEST_F(FileLinkCommand, LnkPrintsTheTarget) {
    Write(_T("Plan.lnk"), LinkTo("C:\\Plans\\house.dwg"));
    Expect({"file", "lnk", "Plan.lnk"}, 0, "C:\\Plans\\house.dwg\n");
    ExpectJson({"file", "lnk", "Plan.lnk", "--json"}, R"({"file":"Plan.lnk","target":"C:\\Plans\\house.dwg"})");
}

TEST_F(FileLinkCommand, LnkSaysWhatIsWrong) {
    const std::string damaged =
        ": leads to no path\n  A shell link (.lnk) to a file or folder is expected; this is none, or it is damaged.\n";
    Write(_T("text.lnk"), "text");
    Expect({"file", "lnk", "text.lnk"}, 3, "", "kvtfile: text.lnk" + damaged);
    Write(_T("cut.lnk"), LinkTo("C:\\Plans\\house.dwg").substr(0, 80));
    Expect({"file", "lnk", "cut.lnk", "--json"}, 3, "", "kvtfile: cut.lnk" + damaged);
    Expect({"file", "lnk", "missing.lnk"}, 3, "",
           "kvtfile: missing.lnk: " + Utf8(SystemText(ERROR_FILE_NOT_FOUND)) +
               "\n  Look at the path and at its rights.\n");
    EXPECT_EQ(Run({"file", "lnk"}).exitCode, 2);
}

TEST_F(FileLinkCommand, IconOfAFileBecomesAPicture) {
    Write(_T("a.ico"),
          IcoBytes({ImageBytes(Picture::Filled(32, kRed), 32), ImageBytes(Picture::Filled(16, kGreen), 32)}));
    Expect({"file", "icon", "a.ico", "--output", "a.png"}, 0, "a.png: 32 x 32 pixels, an icon of a.ico\n");
    EXPECT_EQ(Shown(ReadPng(Read(_T("a.png")))), Shown(Picture::Filled(32, kRed)));
    ExpectJson({"file", "icon", "a.ico", "--output", "a.png", "--small", "--json"},
               R"({"file":"a.ico","output":"a.png","source":"file","width":16,"height":16})");
    EXPECT_EQ(Shown(ReadPng(Read(_T("a.png")))), Shown(Picture::Filled(16, kGreen)));
    EXPECT_EQ(Folder().Names(), (std::vector<std::string>{"a.ico", "a.png"}));
}

TEST_F(FileLinkCommand, IconByNumberAndById) {
    Write(_T("a.dll"), ProgramBytes({{5, {ImageBytes(Picture::Filled(32, kRed), 32)}},
                                     {7, {ImageBytes(Picture::Filled(32, kGreen), 32)}}}));
    for (const char* index : {"--index=1", "--index=-7"}) {
        EXPECT_EQ(Run({"file", "icon", "a.dll", index, "--output", "a.png"}).err, "");
        EXPECT_EQ(Shown(ReadPng(Read(_T("a.png")))), Shown(Picture::Filled(32, kGreen))) << index;
    }
    Expect({"file", "icon", "a.dll", "--index", "2", "--output", "b.png"}, 1, "",
           "kvtfile: a.dll: has no icon 2\n  It holds 2 icons, counted from 0.\n");
    Expect({"file", "icon", "a.dll", "--index=-6", "--output", "b.png"}, 1, "",
           "kvtfile: a.dll: has no icon with the id 6\n  A number from 0 on counts the icons.\n");
    EXPECT_FALSE(Exists(File(_T("b.png"))));
}

TEST_F(FileLinkCommand, IconOfTheTypeServesOtherFiles) {
    Write(_T("a.kvtplan"), "text");
    Expect({"file", "icon", "a.kvtplan", "--output", "a.png"}, 0,
           "a.png: 32 x 32 pixels, the icon of the type of a.kvtplan\n");
    const std::string document = Read(_T("a.png"));
    EXPECT_EQ(ReadPng(document).width, 32);
    EXPECT_EQ(Run({"file", "icon", "a.kvtplan", "--kind", "3", "--output", "a.png"}).exitCode, 0);
    const std::string folder = Read(_T("a.png"));
    EXPECT_NE(folder, document);
    MakeFolders(File(_T("d")));
    EXPECT_EQ(Run({"file", "icon", "d", "--output", "a.png"}).exitCode, 0);
    EXPECT_EQ(Read(_T("a.png")), folder);
    Expect({"file", "icon", "a.kvtplan", "--index", "0", "--output", "a.png"}, 1, "",
           "kvtfile: a.kvtplan: holds no icons\n  Without --index the icon of its type is taken.\n");
    EXPECT_EQ(Run({"file", "icon", "a.kvtplan"}).exitCode, 2);
    EXPECT_EQ(Run({"file", "icon", "a.kvtplan", "--index", "0", "--type", "--output", "a.png"}).exitCode, 2);
}

TEST_F(FileLinkCommand, PictureThatCannotBeWrittenIsAnError) {
    Write(_T("a.ico"), IcoBytes({ImageBytes(Picture::Filled(32, kRed), 32)}));
    MakeFolders(File(_T("d")));
    const ProcessResult result = Run({"file", "icon", "a.ico", "--output", "d"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(Run({"file", "icon", "a.ico", "--output", "missing\\a.png"}).exitCode, 3);
    EXPECT_EQ(Folder().Names(), (std::vector<std::string>{"a.ico", "d"}));
}

}  // namespace
}  // namespace kvttest
