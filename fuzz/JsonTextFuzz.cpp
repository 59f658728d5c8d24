// Arbitrary bytes as JSON text. Whenever the text parses, the written form of
// the value must parse again to an equal value and be written identically,
// and the straight writing must agree with writing through a document.
#include "JsonValue.h"
#include "values/JsonValueAccess.h"
#include "values/JsonValueConversion.h"
#include "values/RapidJson.h"

#include <cstdint>
#include <cstring>
#include <string>

using namespace Norvane::QDXDesktopSDK;

namespace {

void Require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

// The text a conversion document gives, or "" when the writer refuses a value.
std::string WriteThroughDocument(JsonValueImpl const& impl)
{
    JsonDocument document;
    JsonValueConversion::GetJsonData(&document.GetAllocator(), &document, &impl);
    JsonTextBuffer buffer;
    JsonPrettyWriter writer(buffer);
    return document.Accept(writer) ? std::string(buffer.GetString(), buffer.GetSize()) : std::string();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    std::string const text(reinterpret_cast<char const*>(data), size);
    JsonValue first;
    if (!first.FromJsonString(QdxString(text.c_str())))
        return 0;

    QdxString const written = first.GetJsonString();
    JsonValue second;
    Require(second.FromJsonString(written));
    Require(first.Compare(second) == 0);
    Require(std::strcmp(second.GetJsonString().c_str(), written.c_str()) == 0);

    JsonValueImpl const& impl = *JsonValueAccess::Impl(first);
    std::string const throughDocument = WriteThroughDocument(impl);
    Require(throughDocument.empty() || throughDocument == written.c_str());

    return 0;
}
