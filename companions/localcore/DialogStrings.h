#ifndef QDX_LOCALCORE_DIALOG_STRINGS_H
#define QDX_LOCALCORE_DIALOG_STRINGS_H

#include "CoreJson.h"

#include <string>

namespace Norvane {
namespace LocalCore {

/// The consent dialog's texts per locale, from "QdxSDKCore.dialog-strings.json"
/// installed beside the core: an object of locales ("en_US", "de_DE", ...),
/// each an object of named texts.
class DialogStrings {
public:
    static constexpr char kFallbackLocale[] = "en_US";

    /// Reads the file beside the library file `coreFile`.
    explicit DialogStrings(std::string const& coreFile);

    /// The locale to use for `locale`: itself, else the first of the same
    /// language ("de" or "de_AT" finds "de_DE"); "" when neither exists.
    std::string Match(std::string const& locale) const;
    /// The texts of a locale that Match returned, copied into `allocator`'s document.
    bool Copy(std::string const& locale, JsonNode& texts, JsonDocument::AllocatorType& allocator) const;

private:
    JsonDocument m_strings;
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
