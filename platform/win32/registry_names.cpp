// Names of registry keys and values: folding by the library's one table, and the splitting of paths.

#include "registry_names.h"

#include "platform/mfc/fold.h"

namespace kvtwin {

std::string FoldName(std::u16string_view name) {
    std::string folded(name.size() * 2, '\0');
    char* byte = folded.data();
    for (const WCHAR unit : name) {
        const WCHAR upper = kvtmfc::FoldUpper(unit);
        *byte++ = static_cast<char>(upper >> 8);
        *byte++ = static_cast<char>(upper & 0xFF);
    }
    return folded;
}

DWORD SplitKeyPath(LPCWSTR path, std::vector<std::u16string_view>& names) {
    std::u16string_view rest = path ? path : u"";
    if (rest.starts_with(u'\\')) {
        return ERROR_BAD_PATHNAME;
    }
    while (!rest.empty()) {
        const std::u16string_view name = rest.substr(0, rest.find(u'\\'));
        if (name.size() > kLongestKeyName) {
            return ERROR_INVALID_PARAMETER;
        }
        if (!name.empty()) {
            names.push_back(name);
        }
        rest.remove_prefix(name.size() == rest.size() ? name.size() : name.size() + 1);
    }
    return ERROR_SUCCESS;
}

}  // namespace kvtwin
