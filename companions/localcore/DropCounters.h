#ifndef QDX_LOCALCORE_DROP_COUNTERS_H
#define QDX_LOCALCORE_DROP_COUNTERS_H

#include <atomic>
#include <map>
#include <string>

namespace Norvane {
namespace LocalCore {

/// Why a record was not kept. The store counts the records its limits
/// remove ("removed_by_size", "removed_by_age") itself.
enum class DropReason { NotConsented, QueueFull, NoStorage, Disabled, Malformed, StoreError, Count };

/// Records refused or lost in this process, by reason, until the writer adds
/// them to the counters in the database that every process shares.
class DropCounters {
public:
    void Count(DropReason reason, long long howMany = 1)
    {
        m_counts[static_cast<int>(reason)].fetch_add(howMany, std::memory_order_relaxed);
    }

    /// The counts since the last call, by counter name, zeros left out.
    std::map<std::string, long long> TakeDeltas();
    /// The counts not yet taken, without taking them.
    std::map<std::string, long long> Pending() const;
    /// Gives back deltas that could not be written.
    void Restore(std::map<std::string, long long> const& deltas);

    static char const* CounterName(DropReason reason);

private:
    std::atomic<long long> m_counts[static_cast<int>(DropReason::Count)] = {};
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
