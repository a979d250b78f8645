// Reading and following element paths.

#include "tools/kvtfile/element_path.h"

#include <charconv>

namespace kvtcommand {

namespace {

bool StartsName(WCHAR unit) {
    return (unit >= _T('a') && unit <= _T('z')) || (unit >= _T('A') && unit <= _T('Z')) || unit == _T('_') ||
           unit == _T(':') || unit >= 0x80;
}

bool IsXmlName(const CString& name) {
    for (int i = 0; i < name.GetLength(); ++i) {
        const WCHAR unit = name[i];
        const bool inside = (unit >= _T('0') && unit <= _T('9')) || unit == _T('-') || unit == _T('.');
        if (!StartsName(unit) && !(inside && i > 0)) {
            return false;
        }
    }
    return !name.IsEmpty();
}

[[noreturn]] void RefusePath(const std::string& path, const std::string& why) {
    throw Failure(exitUsage, "'" + path + "' is not an element path: " + why, "Write it as /plan/layer[2]/style.");
}

}  // namespace

void RequireXmlName(const CString& name) {
    if (!IsXmlName(name)) {
        throw Failure(exitUsage, Quoted(name) + " cannot be a name in XML",
                      "A name begins with a letter, '_' or ':' and goes on with these, digits, '-' and '.'.");
    }
    RequireXmlText(name, "the name");
}

ElementPath::ElementPath(const std::string& path) {
    if (path.empty() || path[0] != '/') {
        RefusePath(path, "it must begin with '/'");
    }
    for (size_t begin = 1; begin <= path.size();) {
        const size_t end = std::min(path.find('/', begin), path.size());
        std::string name = path.substr(begin, end - begin);
        int number = 1;
        if (const size_t bracket = name.find('['); bracket != std::string::npos) {
            const char* const digits = name.data() + bracket + 1;
            const char* const last = name.data() + name.size();
            const auto [stop, error] = std::from_chars(digits, last, number);
            if (error != std::errc() || number < 1 || stop + 1 != last || *stop != ']') {
                RefusePath(path, "'[' must be followed by a number from 1 and ']'");
            }
            name.resize(bracket);
        }
        if (name.empty()) {
            RefusePath(path, "a name is missing");
        }
        m_steps.push_back({Wide(name), number});
        RequireXmlName(m_steps.back().name);
        begin = end + 1;
    }
    if (m_steps.empty()) {
        RefusePath(path, "a name is missing");
    }
}

void ElementPath::Find(XmlDocument& document) const {
    Walk(document, false);
}

int ElementPath::FindOrCreate(XmlDocument& document) const {
    return Walk(document, true);
}

int ElementPath::Walk(XmlDocument& document, bool create) const {
    document.ResetPos();
    int created = 0;
    for (size_t i = 0; i < m_steps.size(); ++i) {
        const Step& step = m_steps[i];
        if (i > 0) {
            document.IntoElem();
            document.ResetMainPos();
        }
        int found = 0;
        while (found < step.number && document.FindElem(step.name)) {
            ++found;
        }
        if (found == step.number) {
            continue;
        }
        const std::string missing = document.Shown() + ": no element " + UpTo(i + 1) + "; ";
        const std::string there =
            (i == 0 ? "the document" : UpTo(i)) + " has " + std::to_string(found) + " named '" + Utf8(step.name) + "'";
        if (!create) {
            throw Failure(exitRefused, missing + there, "'kvtfile xml tree' lists the elements.");
        }
        if (i == 0 || found + 1 != step.number) {
            throw Failure(exitRefused, missing + there + ", so that it cannot be added",
                          i == 0 ? "A document has one root element; begin the path with it."
                                 : "Number the new element one above the last.");
        }
        document.ResetMainPos();
        if (!document.AddElem(step.name)) {
            throw Failure(exitRefused, missing + "it could not be added", "Look at the element above it.");
        }
        ++created;
    }
    return created;
}

std::string ElementPath::UpTo(size_t count) const {
    std::string path;
    for (size_t i = 0; i < count; ++i) {
        path += "/" + Utf8(m_steps[i].name);
        if (m_steps[i].number > 1) {
            path += "[" + std::to_string(m_steps[i].number) + "]";
        }
    }
    return path;
}

}  // namespace kvtcommand
