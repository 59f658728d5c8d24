#ifndef QDX_ARGUMENT_TEXT_H
#define QDX_ARGUMENT_TEXT_H

#include "QdxString.h"

#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// A data or function address as it crosses to a companion in the same
/// process: lowercase hexadecimal behind "0x", and "0" for null, as a text
/// stream writes a pointer.
std::string PointerText(void const* pointer);

/// The text of a string argument; "" for a null string, which would
/// otherwise end a list of text pairs early.
inline char const* ArgumentText(QdxString const& text)
{
    return text.c_str() != nullptr ? text.c_str() : "";
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
