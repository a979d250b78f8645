// Listings of a scan: printing, reading, comparing.
//
// JSON and CSV hold the same facts. CSV follows RFC 4180 but for its line ends, which are LF as in all output; both are
// read, whatever the line ends.

#include "tools/kvtfile/scan_listing.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <set>
#include <tuple>

#include "tools/kvtfile/scan_text.h"
#include "tools/kvtfile/text_file.h"

namespace kvtcommand {

namespace {

// The texts of an entry by their names, in the order of the columns; the path comes before them and the size after it.
struct Column {
    const char* name;
    std::string ScanEntry::*text;
};
constexpr Column kColumns[] = {
    {"modified", &ScanEntry::modified},     {"created", &ScanEntry::created}, {"accessed", &ScanEntry::accessed},
    {"attributes", &ScanEntry::attributes}, {"crc", &ScanEntry::crc},         {"checksum", &ScanEntry::checksum},
};

bool IsShown(const ScanListing& listing, const Column& column) {
    return (column.text != &ScanEntry::crc || listing.withCrc) &&
           (column.text != &ScanEntry::checksum || listing.withChecksum);
}

[[noreturn]] void FailToRead(const std::string& file, const std::string& what) {
    throw Failure(exitFormat, file + ": " + what, "Give a file that 'kvtfile scan --json' or '--csv' has written.");
}

uint64_t NumberOf(const std::string& text, const std::string& file) {
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        FailToRead(file, "'" + text + "' is not a size");
    }
    return number;
}

// ---- CSV

std::string CsvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == text.npos) {
        return text;
    }
    std::string field = "\"";
    for (const char c : text) {
        field += c == '"' ? "\"\"" : std::string(1, c);
    }
    return field + '"';
}

// The rows of a CSV text.
std::vector<std::vector<std::string>> CsvRows(const std::string& text, const std::string& file) {
    std::vector<std::vector<std::string>> rows;
    std::vector<std::string> row;
    std::string field;
    bool quoted = false;
    const auto end_row = [&] {
        if (!row.empty() || !field.empty()) {
            row.push_back(std::move(field));
            rows.push_back(std::move(row));
        }
        row.clear();
        field.clear();
    };
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            const bool twice = c == '"' && i + 1 < text.size() && text[i + 1] == '"';
            i += twice ? 1 : 0;
            quoted = c != '"' || twice;
            if (quoted) {
                field += c;
            }
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',') {
            row.push_back(std::move(field));
            field.clear();
        } else if (c == '\n' || c == '\r') {
            end_row();
        } else {
            field += c;
        }
    }
    if (quoted) {
        FailToRead(file, "a quoted field does not end");
    }
    end_row();
    return rows;
}

ScanListing ListingOfCsv(const std::string& text, const std::string& file) {
    const std::vector<std::vector<std::string>> rows = CsvRows(text, file);
    if (rows.empty()) {
        FailToRead(file, "there is no header");
    }
    const std::vector<std::string>& header = rows.front();
    const auto has = [&header](const char* name) {
        return std::find(header.begin(), header.end(), name) != header.end();
    };
    if (!has("path") || !has("size")) {
        FailToRead(file, "the header lacks 'path' or 'size'");
    }
    ScanListing listing;
    listing.withCrc = has("crc");
    listing.withChecksum = has("checksum");
    for (size_t r = 1; r < rows.size(); ++r) {
        if (rows[r].size() != header.size()) {
            FailToRead(file, "record " + std::to_string(r) + " has " + Counted(rows[r].size(), "field", "fields") +
                                 " in place of " + std::to_string(header.size()));
        }
        ScanEntry entry;
        for (size_t i = 0; i < header.size(); ++i) {
            if (header[i] == "path") {
                entry.path = rows[r][i];
            } else if (header[i] == "size") {
                entry.size = NumberOf(rows[r][i], file);
            }
            for (const Column& column : kColumns) {
                if (header[i] == column.name) {
                    entry.*column.text = rows[r][i];
                }
            }
        }
        listing.entries.push_back(std::move(entry));
    }
    return listing;
}

// ---- JSON

ScanListing ListingOfJson(const std::string& text, const std::string& file) {
    ScanListing listing;
    try {
        const Json json = Json::parse(text);
        listing.cancelled = json.value("cancelled", false);
        listing.unreadable = json.value("unreadable", std::vector<std::string>());
        for (const Json& item : json.at("entries")) {
            ScanEntry entry;
            entry.path = item.at("path").get<std::string>();
            const Json& size = item.at("size");
            if (!size.is_number_unsigned()) {
                FailToRead(file, size.dump() + " is not a size");
            }
            entry.size = size.get<uint64_t>();
            for (const Column& column : kColumns) {
                const auto found = item.find(column.name);
                if (found != item.end() && !found->is_null()) {
                    entry.*column.text = found->get<std::string>();
                }
            }
            listing.withCrc = listing.withCrc || item.contains("crc");
            listing.withChecksum = listing.withChecksum || item.contains("checksum");
            listing.entries.push_back(std::move(entry));
        }
    } catch (const Json::exception& error) {
        FailToRead(file, std::string("this is no listing: ") + error.what());
    }
    return listing;
}

// ---- Comparing

// A code that is not known on one side is no change.
bool IsSame(const Column& column, const std::string& before, const std::string& now) {
    if (column.text == &ScanEntry::modified) {
        return SameMoment(before, now);
    }
    const bool isCode = column.text == &ScanEntry::crc || column.text == &ScanEntry::checksum;
    return before == now || (isCode && (before.empty() || now.empty()));
}

// The folders that a scan could not read.
class Closed {
public:
    Closed(const ScanListing& before, const ScanListing& now) {
        m_paths.insert(before.unreadable.begin(), before.unreadable.end());
        m_paths.insert(now.unreadable.begin(), now.unreadable.end());
    }

    // Whether a path is in one of them. A separator is the first of an odd number of backslashes: two are an escape.
    bool Hold(const std::string& path) const {
        for (size_t at = 0; !m_paths.empty() && (at = path.find('\\', at)) != path.npos;) {
            const size_t end = std::min(path.find_first_not_of('\\', at), path.size());
            if ((end - at) % 2 != 0 && m_paths.contains(path.substr(0, at))) {
                return true;
            }
            at = end;
        }
        return false;
    }

private:
    std::set<std::string> m_paths;
};

std::vector<ChangedFact> ChangedFacts(const ScanEntry& before, const ScanEntry& now, const ScanListing& older,
                                      const ScanListing& newer) {
    std::vector<ChangedFact> facts;
    const bool folder = before.IsFolder() && now.IsFolder();
    if (before.size != now.size && !folder) {
        facts.push_back({"size", std::to_string(before.size), std::to_string(now.size)});
    }
    for (const Column& column : kColumns) {
        const bool compared = column.text != &ScanEntry::created && column.text != &ScanEntry::accessed &&
                              (!folder || column.text == &ScanEntry::attributes) && IsShown(older, column) &&
                              IsShown(newer, column);
        if (compared && !IsSame(column, before.*column.text, now.*column.text)) {
            facts.push_back({column.name, before.*column.text, now.*column.text});
        }
    }
    return facts;
}

std::vector<const ScanEntry*> ByPath(const ScanListing& listing) {
    std::vector<const ScanEntry*> entries;
    for (const ScanEntry& entry : listing.entries) {
        entries.push_back(&entry);
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const ScanEntry* a, const ScanEntry* b) { return a->path < b->path; });
    return entries;
}

void AddUnlessIn(const Closed& closed, Difference::Kind kind, const std::string& path,
                 std::vector<Difference>& differences) {
    if (!closed.Hold(path)) {
        differences.push_back({kind, path, {}});
    }
}

const char* NameOf(Difference::Kind kind) {
    return kind == Difference::added ? "added" : kind == Difference::removed ? "removed" : "changed";
}

}  // namespace

void PrintListing(const ScanListing& listing) {
    for (const ScanEntry& entry : listing.entries) {
        const std::string size = entry.IsFolder() ? "" : WithSeparators(entry.size);
        char line[128];
        std::snprintf(line, sizeof line, "%-19s  %-5s %16s", std::string(LocalPart(entry.modified)).c_str(),
                      entry.attributes.c_str(), size.c_str());
        std::string text = line;
        for (const auto& [shown, code] :
             {std::tuple(listing.withCrc, &entry.crc), {listing.withChecksum, &entry.checksum}}) {
            if (shown) {
                text += "  " + (code->empty() ? "-       " : *code);
            }
        }
        Print(text + "  " + Shown(entry.path));
    }
}

void PrintListingJson(const ScanListing& listing) {
    Json entries = Json::array();
    for (const ScanEntry& entry : listing.entries) {
        Json item{{"path", entry.path}, {"size", entry.size}};
        for (const Column& column : kColumns) {
            if (IsShown(listing, column)) {
                const std::string& text = entry.*column.text;
                const bool unknown = text.empty() && column.text != &ScanEntry::attributes;
                item[column.name] = unknown ? Json() : Json(text);
            }
        }
        entries.push_back(std::move(item));
    }
    PrintJson(Json{{"folder", listing.folder},
                   {"cancelled", listing.cancelled},
                   {"unreadable", listing.unreadable},
                   {"entries", std::move(entries)}});
}

void PrintListingCsv(const ScanListing& listing) {
    std::string header = "path,size";
    for (const Column& column : kColumns) {
        header += IsShown(listing, column) ? std::string(",") + column.name : "";
    }
    Print(header);
    for (const ScanEntry& entry : listing.entries) {
        std::string row = CsvField(entry.path) + "," + std::to_string(entry.size);
        for (const Column& column : kColumns) {
            row += IsShown(listing, column) ? "," + CsvField(entry.*column.text) : "";
        }
        Print(row);
    }
}

ScanListing ReadListing(const std::string& file) {
    std::string text = ReadBytes(FileName(file).full, file);
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.erase(0, 3);
    }
    const size_t first = text.find_first_not_of(" \t\r\n");
    ScanListing listing =
        first != text.npos && text[first] == '{' ? ListingOfJson(text, file) : ListingOfCsv(text, file);
    if (listing.cancelled) {
        throw Failure(exitFormat, file + ": the scan was cancelled: what it did not reach cannot be compared",
                      "Take a new listing.");
    }
    return listing;
}

std::vector<Difference> Compare(const ScanListing& before, const ScanListing& now) {
    const std::vector<const ScanEntry*> olds = ByPath(before);
    const std::vector<const ScanEntry*> news = ByPath(now);
    const Closed closed(before, now);
    std::vector<Difference> differences;
    auto was = olds.begin();
    auto is = news.begin();
    while (was != olds.end() || is != news.end()) {
        if (was == olds.end() || (is != news.end() && (*is)->path < (*was)->path)) {
            AddUnlessIn(closed, Difference::added, (*is++)->path, differences);
        } else if (is == news.end() || (*was)->path < (*is)->path) {
            AddUnlessIn(closed, Difference::removed, (*was++)->path, differences);
        } else {
            std::vector<ChangedFact> facts = ChangedFacts(**was, **is, before, now);
            if (!facts.empty()) {
                differences.push_back({Difference::changed, (*is)->path, std::move(facts)});
            }
            ++was;
            ++is;
        }
    }
    return differences;
}

void PrintDifferences(const std::vector<Difference>& differences, bool json) {
    if (!json) {
        for (const Difference& difference : differences) {
            std::string line = NameOf(difference.kind);
            line.resize(9, ' ');
            line += Shown(difference.path);
            const char* separator = ": ";
            for (const ChangedFact& fact : difference.facts) {
                line += separator + fact.name + " " + fact.before + " -> " + fact.now;
                separator = ", ";
            }
            Print(line);
        }
        return;
    }
    Json lists{{"added", Json::array()}, {"removed", Json::array()}, {"changed", Json::array()}};
    for (const Difference& difference : differences) {
        if (difference.kind != Difference::changed) {
            lists[NameOf(difference.kind)].push_back(difference.path);
            continue;
        }
        Json facts = Json::object();
        for (const ChangedFact& fact : difference.facts) {
            facts[fact.name] = {{"before", fact.before}, {"now", fact.now}};
        }
        lists["changed"].push_back({{"path", difference.path}, {"facts", std::move(facts)}});
    }
    PrintJson(lists);
}

}  // namespace kvtcommand
