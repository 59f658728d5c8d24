// Exported with the interface (applications built against earlier headers may
// use this class) but declared only here, outside the installed headers, which
// show the JsonValue handle alone.
#ifndef QDX_JSON_VALUE_IMPL_H
#define QDX_JSON_VALUE_IMPL_H

#include "JsonValue.h"
#include "QdxExport.h"
#include "QdxString.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

/// The tree node behind a non-null JsonValue, which adds the null-handle
/// checks on top of these operations.
class QDX_EXPORT JsonValueImpl {
public:
    /// Type codes of m_type.
    enum Type : int { TypeNull = 0, TypeContainer = 1, TypeString = 2, TypeNumber = 3, TypeBoolean = 4 };

    /// A JSON null (type code 0).
    JsonValueImpl();
    explicit JsonValueImpl(double number);
    explicit JsonValueImpl(char const* text);
    explicit JsonValueImpl(bool flag);
    JsonValueImpl(JsonValueImpl const& other);
    JsonValueImpl& operator=(JsonValueImpl const&) = delete;

    operator bool() const;
    JsonValue const& operator[](int index) const;
    JsonValue& operator[](int index);
    JsonValue const& operator[](std::string const& key) const;
    JsonValue& operator[](std::string const& key);

    int GetCount() const;
    bool IsArray() const;
    bool HasKey(std::string const& key) const;
    bool RemoveKey(std::string const& key);
    int Remove(int start, int count);
    int Insert(JsonValue const& value, int index, bool unique);
    JsonValue Find(JsonValue const& value) const;
    int Compare(JsonValueImpl const& other) const;
    std::set<QdxString> GetKeys() const;
    std::string GetJsonString() const;
    bool FromString(std::string const& text);

    int m_type;                                  ///< one of Type
    double m_number;                             ///< a number's value; 1 or 0 for a boolean
    std::string m_text;                          ///< a string's UTF-8 text
    std::vector<JsonValue> m_elements;           ///< array elements, in order
    std::map<std::string, JsonValue> m_members;  ///< object members, by key bytewise
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
