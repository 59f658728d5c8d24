#ifndef QDX_ENTRY_POINT_NAMES_H
#define QDX_ENTRY_POINT_NAMES_H

#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// The names of the five entry points a companion library exports: each base
/// name followed by the companion's entry-point suffix. One rule for the
/// library, which resolves them, and for the tools that check a companion.
struct EntryPointNames {
    /// `entryPointSuffix` when given; else "_" and the file name of
    /// `loadableModuleName` without its extension and without a leading
    /// "lib" ("libfoo.so" gives "_foo"); "" when both are null.
    static std::string SuffixFor(char const* loadableModuleName, char const* entryPointSuffix);

    explicit EntryPointNames(std::string const& suffix);

    std::string initialize;
    std::string initializeEx;
    std::string finalize;
    std::string processMessage;
    std::string freeMessage;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
