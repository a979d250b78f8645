// Host discovery: which version of the host a drawing is of, after the tag in its first six bytes.

#include "kvtfile/CadHost.h"
#include "platform/quiet.h"

namespace kvtfile {

namespace {

constexpr UINT TAG_LENGTH = 6;

struct Tag {
    char bytes[TAG_LENGTH + 1] = {};
};

bool ReadTag(const CString& path, Tag& tag) {
    return detail::Quiet(false, [&] {
        CFile file;
        return file.Open(path, CFile::modeRead | CFile::shareDenyNone) &&
               file.Read(tag.bytes, TAG_LENGTH) == TAG_LENGTH;
    });
}

}  // namespace

CString GetDwgVersionTag(CString file) {
    Tag tag;
    return ReadTag(file, tag) ? CString(tag.bytes) : CString(_T("Unknown"));
}

// The tag's bytes are taken as wide text, two to a character. Of three characters the last alone is looked at, and what
// is left is never a number beyond 1014.
bool IsR14CanOpen(CString file) {
    Tag tag;
    return !file.IsEmpty() && ReadTag(file, tag);
}

}  // namespace kvtfile
