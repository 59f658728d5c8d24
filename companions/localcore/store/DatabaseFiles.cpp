#include "DatabaseFiles.h"

#include "Connection.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <memory>
#include <thread>

namespace Norvane {
namespace LocalCore {

namespace DatabaseFiles {

char const* const kJournalSuffixes[3] = {"-wal", "-shm", "-journal"};

namespace {

constexpr mode_t kFolderMode = 0700;
constexpr mode_t kFileMode = 0600;

std::string Describe(std::string const& what, std::string const& path)
{
    return what + " " + path + ": " + std::strerror(errno);
}

unsigned long ReadBigEndian(unsigned char const* bytes, int count)
{
    unsigned long value = 0;
    for (int i = 0; i < count; ++i)
        value = (value << 8) | bytes[i];
    return value;
}

bool MakeOneFolder(std::string const& folder, std::string& error)
{
    if (mkdir(folder.c_str(), kFolderMode) == 0) {
        // mkdir's mode passes through the umask; the folder must be ours alone whatever it is.
        if (chmod(folder.c_str(), kFolderMode) != 0) {
            error = Describe("cannot restrict folder", folder);
            return false;
        }
        return true;
    }
    struct stat status;
    if (errno == EEXIST && stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
        return true;
    error = Describe("cannot create folder", folder);
    return false;
}

std::string UtcStamp()
{
    std::time_t const now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &parts);
    return text;
}

}  // namespace

bool MakeFolder(std::string const& folder, std::string& error)
{
    if (folder.empty()) {
        error = "no folder given for the database";
        return false;
    }
    for (size_t slash = folder.find('/', 1); slash != std::string::npos; slash = folder.find('/', slash + 1)) {
        if (!MakeOneFolder(folder.substr(0, slash), error))
            return false;
    }
    return MakeOneFolder(folder, error);
}

// Read through SQLite's own file layer, never with a descriptor of our own:
// POSIX locks belong to the process, so closing any descriptor of the file
// would drop the locks that this process's connections hold on it, and other
// processes would then write under them. SQLite keeps such a descriptor open
// until those locks are gone.
DatabaseHeader ReadHeader(std::string const& path)
{
    DatabaseHeader header;
    struct stat status;
    if (stat(path.c_str(), &status) != 0) {
        header.state = errno == ENOENT ? DatabaseHeader::State::Missing : DatabaseHeader::State::Unreadable;
        header.reason = Describe("cannot read", path);
        return header;
    }
    sqlite3_vfs* const vfs = sqlite3_vfs_find(nullptr);
    std::unique_ptr<sqlite3_file, void (*)(void*)> file(
        vfs != nullptr ? static_cast<sqlite3_file*>(sqlite3_malloc(vfs->szOsFile)) : nullptr, sqlite3_free);
    if (file != nullptr) {
        std::memset(file.get(), 0, static_cast<size_t>(vfs->szOsFile));
        int openedFlags = 0;
        if (vfs->xOpen(vfs, path.c_str(), file.get(), SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_READONLY, &openedFlags) !=
                SQLITE_OK &&
            file->pMethods != nullptr) {
            file->pMethods->xClose(file.get());
            file->pMethods = nullptr;
        }
    }
    if (file == nullptr || file->pMethods == nullptr) {
        header.state = DatabaseHeader::State::Unreadable;
        header.reason = Describe("cannot read", path);
        return header;
    }
    unsigned char bytes[100];
    sqlite3_int64 size = 0;
    int readCode = file->pMethods->xFileSize(file.get(), &size);
    if (readCode == SQLITE_OK && size > 0)
        readCode = file->pMethods->xRead(file.get(), bytes, sizeof bytes, 0);
    bool const read = readCode == SQLITE_OK || readCode == SQLITE_IOERR_SHORT_READ;
    header.reason = read ? std::string() : Describe("cannot read", path);
    file->pMethods->xClose(file.get());
    if (!read) {
        header.state = DatabaseHeader::State::Unreadable;
        return header;
    }
    ssize_t const got = static_cast<ssize_t>(std::min<sqlite3_int64>(size, sizeof bytes));
    auto corrupt = [&](char const* why) {
        header.state = DatabaseHeader::State::Corrupt;
        header.reason = why;
        return header;
    };
    if (got == 0)
        return header.state = DatabaseHeader::State::Empty, header;
    if (got < static_cast<ssize_t>(sizeof bytes))
        return corrupt("shorter than a database header");
    if (std::memcmp(bytes, "SQLite format 3", 16) != 0)
        return corrupt("not a database");
    unsigned long const pageSize = bytes[16] == 0 && bytes[17] == 1 ? 65536 : ReadBigEndian(bytes + 16, 2);
    if (pageSize < 512 || pageSize > 65536 || (pageSize & (pageSize - 1)) != 0)
        return corrupt("invalid page size in the header");
    if (bytes[21] != 64 || bytes[22] != 32 || bytes[23] != 32)
        return corrupt("invalid payload fractions in the header");
    // No verdict from the page count: while another process checkpoints, the
    // first page (with the new count) is written before the file grows, so a
    // sound database can look cut short for a moment. The integrity check,
    // made inside a read transaction, finds a file that really is.
    header.userVersion = static_cast<int>(static_cast<unsigned>(ReadBigEndian(bytes + 60, 4)));
    header.state = DatabaseHeader::State::Valid;
    return header;
}

bool CreateEmptyFile(std::string const& path, std::string& error)
{
    int const fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode);
    if (fd < 0) {
        error = Describe("cannot create", path);
        return false;
    }
    bool const restricted = fchmod(fd, kFileMode) == 0;
    if (!restricted)
        error = Describe("cannot restrict", path);
    close(fd);
    return restricted;
}

void RestrictToOwner(std::string const& path)
{
    std::string const paths[] = {path, path + kJournalSuffixes[0], path + kJournalSuffixes[1],
                                 path + kJournalSuffixes[2]};
    for (std::string const& file : paths) {
        struct stat status;
        // Best effort: a journal file may vanish meanwhile, and the database
        // may belong to someone else, whose mode is theirs to choose.
        if (stat(file.c_str(), &status) == 0 && (status.st_mode & 07777) != kFileMode)
            chmod(file.c_str(), kFileMode);
    }
}

std::string MoveAside(std::string const& path, std::string& error)
{
    std::string const stamped = path + ".corrupt-" + UtcStamp();
    std::string aside = stamped;
    for (int attempt = 2; access(aside.c_str(), F_OK) == 0 && attempt < 1000; ++attempt)
        aside = stamped + "-" + std::to_string(attempt);
    if (rename(path.c_str(), aside.c_str()) != 0) {
        error = Describe("cannot move aside", path);
        return std::string();
    }
    // Journal files belong to the database beside them: keep them together.
    // One that cannot be renamed is removed, since a fresh database would
    // otherwise replay the corrupt one's pages.
    for (char const* suffix : kJournalSuffixes) {
        std::string const journal = path + suffix;
        if (rename(journal.c_str(), (aside + suffix).c_str()) != 0 && errno != ENOENT)
            unlink(journal.c_str());
    }
    return aside;
}

FileIdentity IdentityOf(std::string const& path)
{
    FileIdentity identity;
    struct stat status;
    if (stat(path.c_str(), &status) == 0) {
        identity.device = status.st_dev;
        identity.inode = status.st_ino;
        identity.known = true;
    }
    return identity;
}

long long SizeOf(std::string const& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : 0;
}

}  // namespace DatabaseFiles

FolderLock::~FolderLock()
{
    if (m_fd >= 0)
        close(m_fd);  // releases the lock
}

bool FolderLock::Acquire(std::string const& folder, WaitPolicy const& wait, std::string& error)
{
    m_fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (m_fd < 0) {
        error = "cannot open folder " + folder + ": " + std::strerror(errno);
        return false;
    }
    auto const start = std::chrono::steady_clock::now();
    while (flock(m_fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            error = "cannot lock folder " + folder + ": " + std::strerror(errno);
            return false;
        }
        if (wait.Interrupted()) {
            error = "stopped waiting for another process to open the database: the owner asked to stop";
            return false;
        }
        if (std::chrono::steady_clock::now() - start > std::chrono::milliseconds(wait.Limit())) {
            error = "another process kept the database folder locked for " + std::to_string(wait.Limit()) + " ms";
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace LocalCore
}  // namespace Norvane
