// CObject and its run-time class machinery: every class knows its name, size, schema and base, and can be made by name
// when it is dynamic-creatable. One list in the library holds the classes of all modules that can be read back from an
// archive.
#pragma once

#include "base.h"

#include <cstddef>

namespace kvtmfc {

class CArchive;
class CDumpContext;
class CObject;

/// What a class derived from CObject tells about itself. Made by the IMPLEMENT macros, one static object a class.
struct KVTFILE_API CRuntimeClass {
    LPCSTR m_lpszClassName;                 ///< The class name as the macro spells it, without namespaces.
    int m_nObjectSize;                      ///< sizeof of the class.
    UINT m_wSchema;                         ///< Version of the stored form; 0xFFFF: the class cannot be stored.
    CObject* (*m_pfnCreateObject)();        ///< Null: cannot be made by CreateObject.
    CRuntimeClass* (*m_pfnGetBaseClass)();  ///< Null for CObject.
    CRuntimeClass* m_pNextClass = nullptr;  ///< The next class of the library's list.

    /// A new object of the class, the caller's to delete; null when the class cannot be made this way.
    CObject* CreateObject() const;
    bool IsDerivedFrom(const CRuntimeClass* base) const;
    /// The storable class with this name from any loaded module; null when there is none.
    static CRuntimeClass* FromName(LPCSTR name);
};

/// Schema flag of classes that read more than one version of their stored form.
constexpr UINT VERSIONABLE_SCHEMA = 0x80000000;

/// Puts a class on the list while the module that holds it is loaded. Several threads may load and unload modules.
class KVTFILE_API AFX_CLASSINIT {
public:
    explicit AFX_CLASSINIT(CRuntimeClass* runtimeClass);
    ~AFX_CLASSINIT();
    AFX_CLASSINIT(const AFX_CLASSINIT&) = delete;
    AFX_CLASSINIT& operator=(const AFX_CLASSINIT&) = delete;

private:
    CRuntimeClass* m_pClass;
};

/// Base of the objects that can be stored in an archive and asked for their class. Not copyable.
class KVTFILE_API CObject {
public:
    virtual CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject();
    /// Writes the object's data to a storing archive or reads it from a loading one; nothing in the base.
    virtual void Serialize(CArchive& ar);
    /// Checks the object's own state; nothing in the base.
    virtual void AssertValid() const;
    /// Writes a description of the object.
    virtual void Dump(CDumpContext& dc) const;

    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

    /// Whether objects of this class can go through CArchive::WriteObject.
    bool IsSerializable() const { return (GetRuntimeClass()->m_wSchema & 0xFFFF) != 0xFFFF; }
    bool IsKindOf(const CRuntimeClass* runtimeClass) const { return GetRuntimeClass()->IsDerivedFrom(runtimeClass); }
    static CRuntimeClass* GetThisClass();

    static CRuntimeClass classCObject;

protected:
    CObject() = default;
};

}  // namespace kvtmfc

#define RUNTIME_CLASS(class_name) (class_name::GetThisClass())

#define DECLARE_DYNAMIC(class_name)                   \
public:                                               \
    static ::kvtmfc::CRuntimeClass class##class_name; \
    static ::kvtmfc::CRuntimeClass* GetThisClass();   \
    ::kvtmfc::CRuntimeClass* GetRuntimeClass() const override;

#define DECLARE_DYNCREATE(class_name) \
    DECLARE_DYNAMIC(class_name)       \
    static ::kvtmfc::CObject* CreateObject();

#define DECLARE_SERIAL(class_name) \
    DECLARE_DYNCREATE(class_name)  \
    friend ::kvtmfc::CArchive& operator>>(::kvtmfc::CArchive& ar, class_name*& object);

#define KVTMFC_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, schema, create)                              \
    ::kvtmfc::CRuntimeClass class_name::class##class_name = {#class_name, static_cast<int>(sizeof(class_name)), \
                                                             static_cast<UINT>(schema), create,                 \
                                                             &base_class_name::GetThisClass};                   \
    ::kvtmfc::CRuntimeClass* class_name::GetThisClass() {                                                       \
        return &class_name::class##class_name;                                                                  \
    }                                                                                                           \
    ::kvtmfc::CRuntimeClass* class_name::GetRuntimeClass() const {                                              \
        return &class_name::class##class_name;                                                                  \
    }

#define IMPLEMENT_DYNAMIC(class_name, base_class_name) \
    KVTMFC_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFF, nullptr)

#define IMPLEMENT_DYNCREATE(class_name, base_class_name) \
    ::kvtmfc::CObject* class_name::CreateObject() {      \
        return new class_name;                           \
    }                                                    \
    KVTMFC_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFF, &class_name::CreateObject)

#define IMPLEMENT_SERIAL(class_name, base_class_name, schema)                                      \
    ::kvtmfc::CObject* class_name::CreateObject() {                                                \
        return new class_name;                                                                     \
    }                                                                                              \
    KVTMFC_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, schema, &class_name::CreateObject)  \
    static ::kvtmfc::AFX_CLASSINIT init_##class_name(class_name::GetThisClass());                  \
    [[maybe_unused]] ::kvtmfc::CArchive& operator>>(::kvtmfc::CArchive& ar, class_name*& object) { \
        object = static_cast<class_name*>(ar.ReadObject(class_name::GetThisClass()));              \
        return ar;                                                                                 \
    }
