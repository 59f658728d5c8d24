// Preloaded into the example application by the load test: stands in front
// of the libcurl calls that send, receive or wait on the network and notes,
// in the file named by QDX_CURL_PROBE_FILE, which thread made them. The
// example calls the library from its main thread only, so a call from the
// main thread means that a calling thread waited on the network; calls from
// other threads show that the probe saw the uploads at all.
#include <curl/curl.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

std::atomic<bool> g_uploaderSeen{false};

void Note(char const* function)
{
    bool const mainThread = syscall(SYS_gettid) == getpid();
    if (!mainThread && g_uploaderSeen.exchange(true))
        return;  // one line a process is enough to show that uploads ran elsewhere
    char const* const file = std::getenv("QDX_CURL_PROBE_FILE");
    if (file == nullptr)
        return;
    char line[160];
    int const length = std::snprintf(line, sizeof line, "%s %d %s\n", mainThread ? "main-thread" : "other-thread",
                                     static_cast<int>(getpid()), function);
    int const fd = open(file, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0)
        return;
    ssize_t const written = write(fd, line, static_cast<size_t>(length));
    static_cast<void>(written);
    close(fd);
}

// libcurl's own function: the probe links libcurl, which comes after it in
// the global search order.
template <class Function> Function Next(char const* name)
{
    void* const function = dlsym(RTLD_NEXT, name);
    if (function == nullptr) {
        std::fprintf(stderr, "curl thread probe: libcurl's %s not found\n", name);
        std::abort();
    }
    return reinterpret_cast<Function>(function);
}

}  // namespace

// The build hides symbols by default; these must replace libcurl's.
#define QDX_PROBE extern "C" __attribute__((visibility("default")))

QDX_PROBE CURLcode curl_easy_perform(CURL* easy)
{
    Note("curl_easy_perform");
    static auto const next = Next<CURLcode (*)(CURL*)>("curl_easy_perform");
    return next(easy);
}

QDX_PROBE CURLMcode curl_multi_perform(CURLM* multi, int* running)
{
    Note("curl_multi_perform");
    static auto const next = Next<CURLMcode (*)(CURLM*, int*)>("curl_multi_perform");
    return next(multi, running);
}

QDX_PROBE CURLMcode curl_multi_poll(CURLM* multi, curl_waitfd extra[], unsigned int count, int timeoutMs, int* ready)
{
    Note("curl_multi_poll");
    static auto const next = Next<CURLMcode (*)(CURLM*, curl_waitfd[], unsigned int, int, int*)>("curl_multi_poll");
    return next(multi, extra, count, timeoutMs, ready);
}

QDX_PROBE CURLMcode curl_multi_wait(CURLM* multi, curl_waitfd extra[], unsigned int count, int timeoutMs, int* ready)
{
    Note("curl_multi_wait");
    static auto const next = Next<CURLMcode (*)(CURLM*, curl_waitfd[], unsigned int, int, int*)>("curl_multi_wait");
    return next(multi, extra, count, timeoutMs, ready);
}

QDX_PROBE CURLMcode curl_multi_socket_action(CURLM* multi, curl_socket_t socket, int mask, int* running)
{
    Note("curl_multi_socket_action");
    static auto const next = Next<CURLMcode (*)(CURLM*, curl_socket_t, int, int*)>("curl_multi_socket_action");
    return next(multi, socket, mask, running);
}
