// What the library would find for a host: which wrapper library the host
// loads, the configured companion folder that applies to it, and the
// candidate table of each companion. Everything is computed with the
// library's own code (LibraryPathManager, CompanionSearch, the stamp reader),
// for the host named on the command line rather than for qdxsdk itself, and
// nothing is loaded.
#ifndef QDX_TOOL_HOST_LAYOUT_H
#define QDX_TOOL_HOST_LAYOUT_H

#include "companion/CompanionSearch.h"
#include "support/Path.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace Norvane {
namespace QdxTool {

using QDXDesktopSDK::Path;

/// The wrapper library a host uses.
struct WrapperLibrary {
    Path file;                       ///< empty when none was found
    std::string foundBy;             ///< how it was found, for people
    unsigned long long version = 0;  ///< its stamp; 0 for none
};

/// The companion folder configured in "slp.json" for a host.
struct Configuration {
    Path file;  ///< <SDK folder>/slp.json
    bool exists = false;
    bool usable = false;  ///< parses and has "ProductLibraryPath"
    Path libraryPath;     ///< the entry's "QDX"; empty when none applies
    Path key;             ///< the host folder the entry is recorded under
};

struct CompanionCandidates {
    std::string file;  ///< "QdxSDKCore.so", "QdxSDKUI.so" or "GlintCore.so"
    QDXDesktopSDK::CompanionSearch::Table table;
};

struct HostLayout {
    Path executable;  ///< empty without --exe
    Path hostFolder;  ///< the host key: the executable's folder
    WrapperLibrary library;
    Configuration configuration;
    std::vector<CompanionCandidates> companions;  ///< core, dialog, Glint
};

/// The library for `executable` (the one its loader resolves; without an
/// executable, the one installed beside qdxsdk in ../lib).
WrapperLibrary FindWrapperLibrary(Path const& executable);
/// The entry of "slp.json" in `sdkFolder` that applies to hosts in `hostFolder`.
Configuration ReadConfiguration(Path const& sdkFolder, Path const& hostFolder);
/// The whole layout for `executable` (may be empty) with the SDK folder `sdkFolder`.
HostLayout ExamineHost(Path const& sdkFolder, Path const& executable);

/// Adds --exe PATH (an existing file) to `command`.
void AddExecutableOption(CLI::App& command, std::string& executable);
/// The executable an --exe option names, as the library would see its own
/// (the real path, symbolic links resolved); empty for an empty option.
Path HostExecutable(std::string const& option);

/// The three companion file names, in the order the layout lists them.
extern char const* const kCompanionFiles[3];

}  // namespace QdxTool
}  // namespace Norvane

#endif
