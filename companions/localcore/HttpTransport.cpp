#include "HttpTransport.h"

#include <curl/curl.h>

#include <mutex>

namespace Norvane {
namespace LocalCore {

namespace {

constexpr std::size_t kMostAnswerBytes = 64 << 10;  // a collector's answer is small; more is not read
constexpr long kConnectTimeoutMs = 10000;
constexpr int kPollMs = 100;

std::once_flag s_curlStarted;

size_t KeepAnswer(char* data, size_t size, size_t count, void* answer)
{
    std::string& text = *static_cast<std::string*>(answer);
    size_t const bytes = size * count;
    if (text.size() < kMostAnswerBytes)
        text.append(data, std::min(bytes, kMostAnswerBytes - text.size()));
    return bytes;
}

CURL* Easy(void* handle)
{
    return static_cast<CURL*>(handle);
}

CURLM* Multi(void* handle)
{
    return static_cast<CURLM*>(handle);
}

}  // namespace

HttpTransport::HttpTransport()
{
    // Once per load of the core; never cleaned up, since the host or another
    // library may use libcurl as well.
    std::call_once(s_curlStarted, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    m_easy = curl_easy_init();
    m_multi = curl_multi_init();
}

HttpTransport::~HttpTransport()
{
    if (m_multi != nullptr)
        curl_multi_cleanup(Multi(m_multi));
    if (m_easy != nullptr)
        curl_easy_cleanup(Easy(m_easy));
}

void HttpTransport::Wake()
{
    if (m_multi != nullptr)
        curl_multi_wakeup(Multi(m_multi));
}

void HttpTransport::AbandonAfterFork()
{
    m_easy = nullptr;
    m_multi = nullptr;
}

HttpExchange HttpTransport::Post(HttpPost const& post)
{
    HttpExchange exchange;
    if (m_easy == nullptr || m_multi == nullptr || post.body == nullptr) {
        exchange.error = "libcurl could not be started";
        return exchange;
    }
    CURL* const easy = Easy(m_easy);
    curl_easy_reset(easy);  // the multi handle keeps the connection open for the next request
    curl_slist* headers = curl_slist_append(nullptr, "Content-Type: application/json");
    if (post.gzip)
        headers = curl_slist_append(headers, "Content-Encoding: gzip");
    headers = curl_slist_append(headers, "Expect:");  // no wait for "100 Continue"
    for (std::string const& header : post.headers)
        headers = curl_slist_append(headers, header.c_str());
    curl_easy_setopt(easy, CURLOPT_URL, post.url.c_str());
    curl_easy_setopt(easy, CURLOPT_POST, 1L);
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, post.body->data());
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(post.body->size()));
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, kConnectTimeoutMs);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(post.timeoutMs));
    // A proxy from the environment is used, as the machine's other programs
    // use it, but never for the machine itself.
    curl_easy_setopt(easy, CURLOPT_NOPROXY, "localhost,127.0.0.1,::1");
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, KeepAnswer);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &exchange.body);

    CURLM* const multi = Multi(m_multi);
    curl_multi_add_handle(multi, easy);
    int running = 1;
    while (running > 0) {
        if (curl_multi_perform(multi, &running) != CURLM_OK)
            break;
        if (running == 0)
            break;
        if (post.interrupt && post.interrupt()) {
            exchange.interrupted = true;
            break;
        }
        curl_multi_poll(multi, nullptr, 0, kPollMs, nullptr);
    }
    CURLcode code = CURLE_OK;
    int left = 0;
    while (CURLMsg* const message = curl_multi_info_read(multi, &left))
        if (message->msg == CURLMSG_DONE)
            code = message->data.result;
    if (!exchange.interrupted) {
        if (code == CURLE_OK && running == 0) {
            exchange.completed = true;
            curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &exchange.status);
            curl_off_t retryAfter = 0;
            if (curl_easy_getinfo(easy, CURLINFO_RETRY_AFTER, &retryAfter) == CURLE_OK && retryAfter > 0)
                exchange.retryAfterS = static_cast<long long>(retryAfter);
        } else {
            exchange.error = curl_easy_strerror(code);
        }
    }
    curl_multi_remove_handle(multi, easy);
    curl_slist_free_all(headers);
    return exchange;
}

}  // namespace LocalCore
}  // namespace Norvane
