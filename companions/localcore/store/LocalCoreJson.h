// The one place the local core and its store include the JSON parser. It lives in a namespace of
// the local core's own, so that neither the wrapper's copy nor another
// companion's can collide with it in the host process, and its assertions are
// disabled so that no input can abort the host: every caller checks results.
//
// A source file that parses only buffers of its own, padded past the text's
// end, may define QDX_LOCAL_CORE_JSON_SIMD before including this: it gets the
// parser's SSE2 paths, which read whole aligned blocks of 16 bytes and so up
// to 15 bytes past the end of a text, in a namespace of their own, since the
// same templates compiled both ways must not meet in one program.
#ifndef QDX_LOCAL_CORE_JSON_H
#define QDX_LOCAL_CORE_JSON_H

#if defined(QDX_LOCAL_CORE_JSON_SIMD)
#define RAPIDJSON_NAMESPACE QdxLocalCoreSimdJson
#define RAPIDJSON_NAMESPACE_BEGIN namespace QdxLocalCoreSimdJson {
#if defined(__SSE2__)
#define RAPIDJSON_SSE2
#endif
#else
#define RAPIDJSON_NAMESPACE QdxLocalCoreJson
#define RAPIDJSON_NAMESPACE_BEGIN namespace QdxLocalCoreJson {
#endif
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
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#if defined(__clang__)
#pragma clang attribute pop
#endif

#endif
