// Icons off Windows: read from files, or drawn where the shell's own library would be asked for them; kept as pixels in
// the table of handles.

#include <new>
#include <string_view>

#include "icon_file.h"
#include "platform/mfc/fold.h"
#include "platform/mfc/icon.h"
#include "platform/win32/errors.h"
#include "platform/win32/handles.h"
#include "platform/win32/winapi.h"
#include "stock_icons.h"

namespace kvtshell {

namespace {

constexpr int kLargeSide = 32;
constexpr int kSmallSide = 16;
constexpr UINT kNoFile = 0xFFFFFFFF;

struct Icon : kvtwin::Object {
    explicit Icon(IconImage pixels) : image(std::move(pixels)) {}

    const IconImage image;
};

std::shared_ptr<Icon> FindIcon(HICON icon) {
    return std::dynamic_pointer_cast<Icon>(kvtwin::FindHandle(reinterpret_cast<HANDLE>(icon)));
}

HICON NewIcon(IconImage image) {
    return reinterpret_cast<HICON>(kvtwin::AddHandle(std::make_shared<Icon>(std::move(image))));
}

/// The icons of a path: of a file, or the built-in ones when the path is that of the shell's library and there is none.
class IconSource {
public:
    /// @return false: no such file.
    bool Open(LPCWSTR path) {
        if (m_bytes.Open(path) == ERROR_SUCCESS) {
            m_file = IconFile::Open(m_bytes);
            return true;
        }
        const std::u16string_view whole = path;
        const std::u16string name(whole.substr(whole.find_last_of(u"\\/") + 1));
        m_stock = kvtmfc::CompareNoCase(name.c_str(), u"shell32.dll") == 0;
        return m_stock;
    }

    size_t Count() const { return m_stock ? StockIconCount() : m_file ? m_file->Count() : 0; }

    std::optional<size_t> Find(UINT id) const {
        // The built-in icons have the ids that follow their numbers.
        return m_stock ? std::optional<size_t>(id - 1) : m_file ? m_file->Find(id) : std::nullopt;
    }

    std::optional<IconImage> Load(size_t index, int side) {
        if (index >= Count()) {
            return std::nullopt;
        }
        return m_stock ? StockIcon(index, side) : m_file->Load(index, side);
    }

private:
    FileSource m_bytes;
    std::unique_ptr<IconFile> m_file;
    bool m_stock = false;
};

UINT Extract(LPCWSTR path, int index, HICON* large, HICON* small, UINT count) {
    IconSource source;
    if (!path || !source.Open(path)) {
        return kNoFile;
    }
    if (!large && !small) {
        return static_cast<UINT>(source.Count());
    }
    const std::optional<size_t> first =
        index < 0 ? source.Find(0U - static_cast<UINT>(index)) : std::optional(static_cast<size_t>(index));
    UINT extracted = 0;
    for (UINT i = 0; first && i < count && *first + i < source.Count(); ++i) {
        for (const auto& [handles, side] : {std::pair(large, kLargeSide), std::pair(small, kSmallSide)}) {
            if (!handles) {
                continue;
            }
            std::optional<IconImage> image = source.Load(*first + i, side);
            handles[i] = image ? NewIcon(std::move(*image)) : nullptr;
            extracted += handles[i] ? 1 : 0;
        }
    }
    return extracted;
}

}  // namespace

}  // namespace kvtshell

UINT ExtractIconExW(LPCWSTR path, int index, HICON* large, HICON* small, UINT count) {
    try {
        return kvtshell::Extract(path, index, large, small, count);
    } catch (const std::bad_alloc&) {
        return static_cast<UINT>(kvtwin::Fail(ERROR_NOT_ENOUGH_MEMORY));
    }
}

BOOL DestroyIcon(HICON icon) {
    if (!kvtshell::FindIcon(icon)) {
        return kvtwin::Fail(ERROR_INVALID_CURSOR_HANDLE);
    }
    kvtwin::RemoveHandle(reinterpret_cast<HANDLE>(icon));
    return TRUE;
}

namespace kvtmfc {

bool GetIconPixels(HICON icon, IconPixels& pixels) {
    try {
        const auto found = kvtshell::FindIcon(icon);
        if (!found) {
            return false;
        }
        pixels = {found->image.width, found->image.height, found->image.rgba};
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace kvtmfc
