// The target of a shell link off Windows: the file is read whole, since links are small, and the most trustworthy of
// its paths is taken.

#include <algorithm>
#include <vector>

#include "link_file.h"
#include "link_target.h"
#include "platform/win32/winapi.h"

namespace kvtshell {

namespace {

/// What is larger is no link: the parts of one, icon data included, stay far below.
constexpr uint64_t kMaxLinkSize = 1 << 20;

std::vector<std::uint8_t> ReadSmallFile(LPCWSTR path) {
    kvtio::File file;
    uint64_t size = 0;
    if (file.Open(path, kvtio::Access::Read, kvtio::Disposition::OpenExisting) != ERROR_SUCCESS ||
        file.Size(size) != ERROR_SUCCESS || size > kMaxLinkSize) {
        return {};
    }
    std::vector<std::uint8_t> bytes(static_cast<size_t>(size));
    size_t got = 0;
    if (file.Read(bytes.data(), bytes.size(), got) != ERROR_SUCCESS) {
        return {};
    }
    bytes.resize(got);
    return bytes;
}

/// The result of a call that fills a buffer of any size, measured first: `call(buffer, size)`.
template <typename Call>
Text Filled(Call call) {
    const DWORD size = call(nullptr, 0);
    Text text(size, u'\0');
    const DWORD length = size == 0 ? 0 : call(text.data(), size);
    text.resize(std::min<size_t>(length, text.find(u'\0')));
    return text;
}

Text FullPath(const Text& path) {
    return Filled(
        [&path](LPWSTR buffer, DWORD size) { return ::GetFullPathNameW(path.c_str(), size, buffer, nullptr); });
}

Text Expanded(const Text& path) {
    return Filled(
        [&path](LPWSTR buffer, DWORD size) { return ::ExpandEnvironmentStringsW(path.c_str(), buffer, size); });
}

Text Chosen(const LinkTargets& targets, LPCWSTR link) {
    if (!targets.network.empty()) {
        return targets.network;
    }
    if (!targets.local.empty()) {
        return targets.local;
    }
    if (!targets.environment.empty()) {
        return Expanded(targets.environment);
    }
    if (!targets.relative.empty()) {
        Text folder = FullPath(link);
        folder.resize(folder.find_last_of(u'\\') + 1);
        return FullPath(folder + targets.relative);
    }
    return {};
}

}  // namespace

Text LinkTarget(LPCWSTR path) {
    if (path == nullptr) {
        return {};
    }
    const std::vector<std::uint8_t> bytes = ReadSmallFile(path);
    const std::optional<LinkTargets> targets = ParseLink(bytes);
    Text target = targets ? Chosen(*targets, path) : Text();
    return target.size() < MAX_PATH ? target : Text();
}

}  // namespace kvtshell
