#ifndef QDX_LOCK_H
#define QDX_LOCK_H

#include "QdxExport.h"

namespace Norvane {
namespace QDXDesktopSDK {

class StdMutex;

/// A recursive mutex behind a single owning pointer: the thread that holds it
/// may lock it again and must unlock it as often. Guards the sender registry
/// and every facet. Not copyable.
class QDX_EXPORT QdxLock {
public:
    QdxLock();
    ~QdxLock();
    QdxLock(QdxLock const&) = delete;
    QdxLock& operator=(QdxLock const&) = delete;

    /// Waits for the lock. False only when the system refuses it.
    bool Lock();
    /// Releases one level of the lock. Only the holder may call it.
    void Unlock();

private:
    StdMutex* m_mutex;
};

/// Holds a `QdxLock` for its own lifetime: locks on construction and unlocks
/// on destruction when the lock was obtained.
class QDX_EXPORT QdxAutoLock {
public:
    explicit QdxAutoLock(QdxLock& lock);
    ~QdxAutoLock();
    QdxAutoLock(QdxAutoLock const&) = delete;
    QdxAutoLock& operator=(QdxAutoLock const&) = delete;

private:
    QdxLock& m_lock;
    bool m_locked;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
