// SHFileOperationW: copies, moves, deletes and renames as the Windows shell does.
//
// All paths are looked up and checked first; then the items are done in their order, and an error ends the run. A
// question is asked before anything is replaced, made or deleted that the caller has not settled by a flag; whatever is
// not a Yes leaves things as they are.

#include <new>

#include "names.h"
#include "paths.h"
#include "shell_delete.h"
#include "shell_plan.h"
#include "shell_transfer.h"
#include "trash.h"
#include "winapi.h"

namespace kvtwin {

namespace {

DWORD OpenPlace(const std::string& folder, const std::string& name, kvtio::Descriptor& opened, EntryPlace& place) {
    const DWORD error = kvtio::OpenFolder(folder, opened);
    place = {opened.Get(), name, folder == "/" ? "/" + name : folder + "/" + name};
    return error;
}

bool MakeTargetFolders(const ShellPlan& plan, ShellJob& job) {
    for (const std::string& folder : plan.missing_folders) {
        if (!job.Has(FOF_NOCONFIRMMKDIR) &&
            !job.Confirm(WithPath(u"The folder\n", folder, u"\ndoes not exist. Create it?"), false)) {
            return false;
        }
    }
    job.Begin();
    for (const std::string& folder : plan.missing_folders) {
        MakeFolders(folder);
        kvtio::Descriptor opened;
        if (const DWORD error = kvtio::OpenFolder(folder, opened)) {
            job.Note(error, folder);
            return false;
        }
    }
    return true;
}

void Bring(const ShellPlan& plan, ShellJob& job) {
    if (!MakeTargetFolders(plan, job)) {
        return;
    }
    for (const ShellItem& item : plan.items) {
        if (job.HasFailed() || job.IsCancelled()) {
            return;
        }
        kvtio::Descriptor from_folder;
        kvtio::Descriptor to_folder;
        EntryPlace from;
        EntryPlace to;
        DWORD error = OpenPlace(item.source.folder, item.source.name, from_folder, from);
        if (error == 0 && (error = OpenPlace(item.target_folder, item.target_name, to_folder, to)) == 0) {
            Transfer(job).Run(from, item, to, plan.items.size() > 1);
        }
        job.Note(error, item.source.Path());
    }
}

void DeleteForGood(const EntryPlace& place, ShellJob& job) {
    const Deletion deletion = DeleteTree(place.folder, place.name);
    job.Note(deletion.error, place.path + deletion.below);
}

// What cannot go into the trash is not deleted for good unless the user says so, not even where no question is wanted.
void DeleteToTrash(const EntryPlace& place, const struct stat& status, bool several, ShellJob& job) {
    const DWORD error = MoveToTrash(place, status);
    if (error != ERROR_NOT_SAME_DEVICE) {
        job.Note(error == ERROR_FILE_NOT_FOUND ? 0 : error, place.path);
        return;
    }
    if (job.Has(FOF_NOCONFIRMATION) && !job.Has(FOF_WANTNUKEWARNING)) {
        job.Note(error, place.path);
        return;
    }
    if (job.Ask(WithPath(u"There is no trash for\n", place.path, u"\nDelete it permanently?"), several)) {
        DeleteForGood(place, job);
    }
}

bool ConfirmDeletion(const ShellPlan& plan, ShellJob& job) {
    if (job.Has(FOF_ALLOWUNDO) || plan.items.empty()) {
        return true;
    }
    if (plan.items.size() == 1) {
        return job.Confirm(WithPath(u"Permanently delete\n", plan.items[0].source.Path(), u"?"), false);
    }
    const std::u16string count = NameFromBytes(std::to_string(plan.items.size()));
    return job.Confirm(u"Permanently delete these " + count + u" items?", false);
}

void Delete(const ShellPlan& plan, ShellJob& job) {
    if (!ConfirmDeletion(plan, job)) {
        return;
    }
    job.Begin();
    for (const ShellItem& item : plan.items) {
        if (job.HasFailed() || job.IsCancelled()) {
            return;
        }
        kvtio::Descriptor folder;
        EntryPlace place;
        const DWORD error = OpenPlace(item.source.folder, item.source.name, folder, place);
        if (error != 0) {
            // A folder of the list may have stood in one that came before it.
            job.Note(error == ERROR_FILE_NOT_FOUND ? 0 : error, place.path);
        } else if (job.Has(FOF_ALLOWUNDO)) {
            DeleteToTrash(place, item.source.status, plan.items.size() > 1, job);
        } else {
            DeleteForGood(place, job);
        }
    }
}

}  // namespace

}  // namespace kvtwin

int SHFileOperationW(LPSHFILEOPSTRUCTW operation) {
    if (!operation) {
        return static_cast<int>(ERROR_INVALID_PARAMETER);
    }
    operation->fAnyOperationsAborted = FALSE;
    operation->hNameMappings = nullptr;
    if (operation->wFunc < FO_MOVE || operation->wFunc > FO_RENAME) {
        return static_cast<int>(ERROR_INVALID_PARAMETER);
    }
    kvtwin::ShellJob job(operation->wFunc, operation->fFlags);
    try {
        const kvtwin::ShellPlan plan = kvtwin::PlanShellOperation(*operation, job);
        if (plan.error != 0) {
            job.Note(plan.error, plan.error_path);
        } else if (operation->wFunc == FO_DELETE) {
            kvtwin::Delete(plan, job);
        } else {
            kvtwin::Bring(plan, job);
        }
        operation->fAnyOperationsAborted = job.Aborted();
        return job.Finish();
    } catch (const std::bad_alloc&) {
        // Nothing can be told but by the result.
        job.Note(ERROR_NOT_ENOUGH_MEMORY, {});
        operation->fAnyOperationsAborted = job.Aborted();
        return job.Code();
    }
}
