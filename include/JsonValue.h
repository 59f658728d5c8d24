#ifndef QDX_JSON_VALUE_H
#define QDX_JSON_VALUE_H

#include "QdxExport.h"
#include "QdxString.h"

namespace Norvane {
namespace QDXDesktopSDK {

class JsonValueImpl;

/// A JSON value (null, object, array, string, number or boolean) behind a
/// single owning pointer. It carries the extra data of events, the bodies of
/// facets and the arguments and answers of every message.
///
/// What a value is follows from its contents: a value with members is an
/// object; otherwise a value with elements is an array; an empty container
/// is written as "{}". Every number is kept as a double, so 64-bit integers
/// beyond 2^53 lose precision.
///
/// Const lookups never fail: a missing member or a bad index yields the shared
/// null value sNullValue, which callers must not modify. Non-const lookups
/// create what they reach. A JsonValue must not be used from two threads at
/// once.
class QDX_EXPORT JsonValue {
public:
    /// The null handle.
    JsonValue() noexcept;
    JsonValue(int number);
    JsonValue(long number);
    JsonValue(long long number);
    JsonValue(unsigned int number);
    JsonValue(unsigned long long number);
    JsonValue(double number);
    JsonValue(bool flag);
    /// A string value (an empty string for nullptr).
    JsonValue(char const* text) : JsonValue() { SetString(text); }
    /// A string value (an empty string for a null string).
    JsonValue(QdxString const& text) : JsonValue() { SetString(text.c_str()); }
    JsonValue(unsigned long number) : JsonValue(static_cast<unsigned long long>(number)) {}
    /// A deep copy; copies share nothing.
    JsonValue(JsonValue const& other);
    /// Takes the other value's contents; the other value becomes null.
    JsonValue(JsonValue&& other) noexcept;
    ~JsonValue();

    /// A deep copy. The old contents are released first, so assigning a value
    /// to itself leaves it null.
    JsonValue& operator=(JsonValue const& other);
    /// Takes the other value's contents (moving a value into itself leaves it
    /// null).
    JsonValue& operator=(JsonValue&& other) noexcept;

    /// Replaces the value by a string ("" for nullptr).
    void SetString(char const* text);
    /// Makes the value the null handle.
    void Clear();

    /// False for null; true for a value with members, elements or non-empty
    /// text; otherwise true unless the number (1 or 0 for a boolean) is 0.
    operator bool() const;
    /// The number (1 or 0 for a boolean); 0 for null and for strings.
    operator double() const;
    /// The number truncated toward zero; 0 for null.
    operator long long() const;
    /// The number truncated toward zero; INT_MIN when out of range or NaN.
    operator int() const;
    /// The text of a string value; "" for other values; a null string for
    /// the null handle.
    operator QdxString() const;

    /// The number of members, or else of elements; 0 for null.
    int GetCount() const;
    /// True when the value has at least one element.
    bool IsArray() const;
    bool HasKey(QdxString const& key) const;

    /// The member, or sNullValue when the value is null or lacks the key.
    JsonValue const& operator[](QdxString const& key) const;
    /// The member, created as null if missing. Makes this value a container.
    JsonValue& operator[](QdxString const& key);
    /// The element, or sNullValue for an index out of range (and for objects).
    JsonValue const& operator[](int index) const;
    /// The element at `index`; any index outside the elements (such as -1)
    /// appends a new null element and returns it.
    JsonValue& operator[](int index);
    JsonValue const& operator[](char const* key) const { return (*this)[QdxString(key)]; }
    JsonValue& operator[](char const* key) { return (*this)[QdxString(key)]; }

    /// An array of the member keys in key order; null when there are none.
    JsonValue GetKeyList() const;
    /// Removes the member; true when one was removed. A value left without
    /// members and elements becomes null, even when nothing was removed.
    bool RemoveKey(QdxString const& key);
    /// Removes up to `count` elements from `start` (a negative count: all to
    /// the end) and returns how many. A value left empty becomes null.
    int Remove(int start, int count);
    /// Inserts a copy before `index` (appends for a negative or too large
    /// index) and returns where it now stands; with `unique`, returns -1 and
    /// inserts nothing when an equal element is already present.
    int Insert(JsonValue const& value, int index, bool unique);
    /// In an array: the index of the first equal element as a number, or -1.
    /// Otherwise: the key of the first member equal to `value` as a string;
    /// failing that `value` itself when its text is a member key; else null.
    JsonValue Find(JsonValue const& value) const;
    /// Three-way comparison; 0 means equal. Strings order shorter first,
    /// and numbers that differ by less than 1 still compare unequal.
    int Compare(JsonValue const& other) const;
    /// Copies the other value's top-level members in. Without `overwrite`,
    /// members already present are kept and the result is false.
    bool Merge(JsonValue const& other, bool overwrite);

    /// The value as pretty JSON text (4-space indent, non-ASCII characters
    /// escaped); a null string for the null handle.
    QdxString GetJsonString() const;
    /// Replaces the value by the parsed text. Returns false for invalid JSON
    /// (the value then reads as JSON null) and for an empty text (the value
    /// is then the null handle).
    bool FromJsonString(QdxString const& text);

    /// The shared null value returned by const lookups of missing data.
    static JsonValue const sNullValue;

private:
    friend struct JsonValueAccess;  // the library's own tree walkers
    JsonValueImpl* m_pImpl;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
