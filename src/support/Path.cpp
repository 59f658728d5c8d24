// The text rules of Path. Paths compare without regard to case, on purpose,
// and always through their full canonical form: two spellings of one file
// (relative or absolute, through a link, in another case) are the same path.
// This is the one place that rule lives; everything that asks whether two
// paths are equal goes through Compare or IsPreFixOf.
#include "support/Path.h"

#include "support/StdStringUtil.h"
#include "support/StdWideConversion.h"

#include <strings.h>

#include <climits>
#include <cstdlib>
#include <utility>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

// Trailing separators go, but never the first character, so that "/" stays.
void RemoveTrailingSeparators(std::string& text)
{
    while (text.size() > 1 && text.back() == '/')
        text.pop_back();
}

std::vector<std::string> Components(Path const& path)
{
    return StdStringUtil::SplitString(path.MakeFullPath().GetString(), "/", false, -1);
}

bool SameComponent(std::string const& a, std::string const& b)
{
    return strcasecmp(a.c_str(), b.c_str()) == 0;
}

}  // namespace

Path::Path(char const* text) : m_path(text != nullptr ? text : "") {}

Path::Path(std::string text) : m_path(std::move(text)) {}

Path::Path(std::wstring const& text)
{
    StdWideConversion::ToUtf8(text, m_path);
}

std::wstring Path::GetWideString() const
{
    std::wstring wide;
    StdWideConversion::ToWide(m_path, wide);
    return wide;
}

Path Path::Parent() const
{
    std::string text = m_path;
    RemoveTrailingSeparators(text);
    std::size_t const last = text.rfind('/');
    text.erase(last == std::string::npos ? 0 : last);
    if (text.empty() && !m_path.empty() && m_path.front() == '/')
        return Path("/");
    RemoveTrailingSeparators(text);
    return Path(std::move(text));
}

Path Path::FileName() const
{
    std::size_t const last = m_path.rfind('/');
    return last == std::string::npos ? *this : Path(m_path.substr(last + 1));
}

std::string Path::GetExtension() const
{
    std::string const name = FileName().m_path;
    std::size_t const dot = name.rfind('.');
    return dot == std::string::npos ? std::string() : name.substr(dot);
}

Path Path::RenameExtension(char const* extension) const
{
    std::string name = FileName().m_path;
    std::size_t const dot = name.rfind('.');
    if (dot != std::string::npos)
        name.erase(dot);
    if (extension != nullptr) {
        if (*extension == '.')
            ++extension;
        if (*extension != '\0')
            name.append(".").append(extension);
    }
    return Parent().Append(Path(std::move(name)));
}

Path Path::FileNameWithoutExt() const
{
    return FileName().RenameExtension(nullptr);
}

Path Path::Append(Path const& other) const
{
    std::string text = m_path;
    RemoveTrailingSeparators(text);
    if (!text.empty() && text.back() != '/')
        text.push_back('/');
    std::size_t const start = other.m_path.find_first_not_of('/');
    if (start != std::string::npos)
        text.append(other.m_path, start, std::string::npos);
    RemoveTrailingSeparators(text);
    return Path(std::move(text));
}

Path Path::GetRoot() const
{
    std::size_t const separator = m_path.find('/', 1);
    return separator == std::string::npos ? *this : Path(m_path.substr(0, separator));
}

Path Path::RemoveRoot() const
{
    std::size_t const separator = m_path.find('/', 1);
    if (separator == std::string::npos)
        return Path();
    std::size_t const start = m_path.find_first_not_of('/', separator);
    if (start == std::string::npos)
        return Path();
    std::string rest = m_path.substr(start);
    RemoveTrailingSeparators(rest);
    return Path(std::move(rest));
}

bool Path::IsRelativePath() const
{
    return m_path.empty() || (m_path.front() != '/' && m_path.front() != '~');
}

Path Path::MakeFullPath() const
{
    return IsRelativePath() ? CurrentDir().Append(*this) : Canonicalize();
}

Path Path::Canonicalize() const
{
    // realpath sees the text as given: a leading "~" means nothing to it, so
    // such a path only resolves when a folder of that name is in the current
    // folder; otherwise the expanded text is the answer.
    char resolved[PATH_MAX];
    if (!m_path.empty() && realpath(m_path.c_str(), resolved) != nullptr)
        return Path(resolved);
    if (!m_path.empty() && m_path.front() == '~')
        return GetSpecialFolderPath(SpecialFolder_Home, false).Append(RemoveRoot());
    return *this;
}

int Path::Compare(Path const& other) const
{
    // The same text always has the same full path: spare the file system.
    if (m_path == other.m_path)
        return 0;
    return strcasecmp(MakeFullPath().c_str(), other.MakeFullPath().c_str());
}

bool Path::IsPreFixOf(Path const& other) const
{
    std::vector<std::string> const mine = Components(*this);
    std::vector<std::string> const theirs = Components(other);
    if (mine.size() > theirs.size())
        return false;
    for (std::size_t i = 0; i < mine.size(); ++i) {
        if (!SameComponent(mine[i], theirs[i]))
            return false;
    }
    return true;
}

Path Path::GetRelativePath(Path const& base) const
{
    std::vector<std::string> const mine = Components(*this);
    std::vector<std::string> const theirs = Components(base);
    std::size_t shared = 0;
    while (shared < mine.size() && shared < theirs.size() && SameComponent(mine[shared], theirs[shared]))
        ++shared;
    Path relative;
    for (std::size_t i = shared; i < theirs.size(); ++i)
        relative = relative.Append(Path(".."));
    for (std::size_t i = shared; i < mine.size(); ++i)
        relative = relative.Append(Path(mine[i]));
    return relative;
}

Path Path::GetTempPath()
{
    return Path("/tmp");
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
