#ifndef QDX_JSON_TEXT_WRITER_H
#define QDX_JSON_TEXT_WRITER_H

#include "values/JsonValueImpl.h"

#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// The pretty JSON text of a tree: the text a conversion document written by
/// the pretty writer would give, without building one.
std::string WriteJsonText(JsonValueImpl const& root);

/// Whether `number` is written as an integer (it equals its truncation to a
/// signed 64-bit integer), and that integer.
bool JsonIntegerOf(double number, long long& integer);

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
