#include "QdxLock.h"

#include "support/StdMutex.h"

namespace Norvane {
namespace QDXDesktopSDK {

QdxLock::QdxLock() : m_mutex(new StdMutex) {}

QdxLock::~QdxLock()
{
    delete m_mutex;
    // A static lock may still be asked for by a late call during process exit.
    m_mutex = nullptr;
}

bool QdxLock::Lock()
{
    return m_mutex != nullptr && m_mutex->lock();
}

void QdxLock::Unlock()
{
    if (m_mutex != nullptr)
        m_mutex->unlock();
}

QdxAutoLock::QdxAutoLock(QdxLock& lock) : m_lock(lock), m_locked(false)
{
    m_locked = m_lock.Lock();
}

QdxAutoLock::~QdxAutoLock()
{
    if (m_locked)
        m_lock.Unlock();
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
