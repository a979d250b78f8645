// Writes the files that the fuzzers begin with: make_seeds FOLDER makes FOLDER/icon and FOLDER/link.

#include <filesystem>
#include <fstream>
#include <iostream>

#include "tests/support/icon_bytes.h"
#include "tests/support/link_bytes.h"

namespace {

class Seeds {
public:
    explicit Seeds(const std::filesystem::path& folder) : m_folder(folder) {
        std::filesystem::create_directories(folder);
    }

    void Add(const std::string& bytes) {
        std::ofstream file(m_folder / std::to_string(m_count++), std::ios::binary);
        file << bytes;
        m_good = m_good && file.flush().good();
    }

    bool Good() const { return m_good; }

private:
    std::filesystem::path m_folder;
    int m_count = 0;
    bool m_good = true;
};

bool MakeIcons(const std::filesystem::path& folder) {
    using kvttest::ImageBytes;
    using kvttest::Picture;
    Seeds seeds(folder);
    const Picture picture = Picture::Square(8, [](int x, int y) { return x < y ? 0xFF0000FFU : 0U; });
    std::vector<std::string> images;
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        images.push_back(ImageBytes(picture, bits));
        seeds.Add(kvttest::IcoBytes({images.back()}));
    }
    seeds.Add(kvttest::IcoBytes(images));
    for (const bool wide : {true, false}) {
        seeds.Add(kvttest::ProgramBytes({{1, {images[0], images[2]}}, {9, {images[5]}}}, wide));
    }
    return seeds.Good();
}

bool MakeLinks(const std::filesystem::path& folder) {
    Seeds seeds(folder);
    seeds.Add(kvttest::LinkTo("C:\\a"));
    kvttest::LinkParts parts;
    parts.itemList = "items";
    parts.info.emplace();
    parts.info->local = "C:\\a";
    parts.info->wideLocal = u"C:\\a";
    parts.info->share = "\\\\s\\b";
    parts.info->wideShare = u"\\\\s\\b";
    parts.info->wideSuffix = u"c";
    parts.name = u"name";
    parts.relative = u"..\\c";
    parts.arguments = u"/x";
    parts.environment = u"%TEMP%";
    for (const bool unicode : {true, false}) {
        parts.unicode = unicode;
        seeds.Add(LinkBytes(parts));
    }
    return seeds.Good();
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::cerr << "usage: make_seeds FOLDER\n";
        return 2;
    }
    const std::filesystem::path folder = arguments[1];
    return MakeIcons(folder / "icon") && MakeLinks(folder / "link") ? 0 : 1;
}
