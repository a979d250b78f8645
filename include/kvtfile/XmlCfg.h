#pragma once

/// @file
/// `CFXmlCfg`: an application's settings in an XML file, as a tree of classes and data items.

#include "kvtfile/XmlFile.h"
#include "kvtfile/export.h"
#include "kvtfile/types.h"

namespace kvtfile {

/// Settings in an XML file: classes (categories) that hold classes and data items (settings).
///
/// The root element `CONFIG` holds elements `CLASS` and `DATA`. Each carries a `key`, by which its siblings of the same
/// tag are told apart, and a node is addressed by the keys on the way from the root, joined by the path separator:
/// "Display.Width". Empty pieces are dropped ("A..B", ".A.B" and "A.B." all mean "A.B"); the empty path is the root.
/// Keys compare exactly; the first of equal keys wins. A class and a data item may share a key under one parent. A key
/// that holds the separator cannot be addressed.
///
/// Every other text is free: quotes, markup characters, line breaks and all of Unicode are kept. A text ends at its
/// first NUL. Other control characters are kept too and load again, although other XML readers refuse them.
///
/// Operations return 1 for success and 0 for failure; a failure replaces the text of `GetLastError` (Chinese), success
/// leaves it. No exception leaves an operation. With immediate save (on at first) each successful change is written to
/// the file at once; a failed save leaves the old file whole. A failed change may leave a half-made element in the
/// document, and the file is then not saved.
///
/// A file under a versioned product folder is opened through the user's working copy, which is made when missing. When
/// the installed file is newer than at its last merge, opening adds the classes and data items that the working copy
/// lacks and fills the fields that are blank in it; what the user set is never overwritten.
///
/// A look-up costs one pass over the siblings on each level of the path; a write costs a look-up and one pass over the
/// document behind the node, and with immediate save one write of the file. A merge passes over the siblings once for
/// each class and data item of the installed file, however deep it is. One object is used by one thread at a time;
/// all objects share the unlocked XML register, so objects that are opened or end at the same time must be used by one
/// thread too.
class KVTFILE_API CFXmlCfg {
public:
    /// A class (category).
    struct SClassMember {
        CString strKey;     ///< name among its siblings; not empty
        CString strText;    ///< display text
        CString strExtend;  ///< free text of the application
    };

    /// A data item (setting). The store gives no meaning to any field but the key.
    struct SDataMember {
        CString strKey;
        CString strText;
        CString strValue;
        CString strType;
        CString strDefault;
        CString strRange;
        CString strDict;
        CString strExtend;
    };

    /// The names that the store uses in its file.
    struct SConst {
        CString strRootTag = _T("CONFIG");
        CString strClassTag = _T("CLASS");
        int bLevelClassTag = 0;  ///< non-zero: below the first level the class tags are CLASS_2, CLASS_3, ...
        CString strDataTag = _T("DATA");
        CString strKeyAttr = _T("key");
        CString strPathSign = _T(".");  ///< path separator
    };

    CFXmlCfg();
    /// Copies everything, the document included. A copy drops the same association as its original when it ends.
    CFXmlCfg(const CFXmlCfg& other);
    CFXmlCfg& operator=(const CFXmlCfg& other);
    virtual ~CFXmlCfg();

    /// Opens a settings file, redirected to the working copy when it lies under a versioned product folder.
    /// @param strFile The file; any extension, but not a name under 4 characters that ends in "xml".
    /// @param bCreate Non-zero: a missing file is created with an empty root element.
    /// @return 0 with "无效的文件名称" or "文件不存在", the store being as it was; or with "打开文件失败" (see
    ///         `GetXmlFile().GetError()`): the store then has no file any more and saves nothing. A merge that fails
    ///         is no failure of opening; the next opening does it again.
    int Open(CString strFile, int bCreate);

    /// Opens `strWorkFile`, a copy of `strFile` that is made when missing, and merges a newer `strFile` into it. When
    /// there is no copy and none can be made, opens `strFile`; also when `strWorkFile` is empty, and then nothing is
    /// merged. Neither is redirected. @return As the other `Open`.
    int Open(CString strWorkFile, CString strFile, int bCreate);

    /// Writes the document to the file, all or nothing, as `CFXmlFile::Save` does. The last error text is
    /// unchanged. @return 0 when no file is open or it cannot be written: the old file is whole then.
    int Save();

    /// Reads one class. The record is cleared once the node was found, and unchanged before.
    /// @return 0 with "节点路径不能为空", "无法定位分类" or "得到分类主键出错" (the class has no key).
    int ReadClass(CString strNodePath, SClassMember& member);

    /// Lists the classes directly under a node, in document order, those without a key too.
    /// @param arr Emptied first, also on failure. @return 0 with "无法定位分类".
    int ReadChildClass(CString strNodePath, CArray<SClassMember, SClassMember>& arr);

    /// Reads one data item, as `ReadClass` does. @return 0 with "节点路径不能为空", "无法定位数据" or
    /// "得到数据主键出错".
    int ReadData(CString strNodePath, SDataMember& member);

    /// Lists the data items directly under a node. `arr` and results are as those of `ReadChildClass`.
    int ReadChildData(CString strNodePath, CArray<SDataMember, SDataMember>& arr);

    /// Adds a class under a parent, or replaces text and extend of the one with that key.
    /// @param member Its key must hold more than separators. @return 0 with "分类主键为空", "父分类不存在",
    /// "添加分类失败", "IntoElem失败", "设置分类属性...失败" or "保存文件出错".
    int WriteClass(CString strParentNodePath, SClassMember member);

    /// Adds or updates a chain of classes, from the root down; the three paths have the same number of pieces, none of
    /// them empty. Linear in the siblings on the way. After a failure the classes done so far stay in the document.
    /// @return 0 with "参数长度不一致" or as `WriteClass` does.
    int WriteRecurseClass(CString strNodePath, CString strNodeTextPath, CString strNodeExtendPath);

    /// Sets the text of a class. @return 0 with "节点路径不能为空", "分类不存在", "设置分类属性text=...失败",
    /// "保存文件出错".
    int WriteClassText(CString strNodePath, CString strText);

    /// Adds a data item under a parent, or replaces all fields but the key of the one with that key.
    /// @return 0 with "数据主键为空", "父分类不存在", "添加数据失败", "IntoElem失败", "设置数据属性...失败" or
    /// "保存文件出错".
    int WriteData(CString strParentNodePath, SDataMember member);

    /// Sets the value of a data item. Failures have the texts of `WriteClassText`, with "value" for "text".
    int WriteDataValue(CString strNodePath, CString strValue);

    /// Removes a class with everything under it.
    /// @param bForce 0: a class that holds anything is refused with "分类下有数据".
    /// @return 0 with "节点路径不能为空", "无法定位分类", "分类下有数据", "删除分类失败" or "保存文件出错".
    int DeleteClass(CString strNodePath, int bForce);

    /// Removes a data item. @return 0 with "节点路径不能为空", "无法定位分类", "删除数据失败" or "保存文件出错".
    int DeleteData(CString strNodePath);

    /// Moves the document's position to a class (`bData` 0) or data item; on failure to the deepest node found.
    int FindNodeByPath(CString strNodePath, int bData);

    /// The text of the last failure; empty when there was none.
    CString GetLastError() const;

    /// The names in use. Setting them changes nothing in the document: what is under other names is not found.
    SConst GetConst() const;
    void SetConst(SConst sConst);

    /// Whether (non-zero) each successful change is written to the file at once. Setting it writes nothing.
    int GetImmediateSave() const;
    void SetImmediateSave(int bImmediateSave);

    /// A copy of the document, with its position; linear in its size. Its `GetError` tells how loading and saving went.
    CFXmlFile GetXmlFile() const;

    /// Names a file (name part only) that is not redirected for the rest of the run.
    void AddFilterFile(CString strFile);

    /// Marks an installed file as never to be merged again. Does nothing when the file does not exist.
    void IsNoNeedSyschro(CString strFile);

protected:
    int FindXmlNodeByPath(CFXmlFile& xmlFile, CString strNodePath, int bData);
    /// Moves the child position on to the next child with that tag whose key is `strNodeValue`.
    int FindXmlChildNode(CFXmlFile& xmlFile, CString strNodeTag, CString strNodeValue, int nUnused);
    /// The tag of classes on a level; level 0: of the children of `strNodePath`.
    CString GetClassNodeTag(CString strNodePath, int nLevel);
    /// The pieces between separators, empty ones dropped. @return their number.
    int SplitString(CString strText, CStringArray& arrPieces, CString strSign);

    /// The working copy that `Open` uses for a file; the file itself when it is not redirected. Touches neither file.
    static CString GetWorkCopyPath(CString strFile);

    void SetItemFromAssiFile();
    /// Merges what is under a node of another store; `bNew` non-zero: the node was just made here and holds nothing.
    void SetItemByotherNodeClass(CFXmlCfg* pOther, CString strNodePath, int bNew);
    /// Index of the record with the same key, ignoring case, or -1.
    int FindClassInArr(SClassMember const& member, CArray<SClassMember, SClassMember> const& arr);
    int FindDataInArr(SDataMember const& member, CArray<SDataMember, SDataMember> const& arr);
    /// Fills the blank fields of `dst` from `src`, never the key. @return 1 when a field was filled.
    int CopyClassBlank(SClassMember& dst, SClassMember const& src);
    int CopyDataBlank(SDataMember& dst, SDataMember const& src);
    /// Walks the elements under the position and labels each; the labels are dropped.
    void RecurseXmlNode(CFXmlFile& xmlFile, CString strFirst, CString strSecond);

    CFXmlFile m_xmlFile;
    CString m_strFile;
    SConst m_const;
    int m_bImmediateSave = 1;
    CString m_strLastError;

private:
    class Merge;

    int MergeFrom(CFXmlCfg& other, const CString& path, int bNew);

    // What follows lets out what is thrown.

    int Fail(LPCWSTR text);
    int OpenDocument(const CString& file, int bCreate);
    int SaveIfImmediate();

    bool IsEmptyPath(const CString& path);
    CString ChildPath(const CString& parentPath, const CString& key);
    /// Whether the pieces of a path and of a key, joined by the separator, are always those of both. A longer separator
    /// can begin in a key that ends as it begins.
    bool HasPlainSeparator() const;

    // Moves of the main position; on failure it stands on the deepest node found. `depth` follows it: how many elements
    // it is below the root.
    bool Locate(CFXmlFile& xmlFile, const CString& path, int bData, int& depth);
    bool Locate(const CString& path, int bData);
    /// From the node of `path` to what the key leads to from there.
    bool LocateBelow(const CString& path, const CString& key, int bData, int& depth);
    bool StepDown(CFXmlFile& xmlFile, const CString& path, int bData, int& depth);
    bool FindChild(CFXmlFile& xmlFile, const CString& tag, const CString& key);

    // For classes and data items alike. "Below" means: under the node at the main position.
    template <typename Member>
    CString TagBelow(int depth);
    template <typename Member>
    int Read(const CString& path, Member& member);
    template <typename Member>
    int List(const CString& path, CArray<Member, Member>& arr);
    template <typename Member>
    void ListBelow(CArray<Member, Member>& arr, int depth);
    template <typename Member>
    int Write(const CString& parentPath, const Member& member);
    template <typename Member>
    int WriteBelow(const CString& parentPath, const Member& member, int& depth);
    template <typename Member>
    int PlaceBelow(const CString& parentPath, const CString& key, int& depth);
    template <typename Member>
    int AddNode(const CString& key, int& depth);
    template <typename Member>
    int Delete(const CString& path, bool withChildren);
    int SetAttribute(LPCWSTR failed, LPCWSTR name, const CString& value);
    int WriteAttribute(const CString& path, int bData, LPCWSTR name, const CString& value);

    bool m_bMerging = false;  // merged writes reach the file with the save that ends the merge
};

/// Stores or loads the records of an array: the fields in order, each as a text of the archive.
KVTFILE_API void SerializeElements(CArchive& ar, CFXmlCfg::SClassMember* members, INT_PTR count);
KVTFILE_API void SerializeElements(CArchive& ar, CFXmlCfg::SDataMember* members, INT_PTR count);

}  // namespace kvtfile
