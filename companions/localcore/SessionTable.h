#ifndef QDX_LOCALCORE_SESSION_TABLE_H
#define QDX_LOCALCORE_SESSION_TABLE_H

#include <mutex>
#include <set>
#include <shared_mutex>
#include <string>

namespace Norvane {
namespace LocalCore {

/// The sessions this process opened and has not closed. A session belongs to
/// the process that opened it: an id from elsewhere is unknown here.
class SessionTable {
public:
    void Open(std::string const& id);
    /// False when `id` was not open.
    bool Close(std::string const& id);
    bool IsOpen(std::string const& id) const;
    std::size_t Count() const;
    void LockForFork() { m_mutex.lock(); }
    void UnlockAfterFork() { m_mutex.unlock(); }

private:
    mutable std::shared_mutex m_mutex;
    std::set<std::string> m_open;  // guarded by m_mutex
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
