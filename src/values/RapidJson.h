// The one place the JSON parser is included. It lives in a namespace of our
// own so that a companion's copy of the same parser can never collide with
// ours, and its assertions are disabled so that no input can abort the host:
// every caller checks results instead.
#ifndef QDX_RAPID_JSON_H
#define QDX_RAPID_JSON_H

#define RAPIDJSON_NAMESPACE QdxRapidJson
#define RAPIDJSON_NAMESPACE_BEGIN namespace QdxRapidJson {
#define RAPIDJSON_NAMESPACE_END }
#define RAPIDJSON_ASSERT(condition) static_cast<void>(false && (condition))

// The parser's internal stack starts as a null pointer and adds offsets to it
// before its first allocation: harmless, but clang's pointer-overflow check
// stops on it. The standard headers come first so that the exemption covers
// the parser's own functions only.
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#if defined(__clang__)
#pragma clang attribute push(__attribute__((no_sanitize("pointer-overflow"))), apply_to = function)
#endif
#include <rapidjson/document.h>
#include <rapidjson/internal/dtoa.h>
#include <rapidjson/internal/itoa.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#if defined(__clang__)
#pragma clang attribute pop
#endif

namespace Norvane {
namespace QDXDesktopSDK {

using JsonDocument = QdxRapidJson::GenericDocument<QdxRapidJson::UTF8<>, QdxRapidJson::MemoryPoolAllocator<>>;
using JsonDocumentValue = JsonDocument::ValueType;
using JsonDocumentAllocator = JsonDocument::AllocatorType;
using JsonTextBuffer = QdxRapidJson::GenericStringBuffer<QdxRapidJson::UTF8<>>;
using JsonPrettyWriter = QdxRapidJson::PrettyWriter<JsonTextBuffer, QdxRapidJson::UTF8<>, QdxRapidJson::ASCII<>>;

/// Strict JSON (no comments, trailing commas, NaN or infinity), parsed in
/// place in a copy of the text, with numbers handed over as text: the parser's own conversion of long numbers can be
/// one unit in the last place off, and the text the writer gives for a double
/// must read back to that very double.
constexpr unsigned kJsonParseFlags = QdxRapidJson::kParseNumbersAsStringsFlag | QdxRapidJson::kParseInsituFlag;

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
