#ifndef QDX_STRING_ACCESS_H
#define QDX_STRING_ACCESS_H

#include "QdxString.h"
#include "values/QdxStringImpl.h"

#include <string>
#include <utility>

namespace Norvane {
namespace QDXDesktopSDK {

/// Lets the library's own code reach the implementation behind a string.
struct QdxStringAccess {
    /// A non-null string that takes over `text` without copying it.
    static QdxString Adopt(std::string&& text)
    {
        QdxString result("");
        static_cast<std::string&>(*result.m_pImpl) = std::move(text);
        return result;
    }

    /// The text of `text` without a copy; "" for a null string.
    static std::string const& Text(QdxString const& text)
    {
        static std::string const empty;
        return text.m_pImpl != nullptr ? static_cast<std::string&>(*text.m_pImpl) : empty;
    }
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
