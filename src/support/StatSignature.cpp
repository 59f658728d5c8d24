#include "support/StatSignature.h"

#include <sys/stat.h>

#include <cerrno>
#include <ctime>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

long long Nanoseconds(timespec const& time)
{
    return static_cast<long long>(time.tv_sec) * 1000000000LL + time.tv_nsec;
}

}  // namespace

StatSignature StatSignature::Of(Path const& path)
{
    StatSignature signature;
    struct stat status;
    if (path.IsEmpty()) {
        signature.m_error = ENOENT;
    } else if (stat(path.c_str(), &status) != 0) {
        signature.m_error = errno != 0 ? errno : ENOENT;
    } else {
        signature.m_device = status.st_dev;
        signature.m_inode = status.st_ino;
        signature.m_mode = status.st_mode;
        signature.m_links = status.st_nlink;
        signature.m_size = status.st_size;
        signature.m_modifiedNs = Nanoseconds(status.st_mtim);
        signature.m_changedNs = Nanoseconds(status.st_ctim);
    }
    return signature;
}

bool StatSignature::operator==(StatSignature const& other) const
{
    return m_error == other.m_error && m_device == other.m_device && m_inode == other.m_inode &&
           m_mode == other.m_mode && m_links == other.m_links && m_size == other.m_size &&
           m_modifiedNs == other.m_modifiedNs && m_changedNs == other.m_changedNs;
}

bool StatSignature::ShowsLaterChanges(long long takenAtNs) const
{
    // A later change is stamped at or after takenAtNs less one tick of the
    // file system's clock (and its rounding), so a modification time well
    // before that cannot come again. The status-change time is compared but
    // not relied on: only modifications reveal added entries.
    return !Exists() || m_modifiedNs < takenAtNs - kTimeDoubtNs;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
