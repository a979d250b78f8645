#pragma once

/// @file
/// `CIniFile`: an INI file held in memory as sections of named values.

#include <cstdint>
#include <vector>

#include "kvtfile/export.h"
#include "kvtfile/types.h"

namespace kvtfile {

namespace detail {

/// Names in order, with an index beside them: the first of the names that equal a text, ignoring case, is found in
/// constant time on average. A name counts up to its first NUL, as in every comparison of texts.
class NameList {
public:
    /// Position of the first equal name, or -1.
    int Find(const CString& name) const;
    void Add(const CString& name);
    /// Linear in the number of names; `at` is a position of the list.
    void RemoveAt(int at);
    void Clear();
    int Count() const { return static_cast<int>(m_names.size()); }
    const CString& operator[](int at) const { return m_names[static_cast<size_t>(at)]; }

private:
    struct Slot {
        uint32_t hash;
        int32_t position;
    };
    void Index(int position);
    void Rebuild();

    std::vector<CString> m_names;
    std::vector<Slot> m_slots;  // open addressing, a power of two in size; empty while the list is short
    size_t m_taken = 0;         // slots in use, those of removed names included
};

}  // namespace detail

/// An INI file in memory: read in one pass, looked up and edited in memory, written back as a whole.
///
/// A section is called a key here, an entry has a value name and a value. Sections and entries keep the order in which
/// they were first added. Names compare without regard to case, values with it. Text before the first header belongs
/// to the section with the empty name.
///
/// File format. Code page 936 text; CR LF is written, CR LF and LF are read. Each line is trimmed of white space. Lines
/// that begin with ";" or the full-width "；" are comments, kept nowhere. "[Name]" starts a section (all leading "["
/// and trailing "]" belong to the brackets). In any other line the text before the first "=" is the name and the text
/// after it the value, neither trimmed again; without "=" the whole line is a name with an empty value. A name read
/// again keeps one entry with the last value; a header read again goes on with the same section. Nothing is escaped:
/// texts that the format cannot hold (a name with "=", a value with a line break) read back as what they look like. A
/// character that the code page lacks is written as "?".
///
/// Redirection. A path under a versioned product folder is replaced by that of the user's working copy, which is made
/// when missing; when the installed file is newer than at its last merge, `ReadFile` adds the entries that the working
/// copy lacks.
///
/// No exception leaves the class. One object is used by one thread at a time; all objects share the unlocked INI
/// register, so objects that open, merge or end at the same time must be used by one thread too.
///
/// Look-ups of sections and entries take constant time on average, reading and writing time linear in the file.
class KVTFILE_API CIniFile {
public:
    /// An empty store without a path.
    CIniFile();

    /// Takes `strPath` (redirected as described) and reads it, see `ReadFile`.
    /// @param bAutoSave Whether the destructor writes the file when something changed. Reading entries counts as a
    ///        change, so such a store always leaves its file in the normal form.
    CIniFile(CString strPath, bool bAutoSave);

    /// Works on `strWorkFile`, a copy of `strPath` that is made when missing, and reads it. When there is no copy and
    /// none can be made, works on `strPath`; also when `strWorkFile` is empty, and then nothing is ever merged.
    CIniFile(CString strWorkFile, CString strPath, bool bAutoSave);

    CIniFile(const CIniFile&) = delete;
    CIniFile& operator=(const CIniFile&) = delete;

    /// Writes the file when it was changed and auto-save is on, unless the file was there and could not be read.
    virtual ~CIniFile();

    /// Sets the path as the constructors do. Nothing is read; what the store holds stays.
    void SetPath(CString strPath);
    void SetPath(CString strWorkFile, CString strPath);

    /// Adds what the file holds to the store, then what a newer installed file brings and the store lacks; after such
    /// a merge the file is written at once.
    /// @return false when there is no such file; true otherwise, also for a file that is there and cannot be read: the
    ///         store then never writes it by itself.
    bool ReadFile();

    /// Writes the whole file; sections without entries are left out.
    /// @return false when the file could not be created or written: it is then whole as it was.
    bool WriteFile();

    /// Removes all sections.
    void Reset();

    void SetAutoSave(bool bAutoSave);

    /// Names a file (name part only) that is not redirected for the rest of the run.
    void AddFilterFile(CString strFile);

    /// Marks an installed file as never to be merged again. Does nothing when the file does not exist.
    void IsNoNeedSyschro(CString strFile);

    /// Index of the section, or -1.
    int FindKey(CString strKey) const;

    /// Finds the first section that holds a value name. @return false (`strKey` unchanged) when there is none.
    bool FindKey(CString strValueName, CString& strKey) const;

    /// Index of the value name in section `nKey`, or -1; also -1 for a section that is not there.
    int FindValue(int nKey, CString strName) const;

    int GetNumKeys() const;

    /// Number of entries of the section, or -1 when it is missing.
    int GetNumValues(CString strKey) const;

    /// Appends the names of all sections.
    void GetAllKeyname(CStringArray& arrKeys) const;

    /// The value. When missing: an empty text, and the error text becomes "Unable to locate specified key." or
    /// "Unable to locate specified value.".
    CString GetValue(CString strKey, CString strName);

    /// The value as a decimal number, read as far as it is one; 0 when missing, saturated when out of range.
    int GetValueI(CString strKey, CString strName);

    /// The value as a floating-point number, read as far as it is one; 0 when missing.
    double GetValueF(CString strKey, CString strName);

    /// Appends the names and values of a section, entry by entry. @return false when the section is missing.
    bool GetValue(CString strKey, CStringArray& arrNames, CStringArray& arrValues) const;

    /// Appends one line for each entry of a section: the name alone when the value is empty, else name, "=" and value.
    /// @return false when the section is missing.
    bool GetValue(CString strKey, CStringArray& arrLines) const;

    /// Appends the same lines for every section in order.
    void GetAllValues(CStringArray& arrLines) const;

    /// The value of the first entry of that name in any section. @return false (outputs unchanged) when there is none.
    bool GetItemValue(CString strName, CString& strValue) const;
    bool GetItemValueAndKey(CString strName, CString& strValue, CString& strKey) const;

    bool IsHaveValueName(CString strKey, CString strName) const;

    /// Sets a value.
    /// @param bCreate Whether a missing section or entry is added.
    /// @return false when the section or entry is missing and not to be added.
    bool SetValue(CString strKey, CString strName, CString strValue, bool bCreate);

    /// The same with a number as decimal text ("%d").
    bool SetValueI(CString strKey, CString strName, int nValue, bool bCreate);

    /// The same with a number in exponent form ("%e"): 0.5 is stored as 5.000000e-01.
    bool SetValueF(CString strKey, CString strName, double dValue, bool bCreate);

    /// Sets each name to the value at the same index. @return false when a value could not be set, or a name has none.
    bool SetValue(CString strKey, CStringArray const& arrNames, CStringArray const& arrValues, bool bCreate);

    /// Sets each name with an empty value. @return false when one could not be set.
    bool SetValue(CString strKey, CStringArray const& arrNames, bool bCreate);

    /// Removes a section with its entries. @return false when it is missing. Takes time linear in the sections.
    bool DeleteKey(CString strKey);

    /// Removes one entry. @return false when it is missing. Takes time linear in the section's entries.
    bool DeleteValue(CString strKey, CString strName);

protected:
    /// One section: parallel lists of values and value names.
    struct Key {
        std::vector<CString> values;
        detail::NameList names;
    };

    CString m_strPath;
    std::vector<Key> m_arrKeys;
    detail::NameList m_arrKeyNames;
    bool m_bModified = false;
    bool m_bReading = false;
    bool m_bAutoSave = false;
    CString m_strError;
    bool m_bUnread = false;  ///< The file is there and could not be read: it is not written without being asked.

private:
    bool ReadEntries();
    void SetItemFromAssiFile();
    static void AppendLines(const Key& key, CStringArray& arrLines);
};

}  // namespace kvtfile
