// The options that choose records (--session, --name, --since, --limit),
// shared by the subcommands that list records, and the walk over the chosen
// records in pages, so that a large database never sits in memory at once.
#ifndef QDX_TOOL_RECORD_SELECTION_H
#define QDX_TOOL_RECORD_SELECTION_H

#include "Store.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace Norvane {
namespace QdxTool {

class RecordSelection {
public:
    /// Adds the options to a subcommand; --since is checked as it is parsed.
    void AddOptions(CLI::App& command);

    /// Calls visit for every chosen record in ascending seq. False, with the
    /// store's reason in error, when reading fails.
    bool ForEach(LocalCore::Store& store, std::function<void(LocalCore::StoredRecord const&)> const& visit,
                 std::string& error) const;

    /// The filter of the options, with --since taken from nowMs.
    LocalCore::RecordFilter Filter(long long nowMs) const;
    /// --limit; negative without one.
    long long Limit() const { return m_limit; }
    /// Calls visit for at most `limit` records (negative: all) that pass
    /// `filter`, in ascending seq, reading them in pages.
    static bool Walk(LocalCore::Store& store, LocalCore::RecordFilter filter, long long limit,
                     std::function<void(LocalCore::StoredRecord const&)> const& visit, std::string& error);

private:
    std::string m_sessionId;
    std::string m_name;
    std::string m_since;
    long long m_limit = -1;
};

}  // namespace QdxTool
}  // namespace Norvane

#endif
