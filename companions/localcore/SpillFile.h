#ifndef QDX_LOCALCORE_SPILL_FILE_H
#define QDX_LOCALCORE_SPILL_FILE_H

#include "WorkItem.h"

#include <string>
#include <vector>

namespace Norvane {
namespace LocalCore {

/// Items that a stopping writer could not put into the database in time
/// (another process held it locked, or the queue held more than it could
/// write) are written, synced, to a spill file "spill-<pid>-<ms>.items"
/// beside it, rather than lost or waited for; the next writer to open the
/// database imports them (and those of the ".jsonl" files of earlier cores)
/// and removes the files once they are committed.
namespace SpillFile {

bool Write(std::string const& folder, std::vector<WorkItem> const& items);

/// Appends the items of every spill file in `folder` to `items` and names
/// the files read in `files`. Items that cannot be read are skipped; a
/// file cut short ends with its last whole item.
void ReadAll(std::string const& folder, std::vector<WorkItem>& items, std::vector<std::string>& files);

void Remove(std::vector<std::string> const& files);

}  // namespace SpillFile
}  // namespace LocalCore
}  // namespace Norvane

#endif
