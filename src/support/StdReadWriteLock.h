#ifndef QDX_STD_READ_WRITE_LOCK_H
#define QDX_STD_READ_WRITE_LOCK_H

#include "support/StdMutex.h"
#include "support/StdSemaphore.h"

namespace Norvane {
namespace QDXDesktopSDK {

/// Many readers or one writer. The readers share the write permission: the
/// first reader takes it for all of them and the last one gives it back, so
/// a writer waits until no reader is left. The permission is a semaphore,
/// not a mutex: the thread that releases it need not be the one that took it.
class StdReadWriteLock {
public:
    StdReadWriteLock();
    StdReadWriteLock(StdReadWriteLock const&) = delete;
    StdReadWriteLock& operator=(StdReadWriteLock const&) = delete;

    /// Takes the write permission within `milliseconds` (negative: without
    /// limit). Returns whether it was obtained.
    bool LockWrite(long long milliseconds);
    /// Gives the write permission back.
    void UnlockWrite();
    /// Joins the readers within `milliseconds` (negative: without limit).
    /// Returns whether it was admitted; a reader that was not admitted must
    /// not call UnlockRead.
    bool LockRead(long long milliseconds);
    /// Leaves the readers; the last one gives the write permission back.
    void UnlockRead();

private:
    StdMutex m_readerMutex;
    unsigned int m_readers = 0;  // guarded by m_readerMutex
    StdSemaphore m_writePermission;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
