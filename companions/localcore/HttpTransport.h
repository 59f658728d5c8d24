// One POST at a time to the collector, through libcurl's multi interface so
// that the waiting can be cut short at once: by shutdown, by a withdrawn
// consent, or at a deadline.
#ifndef QDX_LOCALCORE_HTTP_TRANSPORT_H
#define QDX_LOCALCORE_HTTP_TRANSPORT_H

#include "UploadAnswer.h"

#include <functional>
#include <string>
#include <vector>

namespace Norvane {
namespace LocalCore {

struct HttpPost {
    std::string url;
    std::vector<std::string> headers;  ///< "Name: value", besides the content type and encoding
    std::string const* body = nullptr;
    bool gzip = false;                ///< the body is gzip-compressed
    long long timeoutMs = 30000;      ///< the whole exchange
    std::function<bool()> interrupt;  ///< asked while waiting: true ends the exchange as interrupted
};

class HttpTransport {
public:
    HttpTransport();
    ~HttpTransport();
    HttpTransport(HttpTransport const&) = delete;
    HttpTransport& operator=(HttpTransport const&) = delete;

    /// Sends the request and waits for its answer (or failure, or interruption).
    HttpExchange Post(HttpPost const& post);
    /// Makes a waiting Post ask its interrupt check now; any thread.
    void Wake();
    /// In a child of fork(): the handles are the parent's, in whatever state
    /// its thread left them; they are let go without being touched.
    void AbandonAfterFork();

private:
    void* m_easy;   // CURL*
    void* m_multi;  // CURLM*
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
