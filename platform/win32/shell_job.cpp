// Questions and results of a shell operation. Questions go to the handler of message boxes; whatever is not a Yes
// leaves things as they are.

#include "shell_job.h"

#include "paths.h"
#include "platform/mfc/messagebox.h"
#include "system_messages.h"
#include "winapi.h"

namespace kvtwin {

namespace {

struct ErrorText {
    DWORD error;
    std::u16string_view text;
};

constexpr ErrorText kErrorTexts[] = {
    {kShellSameFile, u"The source and the destination are the same."},
    {kShellManySources, u"Several sources cannot become one file."},
    {kShellOtherFolder, u"Renaming cannot move to another folder."},
    {kShellRoot, u"The root of a drive cannot be the source."},
    {kShellTargetInSource, u"The destination lies inside the source."},
    {kShellPathTooDeep, u"The path is too long."},
    {kShellManyTargets, u"There are not as many destinations as sources."},
    {kShellInvalidPath, u"The path is invalid."},
    {kShellFolderOntoFile, u"A file stands where the folder is to come."},
    {kShellFileOntoFolder, u"A folder stands where the file is to come."},
};

std::u16string TextOf(DWORD error) {
    for (const ErrorText& row : kErrorTexts) {
        if (row.error == error) {
            return std::u16string(row.text);
        }
    }
    return std::u16string(SystemMessage(error));
}

}  // namespace

bool ShellJob::Confirm(const std::u16string& question, bool one_of_several) {
    return Has(FOF_NOCONFIRMATION) || Ask(question, one_of_several);
}

bool ShellJob::Ask(const std::u16string& question, bool one_of_several) {
    const UINT buttons = one_of_several ? MB_YESNOCANCEL : MB_YESNO;
    const int answer = kvtmfc::AfxMessageBox(question.c_str(), buttons | MB_ICONQUESTION);
    if (answer == IDYES) {
        return true;
    }
    m_refused = true;
    m_cancelled = m_cancelled || answer == IDCANCEL || answer == IDABORT;
    return false;
}

void ShellJob::Note(DWORD error, const std::string& path) {
    if (m_error == 0 && error != 0) {
        m_error = error;
        m_error_path = path;
    }
}

int ShellJob::Code() const {
    return static_cast<int>(m_error == 0 && m_refused ? kShellCancelled : m_error);
}

int ShellJob::Finish() const {
    if (m_error != 0 && !Has(FOF_NOERRORUI)) {
        const std::u16string text = WithPath(u"", m_error_path, m_error_path.empty() ? u"" : u": ") + TextOf(m_error);
        kvtmfc::AfxMessageBox(text.c_str(), MB_OK | MB_ICONERROR);
    }
    return Code();
}

std::u16string WithPath(std::u16string_view before, const std::string& path, std::u16string_view after) {
    std::u16string text(before);
    if (path.starts_with('/')) {
        text += WindowsPath(path);
    }
    return text += after;
}

}  // namespace kvtwin
