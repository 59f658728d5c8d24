#ifndef QDX_JSON_VALUE_ACCESS_H
#define QDX_JSON_VALUE_ACCESS_H

#include "JsonValue.h"

namespace Norvane {
namespace QDXDesktopSDK {

/// Lets the library's own code reach the implementation behind a handle.
struct JsonValueAccess {
    static JsonValueImpl* Impl(JsonValue const& value) { return value.m_pImpl; }
    static JsonValueImpl*& Slot(JsonValue& value) { return value.m_pImpl; }
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
