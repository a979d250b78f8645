// Host registries from registration files, read by the command's own reader.

#include "tests/support/registry.h"
#include "tools/kvtfile/regfile.h"

namespace kvttest {

void HostKeys::LoadFile(const std::string& name) {
    const std::string bytes = ReadBytes(Wide(KVTFILE_TEST_DATA "/registry/" + name + ".reg"));
    try {
        for (const kvtcommand::RegFileKey& key : kvtcommand::ParseRegFile(bytes)) {
            const int root = key.path.Find(_T('\\'));
            const HKEY hive = key.path.Left(root) == _T("HKEY_LOCAL_MACHINE") ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
            const CString path = key.path.Mid(root + 1);
            PutKey(hive, path);
            for (const kvtcommand::RegFileValue& value : key.values) {
                PutBytes(hive, path, value.name, value.type, value.data);
            }
        }
    } catch (const kvtcommand::RegFileError& error) {
        FAIL() << name << ", line " << error.Line() << ": " << error.what();
    }
}

void HostKeys::Load(const std::string& name) {
    LoadFile(name + "-machine");
    LoadFile(name + "-user");
}

}  // namespace kvttest
