// A stand-in for a collector in the benchmarks: it listens on 127.0.0.1 and
// answers every request at once with 200 and "{}", reading each body whole,
// so that what is measured is the sender. Not a checker of what it receives:
// the upload tests use the receiver of tests/upload for that.
#ifndef QDX_BENCH_LOOPBACK_COLLECTOR_H
#define QDX_BENCH_LOOPBACK_COLLECTOR_H

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace QdxBench {

class LoopbackCollector {
public:
    using Clock = std::chrono::steady_clock;

    /// Listens on a port the system chooses; exits the program when it cannot.
    LoopbackCollector();
    ~LoopbackCollector();
    LoopbackCollector(LoopbackCollector const&) = delete;
    LoopbackCollector& operator=(LoopbackCollector const&) = delete;

    /// "http://127.0.0.1:PORT".
    std::string Endpoint() const;
    long long Requests() const { return m_requests.load(); }
    long long BodyBytes() const { return m_bodyBytes.load(); }
    /// From the first request's arrival to the last answer, in seconds.
    double BusySeconds() const;
    /// Forgets the counts and times.
    void Reset();

private:
    void Accept();
    void Serve(int connection);
    void Answer(int connection);

    int m_listener = -1;
    int m_port = 0;
    std::atomic<bool> m_stopping{false};
    std::atomic<long long> m_requests{0};
    std::atomic<long long> m_bodyBytes{0};
    mutable std::mutex m_mutex;
    Clock::time_point m_first{};         // guarded by m_mutex
    Clock::time_point m_last{};          // guarded by m_mutex
    std::vector<int> m_connections;      // guarded by m_mutex
    std::vector<std::thread> m_servers;  // guarded by m_mutex
    std::thread m_acceptor;
};

}  // namespace QdxBench

#endif
