#ifndef QDX_LOCALCORE_CORE_CONFIG_H
#define QDX_LOCALCORE_CORE_CONFIG_H

#include <cstddef>
#include <string>
#include <vector>

namespace Norvane {
namespace LocalCore {

/// Where and how the core sends its records: OTLP/HTTP logs to a collector.
struct UploadConfig {
    std::string endpoint;              ///< upload_endpoint: http(s) base URL without a trailing "/"; "" for no upload
    std::vector<std::string> headers;  ///< upload_headers: "Name: value" request headers
    long long intervalS = 60;          ///< upload_interval_s: how often pending records are sent
    long long batchRecords = 512;      ///< upload_batch_records: the most records in one request
    long long batchBytes = 1 << 20;    ///< upload_batch_bytes: the largest request body (before gzip)
    bool gzip = true;                  ///< upload_gzip: "on" or "off"

    bool Enabled() const { return !endpoint.empty(); }
    /// Where the records go: the endpoint's logs path.
    std::string LogsUrl() const { return endpoint + "/v1/logs"; }
};

/// The core's limits, read from "qdxdesktopsdk.env" in the SDK folder (the
/// library mirrors the file found beside the companions there). Lines are
/// KEY=VALUE; "#" starts a comment line. Sizes take an optional K, M or G
/// suffix (powers of 1024).
struct CoreConfig {
    long long maxBytes = 64LL << 20;    ///< QDX_LOCALCORE_MAX_BYTES: the store's size
    long long maxAgeDays = 30;          ///< QDX_LOCALCORE_MAX_AGE_DAYS: records older than this are removed
    std::size_t queueBytes = 8u << 20;  ///< QDX_LOCALCORE_QUEUE_BYTES: the queue to the writer
    long long durabilityMs = 1000;      ///< QDX_LOCALCORE_DURABILITY_MS: a stored record is synced within this
    UploadConfig upload;

    /// The configuration in `file`; defaults for what is missing. Unknown
    /// keys and bad values are logged (CoreLog) and ignored.
    static CoreConfig Read(std::string const& file);
    /// The same from text; `problems` receives one line per ignored entry.
    static CoreConfig Parse(std::string const& text, std::string& problems);
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
