// The figures of the local core's database as `qdxsdk status` shows them,
// read in one go; `qdxsdk doctor` shows the same.
#ifndef QDX_TOOL_DATABASE_STATUS_H
#define QDX_TOOL_DATABASE_STATUS_H

#include "Store.h"
#include "values/RapidJson.h"

#include <map>
#include <ostream>
#include <string>

namespace Norvane {
namespace QdxTool {

struct Status {
    std::string database;
    LocalCore::StoreFigures figures;
    LocalCore::UploadState upload;
    std::map<std::string, long long> counters;
    std::map<std::string, std::string> settings;

    std::string Setting(char const* name) const
    {
        auto const found = settings.find(name);
        return found != settings.end() ? found->second : std::string();
    }
};

/// Reads figures, counters, settings and the upload's state; false with `error` set when a read failed.
bool ReadStatus(LocalCore::Store& store, Status& status, std::string& error);
/// The lines of `qdxsdk status`.
void PrintStatusText(std::ostream& out, Status const& status);
/// The object of `qdxsdk status --json`, written into `writer`.
void WriteStatusJson(QdxRapidJson::Writer<QdxRapidJson::StringBuffer>& writer, Status const& status);
/// That object as one line of text.
std::string StatusJson(Status const& status);

}  // namespace QdxTool
}  // namespace Norvane

#endif
