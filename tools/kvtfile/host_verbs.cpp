// kvtfile host list: the CAD hosts that the registry tells of, each with its folders.

#include <CLI/CLI.hpp>
#include <memory>

#include "kvtfile/CadHost.h"
#include "kvtfile/Registry.h"
#include "tools/kvtfile/registry.h"
#include "tools/kvtfile/verbs.h"

namespace kvtcommand {

namespace {

using kvtfile::GetRegKeyValue;

/// One installed product of a host. Texts that the registry does not tell are empty.
struct Host {
    const char* family = "";
    CString product;  ///< as the host names itself
    CString release;  ///< such as "R18.0"
    CString key;      ///< the product key, below both hives
    bool current = false;
    CString folder;
    CString language;
    CString profile;
    CString support;
    CString templates;
};

CString Read(HKEY hive, const CString& key, LPCWSTR name) {
    CString text;
    GetRegKeyValue(hive, key, text, name);
    return text;
}

std::vector<CString> KeyNames(HKEY hive, const CString& path) {
    OpenKey key;
    return key.TryOpen(hive == HKEY_LOCAL_MACHINE ? KeyPath::InMachine(path) : KeyPath::InUser(path), KEY_READ)
               ? key.KeyNames()
               : std::vector<CString>();
}

void FillUserFolders(Host& host, const CString& root) {
    if (!root.IsEmpty()) {
        host.support = WithBackslash(root) + _T("support\\");
        host.templates = WithBackslash(root) + _T("template\\");
    }
}

/// AutoCAD: a key for each release, with a key for each product. The releases before R16 keep support files and
/// templates beside the program, the others below the user's roamable root folder.
void AddAutocadHosts(std::vector<Host>& hosts) {
    const CString autocad = _T("Software\\Autodesk\\AutoCAD");
    for (const CString& release : KeyNames(HKEY_LOCAL_MACHINE, autocad)) {
        const CString releaseKey = autocad + _T("\\") + release;
        const CString current = Read(HKEY_CURRENT_USER, releaseKey, _T("CurVer"));
        for (const CString& product : KeyNames(HKEY_LOCAL_MACHINE, releaseKey)) {
            Host host;
            host.family = "AutoCAD";
            host.key = releaseKey + _T("\\") + product;
            host.release = release;
            host.product = Read(HKEY_LOCAL_MACHINE, host.key, _T("ProductName"));
            host.folder = WithBackslash(Read(HKEY_LOCAL_MACHINE, host.key, _T("AcadLocation")));
            if (host.product.IsEmpty() && host.folder.IsEmpty()) {
                continue;  // no product, but another key of the release
            }
            host.current = current.CompareNoCase(product) == 0;
            host.language = Read(HKEY_LOCAL_MACHINE, host.key, _T("Language"));
            host.profile = Read(HKEY_CURRENT_USER, host.key + _T("\\Profiles"), _T(""));
            const CString roamable = Read(HKEY_CURRENT_USER, host.key, _T("RoamableRootFolder"));
            FillUserFolders(host, release.Left(3).CompareNoCase(_T("R16")) < 0 ? host.folder : roamable);
            hosts.push_back(host);
        }
    }
}

/// The releases of a product, each with a key for each language; the user hive tells which of them is in use.
void AddReleases(std::vector<Host>& hosts, Host host, HKEY hive, const CString& productKey, LPCWSTR folderValue) {
    for (const CString& release : KeyNames(hive, productKey)) {
        const CString releaseKey = productKey + _T("\\") + release;
        const CString current = Read(HKEY_CURRENT_USER, releaseKey, _T("CurVer"));
        for (const CString& language : KeyNames(hive, releaseKey)) {
            host.key = releaseKey + _T("\\") + language;
            host.folder = WithBackslash(Read(hive, host.key, folderValue));
            if (host.folder.IsEmpty()) {
                continue;  // another key of the release
            }
            host.release = release;
            host.language = language;
            host.current = current.CompareNoCase(language) == 0;
            host.profile = Read(HKEY_CURRENT_USER, host.key + _T("\\Profiles"), _T(""));
            hosts.push_back(host);
        }
    }
}

/// ZWCAD: several products; the machine hive tells their folders.
void AddZwcadHosts(std::vector<Host>& hosts) {
    const CString zwsoft = _T("Software\\ZWSOFT");
    for (const CString& product : KeyNames(HKEY_LOCAL_MACHINE, zwsoft)) {
        if (product.Left(5).CompareNoCase(_T("ZWCAD")) == 0) {
            Host host;
            host.family = "ZWCAD";
            host.product = product;
            AddReleases(hosts, host, HKEY_LOCAL_MACHINE, zwsoft + _T("\\") + product, _T("Location"));
        }
    }
}

/// GstarCAD: all of it stands under the user hive.
void AddGstarcadHosts(std::vector<Host>& hosts) {
    Host host;
    host.family = "GstarCAD";
    host.product = _T("GstarCAD");
    AddReleases(hosts, host, HKEY_CURRENT_USER, _T("Software\\GstarSoft\\GstarCAD"), _T("LOCATION"));
}

Json TextOrNull(const CString& text) {
    return text.IsEmpty() ? Json(nullptr) : Json(Utf8(text));
}

void PrintField(const char* name, const CString& text) {
    if (!text.IsEmpty()) {
        Print(std::string("  ") + name + Utf8(text));
    }
}

void List(bool json) {
    std::vector<Host> hosts;
    AddAutocadHosts(hosts);
    AddZwcadHosts(hosts);
    AddGstarcadHosts(hosts);
    Json list = Json::array();
    for (const Host& host : hosts) {
        if (json) {
            list.push_back({{"family", host.family},
                            {"product", TextOrNull(host.product)},
                            {"release", Utf8(host.release)},
                            {"key", Utf8(host.key)},
                            {"current", host.current},
                            {"folder", TextOrNull(host.folder)},
                            {"language", TextOrNull(host.language)},
                            {"profile", TextOrNull(host.profile)},
                            {"support", TextOrNull(host.support)},
                            {"template", TextOrNull(host.templates)}});
            continue;
        }
        Print(host.product.IsEmpty() ? "(no product name)" : Utf8(host.product));
        PrintField("release   ", host.release);
        PrintField("key       ", host.key + (host.current ? _T(" (current)") : _T("")));
        PrintField("folder    ", host.folder);
        PrintField("language  ", host.language);
        PrintField("profile   ", host.profile);
        PrintField("support   ", host.support);
        PrintField("template  ", host.templates);
    }
    if (json) {
        PrintJson(Json{{"hosts", list}});
    }
    if (hosts.empty()) {
        throw Failure(exitRefused, "no CAD host is installed",
                      "'kvtfile reg import' takes in a registry saved elsewhere.");
    }
}

}  // namespace

void AddHostVerbs(CLI::App& command) {
    CLI::App* host = command.add_subcommand("host", "Tell which CAD hosts are installed");
    host->require_subcommand(1);
    host->footer("What is installed is read from the registry; 'kvtfile reg import' takes in that of another machine.");
    CLI::App* verb = AddVerb(*host, "list", "List the installed hosts with their keys and folders",
                             "  kvtfile host list\n"
                             "  kvtfile host list --json");
    auto json = std::make_shared<bool>(false);
    verb->add_flag("--json", *json, "Print JSON");
    verb->callback([json] { List(*json); });
}

}  // namespace kvtcommand
