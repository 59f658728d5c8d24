#include "LoopbackCollector.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace QdxBench {

namespace {

constexpr char kAnswer[] = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\n\r\n{}";

// The Content-Length of a request's head, 0 when it has none.
long long ContentLength(std::string const& head)
{
    static char const kName[] = "\r\ncontent-length:";
    for (std::size_t at = head.find("\r\n"); at != std::string::npos; at = head.find("\r\n", at + 2))
        if (strncasecmp(head.c_str() + at, kName, sizeof kName - 1) == 0)
            return std::atoll(head.c_str() + at + sizeof kName - 1);
    return 0;
}

}  // namespace

LoopbackCollector::LoopbackCollector()
{
    m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (m_listener < 0 || bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(m_listener, 16) != 0 || getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        std::perror("loopback collector");
        std::exit(1);
    }
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread(&LoopbackCollector::Accept, this);
}

LoopbackCollector::~LoopbackCollector()
{
    m_stopping = true;
    shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    std::vector<std::thread> servers;
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        for (int const connection : m_connections)
            shutdown(connection, SHUT_RDWR);
        servers.swap(m_servers);
    }
    for (std::thread& server : servers)
        server.join();
    close(m_listener);
}

std::string LoopbackCollector::Endpoint() const
{
    return "http://127.0.0.1:" + std::to_string(m_port);
}

double LoopbackCollector::BusySeconds() const
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    return std::chrono::duration<double>(m_last - m_first).count();
}

void LoopbackCollector::Reset()
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_requests = 0;
    m_bodyBytes = 0;
    m_first = m_last = Clock::time_point{};
}

void LoopbackCollector::Accept()
{
    while (!m_stopping) {
        int const connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            continue;
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_connections.push_back(connection);
        m_servers.emplace_back(&LoopbackCollector::Serve, this, connection);
    }
}

void LoopbackCollector::Serve(int connection)
{
    Answer(connection);
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_connections.erase(std::find(m_connections.begin(), m_connections.end(), connection));
    close(connection);
}

// Requests one after another on one connection, as a client that keeps it open sends them.
void LoopbackCollector::Answer(int connection)
{
    std::string buffer;
    char chunk[64 << 10];
    for (;;) {
        std::size_t headEnd;
        while ((headEnd = buffer.find("\r\n\r\n")) == std::string::npos) {
            ssize_t const got = recv(connection, chunk, sizeof chunk, 0);
            if (got <= 0)
                return;
            buffer.append(chunk, static_cast<std::size_t>(got));
        }
        {
            std::lock_guard<std::mutex> const lock(m_mutex);
            if (m_first == Clock::time_point{})
                m_first = Clock::now();
        }
        std::size_t const total = headEnd + 4 + static_cast<std::size_t>(ContentLength(buffer.substr(0, headEnd + 2)));
        while (buffer.size() < total) {
            ssize_t const got = recv(connection, chunk, sizeof chunk, 0);
            if (got <= 0)
                return;
            buffer.append(chunk, static_cast<std::size_t>(got));
        }
        m_bodyBytes += static_cast<long long>(total - headEnd - 4);
        buffer.erase(0, total);
        if (send(connection, kAnswer, sizeof kAnswer - 1, MSG_NOSIGNAL) < 0)
            return;
        std::lock_guard<std::mutex> const lock(m_mutex);
        ++m_requests;
        m_last = Clock::now();
    }
}

}  // namespace QdxBench
