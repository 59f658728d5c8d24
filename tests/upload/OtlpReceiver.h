// The OTLP/HTTP logs receiver of the upload tests (receiver/receiver.js),
// run as a child process on the loopback address: it checks every request
// body against the OTLP schema and answers as a plan says. See the top of
// receiver/receiver.js for the plan's syntax and the files it writes.
#ifndef QDX_TESTS_UPLOAD_OTLP_RECEIVER_H
#define QDX_TESTS_UPLOAD_OTLP_RECEIVER_H

#include <gtest/gtest.h>
#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace UploadTesting {

/// One log record of a request that the receiver answered 2xx.
struct ReceivedRecord {
    int request = 0;         ///< the number of the request that carried it, from 1
    std::string recordId;    ///< the record id attribute as text; "" when absent
    std::string sessionId;   ///< the session id attribute; "" when absent
    std::string eventName;   ///< the event name attribute; "" when absent
    std::string body;        ///< the body as compact JSON of the value it holds
    std::string attributes;  ///< every attribute, as one compact JSON object
    std::string resource;    ///< the resource's attributes, as one compact JSON object
    bool gzip = false;       ///< the request was gzip-compressed
};

/// One request the receiver answered (or dropped).
struct ReceivedRequest {
    int number = 0;
    std::string outcome;  ///< "accepted", "refused", "dropped", "invalid" or "abandoned"
    int status = 0;       ///< the status answered; 0 for a dropped connection
    bool gzip = false;
    long long bytes = 0;      ///< the body as sent
    long long jsonBytes = 0;  ///< the JSON text, after gzip; 0 when it did not decode
    int records = 0;
    std::map<std::string, std::string> headers;  ///< lower-case names
};

/// One receiver process. Its files live in a fresh folder under /tmp (the
/// test's own, inside tests/isolate.sh), removed with the object.
class OtlpReceiver {
public:
    /// Why no receiver can run here (node or the receiver's npm packages
    /// missing), or "" when one can.
    static std::string Unavailable();

    OtlpReceiver();
    /// Stops the receiver and removes its files.
    ~OtlpReceiver();
    OtlpReceiver(OtlpReceiver const&) = delete;
    OtlpReceiver& operator=(OtlpReceiver const&) = delete;

    /// Starts the receiver with `plan` and waits until it listens (or is
    /// down, as a plan that starts with "down:" says). The first start takes
    /// a free port, later ones the same port. False, with Problem() saying
    /// why, when it does not start.
    bool Start(std::string const& plan = "200", unsigned seed = 1);
    /// Stops the receiver (SIGTERM) and waits for it to end.
    void Stop();
    /// Stops and starts again on the same port, with the same files.
    bool Restart(std::string const& plan = "200") { return Stop(), Start(plan); }

    std::string const& Problem() const { return m_problem; }
    int Port() const { return m_port; }
    /// "http://127.0.0.1:PORT", the base URL that a client appends /v1/logs to.
    std::string Endpoint() const;

    std::vector<ReceivedRecord> Records() const;
    std::vector<ReceivedRequest> Requests() const;
    /// The invalid requests, one line of the errors file each.
    std::vector<std::string> Errors() const;
    /// The number of requests that had this outcome.
    int CountOutcome(std::string const& outcome) const;
    /// What the receiver said on its standard output and error.
    std::string Log() const;

private:
    std::string File(char const* name) const { return m_folder + "/" + name; }
    bool Fail(std::string problem);

    std::string m_folder;
    std::string m_problem;
    pid_t m_pid = -1;
    int m_port = 0;
};

}  // namespace UploadTesting

/// Skips the current test when no receiver can run here, saying why. The
/// test command installs what it needs, so a skip there fails the run.
#define QDX_REQUIRE_OTLP_RECEIVER()                                                                                    \
    do {                                                                                                               \
        std::string const unavailable = UploadTesting::OtlpReceiver::Unavailable();                                    \
        if (!unavailable.empty())                                                                                      \
            GTEST_SKIP() << unavailable;                                                                               \
    } while (false)

#endif
