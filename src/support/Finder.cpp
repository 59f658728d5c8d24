#include "support/Finder.h"

#include <dirent.h>
#include <sys/stat.h>

#include <utility>

namespace Norvane {
namespace QDXDesktopSDK {

FindData::FindData(Path path, bool matched, bool directory, long long fileSize)
    : m_path(std::move(path)), m_matched(matched), m_directory(directory), m_fileSize(fileSize)
{
}

std::unique_ptr<StdStringMatcher> Finder_GetStringMatcher(char const* pattern, bool simple)
{
    if (pattern == nullptr)
        return nullptr;
    // The simple form serves extension filters: ".so" selects every name that
    // ends in .so, in any case.
    if (simple)
        return std::make_unique<StdStringMatcherSimple>(pattern, false, StdStringMatcherSimple::MatchType_EndsWith);
    return std::make_unique<StdStringMatcherWildCard>(pattern);
}

Finder::Finder(Callback callback, void* user, char const* includePattern, char const* excludePattern, bool simple)
    : m_callback(callback), m_user(user)
{
    if (includePattern != nullptr || excludePattern != nullptr)
        SetPattern(includePattern, excludePattern, simple);
}

Finder::Finder(Function function, char const* includePattern, char const* excludePattern, bool simple)
    : m_function(std::move(function))
{
    if (includePattern != nullptr || excludePattern != nullptr)
        SetPattern(includePattern, excludePattern, simple);
}

void Finder::SetPattern(char const* includePattern, char const* excludePattern, bool simple)
{
    m_include = Finder_GetStringMatcher(includePattern, simple);
    m_exclude = Finder_GetStringMatcher(excludePattern, simple);
}

int Finder::StartFind(Path const& root)
{
    m_stopped = false;
    Path const start = root.Canonicalize();
    struct stat status;
    if (start.IsEmpty() || lstat(start.c_str(), &status) != 0)
        return 0;
    if (S_ISDIR(status.st_mode))
        return Walk(start);
    bool const passes = Passes(start.FileName().GetString());
    Report(FindData(start, passes, false, static_cast<long long>(status.st_size)));
    return passes ? 1 : 0;
}

bool Finder::Passes(std::string const& name) const
{
    if (m_include != nullptr && m_include->Match(name) != 0)
        return false;
    return m_exclude == nullptr || m_exclude->Match(name) != 0;
}

int Finder::Report(FindData const& entry)
{
    if (m_callback != nullptr)
        return m_callback(entry, m_user);
    if (m_function)
        return m_function(entry);
    return Result_Continue;
}

int Finder::Walk(Path const& folder)
{
    DIR* const directory = opendir(folder.c_str());
    if (directory == nullptr)
        return 0;
    int count = 0;
    while (dirent const* const entry = readdir(directory)) {
        std::string const name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        Path const path = folder.Append(Path(name));
        // lstat, so that a link to a folder is an entry of its own and the
        // walk never leaves the tree or runs around a cycle.
        struct stat status;
        if (lstat(path.c_str(), &status) != 0)
            continue;  // gone since the folder was read
        bool const isFolder = S_ISDIR(status.st_mode);
        long long const size = static_cast<long long>(status.st_size);
        bool const passes = Passes(name);
        if (passes)
            ++count;
        int const result = Report(FindData(path, passes, isFolder, size));
        if (result == Result_Stop) {
            m_stopped = true;
            break;
        }
        if (isFolder && result != Result_SkipFolder) {
            count += Walk(path);
            // A stop inside the folder ends every level without further calls.
            if (m_stopped || Report(FindData(path, false, true, size)) == Result_Stop) {
                m_stopped = true;
                break;
            }
        }
    }
    closedir(directory);
    return count;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
