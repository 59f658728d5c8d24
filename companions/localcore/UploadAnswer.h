// What a collector's answer means for a batch, and how long to wait before
// the next attempt after a failure.
#ifndef QDX_LOCALCORE_UPLOAD_ANSWER_H
#define QDX_LOCALCORE_UPLOAD_ANSWER_H

#include "store/UploadLease.h"

#include <string>

namespace Norvane {
namespace LocalCore {

/// One HTTP exchange as the transport saw it.
struct HttpExchange {
    bool completed = false;      ///< an answer came (whatever its status)
    bool interrupted = false;    ///< stopped on purpose: shutdown, consent withdrawn, deadline
    long status = 0;             ///< the HTTP status when completed
    long long retryAfterS = -1;  ///< the answer's Retry-After in seconds, -1 when none
    std::string body;            ///< the answer's body (bounded)
    std::string error;           ///< why the exchange failed, for the log
};

/// The back-off: exponential from 1 s, doubled per failed attempt up to
/// 5 min, with half of it random so that a fleet spreads out; never shorter
/// than the collector's Retry-After (itself bounded to an hour).
/// random01 is uniform in [0, 1).
long long RetryDelayMs(long long failedAttempts, long long retryAfterS, double random01);

/// 2xx delivered (with the rejected count of a partial success); 429, 502,
/// 503, 504 and failed exchanges retried; an interrupted exchange
/// unconfirmed; any other status dropped.
UploadResult Classify(HttpExchange const& exchange);

/// "partialSuccess.rejectedLogRecords" of a 2xx answer's JSON body, 0 when
/// absent or unreadable (an int64 comes as a decimal string or a number).
long long RejectedRecords(std::string const& body);

}  // namespace LocalCore
}  // namespace Norvane

#endif
