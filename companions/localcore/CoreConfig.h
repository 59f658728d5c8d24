#ifndef QDX_LOCALCORE_CORE_CONFIG_H
#define QDX_LOCALCORE_CORE_CONFIG_H

#include <cstddef>
#include <string>

namespace Norvane {
namespace LocalCore {

/// The core's limits, read from "qdxdesktopsdk.env" in the SDK folder (the
/// library mirrors the file found beside the companions there). Lines are
/// KEY=VALUE; "#" starts a comment line. Sizes take an optional K, M or G
/// suffix (powers of 1024).
struct CoreConfig {
    long long maxBytes = 64LL << 20;    ///< QDX_LOCALCORE_MAX_BYTES: the store's size
    long long maxAgeDays = 30;          ///< QDX_LOCALCORE_MAX_AGE_DAYS: records older than this are removed
    std::size_t queueBytes = 8u << 20;  ///< QDX_LOCALCORE_QUEUE_BYTES: the queue to the writer
    long long durabilityMs = 1000;      ///< QDX_LOCALCORE_DURABILITY_MS: a stored record is synced within this

    /// The configuration in `file`; defaults for what is missing. Unknown
    /// keys and bad values are logged (CoreLog) and ignored.
    static CoreConfig Read(std::string const& file);
    /// The same from text; `problems` receives one line per ignored entry.
    static CoreConfig Parse(std::string const& text, std::string& problems);
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
