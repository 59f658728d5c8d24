#ifndef QDX_LOCALCORE_SPILL_FILE_H
#define QDX_LOCALCORE_SPILL_FILE_H

#include "WorkItem.h"

#include <string>
#include <vector>

namespace Norvane {
namespace LocalCore {

/// Items that a stopping writer could not put into the database in time
/// (another process held it locked) are written, synced, to a spill file
/// "spill-<pid>-<ms>.jsonl" beside it, rather than lost or waited for; the
/// next writer to open the database imports them and removes the files once
/// they are committed.
namespace SpillFile {

bool Write(std::string const& folder, std::vector<WorkItem> const& items);

/// Appends the items of every spill file in `folder` to `items` and names
/// the files read in `files`. Lines that cannot be read are skipped.
void ReadAll(std::string const& folder, std::vector<WorkItem>& items, std::vector<std::string>& files);

void Remove(std::vector<std::string> const& files);

}  // namespace SpillFile
}  // namespace LocalCore
}  // namespace Norvane

#endif
