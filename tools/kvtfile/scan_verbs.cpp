// kvtfile scan: lists a folder tree, with codes of the files' content, and compares it with an earlier listing.
//
// The library passes over what it cannot read; the command asks afterwards which folders those were. What was found is
// printed even when the scan is cancelled or incomplete, and the exit code tells.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>

#include "kvtfile/FileInfo.h"
#include "platform/tool_entry/terminal.h"
#include "tools/kvtfile/progress.h"
#include "tools/kvtfile/scan_listing.h"
#include "tools/kvtfile/scan_text.h"
#include "tools/kvtfile/text_file.h"
#include "tools/kvtfile/verbs.h"

namespace kvtcommand {

namespace {

using kvtfile::CFileInfo;
using kvtfile::CFileInfoArray;

struct Options {
    std::string folder;
    std::string sort = "none";
    std::string extension = "*";
    std::string verify;
    bool recursive = false;
    bool folders = false;
    bool crc = false;
    bool checksum = false;
    bool json = false;
    bool csv = false;
};

const std::map<std::string, LONGLONG> kSortModes = {
    {"none", 0}, {"size", 2}, {"size-desc", 3}, {"path", 4}, {"path-desc", 5}};

std::string AttributeLetters(const CFileInfo& file) {
    std::string letters;
    for (const auto& [is, letter] : {std::pair{file.IsDirectory(), 'D'},
                                     {file.IsReadOnly(), 'R'},
                                     {file.IsHidden(), 'H'},
                                     {file.IsSystem(), 'S'},
                                     {file.IsArchived(), 'A'},
                                     {file.IsTemporary(), 'T'},
                                     {file.IsCompressed(), 'C'}}) {
        letters += is ? std::string(1, letter) : "";
    }
    return letters;
}

std::string Hex(DWORD code) {
    char text[16];
    std::snprintf(text, sizeof text, "%08X", static_cast<unsigned>(code));
    return text;
}

// Whether a file can be read and has the length that was found.
bool IsStill(const CFileInfo& file) {
    CFileInfo now(file.GetFilePath(), 0);
    now.GetChecksum(sizeof(DWORD));
    return now.m_dwChecksumPos != 0 && now.GetLength64() == file.GetLength64();
}

// Why a folder cannot be listed; 0 when it can be. One that has vanished is not unreadable.
DWORD ListingError(const CString& folder) {
    const HANDLE handle = ::CreateFileW(folder, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return ::GetLastError();
    }
    ::CloseHandle(handle);
    return ERROR_SUCCESS;
}

// ---- One scan

class Scan {
public:
    Scan(const Options& options, const volatile int* cancelled)
        : m_options(options), m_cancelled(cancelled), m_folder(FileName(options.folder).full) {
        if (m_folder.GetAt(m_folder.GetLength() - 1) != _T('\\')) {
            m_folder += _T("\\");
        }
        m_listing.folder = Utf8(m_folder);
        m_listing.withCrc = options.crc;
        m_listing.withChecksum = options.checksum;
    }

    /// @param wanted The codes that an earlier listing has are wanted too; may be null.
    ScanListing Run(const ScanListing* wanted) {
        const DWORD attributes = ::GetFileAttributesW(m_folder);
        const DWORD error = attributes == INVALID_FILE_ATTRIBUTES ? ::GetLastError() : ListingError(m_folder);
        if (error != ERROR_SUCCESS) {
            throw Failure(exitFormat, m_options.folder + ": " + SystemText(error), "Name a folder that can be read.");
        }
        if (wanted) {
            m_listing.withCrc = m_listing.withCrc || wanted->withCrc;
            m_listing.withChecksum = m_listing.withChecksum || wanted->withChecksum;
        }
        RunWatched(m_progress, [this] { Work(); });
        return std::move(m_listing);
    }

private:
    bool IsCancelled() const { return *m_cancelled != 0; }

    void Work() {
        // Folders are needed in any case, to see which of them could not be read.
        m_files.AddDir(m_folder, Wide(m_options.extension), m_options.recursive, kSortModes.at(m_options.sort),
                       m_options.folders || m_options.recursive, m_cancelled, &m_progress.found);
        m_progress.bytesInAll = BytesToRead();
        m_progress.counting = m_progress.bytesInAll == 0;
        for (INT_PTR i = 0; i < m_files.GetSize(); ++i) {
            Take(m_files[i]);
        }
        m_listing.cancelled = IsCancelled();
    }

    uint64_t BytesToRead() const {
        uint64_t bytes = 0;
        for (INT_PTR i = 0; i < m_files.GetSize(); ++i) {
            bytes += m_files[i].IsDirectory() ? 0 : m_files[i].GetLength64();
        }
        return bytes * ((m_listing.withCrc ? 1 : 0) + (m_listing.withChecksum ? 1 : 0));
    }

    void Take(CFileInfo& file) {
        ScanEntry entry;
        entry.path = PathText(file.GetFilePath().Mid(m_folder.GetLength()));
        if (file.IsDirectory()) {
            const DWORD error = m_options.recursive && !IsCancelled() ? ListingError(file.GetFilePath()) : 0;
            if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) {
                m_listing.unreadable.push_back(entry.path);
            }
            if (!m_options.folders) {
                return;
            }
        } else {
            entry.size = file.GetLength64();
            bool whole = true;
            if (m_listing.withCrc) {
                whole = ReadAll(file, &CFileInfo::GetCRC, file.m_dwCRCPos);
                entry.crc = whole ? Hex(file.m_dwCRC) : "";
            }
            if (m_listing.withChecksum) {
                whole = ReadAll(file, &CFileInfo::GetChecksum, file.m_dwChecksumPos) && whole;
                entry.checksum = whole ? Hex(file.m_dwChecksum) : "";
            }
            if (!whole && !IsCancelled()) {
                m_listing.unreadable.push_back(entry.path);
            }
        }
        entry.modified = StampText(file.GetLastWriteTime());
        entry.created = StampText(file.GetCreationTime());
        entry.accessed = StampText(file.GetLastAccessTime());
        entry.attributes = AttributeLetters(file);
        m_listing.entries.push_back(std::move(entry));
    }

    using Code = DWORD (CFileInfo::*)(ULONGLONG, int, const volatile int*, volatile DWORD*);

    // Computes a code part by part, to see how far it is without counting each group of four bytes; positions above
    // 4 GiB wrap, so there it is one part, and the file must not have another length by then. @return False when the
    // file was not read to its end.
    bool ReadAll(CFileInfo& file, Code code, const DWORD& position) {
        constexpr ULONGLONG kPart = 64 << 20;
        const ULONGLONG length = file.GetLength64();
        const bool wraps = length > 0xFFFFFFFF;
        const uint64_t before = m_progress.bytesDone;
        ULONGLONG limit = wraps ? 0 : kPart;
        for (int reset = 1; !IsCancelled(); reset = 0) {
            (file.*code)(limit < length ? limit : 0, reset, m_cancelled, nullptr);
            if (limit == 0 || limit >= length || position < limit) {
                break;
            }
            m_progress.bytesDone = before + position;
            limit += kPart;
        }
        m_progress.bytesDone = before + length;
        const DWORD end = static_cast<DWORD>(length);
        return !IsCancelled() && (wraps ? position == end && IsStill(file) : position >= end);
    }

    const Options& m_options;
    const volatile int* m_cancelled;
    CString m_folder;  // ended by a separator
    CFileInfoArray m_files;
    Progress m_progress;
    ScanListing m_listing;
};

// ---- The verb

void PrintFound(const ScanListing& listing, const Options& options) {
    if (options.json) {
        PrintListingJson(listing);
    } else if (options.csv) {
        PrintListingCsv(listing);
    } else {
        PrintListing(listing);
    }
}

void NoteUnreadable(const ScanListing& listing) {
    constexpr size_t kMostNamed = 10;
    const size_t count = listing.unreadable.size();
    for (size_t i = 0; i < std::min(count, kMostNamed); ++i) {
        Note(Shown(listing.unreadable[i]) + ": cannot be read");
    }
    if (count > kMostNamed) {
        Note("... and " + std::to_string(count - kMostNamed) + " more");
    }
}

void RunScan(const Options& options) {
    const bool verifies = !options.verify.empty();
    const ScanListing earlier = verifies ? ReadListing(options.verify) : ScanListing();
    if (!earlier.unreadable.empty()) {
        Note(options.verify + ": " + Counted(earlier.unreadable.size(), "folder or file", "folders or files") +
             " could not be read then; what is in there is not compared");
    }
    ScanListing listing;
    {
        const kvtterminal::InterruptGuard guard;
        listing = Scan(options, guard.Flag()).Run(verifies ? &earlier : nullptr);
    }
    std::vector<Difference> differences;
    if (!verifies) {
        PrintFound(listing, options);
    } else if (!listing.cancelled) {
        differences = Compare(earlier, listing);
        PrintDifferences(differences, options.json);
    }
    NoteUnreadable(listing);
    FlushOutput();
    if (listing.cancelled) {
        throw Failure(exitRefused,
                      verifies ? "cancelled; nothing was compared"
                               : "cancelled; " + Counted(listing.entries.size(), "entry", "entries") + " found so far",
                      "Run it again for the whole.");
    }
    if (!listing.unreadable.empty()) {
        throw Failure(exitFormat,
                      Counted(listing.unreadable.size(), "folder or file", "folders or files") +
                          " could not be read; the rest is complete",
                      kReadAdvice);
    }
    if (!differences.empty()) {
        throw Failure(exitRefused,
                      options.folder + " differs from " + options.verify + " in " +
                          Counted(differences.size(), "entry", "entries"),
                      "Take a new listing when the changes are wanted.");
    }
}

}  // namespace

void AddScanVerb(CLI::App& command) {
    const auto [verb, options] =
        AddVerb<Options>(command, "scan", "List a folder tree, with codes of the content, or compare it with a listing",
                         "  kvtfile scan drawings --recursive --sort size-desc\n"
                         "  kvtfile scan drawings --recursive --ext dwg --crc --json > drawings.json\n"
                         "  kvtfile scan drawings --recursive --ext dwg --verify drawings.json",
                         RunScan);
    verb->add_option("DIR", options->folder, "The folder")->required();
    verb->add_flag("-r,--recursive", options->recursive, "Sub-folders too");
    verb->add_flag("--dirs", options->folders, "List folders too");
    verb->add_option("--ext", options->extension, "Only files with this extension, without its dot");
    verb->add_option("--sort", options->sort, "none (as found), size, size-desc, path or path-desc")
        ->check(CLI::IsMember({"none", "size", "size-desc", "path", "path-desc"}));
    verb->add_flag("--crc", options->crc, "A column with the code of each file's content");
    verb->add_flag("--checksum", options->checksum, "A column with the sum of each file's 32-bit words");
    CLI::Option* json = verb->add_flag("--json", options->json, "Print JSON");
    CLI::Option* csv = verb->add_flag("--csv", options->csv, "Print CSV")->excludes(json);
    verb->add_option("--verify", options->verify,
                     "Compare with an earlier listing, JSON or CSV, taken with the same options")
        ->excludes(csv);
}

}  // namespace kvtcommand
