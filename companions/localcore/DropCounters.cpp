#include "DropCounters.h"

namespace Norvane {
namespace LocalCore {

char const* DropCounters::CounterName(DropReason reason)
{
    switch (reason) {
    case DropReason::NotConsented:
        return "dropped_not_consented";
    case DropReason::QueueFull:
        return "dropped_queue_full";
    case DropReason::NoStorage:
        return "dropped_no_storage";
    case DropReason::Disabled:
        return "dropped_disabled";
    case DropReason::Malformed:
        return "dropped_malformed";
    case DropReason::StoreError:
        return "dropped_store_error";
    case DropReason::Count:
        break;
    }
    return "dropped_other";
}

std::map<std::string, long long> DropCounters::TakeDeltas()
{
    std::map<std::string, long long> deltas;
    for (int i = 0; i < static_cast<int>(DropReason::Count); ++i) {
        long long const taken = m_counts[i].exchange(0, std::memory_order_relaxed);
        if (taken != 0)
            deltas[CounterName(static_cast<DropReason>(i))] = taken;
    }
    return deltas;
}

std::map<std::string, long long> DropCounters::Pending() const
{
    std::map<std::string, long long> pending;
    for (int i = 0; i < static_cast<int>(DropReason::Count); ++i) {
        long long const count = m_counts[i].load(std::memory_order_relaxed);
        if (count != 0)
            pending[CounterName(static_cast<DropReason>(i))] = count;
    }
    return pending;
}

void DropCounters::Restore(std::map<std::string, long long> const& deltas)
{
    for (int i = 0; i < static_cast<int>(DropReason::Count); ++i) {
        auto const found = deltas.find(CounterName(static_cast<DropReason>(i)));
        if (found != deltas.end())
            m_counts[i].fetch_add(found->second, std::memory_order_relaxed);
    }
}

}  // namespace LocalCore
}  // namespace Norvane
