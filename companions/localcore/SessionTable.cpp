#include "SessionTable.h"

namespace Norvane {
namespace LocalCore {

void SessionTable::Open(std::string const& id)
{
    std::unique_lock<std::shared_mutex> const lock(m_mutex);
    m_open.insert(id);
}

bool SessionTable::Close(std::string const& id)
{
    std::unique_lock<std::shared_mutex> const lock(m_mutex);
    return m_open.erase(id) != 0;
}

bool SessionTable::IsOpen(std::string const& id) const
{
    std::shared_lock<std::shared_mutex> const lock(m_mutex);
    return m_open.count(id) != 0;
}

std::size_t SessionTable::Count() const
{
    std::shared_lock<std::shared_mutex> const lock(m_mutex);
    return m_open.size();
}

}  // namespace LocalCore
}  // namespace Norvane
