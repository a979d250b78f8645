// Host discovery: the product keys and install folders of AutoCAD, and the installed ZWCAD and GstarCAD.
//
// Every key is opened for reading alone. A key that cannot be opened is as one without values: it fits no search.

#include "cadhost/host.h"

#include "platform/companion/pmxutil.h"
#include "platform/quiet.h"

namespace kvtfile {

using namespace detail;

namespace {

constexpr WCHAR PRODUCT_NAME[] = _T("ProductName");
constexpr WCHAR ACAD_LOCATION[] = _T("AcadLocation");

// The separator is added whether or not there is such a value.
int ReadFolder(CFRegistry& registry, LPCWSTR name, CString& folder) {
    const int result = registry.Read(name, folder);
    folder = pmxutil::ConfirmBackslash(folder);
    return result;
}

bool BeginsWith(const CString& text, const CString& beginning) {
    return text.Left(beginning.GetLength()).CompareNoCase(beginning) == 0;
}

// Whether the user's current release is an R14 that was never really installed. Its product name may stand in either
// hive.
bool IsPlaceholderR14() {
    const Release* r14 = FindRelease(ACAD_R14);
    CString release;
    CString product;
    if (!ReadCurrent(ACAD_KEY, release) || release.CompareNoCase(r14->release) != 0 ||
        !ReadCurrent(r14->root, product)) {
        return false;
    }
    const CString key = Join(r14->root, product);
    CString name;
    return (ReadText(MACHINE_HIVE, key, PRODUCT_NAME, name) || ReadText(USER_HIVE, key, PRODUCT_NAME, name)) &&
           name.CompareNoCase(_T("Unknown")) == 0;
}

// The current R15 product as the user hive names it. Behind a placeholder R14 no product is named: the key of the
// release stands for it, with a separator at its end.
int FindR15Key(CString& key) {
    const bool placeholder = IsPlaceholderR14();
    const CString root = FindRelease(ACAD_2000)->root;
    CFRegistry release(USER_HIVE, 1);
    if (!release.Open(root)) {
        return 0;
    }
    CString product;
    if (!placeholder && !release.Read(_T("CurVer"), product)) {
        return 0;
    }
    key = Join(root, product);
    return 1;
}

// What tells the R15 products apart.
CString FirstTwelve(CString name) {
    name = name.Left(12);
    name.MakeLower();
    return name;
}

// Opens the product that the user hive names, in `hive`, and reads its folder.
int ReadProductFolder(const CString& root, int hive, LPCWSTR name, CString& path) {
    CString product;
    if (!ReadCurrent(root, product)) {
        return 0;
    }
    CFRegistry registry(hive, 1);
    return registry.Open(Join(root, product)) ? ReadFolder(registry, name, path) : 0;
}

}  // namespace

CString detail::Join(const CString& key, const CString& subKey) {
    return key + _T('\\') + subKey;
}

int detail::ReadText(int hive, const CString& key, LPCWSTR name, CString& text) {
    CFRegistry registry(hive, 1);
    return registry.Open(key) ? registry.Read(name, text) : 0;
}

int detail::ReadCurrent(const CString& key, CString& subKey) {
    return ReadText(USER_HIVE, key, _T("CurVer"), subKey);
}

int detail::FindProductKey(CString& key, const Release* row, int bReadOnly) {
    const CString root = row ? row->root : _T("");
    const CString productName = row ? row->productName : _T("");
    CStringArray products;
    GetKeyListArray(root, products);
    int result = 0;
    for (INT_PTR i = 0; i < products.GetSize(); ++i) {
        key = Join(root, products[i]);
        CFRegistry product(MACHINE_HIVE, bReadOnly);
        CString name;
        result = product.Open(key) ? product.Read(PRODUCT_NAME, name) : 0;
        if (result && BeginsWith(name, productName)) {
            return 1;
        }
    }
    return result;
}

int GetKeyListArray(CString key, CStringArray& arr) {
    return Quiet(0, [&] {
        arr.RemoveAll();
        for (int index = 0;; ++index) {
            CKey parent;
            CString name;
            if (!parent.Open(HKEY_LOCAL_MACHINE, key) || !parent.GetRegEnumKey(name, index)) {
                return arr.IsEmpty() ? 0 : 1;
            }
            arr.Add(name);
        }
    });
}

int FConvertAcadVer(ACADVER v, zqolecad::START_ACADVER& out) {
    const Release* row = FindRelease(v);
    if (!row || row->year == 0) {
        return 0;
    }
    out = static_cast<zqolecad::START_ACADVER>(row->year);
    return 1;
}

int GetAcadRegKey(CString& key, ACADVER v) {
    return Quiet(0, [&] {
        key.Empty();
        const Release* row = FindRelease(v);
        if (row && row->IsR15() && row->HasRoot()) {
            ACADVER product = v;
            CString location;
            return GetAcadR15CurVer(key, product, location);
        }
        return FindProductKey(key, row, 1);
    });
}

int GetAcadPath(CString& path, ACADVER v) {
    return Quiet(0, [&] {
        path.Empty();
        const Release* row = FindRelease(v);
        const CString root = row ? row->root : _T("");
        const CString productName = row ? row->productName : _T("");
        CStringArray products;
        if (!GetKeyListArray(root, products)) {
            return 0;
        }
        for (INT_PTR i = 0; i < products.GetSize(); ++i) {
            CFRegistry product(MACHINE_HIVE, 1);
            CString name;
            if (product.Open(Join(root, products[i])) && product.Read(PRODUCT_NAME, name) &&
                BeginsWith(name, productName)) {
                if (ReadFolder(product, ACAD_LOCATION, path)) {
                    return 1;
                }
                break;
            }
        }
        CFRegistry first(MACHINE_HIVE, 1);
        return first.Open(Join(root, products[0])) ? ReadFolder(first, ACAD_LOCATION, path) : 0;
    });
}

int GetAcadR15CurVer(CString& key, ACADVER& v, CString& location) {
    return Quiet(0, [&] {
        key.Empty();
        location.Empty();
        if (!FindR15Key(key)) {
            return 0;
        }
        CFRegistry product(MACHINE_HIVE, 1);
        CString name;
        if (!product.Open(key) || !product.Read(PRODUCT_NAME, name)) {
            return 0;
        }
        for (const Release& row : Releases()) {
            if (row.IsR15() && row.HasRoot() && FirstTwelve(row.productName) == FirstTwelve(name)) {
                v = row.value;
            }
        }
        return product.Read(ACAD_LOCATION, location);
    });
}

int IsAcadR15CurVerChinese() {
    return Quiet(0, [] {
        CString key;
        CFRegistry product(MACHINE_HIVE, 1);
        if (!FindR15Key(key) || !product.Open(key)) {
            return 0;
        }
        CString language;
        CString name;
        product.Read(_T("Language"), language);
        product.Read(PRODUCT_NAME, name);
        return language.CompareNoCase(_T("Chinese")) != 0 && name.Find(_T("中文版")) != 0 ? 1 : 0;
    });
}

int GetZWcadPath(CString& path, CString product, CString release) {
    return Quiet(0, [&] {
        path.Empty();
        CString root;
        root.Format(_T("Software\\ZWSOFT\\%s\\%s"), product.IsEmpty() ? CString(_T("ZWCAD")) : product, release);
        return ReadProductFolder(root, MACHINE_HIVE, _T("Location"), path);
    });
}

int GetZWcadPath(CString& path, CString release) {
    return GetZWcadPath(path, CString(), release);
}

int GetGScadPath(CString& path, CString release) {
    return Quiet(0, [&] {
        path.Empty();
        if (release == _T("2019")) {
            release = _T("R19");
        } else if (release == _T("2020")) {
            release = _T("R20");
        }
        return ReadProductFolder(_T("Software\\GstarSoft\\GstarCAD\\") + release, USER_HIVE, _T("LOCATION"), path);
    });
}

}  // namespace kvtfile
