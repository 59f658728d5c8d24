// What every subcommand shares: the global options and the places they
// lead to.
#ifndef QDX_TOOL_TOOL_CONTEXT_H
#define QDX_TOOL_TOOL_CONTEXT_H

#include <CLI/CLI.hpp>

#include <string>

namespace Norvane {
namespace QdxTool {

class ToolContext {
public:
    /// Adds --sdk-folder and --version to the top-level command.
    void AddGlobalOptions(CLI::App& app);

    /// The folder given with --sdk-folder, else the SDK folder as the library
    /// computes it.
    std::string SdkFolder() const;
    /// "localcore" in the SDK folder: where the local core keeps its files.
    std::string StoreFolder() const;
    /// The local core's database, "usage.db" in StoreFolder().
    std::string DatabasePath() const;

private:
    std::string m_sdkFolder;  // from --sdk-folder; empty: the library's
};

/// Prints "qdxsdk: message" on standard error.
void ReportError(std::string const& message);

/// Flushes standard output: kExitOk, or kExitFailure (reported) when the
/// output could not be written in full.
int FinishOutput();

}  // namespace QdxTool
}  // namespace Norvane

#endif
