#include "ToolContext.h"

#include "ExitCode.h"
#include "QdxBuildVersion.h"
#include "companion/QdxSDKFolder.h"

#include <iostream>

namespace Norvane {
namespace QdxTool {

void ToolContext::AddGlobalOptions(CLI::App& app)
{
    app.add_option("--sdk-folder", m_sdkFolder,
                   "Look at this SDK folder instead of the one the library uses "
                   "(~/.norvane/UI/Norvane/QDXSDK, or /opt/Norvane/QDXSDK when the home folder is not writable)")
        ->type_name("DIR");
    app.set_version_flag("--version", std::string("qdxsdk ") + QDX_SDK_VERSION);
}

std::string ToolContext::SdkFolder() const
{
    if (!m_sdkFolder.empty())
        return m_sdkFolder;
    // The library's own computation, so that the tool looks where the core writes.
    return QDXDesktopSDK::QdxSDKFolder::GetQDXSDKFolderPath(nullptr).GetString();
}

std::string ToolContext::StoreFolder() const
{
    return SdkFolder() + "/localcore";
}

std::string ToolContext::DatabasePath() const
{
    return StoreFolder() + "/usage.db";
}

void ReportError(std::string const& message)
{
    std::cerr << "qdxsdk: " << message << '\n';
}

int FinishOutput()
{
    if (std::cout.flush())
        return kExitOk;
    ReportError("the output could not be written in full");
    return kExitFailure;
}

}  // namespace QdxTool
}  // namespace Norvane
