// Records as OTLP/HTTP logs in the JSON encoding: one ExportLogsServiceRequest
// per batch, one ResourceLogs per product, one LogRecord per record. The
// encoding's own rules apply: lowerCamelCase field names, 64-bit integers as
// decimal strings, the argument object as a structured AnyValue.
#ifndef QDX_LOCALCORE_OTLP_LOGS_H
#define QDX_LOCALCORE_OTLP_LOGS_H

#include "store/Store.h"

#include <map>
#include <string>

namespace Norvane {
namespace LocalCore {

/// Names of the attributes the core sends; a backend filters on them.
namespace OtlpAttribute {
constexpr char kEventName[] = "event.name";            ///< the message name ("TrackEvent")
constexpr char kSessionId[] = "session.id";            ///< the session's UUID
constexpr char kRecordId[] = "qdx.record.id";          ///< "<database id>-<seq>": the same on every retry
constexpr char kServiceName[] = "service.name";        ///< the product facet's "product_id"
constexpr char kServiceVersion[] = "service.version";  ///< its "product_version"
constexpr char kCoreVersion[] = "qdx.core.version";
constexpr char kDeviceId[] = "device.id";  ///< only while the user is opted in
}  // namespace OtlpAttribute

/// Builds request bodies. Each record is encoded once: while the store picks
/// a batch (Encode gives its size) and again only if the database id changed.
class OtlpLogsEncoder {
public:
    explicit OtlpLogsEncoder(std::string coreVersion) : m_coreVersion(std::move(coreVersion)) {}

    /// The id that record ids are made of, as the store last gave it.
    void SetDatabaseId(std::string const& id);
    /// Encodes a record as a LogRecord, kept until the next Request; returns
    /// its length in bytes.
    long long Encode(StoredRecord const& record);
    /// The ExportLogsServiceRequest of the batch's records; deviceId "" leaves it out.
    std::string Request(UploadBatch const& batch, std::string const& deviceId);

    /// A stable id of a record: the same for every attempt and process.
    static std::string RecordId(std::string const& databaseId, long long seq);

private:
    std::string m_coreVersion;
    std::string m_databaseId;
    std::map<long long, std::string> m_logRecords;  // by seq
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
