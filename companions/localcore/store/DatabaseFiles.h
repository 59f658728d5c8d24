// The database as files in a folder: making the folder, creating the file
// with owner-only permissions, reading its header before SQLite touches it,
// and moving a corrupt database aside together with its journal files.
#ifndef QDX_LOCAL_CORE_DATABASE_FILES_H
#define QDX_LOCAL_CORE_DATABASE_FILES_H

#include <sys/types.h>

#include <string>

namespace Norvane {
namespace LocalCore {

class WaitPolicy;

/// Which file a path named when it was looked at: a database that another
/// process moved aside or replaced has another identity than the one opened.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    bool known = false;

    bool operator==(FileIdentity const& other) const
    {
        return known == other.known && device == other.device && inode == other.inode;
    }
    bool operator!=(FileIdentity const& other) const { return !(*this == other); }
};

/// What the first bytes of a database file say, read without SQLite.
struct DatabaseHeader {
    enum class State { Missing, Empty, Valid, Corrupt, Unreadable };
    State state = State::Missing;
    std::string reason;         ///< why Corrupt or Unreadable
    long long userVersion = 0;  ///< the schema version of the last checkpoint, when Valid
};

namespace DatabaseFiles {

extern char const* const kJournalSuffixes[3];  ///< "-wal", "-shm", "-journal"

/// Creates folder and any missing parents with mode 0700, whatever the umask.
bool MakeFolder(std::string const& folder, std::string& error);
DatabaseHeader ReadHeader(std::string const& path);
/// Creates an empty file readable and writable by its owner only; SQLite
/// gives the journal files it creates later the same mode.
bool CreateEmptyFile(std::string const& path, std::string& error);
/// Sets the file and its journal files to mode 0600 where they differ.
void RestrictToOwner(std::string const& path);
/// Renames the file and its journal files to "<path>.corrupt-<UTC time>"
/// (plus the journal's suffix); returns the new path, "" on failure.
std::string MoveAside(std::string const& path, std::string& error);
FileIdentity IdentityOf(std::string const& path);
/// Size of the file, 0 when missing.
long long SizeOf(std::string const& path);

}  // namespace DatabaseFiles

/// An exclusive lock on the folder, held while a process checks, repairs
/// and migrates the database, so that two processes never move aside or
/// create the database at once.
class FolderLock {
public:
    FolderLock() = default;
    ~FolderLock();
    FolderLock(FolderLock const&) = delete;
    FolderLock& operator=(FolderLock const&) = delete;

    /// Waits for the lock as the policy allows; false with error on failure.
    bool Acquire(std::string const& folder, WaitPolicy const& wait, std::string& error);

private:
    int m_fd = -1;
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
