// The database's layout, by version. PRAGMA user_version holds the version;
// a database is brought forward one version at a time, each step in its own
// transaction, so that an interrupted upgrade resumes where it stopped.
#ifndef QDX_LOCAL_CORE_SCHEMA_H
#define QDX_LOCAL_CORE_SCHEMA_H

#include <string>
#include <vector>

namespace Norvane {
namespace LocalCore {

class Connection;

struct Migration {
    int toVersion;
    char const* sql;  ///< run inside the step's transaction
};

namespace Schema {

/// Every step from an empty database to the current layout, in order.
std::vector<Migration> const& Migrations();
/// The version this code writes: the last step's.
int CurrentVersion();
/// Applies the steps beyond the database's version. False when one fails;
/// the steps before it stay applied.
bool Migrate(Connection& connection, std::vector<Migration> const& steps);

}  // namespace Schema

}  // namespace LocalCore
}  // namespace Norvane

#endif
