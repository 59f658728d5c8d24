#include "api/LogFile.h"

#include "QdxBuildVersion.h"
#include "companion/QdxSDKFolder.h"
#include "support/LogMarkers.h"
#include "support/LogTargetFile.h"
#include "support/Logger.h"
#include "support/Singleton.h"

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

// Owns the file target as a singleton of a higher order than the logger's, so
// that the registry destroys it first: the target then writes the summary
// through a logger that still exists, and the file ends with it.
class LogFile : public Singleton {
public:
    static constexpr char const* kSingletonName = "LogFile";
    static constexpr int kSingletonOrder = Logger::kSingletonOrder + 1;

    static Singleton* InstanceFunctionImpl(Singleton*& slot, SingletonFlag flag)
    {
        if (flag == GetOrCreate && slot == nullptr)
            slot = new LogFile();
        return slot;
    }

private:
    LogFile()
        : m_target(LogFileIn(QdxSDKFolder::GetQDXSDKFolderPath(nullptr), ExecutableName()).c_str(), false, "LogFile")
    {
        // The first line opens the file; it says which library writes it.
        if (Logger* const logger = Logger::IfEnabled(Logger::LogLevel_Info))
            logger->Log(Logger::LogLevel_Info, "Log of libQdxSDKWrapper %s (%s), level %d", QDX_SDK_VERSION,
                        Path::GetSpecialFolderPath(Path::SpecialFolder_Module, false).c_str(),
                        LogMarkers::MarkedLevel());
    }

    static std::string ExecutableName()
    {
        Logger* const logger = Logger::Instance(GetOrCreate);
        return logger != nullptr ? logger->GetExecutableName() : std::string("unknown");
    }

    LogTargetFile m_target;
};

}  // namespace

void StartLogFileOnce()
{
    static bool const started = [] {
        if (LogMarkers::MarkedLevel() == 0)
            return false;
        return Singleton::InstanceOf<LogFile>(Singleton::GetOrCreate) != nullptr;
    }();
    static_cast<void>(started);
}

Path LogFolderIn(Path const& sdkFolder)
{
    return sdkFolder.Append("logs");
}

Path LogFileIn(Path const& sdkFolder, std::string const& executableName)
{
    return LogFolderIn(sdkFolder).Append(executableName + ".log");
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
