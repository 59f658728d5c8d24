#include "StoreAccess.h"

#include "ExitCode.h"

#include <sys/stat.h>

#include <cerrno>

namespace Norvane {
namespace QdxTool {

namespace {

// A missing or empty file: the core has not stored anything there yet. The
// store's own read-only open says so too, but only in its message text.
bool NoDatabaseAt(std::string const& path)
{
    struct stat status {};
    if (stat(path.c_str(), &status) != 0)
        return errno == ENOENT || errno == ENOTDIR;
    return S_ISREG(status.st_mode) && status.st_size == 0;
}

}  // namespace

std::unique_ptr<LocalCore::Store> OpenForReading(ToolContext const& context, int& exitCode)
{
    std::string const path = context.DatabasePath();
    if (NoDatabaseAt(path)) {
        ReportError("no usage database at " + path + " (the local core has stored nothing there yet)");
        exitCode = kExitNotFound;
        return nullptr;
    }
    LocalCore::OpenReport report;
    std::unique_ptr<LocalCore::Store> store =
        LocalCore::Store::Open(context.StoreFolder(), report, LocalCore::OpenMode::ReadOnly);
    if (!store) {
        ReportError(report.newerSchema ? path + " comes from a newer local core than this qdxsdk: " + report.error
                                       : "cannot read " + path + ": " + report.error);
        exitCode = kExitUnreadable;
    }
    return store;
}

std::unique_ptr<LocalCore::Store> OpenForWriting(ToolContext const& context, int& exitCode)
{
    LocalCore::OpenReport report;
    std::unique_ptr<LocalCore::Store> store =
        LocalCore::Store::Open(context.StoreFolder(), report, LocalCore::OpenMode::ReadWrite);
    if (!store) {
        ReportError("cannot open " + context.DatabasePath() + " for writing: " + report.error);
        exitCode = report.newerSchema ? kExitUnreadable : kExitFailure;
    }
    return store;
}

}  // namespace QdxTool
}  // namespace Norvane
