// LOG: one log for all threads and processes.
//
// Whoever holds the event "VekLogWrite" stamps and writes a message; without the event (it cannot be made) the file's
// own lock keeps writers apart. What a setter may change is read under a mutex. Nothing here is ever destroyed: threads
// may log while the process ends. A child may be forked at any moment and log at once.

#include <atomic>
#include <mutex>
#include <new>
#include <string>
#include <utility>

#include "files/log_head.h"
#include "kvtfile/LogFile.h"
#include "platform/fork_mutex.h"
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
Kept<kvtplatform::ForkMutex> g_settings;  // for the static members

// The log that was written to last; used by the one whose turn it is.
constinit std::atomic<kvtio::Appender*> g_appender{nullptr};

CString Prefix() {
    const std::lock_guard lock(*g_settings);
    return LOG::s_strLogPrefix;
}

// The event; `fresh` is kept when there is none yet.
HANDLE KnownEvent(HANDLE fresh) {
    const std::lock_guard lock(*g_settings);
    if (!LOG::s_hWriteEvent) {
        LOG::s_hWriteEvent = fresh;
    }
    return LOG::s_hWriteEvent;
}

HANDLE WriteEvent() {
    if (const HANDLE known = KnownEvent(nullptr)) {
        return known;
    }
    HANDLE fresh = ::OpenEventW(EVENT_MODIFY_STATE | SYNCHRONIZE, FALSE, EVENT_NAME);
    if (!fresh) {
        fresh = ::CreateEventW(nullptr, FALSE, TRUE, EVENT_NAME);
    }
    const HANDLE event = KnownEvent(fresh);
    if (fresh && event != fresh) {
        ::CloseHandle(fresh);
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
    }
    ~Turn() {
        if (m_event) {
            ::SetEvent(m_event);
        }
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    /// Whether no other writer has it too.
    bool IsExclusive() const { return m_event != nullptr; }

private:
    HANDLE m_event;
};

std::string Encoded(const CString& message) {
    std::string bytes;
    bytes.reserve(static_cast<size_t>(message.GetLength()) + 2);
    kvtmfc::codepage936::AppendEncoded(_T("\n"), bytes);
    kvtmfc::codepage936::AppendEncoded(message.View(), bytes);
    return bytes;
}

kvtio::Appender& AppenderOf(const CString& path) {
    kvtio::Appender* appender = g_appender;
    if (!appender || path != appender->Path()) {
        // The new one takes the place before the old one goes, in which a child may be forked.
        kvtio::Appender* const old = std::exchange(appender, new kvtio::Appender(path));
        g_appender = appender;
        delete old;
    }
    return *appender;
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
        const std::string bytes = Encoded(sOutV(pszTag, pszFormat, args));
        if (turn.IsExclusive()) {
            AppenderOf(path).Append(bytes.data(), bytes.size());
        } else {
            kvtio::Appender(path).Append(bytes.data(), bytes.size());
        }
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
