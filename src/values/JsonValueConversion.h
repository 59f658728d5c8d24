// Exported with the interface (applications built against earlier headers may
// call these functions) but declared only here, outside the installed headers,
// which show the JsonValue handle alone.
#ifndef QDX_JSON_VALUE_CONVERSION_H
#define QDX_JSON_VALUE_CONVERSION_H

#include "JsonValue.h"
#include "QdxExport.h"
#include "values/JsonValueImpl.h"

#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// Conversion between JsonValue trees and JSON text. The functions that take
/// untyped pointers exchange document values with the library's own, private
/// copy of its JSON parser; they are of no use outside the library.
namespace JsonValueConversion {

/// Fills the document value at `value`, allocating from the document
/// allocator at `allocator`, from `impl`.
QDX_EXPORT void GetJsonData(void* allocator, void* value, JsonValueImpl const* impl);
/// The pretty JSON text of `impl`.
QDX_EXPORT std::string GetJsonString(JsonValueImpl const* impl);
/// Rebuilds `impl` from the document value at `value`.
QDX_EXPORT void FromJsonData(JsonValueImpl& impl, void const* value);
/// As FromJsonData for a handle: a JSON null makes it the null handle.
QDX_EXPORT void UpdateFromJsonData(JsonValue& value, void const* data);
/// Parses `text` into `impl`; false (and `impl` reading as JSON null) when
/// the text is not one valid JSON value.
QDX_EXPORT bool FromString(std::string const& text, JsonValueImpl& impl);

}  // namespace JsonValueConversion
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
