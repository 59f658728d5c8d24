// Path operations on whole trees, built on the Finder walk.
#include "support/Finder.h"
#include "support/Path.h"

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

struct DeleteWalk {
    // Selected folders whose walk is under way, innermost last: a folder is
    // removed at the notice that its walk has finished, and only when it was
    // selected itself, since that notice carries no mark of its own.
    std::vector<std::string> folders;
    int count = 0;
};

int DeleteEntry(FindData const& entry, void* user)
{
    DeleteWalk& walk = *static_cast<DeleteWalk*>(user);
    Path const& path = entry.GetPath();
    if (!entry.IsDirectory()) {
        if (entry.IsMatched() && path.DeleteFile())
            ++walk.count;
    } else if (entry.IsMatched()) {
        walk.folders.push_back(path.GetString());
    } else if (!walk.folders.empty() && walk.folders.back() == path.GetString()) {
        walk.folders.pop_back();
        // Fails, as it should, when entries that were not selected remain.
        if (path.DeleteDirectory())
            ++walk.count;
    }
    return Finder::Result_Continue;
}

struct CopyWalk {
    std::size_t rootLength;
    Path destination;
    bool copied = true;
};

bool CopyLink(Path const& link, Path const& target)
{
    std::string text(4096, '\0');
    ssize_t const length = readlink(link.c_str(), &text[0], text.size());
    if (length <= 0 || static_cast<std::size_t>(length) == text.size())
        return false;
    text.resize(static_cast<std::size_t>(length));
    target.Delete(false, nullptr, nullptr);
    return symlink(text.c_str(), target.c_str()) == 0;
}

int CopyEntry(FindData const& entry, void* user)
{
    CopyWalk& walk = *static_cast<CopyWalk*>(user);
    if (!entry.IsMatched())
        return Finder::Result_Continue;  // the notice that a folder is done
    Path const& source = entry.GetPath();
    Path const target = walk.destination.Append(Path(source.GetString().substr(walk.rootLength)));
    struct stat status;
    bool done;
    if (entry.IsDirectory())
        done = target.CreateDir();
    else if (lstat(source.c_str(), &status) == 0 && S_ISLNK(status.st_mode))
        done = CopyLink(source, target);  // copied as a link, as the walk does not follow it
    else
        done = source.CopyFile(target);
    walk.copied = walk.copied && done;
    return Finder::Result_Continue;
}

}  // namespace

int Path::Delete(bool recursive, char const* includePattern, char const* excludePattern) const
{
    struct stat status;
    if (m_path.empty() || lstat(m_path.c_str(), &status) != 0)
        return 0;
    if (!S_ISDIR(status.st_mode))
        return DeleteFile() ? 1 : 0;  // a link to a folder goes as a link
    int count = 0;
    if (recursive) {
        DeleteWalk walk;
        Finder finder(&DeleteEntry, &walk, includePattern, excludePattern, false);
        finder.StartFind(*this);
        count = walk.count;
    }
    return count + (DeleteDirectory() ? 1 : 0);
}

bool Path::DeleteDirectoryRecursive() const
{
    return IsDir() && Delete(true, nullptr, nullptr) > 0 && !Exists();
}

bool Path::Copy(Path const& target, bool intoFolder) const
{
    if (!Exists())
        return false;
    // The name of "folder/" is that of "folder".
    Path const destination = intoFolder ? target.Append(Append(Path()).FileName()) : target;
    if (!IsDir())
        return CopyFile(destination);
    if (Compare(destination) == 0)
        return true;
    // A copy inside its own source would be met again by the walk that makes it.
    if (IsPreFixOf(destination) || !destination.CreateDir())
        return false;
    CopyWalk walk{Canonicalize().GetString().size(), destination};
    Finder finder(&CopyEntry, &walk, nullptr, nullptr, false);
    finder.StartFind(*this);
    return walk.copied;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
