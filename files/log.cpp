// LOG: one log for all threads and processes.
//
// Whoever holds the event "VekLogWrite" stamps and writes a message; without the event (it cannot be made) the threads
// of this process take turns at least, and the file's own lock keeps processes apart. What a setter may change is read
// under a mutex. Nothing here is ever destroyed: threads may log while the process ends.

#include <mutex>
#include <new>
#include <string>

#include "files/log_head.h"
#include "kvtfile/LogFile.h"
#include "platform/io/appender.h"
#include "platform/mfc/codepage936.h"
#include "platform/mfc/text_locale.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Quiet;

namespace {

constexpr WCHAR EVENT_NAME[] = _T("VekLogWrite");

/// An object that is made when the library is loaded, and never destroyed.
template <typename T>
class Kept {
public:
    Kept() { new (m_room) T; }
    T& operator*() { return *std::launder(reinterpret_cast<T*>(m_room)); }

private:
    alignas(T) unsigned char m_room[sizeof(T)];
};

Kept<CString> g_file;
Kept<CString> g_prefix;
Kept<std::mutex> g_settings;  // for the static members
Kept<std::mutex> g_threads;   // in place of an event that cannot be made

// The log that was written to last; used by the one whose turn it is.
constinit kvtio::Appender* g_appender = nullptr;

CString Prefix() {
    const std::lock_guard lock(*g_settings);
    return LOG::s_strLogPrefix;
}

HANDLE WriteEvent() {
    const std::lock_guard lock(*g_settings);
    HANDLE& event = LOG::s_hWriteEvent;
    if (!event) {
        event = ::OpenEventW(EVENT_MODIFY_STATE | SYNCHRONIZE, FALSE, EVENT_NAME);
    }
    if (!event) {
        event = ::CreateEventW(nullptr, FALSE, TRUE, EVENT_NAME);
    }
    return event;
}

/// The turn of one writer.
class Turn {
public:
    Turn() : m_event(WriteEvent()) {
        if (m_event && ::WaitForSingleObject(m_event, INFINITE) != WAIT_OBJECT_0) {
            m_event = nullptr;
        }
        if (!m_event) {
            (*g_threads).lock();
        }
    }
    ~Turn() {
        if (m_event) {
            ::SetEvent(m_event);
        } else {
            (*g_threads).unlock();
        }
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    HANDLE m_event;
};

void Write(const CString& path, const CString& message) {
    if (!g_appender || path != g_appender->Path()) {
        kvtio::Appender* const fresh = new kvtio::Appender(path);
        delete g_appender;
        g_appender = fresh;
    }
    std::string bytes;
    bytes.reserve(static_cast<size_t>(message.GetLength()) + 2);
    kvtmfc::codepage936::AppendEncoded(_T("\n"), bytes);
    kvtmfc::codepage936::AppendEncoded(message.View(), bytes);
    g_appender->Append(bytes.data(), bytes.size());
}

void AddFormatted(CString& text, LPCWSTR format, va_list args) {
    if (!format) {
        return;
    }
    try {
        text.AppendFormatV(format, args);
    } catch (CInvalidArgException* refused) {
        refused->Delete();
        text += format;
    }
}

}  // namespace

CString& LOG::s_strLogFile = *g_file;
CString& LOG::s_strLogPrefix = *g_prefix;
HANDLE LOG::s_hWriteEvent = nullptr;

int LOG::SetLogFile(LPCWSTR pszPath) {
    return Quiet(1, [&] {
        const CString path = pszPath;
        kvtplatform::SwitchToTextLocale();
        const std::lock_guard lock(*g_settings);
        s_strLogFile = path;
        return 1;
    });
}

CString LOG::GetLogFile() {
    const std::lock_guard lock(*g_settings);
    return s_strLogFile;
}

int LOG::SetPrefix(LPCWSTR pszPrefix) {
    return Quiet(1, [&] {
        const CString prefix = pszPrefix;
        if (!prefix.IsEmpty()) {
            const std::lock_guard lock(*g_settings);
            s_strLogPrefix = prefix;
        }
        return 1;
    });
}

int LOG::Out(LPCWSTR pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    const int result = OutV(nullptr, pszFormat, args);
    va_end(args);
    return result;
}

int LOG::Out0(LPCWSTR pszTag, LPCWSTR pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    const int result = OutV(pszTag, pszFormat, args);
    va_end(args);
    return result;
}

int LOG::OutV(LPCWSTR pszTag, LPCWSTR pszFormat, va_list args) {
    return Quiet(1, [&] {
        const Turn turn;
        const CString path = GetLogFile();
        if (path.IsEmpty()) {
            return SetLogFile(nullptr);
        }
        Write(path, sOutV(pszTag, pszFormat, args));
        return 1;
    });
}

CString LOG::sOut(LPCWSTR pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    const CString text = sOutV(nullptr, pszFormat, args);
    va_end(args);
    return text;
}

CString LOG::sOut0(LPCWSTR pszTag, LPCWSTR pszFormat, ...) {
    va_list args;
    va_start(args, pszFormat);
    const CString text = sOutV(pszTag, pszFormat, args);
    va_end(args);
    return text;
}

CString LOG::sOutV(LPCWSTR pszTag, LPCWSTR pszFormat, va_list args) {
    return Quiet(CString(), [&] {
        kvtplatform::SwitchToTextLocale();
        SYSTEMTIME now;
        ::GetLocalTime(&now);
        CString text = detail::LogHead(Prefix(), now, pszTag);
        AddFormatted(text, pszFormat, args);
        return text;
    });
}

int LOG::ViewLogFile() {
    return Quiet(0, [] {
        const CString path = GetLogFile();
        if (path.IsEmpty()) {
            return 0;
        }
        ::ShellExecuteW(nullptr, _T("open"), path, nullptr, nullptr, SW_SHOW);
        return 1;
    });
}

}  // namespace kvtfile
