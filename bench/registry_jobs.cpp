// The registry's everyday jobs, timed by the same code on every target: over the SQLite store natively, over advapi32
// as a Windows program. Prints the best of several rounds, so that a busy machine tells in few of them.
//
//   build/bench/bench/registry_jobs
//
//   cmake --preset windows -B build/windows-bench -DKVTFILE_BUILD_BENCH=ON
//   cmake --build build/windows-bench --target registry_jobs
//   scripts/wine-run.sh build/windows-bench/registry_jobs.exe

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "kvtfile/CadHost.h"
#include "kvtfile/Registry.h"

namespace {

constexpr int kMany = 10000;
constexpr int kRounds = 5;
constexpr WCHAR kRoot[] = _T("Software\\kvtfile-bench");
constexpr WCHAR kAutocad[] = _T("Software\\Autodesk\\AutoCAD\\");

void Check(bool good, const char* what) {
    if (!good) {
        std::fprintf(stderr, "registry_jobs: %s failed\n", what);
        std::exit(1);
    }
}

CString Numbered(LPCWSTR start, int number) {
    CString name;
    name.Format(_T("%s%d"), start, number);
    return name;
}

/// A key of this benchmark, open for everything.
class Key {
public:
    explicit Key(const CString& path, HKEY root = HKEY_CURRENT_USER) {
        Check(::RegCreateKeyExW(root, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_key, nullptr) == 0, "create");
    }
    ~Key() { ::RegCloseKey(m_key); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    operator HKEY() const { return m_key; }
    void Set(const CString& name, const CString& text) const {
        Check(::RegSetValueExW(m_key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(static_cast<LPCWSTR>(text)),
                               static_cast<DWORD>((text.GetLength() + 1) * sizeof(WCHAR))) == 0,
              "set");
    }

private:
    HKEY m_key = nullptr;
};

CString Beneath(LPCWSTR name) {
    return CString(kRoot) + _T("\\") + name;
}

void DeleteTree(HKEY root, const CString& path) {
    kvtfile::CFRegistry registry(0, 0);
    registry.SetHKey(root);
    registry.DeleteKey(path, 0);
    registry.SetHKey(nullptr);
}

/// Microseconds of one run, divided by `count`.
template <class Job>
double Time(int count, Job job) {
    const auto start = std::chrono::steady_clock::now();
    job();
    const std::chrono::duration<double, std::micro> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / count;
}

/// The best of several runs, each after an untimed `prepare`.
template <class Prepare, class Job>
void Report(const char* what, int count, Prepare prepare, Job job) {
    double best = 1e300;
    for (int round = 0; round < kRounds; ++round) {
        prepare();
        best = std::min(best, Time(count, job));
    }
    std::printf("%-44s %10.2f us\n", what, best);
    std::fflush(stdout);
}

void Nothing() {}

void FillKeys() {
    const Key keys(Beneath(_T("Keys")));
    for (int i = 0; i < kMany; ++i) {
        HKEY key = nullptr;
        Check(::RegCreateKeyExW(keys, Numbered(_T("k"), i), 0, nullptr, 0, KEY_READ, nullptr, &key, nullptr) == 0,
              "create");
        ::RegCloseKey(key);
    }
}

void FillValues() {
    const Key values(Beneath(_T("Values")));
    for (int i = 0; i < kMany; ++i) {
        const CString name = Numbered(_T("v"), i);
        values.Set(name, name);
    }
}

void ReadValue(HKEY key, LPCWSTR name) {
    BYTE data[64];
    DWORD size = sizeof data;
    Check(::RegQueryValueExW(key, name, nullptr, nullptr, data, &size) == 0, "query");
}

void OpenAndRead() {
    const CString path = Beneath(_T("Values"));
    for (int i = 0; i < kMany; ++i) {
        HKEY key = nullptr;
        Check(::RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, &key) == 0, "open");
        ReadValue(key, _T("V5000"));
        ::RegCloseKey(key);
    }
}

void EnumerateKeys() {
    const Key keys(Beneath(_T("Keys")));
    WCHAR name[256];
    DWORD i = 0;
    for (DWORD length = 256; ::RegEnumKeyExW(keys, i, name, &length, nullptr, nullptr, nullptr, nullptr) == 0;
         length = 256) {
        ++i;
    }
    Check(i == kMany, "enumerate keys");
}

void EnumerateValues() {
    const Key values(Beneath(_T("Values")));
    WCHAR name[256];
    BYTE data[64];
    DWORD i = 0;
    for (;; ++i) {
        DWORD length = 256;
        DWORD size = sizeof data;
        if (::RegEnumValueW(values, i, name, &length, nullptr, nullptr, data, &size) != 0) {
            break;
        }
    }
    Check(i == kMany, "enumerate values");
}

constexpr LPCWSTR kReleases[] = {_T("R17.0"), _T("R17.1"), _T("R17.2"), _T("R18.0"), _T("R18.1"),
                                 _T("R18.2"), _T("R19.0"), _T("R19.1"), _T("R20.0"), _T("R20.1"),
                                 _T("R21.0"), _T("R22.0"), _T("R23.0"), _T("R23.1")};

/// The releases 2007 to 2020, all installed.
void InstallHosts() {
    int year = 2007;
    for (const LPCWSTR release : kReleases) {
        const CString product = CString(kAutocad) + release + _T("\\ACAD-1:409");
        const Key machine(product, HKEY_LOCAL_MACHINE);
        machine.Set(_T("ProductName"), Numbered(_T("AutoCAD "), year));
        machine.Set(_T("AcadLocation"), Numbered(_T("C:\\Program Files\\AutoCAD "), year));
        Key(CString(kAutocad) + release).Set(_T("CurVer"), _T("ACAD-1:409"));
        Key(product).Set(_T("RoamableRootFolder"), _T("C:\\Users\\user\\AppData\\Roaming\\AutoCAD\\"));
        ++year;
    }
}

void FindHosts() {
    for (int release = kvtfile::ACAD_2007; release <= kvtfile::ACAD_2020; ++release) {
        const auto version = static_cast<kvtfile::ACADVER>(release);
        CString text;
        zqolecad::START_ACADVER year{};
        Check(kvtfile::GetAcadRegKey(text, version) != 0, "product key");
        Check(kvtfile::GetAcadPath(text, version) != 0, "install folder");
        Check(kvtfile::FConvertAcadVer(version, year) != 0, "year");
        Check(kvtfile::GetAcadSupportPath(year, text) != 0, "support folder");
    }
}

}  // namespace

int main() {
    DeleteTree(HKEY_CURRENT_USER, kRoot);
    FillKeys();
    FillValues();
    const Key values(Beneath(_T("Values")));
    Report("read a value (of 10,000)", kMany, Nothing, [&values] {
        for (int i = 0; i < kMany; ++i) {
            ReadValue(values, _T("V5000"));
        }
    });
    Report("open a key and read a value", kMany, Nothing, OpenAndRead);
    Report("enumerate 10,000 sub-keys, each", kMany, Nothing, EnumerateKeys);
    Report("enumerate 10,000 values, each", kMany, Nothing, EnumerateValues);
    Report(
        "write a new value, each of 10,000", kMany, [] { DeleteTree(HKEY_CURRENT_USER, Beneath(_T("New"))); },
        [] {
            const Key key(Beneath(_T("New")));
            for (int i = 0; i < kMany; ++i) {
                const CString name = Numbered(_T("v"), i);
                key.Set(name, name);
            }
        });
    Report("delete 10,000 keys recursively, each", kMany, FillKeys,
           [] { DeleteTree(HKEY_CURRENT_USER, Beneath(_T("Keys"))); });
    InstallHosts();
    Report("find 14 hosts with their folders", 1, Nothing, FindHosts);
    DeleteTree(HKEY_CURRENT_USER, kRoot);
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        for (const LPCWSTR release : kReleases) {
            DeleteTree(root, CString(kAutocad) + release);
        }
    }
    return 0;
}
