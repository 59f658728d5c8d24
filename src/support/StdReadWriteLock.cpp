#include "support/StdReadWriteLock.h"

namespace Norvane {
namespace QDXDesktopSDK {

StdReadWriteLock::StdReadWriteLock() : m_writePermission(1) {}

bool StdReadWriteLock::LockWrite(long long milliseconds)
{
    return m_writePermission.WaitForSignal(milliseconds);
}

void StdReadWriteLock::UnlockWrite()
{
    m_writePermission.Release();
}

bool StdReadWriteLock::LockRead(long long milliseconds)
{
    // The first reader waits for the permission while holding the reader
    // mutex, so later readers queue behind it instead of passing a writer.
    StdAutoMutexLock lock(m_readerMutex, milliseconds);
    if (!lock.IsLocked())
        return false;
    if (++m_readers == 1 && !LockWrite(milliseconds)) {
        // Not admitted: leaving the count raised would let the next reader
        // in without the permission.
        m_readers = 0;
        return false;
    }
    return true;
}

void StdReadWriteLock::UnlockRead()
{
    StdAutoMutexLock lock(m_readerMutex, -1);
    if (m_readers == 0)
        return;
    if (--m_readers == 0)
        UnlockWrite();
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
