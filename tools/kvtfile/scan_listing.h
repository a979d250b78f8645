#pragma once

// What a scan found, as it is printed, written as JSON or CSV, read from there again, and compared.

#include <optional>
#include <string>
#include <vector>

#include "tools/kvtfile/report.h"

namespace kvtcommand {

/// One file or folder of a listing. Codes and times are texts, as they are printed; empty: not known.
struct ScanEntry {
    std::string path;  ///< relative to the folder that was scanned, as PathText gives it
    uint64_t size = 0;
    std::string modified;  ///< as StampText gives it
    std::string created;
    std::string accessed;
    std::string
        attributes;  ///< letters: D folder, R read-only, H hidden, S system, A archive, T temporary, C compressed
    std::string crc;
    std::string checksum;

    bool IsFolder() const { return attributes.find('D') != std::string::npos; }
};

struct ScanListing {
    std::string folder;
    std::vector<ScanEntry> entries;
    std::vector<std::string> unreadable;  ///< folders and files that could not be read, relative too
    bool withCrc = false;
    bool withChecksum = false;
    bool cancelled = false;
};

void PrintListing(const ScanListing& listing);
void PrintListingJson(const ScanListing& listing);
void PrintListingCsv(const ScanListing& listing);

/// Reads what PrintListingJson or PrintListingCsv wrote; a failure when it is neither, or of a scan that was cancelled.
ScanListing ReadListing(const std::string& file);

/// A fact that differs between two listings.
struct ChangedFact {
    std::string name;
    std::string before;
    std::string now;
};

struct Difference {
    enum Kind { added, removed, changed } kind;
    std::string path;
    std::vector<ChangedFact> facts;  ///< of a changed entry
};

/// What differs, by path. Compared are size, last write, attributes and the codes that both listings have; of folders
/// the attributes alone. What stands in a folder that one of the scans could not read is left out. O(n log n).
std::vector<Difference> Compare(const ScanListing& before, const ScanListing& now);

void PrintDifferences(const std::vector<Difference>& differences, bool json);

}  // namespace kvtcommand
