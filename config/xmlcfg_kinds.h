#pragma once

/// @file
/// What differs between the two kinds of nodes of `CFXmlCfg`, classes and data items: attributes and texts.

#include <span>

#include "kvtfile/XmlCfg.h"

namespace kvtfile::detail {

/// An attribute, and the field of the record that holds it.
template <typename Member>
struct NodeField {
    LPCWSTR attribute;
    CString Member::*text;
};

inline constexpr NodeField<CFXmlCfg::SClassMember> CLASS_FIELDS[] = {
    {_T("text"), &CFXmlCfg::SClassMember::strText},
    {_T("extend"), &CFXmlCfg::SClassMember::strExtend},
};

inline constexpr NodeField<CFXmlCfg::SDataMember> DATA_FIELDS[] = {
    {_T("text"), &CFXmlCfg::SDataMember::strText},     {_T("value"), &CFXmlCfg::SDataMember::strValue},
    {_T("type"), &CFXmlCfg::SDataMember::strType},     {_T("default"), &CFXmlCfg::SDataMember::strDefault},
    {_T("range"), &CFXmlCfg::SDataMember::strRange},   {_T("dict"), &CFXmlCfg::SDataMember::strDict},
    {_T("extend"), &CFXmlCfg::SDataMember::strExtend},
};

template <typename Member>
struct NodeKind {
    int bData;
    LPCWSTR savedPosition;  ///< of the parent, while a node under it is written
    LPCWSTR notFound;
    LPCWSTR noKey;
    LPCWSTR keyEmpty;
    LPCWSTR addFailed;
    LPCWSTR setFailed;
    LPCWSTR removeFailed;
    std::span<const NodeField<Member>> fields;  ///< beside the key, in the order of the records and of writing
};

template <typename Member>
inline constexpr NodeKind<Member> KIND = {};

template <>
inline constexpr NodeKind<CFXmlCfg::SClassMember> KIND<CFXmlCfg::SClassMember> = {0,
                                                                                  _T("WriteClass"),
                                                                                  _T("无法定位分类"),
                                                                                  _T("得到分类主键出错"),
                                                                                  _T("分类主键为空"),
                                                                                  _T("添加分类失败"),
                                                                                  _T("设置分类属性%s=%s失败"),
                                                                                  _T("删除分类失败"),
                                                                                  CLASS_FIELDS};

template <>
inline constexpr NodeKind<CFXmlCfg::SDataMember> KIND<CFXmlCfg::SDataMember> = {1,
                                                                                _T("WriteData"),
                                                                                _T("无法定位数据"),
                                                                                _T("得到数据主键出错"),
                                                                                _T("数据主键为空"),
                                                                                _T("添加数据失败"),
                                                                                _T("设置数据属性%s=%s失败"),
                                                                                _T("删除数据失败"),
                                                                                DATA_FIELDS};

}  // namespace kvtfile::detail
