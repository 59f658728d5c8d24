// The two forms a record is printed in, one line each so that records can be
// printed as they are read: a table row with fixed columns for people, and
// the stable JSON line for scripts and export files.
#ifndef QDX_TOOL_RECORD_FORMAT_H
#define QDX_TOOL_RECORD_FORMAT_H

#include "Store.h"

#include <string>

namespace Norvane {
namespace QdxTool {

/// The column titles, without a line break.
std::string RecordTableHeader();
/// seq, time, the session id's first characters ("-" for none), name, and the
/// argument text cut to one short line; without a line break.
std::string RecordTableRow(LocalCore::StoredRecord const& record);
/// The record's JSON line (see RecordJsonLine), without a line break.
std::string RecordJsonLine(LocalCore::StoredRecord const& record);

}  // namespace QdxTool
}  // namespace Norvane

#endif
