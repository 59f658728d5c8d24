// Exported with the interface (applications built against earlier headers may
// use this class) but declared only here, outside the installed headers, which
// show the QdxString handle alone.
#ifndef QDX_STRING_IMPL_H
#define QDX_STRING_IMPL_H

#include "QdxExport.h"

#include <cstddef>
#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// The implementation behind a non-null QdxString: the UTF-8 text and a wide
/// copy made on first request.
class QDX_EXPORT QdxStringImpl {
public:
    /// Holds `text` ("" for nullptr).
    explicit QdxStringImpl(char const* text);

    /// Replaces the text ("" for nullptr) and drops the wide copy.
    void SetString(char const* text);
    /// The UTF-8 text; never nullptr.
    char const* GetString() const;
    /// The text as wide characters, converted on first request and cached;
    /// empty when the UTF-8 text cannot be converted.
    std::wstring const& GetStringW();
    /// The length in bytes.
    std::size_t size() const;
    /// Bytewise comparison, a shorter prefix first.
    int compare(QdxStringImpl const& other) const;

    operator std::string() const;
    operator std::string&();

private:
    std::string m_text;
    std::wstring m_wideText;  // empty until GetStringW(); emptied on every change of m_text
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
