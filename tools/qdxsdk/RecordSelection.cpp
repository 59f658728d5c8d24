#include "RecordSelection.h"

#include "SinceTime.h"

#include <algorithm>

namespace Norvane {
namespace QdxTool {

namespace {

constexpr long long kPageSize = 1000;

}  // namespace

void RecordSelection::AddOptions(CLI::App& command)
{
    command.add_option("--session", m_sessionId, "Only records of this session")->type_name("ID");
    command.add_option("--name", m_name, "Only records with this message name")->type_name("NAME");
    command
        .add_option("--since", m_since,
                    "Only records at or after TIME: RFC 3339 (2026-11-24T07:00:00Z, 2026-11-24T07:00:00.250Z) "
                    "or an age before now (90s, 10m, 2h, 3d)")
        ->type_name("TIME")
        ->check(CLI::Validator(
            [](std::string& text) {
                long long timeMs = 0;
                std::string error;
                return ParseSinceTime(text, NowMs(), timeMs, error) ? std::string() : error;
            },
            "", "SinceTime"));
    command.add_option("--limit", m_limit, "At most N records: the first N that match, in seq order")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
}

LocalCore::RecordFilter RecordSelection::Filter(long long nowMs) const
{
    LocalCore::RecordFilter filter;
    filter.sessionId = m_sessionId;
    filter.name = m_name;
    std::string ignored;
    if (!m_since.empty())
        ParseSinceTime(m_since, nowMs, filter.sinceMs, ignored);  // checked when parsed
    return filter;
}

bool RecordSelection::ForEach(LocalCore::Store& store, std::function<void(LocalCore::StoredRecord const&)> const& visit,
                              std::string& error) const
{
    return Walk(store, Filter(NowMs()), m_limit, visit, error);
}

bool RecordSelection::Walk(LocalCore::Store& store, LocalCore::RecordFilter filter, long long limit,
                           std::function<void(LocalCore::StoredRecord const&)> const& visit, std::string& error)
{
    long long remaining = limit;
    while (remaining != 0) {
        filter.limit = remaining > 0 ? std::min(remaining, kPageSize) : kPageSize;
        // A short page does not mean the end: the store leaves out records it
        // cannot decode. Only an empty one does.
        std::vector<LocalCore::StoredRecord> const page = store.Records(filter);
        if (page.empty()) {
            error = store.LastError();
            return error.empty();
        }
        for (LocalCore::StoredRecord const& record : page)
            visit(record);
        filter.afterSeq = page.back().seq;
        if (remaining > 0)
            remaining -= static_cast<long long>(page.size());
    }
    return true;
}

}  // namespace QdxTool
}  // namespace Norvane
