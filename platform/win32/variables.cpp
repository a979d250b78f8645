// The variables that Windows sets for every process, as paths of the prefix. The process's own environment is another
// system's and is not looked at.

#include <algorithm>
#include <string>
#include <string_view>

#include "environment.h"
#include "errors.h"
#include "names.h"
#include "winapi.h"

namespace {

struct Variable {
    std::u16string_view name;   // in upper case
    std::u16string_view value;  // "*" is the user's name
};

constexpr Variable kVariables[] = {
    {u"ALLUSERSPROFILE", u"C:\\ProgramData"},
    {u"APPDATA", u"C:\\users\\*\\AppData\\Roaming"},
    {u"COMMONPROGRAMFILES", u"C:\\Program Files\\Common Files"},
    {u"COMMONPROGRAMFILES(X86)", u"C:\\Program Files (x86)\\Common Files"},
    {u"LOCALAPPDATA", u"C:\\users\\*\\AppData\\Local"},
    {u"PROGRAMDATA", u"C:\\ProgramData"},
    {u"PROGRAMFILES", u"C:\\Program Files"},
    {u"PROGRAMFILES(X86)", u"C:\\Program Files (x86)"},
    {u"PUBLIC", u"C:\\users\\Public"},
    {u"SYSTEMDRIVE", u"C:"},
    {u"SYSTEMROOT", u"C:\\windows"},
    {u"TEMP", u"C:\\users\\*\\Temp"},
    {u"TMP", u"C:\\users\\*\\Temp"},
    {u"USERNAME", u"*"},
    {u"USERPROFILE", u"C:\\users\\*"},
    {u"WINDIR", u"C:\\windows"},
};

const Variable* FindVariable(std::u16string_view name) {
    const std::u16string upper = kvtwin::UpperName(name);
    const auto* const end = std::end(kVariables);
    const auto* const found =
        std::find_if(std::begin(kVariables), end, [&upper](const Variable& row) { return row.name == upper; });
    return found == end ? nullptr : found;
}

void AppendValue(std::u16string& text, const Variable& variable) {
    const size_t user = variable.value.find(u'*');
    text += variable.value.substr(0, user);
    if (user != std::u16string_view::npos) {
        text += kvtwin::NameFromBytes(kvtwin::Env().user);
        text += variable.value.substr(user + 1);
    }
}

}  // namespace

DWORD ExpandEnvironmentStringsW(LPCWSTR text, LPWSTR buffer, DWORD size) {
    if (!text) {
        return static_cast<DWORD>(kvtwin::Fail(ERROR_INVALID_PARAMETER));
    }
    std::u16string result;
    std::u16string_view rest = text;
    while (!rest.empty()) {
        const size_t start = rest.find(u'%');
        result += rest.substr(0, start);
        rest.remove_prefix(std::min(start, rest.size()));
        if (rest.empty()) {
            break;
        }
        const size_t end = rest.find(u'%', 1);
        const Variable* const variable =
            end == std::u16string_view::npos ? nullptr : FindVariable(rest.substr(1, end - 1));
        if (variable) {
            AppendValue(result, *variable);
            rest.remove_prefix(end + 1);
        } else {
            // The second sign may begin a name of its own.
            const std::u16string_view kept = rest.substr(0, end);
            result += kept;
            rest.remove_prefix(kept.size());
        }
    }
    const size_t needed = result.size() + 1;
    if (buffer && needed <= size) {
        result.copy(buffer, result.size());
        buffer[result.size()] = u'\0';
    }
    return static_cast<DWORD>(needed);
}
