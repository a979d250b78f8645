// The typed arguments of CString::Format: each argument of the variadic template becomes one slot that carries its own
// kind, so that the formatter (one function, no template) checks every conversion against the argument it is given.
#pragma once

#include "base.h"

#include <cstdarg>
#include <cstddef>
#include <type_traits>

namespace kvtmfc {

/// One argument of a formatted text. Texts are borrowed: they live at least as long as the call that formats them.
struct FormatArg {
    enum class Kind : unsigned char { Integer, Floating, WideText, NarrowText, Utf32Text, Pointer, Null };

    Kind kind = Kind::Null;
    long long integer = 0;  // sign- or zero-extended as the argument's own type says
    double floating = 0;
    const void* pointer = nullptr;
};

namespace detail {

template <typename T>
FormatArg PointerArg(T* pointer) {
    using Target = std::remove_cv_t<T>;
    FormatArg arg;
    if constexpr (std::is_same_v<Target, WCHAR>)
        arg.kind = FormatArg::Kind::WideText;
    else if constexpr (std::is_same_v<Target, wchar_t>)
        arg.kind = FormatArg::Kind::Utf32Text;
    else if constexpr (std::is_same_v<Target, char> || std::is_same_v<Target, signed char> ||
                       std::is_same_v<Target, unsigned char>)
        arg.kind = FormatArg::Kind::NarrowText;
    else
        arg.kind = FormatArg::Kind::Pointer;
    if constexpr (std::is_function_v<T>)
        arg.pointer = reinterpret_cast<const void*>(pointer);
    else
        arg.pointer = const_cast<const Target*>(pointer);
    return arg;
}

template <typename T>
FormatArg MakeFormatArg(const T& value) {
    using Plain = std::decay_t<const T>;
    if constexpr (std::is_null_pointer_v<Plain>) {
        return FormatArg{};
    } else if constexpr (std::is_pointer_v<Plain>) {
        return PointerArg(static_cast<Plain>(value));
    } else if constexpr (std::is_enum_v<Plain>) {
        return MakeFormatArg(static_cast<std::underlying_type_t<Plain>>(value));
    } else if constexpr (std::is_integral_v<Plain>) {
        FormatArg arg;
        arg.kind = FormatArg::Kind::Integer;
        arg.integer = static_cast<long long>(value);
        return arg;
    } else if constexpr (std::is_floating_point_v<Plain>) {
        FormatArg arg;
        arg.kind = FormatArg::Kind::Floating;
        arg.floating = static_cast<double>(value);
        return arg;
    } else {
        static_assert(std::is_convertible_v<const T&, LPCWSTR>, "Format takes numbers, pointers and texts");
        return PointerArg(static_cast<LPCWSTR>(value));
    }
}

}  // namespace detail
}  // namespace kvtmfc
