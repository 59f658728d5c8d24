// Text conversion runs straight between the tree and the parser's and
// writer's event calls; the document-based functions here serve callers
// that hold a parser document.
#include "values/JsonValueConversion.h"

#include "values/JsonTextReader.h"
#include "values/JsonTextWriter.h"
#include "values/JsonValueAccess.h"
#include "values/RapidJson.h"

#include <cstring>

namespace Norvane {
namespace QDXDesktopSDK {
namespace JsonValueConversion {

void GetJsonData(void* allocator, void* value, JsonValueImpl const* impl)
{
    auto& documentAllocator = *static_cast<JsonDocumentAllocator*>(allocator);
    auto& out = *static_cast<JsonDocumentValue*>(value);
    if (impl == nullptr) {
        out.SetNull();
    } else if (!impl->m_members.empty()) {
        out.SetObject();
        for (auto const& member : impl->m_members) {
            JsonDocumentValue key(member.first.data(), static_cast<QdxRapidJson::SizeType>(member.first.size()),
                                  documentAllocator);
            JsonDocumentValue memberValue;
            GetJsonData(allocator, &memberValue, JsonValueAccess::Impl(member.second));
            out.AddMember(key, memberValue, documentAllocator);
        }
    } else if (!impl->m_elements.empty()) {
        out.SetArray();
        out.Reserve(static_cast<QdxRapidJson::SizeType>(impl->m_elements.size()), documentAllocator);
        for (auto const& element : impl->m_elements) {
            JsonDocumentValue elementValue;
            GetJsonData(allocator, &elementValue, JsonValueAccess::Impl(element));
            out.PushBack(elementValue, documentAllocator);
        }
    } else {
        long long integer;
        switch (impl->m_type) {
        case JsonValueImpl::TypeContainer:
            out.SetObject();
            break;
        case JsonValueImpl::TypeString:
            out.SetString(impl->m_text.data(), static_cast<QdxRapidJson::SizeType>(impl->m_text.size()),
                          documentAllocator);
            break;
        case JsonValueImpl::TypeNumber:
            if (JsonIntegerOf(impl->m_number, integer))
                out.SetInt64(integer);
            else
                out.SetDouble(impl->m_number);
            break;
        case JsonValueImpl::TypeBoolean:
            out.SetBool(static_cast<bool>(*impl));
            break;
        default:
            out.SetNull();
        }
    }
}

std::string GetJsonString(JsonValueImpl const* impl)
{
    return impl != nullptr ? WriteJsonText(*impl) : std::string("null");
}

void FromJsonData(JsonValueImpl& impl, void const* value)
{
    auto const& in = *static_cast<JsonDocumentValue const*>(value);
    ResetJsonValue(impl);
    switch (in.GetType()) {
    case QdxRapidJson::kNullType:
        impl.m_type = JsonValueImpl::TypeNull;
        break;
    case QdxRapidJson::kFalseType:
    case QdxRapidJson::kTrueType:
        impl.m_type = JsonValueImpl::TypeBoolean;
        impl.m_number = in.GetBool() ? 1.0 : 0.0;
        break;
    case QdxRapidJson::kObjectType:
        for (auto const& member : in.GetObject())
            UpdateFromJsonData(impl.m_members[member.name.GetString()], &member.value);
        break;
    case QdxRapidJson::kArrayType:
        for (auto const& element : in.GetArray())
            UpdateFromJsonData(impl.m_elements.emplace_back(""), &element);
        break;
    case QdxRapidJson::kStringType:
        impl.m_type = JsonValueImpl::TypeString;
        impl.m_text = in.GetString();
        break;
    case QdxRapidJson::kNumberType:
        impl.m_type = JsonValueImpl::TypeNumber;
        impl.m_number = in.GetDouble();
        break;
    }
}

void UpdateFromJsonData(JsonValue& value, void const* data)
{
    if (static_cast<JsonDocumentValue const*>(data)->IsNull()) {
        value.Clear();
        return;
    }
    JsonValueImpl*& impl = JsonValueAccess::Slot(value);
    if (impl == nullptr)
        impl = new JsonValueImpl();
    FromJsonData(*impl, data);
}

bool FromString(std::string const& text, JsonValueImpl& impl)
{
    return ReadJsonText(text.c_str(), text.size(), impl);
}

}  // namespace JsonValueConversion
}  // namespace QDXDesktopSDK
}  // namespace Norvane
