// Folders off Windows: identity is device and inode, and paths of any length are taken as they are.

#include <sys/stat.h>

#include "platform/io/folders.h"
#include "platform/win32/paths.h"

namespace kvtio {

bool IdentityOf(LPCWSTR path, Identity& identity) {
    const std::string folder = kvtwin::UnixPath(path);
    struct stat status {};
    if (folder.empty() || ::stat(folder.c_str(), &status) != 0) {
        return false;
    }
    identity = {status.st_dev, status.st_ino};
    return true;
}

Path LongForm(LPCWSTR path) {
    return path;
}

}  // namespace kvtio
