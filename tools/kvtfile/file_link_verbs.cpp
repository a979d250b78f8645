// kvtfile file lnk, icon: where a shell link leads, and icons as pictures.

#include <CLI/CLI.hpp>

#include "kvtfile/FileUtil.h"
#include "tools/kvtfile/png.h"
#include "tools/kvtfile/report.h"
#include "tools/kvtfile/text_file.h"
#include "tools/kvtfile/verbs.h"

namespace kvtcommand {

namespace {

// ---- lnk

struct LinkOptions {
    std::string link;
    bool json = false;
};

void PrintTarget(const LinkOptions& options) {
    FileName file(options.link);
    if (!FileExists(file.full)) {
        throw Failure(exitFormat, file.given + ": " + SystemText(ERROR_FILE_NOT_FOUND), kReadAdvice);
    }
    const CString target = kvtfile::ExpandShortcut(file.full);
    if (target.IsEmpty()) {
        throw Failure(exitFormat, file.given + ": leads to no path",
                      "A shell link (.lnk) to a file or folder is expected; this is none, or it is damaged.");
    }
    if (options.json) {
        PrintJson({{"file", file.given}, {"target", Utf8(target)}});
    } else {
        Print(Utf8(target));
    }
}

// ---- icon

struct IconOptions {
    std::string file;
    std::string output;
    int index = 0;
    int kind = 0;
    bool small = false;
    bool type = false;
    bool indexGiven = false;
    bool kindGiven = false;
    bool json = false;
};

constexpr int kFolderKind = 3;
constexpr UINT kNoFile = 0xFFFFFFFF;

/// An icon that is released at the end.
class OwnedIcon {
public:
    OwnedIcon() = default;
    explicit OwnedIcon(HICON icon) : m_icon(icon) {}
    ~OwnedIcon() {
        if (m_icon != nullptr) {
            ::DestroyIcon(m_icon);
        }
    }
    OwnedIcon(const OwnedIcon&) = delete;
    OwnedIcon& operator=(const OwnedIcon&) = delete;

    kvtmfc::IconPixels Pixels(const std::string& file) const {
        kvtmfc::IconPixels pixels;
        if (!kvtmfc::GetIconPixels(m_icon, pixels)) {
            throw Failure(exitFormat, file + ": the icon cannot be read",
                          "It is damaged, or of a form that is not supported; --type shows the icon of its type.");
        }
        return pixels;
    }

private:
    HICON m_icon = nullptr;
};

/// How many icons a file holds itself; 0 also for a missing file and a folder.
UINT CountIcons(const CString& path) {
    const UINT count = kvtfile::FileExist(path) ? ::ExtractIconExW(path, -1, nullptr, nullptr, 0) : 0;
    return count == kNoFile ? 0 : count;
}

kvtmfc::IconPixels OwnIcon(const FileName& file, const IconOptions& options, UINT count) {
    if (options.index >= 0 && static_cast<UINT>(options.index) >= count) {
        throw Failure(exitRefused, file.given + ": has no icon " + std::to_string(options.index),
                      "It holds " + Counted(count, "icon", "icons") + ", counted from 0.");
    }
    HICON icon = nullptr;
    const UINT read =
        ::ExtractIconExW(file.full, options.index, options.small ? nullptr : &icon, options.small ? &icon : nullptr, 1);
    if (read != 1) {
        icon = nullptr;
    }
    if (icon == nullptr && options.index < 0) {
        throw Failure(exitRefused,
                      file.given + ": has no icon with the id " + std::to_string(-(options.index + 1) + 1LL),
                      "A number from 0 on counts the icons.");
    }
    return OwnedIcon(icon).Pixels(file.given);
}

kvtmfc::IconPixels TypeIcon(const FileName& file, const IconOptions& options) {
    const int kind = options.kindGiven || !kvtfile::FIsDirectory(file.full) ? options.kind : kFolderKind;
    return OwnedIcon(kvtfile::GetTypeIcon(file.full, kind, options.small)).Pixels(file.given);
}

void SaveIcon(const IconOptions& options) {
    const FileName file(options.file);
    const FileName output(options.output);
    const UINT count = options.type ? 0 : CountIcons(file.full);
    if (options.indexGiven && count == 0) {
        throw Failure(exitRefused, file.given + ": holds no icons", "Without --index the icon of its type is taken.");
    }
    const kvtmfc::IconPixels pixels = count != 0 ? OwnIcon(file, options, count) : TypeIcon(file, options);
    WriteBytes(output.full, output.given, PngBytes(pixels));
    if (options.json) {
        PrintJson({{"file", file.given},
                   {"output", output.given},
                   {"source", count != 0 ? "file" : "type"},
                   {"width", pixels.width},
                   {"height", pixels.height}});
    } else {
        Print(output.given + ": " + std::to_string(pixels.width) + " x " + std::to_string(pixels.height) + " pixels, " +
              (count != 0 ? "an icon of " + file.given : "the icon of the type of " + file.given));
    }
}

void NoteIconOptions(const CLI::App& verb, IconOptions& options) {
    options.indexGiven = IsGiven(verb, "--index");
    options.kindGiven = IsGiven(verb, "--kind");
}

}  // namespace

void AddFileLinkVerbs(CLI::App& file) {
    {
        const auto [verb, options] = AddVerb<LinkOptions>(file, "lnk", "Print where a shell link leads",
                                                          "  kvtfile file lnk 'C:\\Users\\me\\Desktop\\Plan.lnk'\n"
                                                          "  kvtfile file lnk Plan.lnk --json",
                                                          PrintTarget);
        verb->add_option("LINK", options->link, "The link file")->required();
        verb->add_flag("--json", options->json, "Print JSON");
    }
    {
        const auto [verb, options] =
            AddVerb<IconOptions>(file, "icon", "Save an icon as a PNG picture",
                                 "  kvtfile file icon Draw.exe --output draw.png\n"
                                 "  kvtfile file icon icons.dll --index 3 --small --output small.png\n"
                                 "  kvtfile file icon plan.dwg --type --output type.png",
                                 SaveIcon, NoteIconOptions);
        verb->add_option("FILE", options->file,
                         "An .ico file, program or library with icons; of any other file the icon of its type is taken")
            ->required();
        verb->add_option("--output", options->output, "The picture to be written")->required();
        verb->add_flag("--small", options->small, "16 x 16 pixels (without: 32 x 32)");
        CLI::Option* index =
            verb->add_option("--index", options->index, "The icon's number, from 0; below 0 its id: --index=-101");
        CLI::Option* type = verb->add_flag("--type", options->type, "The icon of the file's type, not one in it");
        verb->add_option("--kind", options->kind,
                         "The shell's icon where nothing is registered: 0 unknown document, 1 document, 2 application, "
                         "3 folder, 4 open folder, ... (0; of a folder 3)");
        index->excludes(type);
        verb->add_flag("--json", options->json, "Print JSON");
    }
}

}  // namespace kvtcommand
