#ifndef QDX_JSON_VALUE_ACCESS_H
#define QDX_JSON_VALUE_ACCESS_H

#include "JsonValue.h"
#include "values/JsonValueImpl.h"

namespace Norvane {
namespace QDXDesktopSDK {

/// Lets the library's own code reach the implementation behind a handle.
struct JsonValueAccess {
    static JsonValueImpl* Impl(JsonValue const& value) { return value.m_pImpl; }
    static JsonValueImpl*& Slot(JsonValue& value) { return value.m_pImpl; }
    /// An object without members, which writes as "{}" (a null handle writes nothing).
    static JsonValue EmptyObject()
    {
        JsonValue object;
        object.m_pImpl = new JsonValueImpl();
        object.m_pImpl->m_type = JsonValueImpl::TypeContainer;
        return object;
    }
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
