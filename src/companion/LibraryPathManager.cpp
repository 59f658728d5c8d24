// Host keys and the member names of "ProductLibraryPath" are folder texts.
// The exact member is found by its text, byte for byte, as it was written;
// ancestors are found by path rules (Path::IsPreFixOf: full paths, components
// regardless of case), so that a member naming the same folder differently
// still serves as an ancestor.
#include "companion/LibraryPathManager.h"

#include "QdxString.h"
#include "support/Logger.h"
#include "values/JsonValueAccess.h"
#include "values/JsonValueImpl.h"

#include <string>
#include <utility>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

char const* const kConfigFileName = "slp.json";
char const* const kProductsMember = "ProductLibraryPath";
char const* const kLibraryPathMember = "QDX";

// A file that does not parse leaves a JSON null behind a live handle; it
// holds no configuration any more than the null handle does, so that the
// next query reads the file again.
bool HoldsValue(JsonValue const& value)
{
    JsonValueImpl const* const impl = JsonValueAccess::Impl(value);
    return impl != nullptr && impl->m_type != JsonValueImpl::TypeNull;
}

Path LibraryPathOf(JsonValue const& hostEntry)
{
    QdxString const text = hostEntry[kLibraryPathMember];
    return Path(text.c_str());
}

}  // namespace

LibraryPathManager& LibraryPathManager::Instance()
{
    static LibraryPathManager instance;
    return instance;
}

Path LibraryPathManager::ConfigFileIn(Path const& workingPath)
{
    return workingPath.Append(Path(kConfigFileName));
}

void LibraryPathManager::SSetWorkingPath(Path const& workingPath)
{
    LibraryPathManager& manager = Instance();
    StdAutoMutexLock const lock(manager.m_mutex, -1);
    if (workingPath == manager.m_workingPath)
        return;
    manager.m_workingPath = workingPath;
    manager.m_config.Clear();
}

bool LibraryPathManager::IsLibraryPathConfigLoaded() const
{
    StdAutoMutexLock const lock(m_mutex, -1);
    return HoldsValue(m_config);
}

LibraryPathManager::State LibraryPathManager::GetState() const
{
    StdAutoMutexLock const lock(m_mutex, -1);
    return State{m_workingPath, HoldsValue(m_config), m_libraryPath, m_libraryPathKey};
}

bool LibraryPathManager::HoldsState(State const& state) const
{
    StdAutoMutexLock const lock(m_mutex, -1);
    return state.configLoaded == HoldsValue(m_config) && state.workingPath.GetString() == m_workingPath.GetString() &&
           state.libraryPath.GetString() == m_libraryPath.GetString() &&
           state.libraryPathKey.GetString() == m_libraryPathKey.GetString();
}

bool LibraryPathManager::IsValidLibraryPathConfig()
{
    StdAutoMutexLock const lock(m_mutex, -1);
    if (m_workingPath.IsEmpty())
        return false;
    Path const file = ConfigFileIn(m_workingPath);
    if (!file.Exists())
        return false;
    std::string const text = file.ReadFileAsString(-1);
    m_config.FromJsonString(QdxString(text.c_str()));
    return m_config.HasKey(kProductsMember);
}

bool LibraryPathManager::LoadLibraryPathConfig(Path const& key)
{
    StdAutoMutexLock const lock(m_mutex, -1);
    if (!IsValidLibraryPathConfig())
        return false;
    // Const access only: the non-const lookups would add what they miss.
    JsonValue const& config = m_config;
    JsonValue const& hosts = config[kProductsMember];
    QdxString const keyText(key.c_str());
    if (hosts.HasKey(keyText)) {
        m_libraryPath = LibraryPathOf(hosts[keyText]);
        m_libraryPathKey = key;
        if (Logger* const logger = Logger::IfEnabled(Logger::LogLevel_Dev))
            logger->Log(Logger::LogLevel_Dev, "LoadLibraryPathConfig from CurrentPath: key = %s", key.c_str());
    } else {
        // Names come in ascending text order, so an ancestor is met before
        // any folder below it: the farthest configured ancestor wins, and an
        // entry for a whole tree of installations cannot be shadowed by one
        // for a single installation inside it.
        JsonValue const names = hosts.GetKeyList();
        for (int i = 0; i < names.GetCount(); ++i) {
            QdxString const name = names[i];
            if (!Path(name.c_str()).IsPreFixOf(key))
                continue;
            if (Logger* const logger = Logger::IfEnabled(Logger::LogLevel_Dev))
                logger->Log(Logger::LogLevel_Dev,
                            "LoadLibraryPathConfig from CurrentPath Parents: key = %s, currentPath = %s", name.c_str(),
                            key.c_str());
            m_libraryPath = LibraryPathOf(hosts[name]);
            m_libraryPathKey = Path(name.c_str());
            break;
        }
    }
    if (Logger* const logger = Logger::IfEnabled(Logger::LogLevel_Dev))
        logger->Log(Logger::LogLevel_Dev, "LoadLibraryPathConfig found sLibraryPath = %s, sLibraryPathKey = %s",
                    m_libraryPath.c_str(), m_libraryPathKey.c_str());
    return true;
}

Path LibraryPathManager::GetLibraryPath()
{
    StdAutoMutexLock const lock(m_mutex, -1);
    if (!IsLibraryPathConfigLoaded())
        LoadLibraryPathConfig(HostKey());
    return m_libraryPath;
}

Path LibraryPathManager::GetLibraryPathKey() const
{
    StdAutoMutexLock const lock(m_mutex, -1);
    return m_libraryPathKey;
}

bool LibraryPathManager::SetLibraryPath(Path const& libraryPath)
{
    StdAutoMutexLock const lock(m_mutex, -1);
    m_libraryPath = libraryPath;
    return UpdateLibraryPathConfig(HostKey(), libraryPath);
}

bool LibraryPathManager::UpdateLibraryPathConfig(Path const& key, Path const& libraryPath)
{
    StdAutoMutexLock const lock(m_mutex, -1);
    if (m_workingPath.IsEmpty())
        return false;
    JsonValue entry;
    entry[kLibraryPathMember] = JsonValue(libraryPath.c_str());
    QdxString const keyText(key.c_str());
    // Re-reading right before the rewrite keeps what other hosts recorded
    // since this process last looked.
    if (IsValidLibraryPathConfig()) {
        m_config[kProductsMember][keyText] = std::move(entry);
    } else {
        JsonValue hosts;
        hosts[keyText] = std::move(entry);
        m_config[kProductsMember] = std::move(hosts);
    }
    WriteConfig();
    return true;
}

bool LibraryPathManager::RemoveLibraryPathConfig(Path const& key)
{
    StdAutoMutexLock const lock(m_mutex, -1);
    if (m_workingPath.IsEmpty() || !IsValidLibraryPathConfig() || !m_config[kProductsMember].RemoveKey(key.c_str()))
        return false;
    WriteConfig();
    return true;
}

void LibraryPathManager::WriteConfig() const
{
    QdxString const text = m_config.GetJsonString();
    // Replaced through a temporary file, so that a failed or interrupted write
    // leaves every host's entry as it was rather than a truncated file.
    ConfigFileIn(m_workingPath).WriteFile(text.c_str(), static_cast<long long>(text.size()), 0, "", nullptr);
}

Path LibraryPathManager::HostKey()
{
    return Path::GetSpecialFolderPath(Path::SpecialFolder_ExecutableFile, false).Parent();
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
