#include "ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

namespace Norvane {
namespace QdxTool {

namespace {

using Clock = std::chrono::steady_clock;

// The child's exit status when the work threw.
constexpr int kWorkThrew = 125;

[[noreturn]] void RunWork(std::function<int(int)> const& work, int channel)
{
    int result = kWorkThrew;
    try {
        result = work(channel);
    } catch (...) {
    }
    _exit(result);
}

long RemainingMs(Clock::time_point deadline)
{
    auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left > 0 ? static_cast<long>(left) : 0;
}

// Reads the report until the child closes it (by ending) or the deadline.
void CollectReport(int channel, Clock::time_point deadline, std::string& report)
{
    char buffer[4096];
    for (;;) {
        pollfd ready{channel, POLLIN, 0};
        int const polled = poll(&ready, 1, static_cast<int>(RemainingMs(deadline)));
        if (polled < 0 && errno == EINTR)
            continue;
        if (polled <= 0)
            return;
        ssize_t const got = read(channel, buffer, sizeof buffer);
        if (got > 0)
            report.append(buffer, static_cast<std::size_t>(got));
        else if (got == 0 || errno != EINTR)
            return;
    }
}

// Waits for the child until the deadline; false when it is still running.
bool WaitUntil(pid_t child, Clock::time_point deadline, int& status)
{
    for (;;) {
        pid_t const waited = waitpid(child, &status, WNOHANG);
        if (waited == child || (waited < 0 && errno != EINTR))
            return true;
        if (Clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

}  // namespace

ChildOutcome RunInChild(std::function<int(int reportChannel)> const& work, double timeoutSeconds)
{
    ChildOutcome outcome;
    int channel[2];
    if (pipe2(channel, O_CLOEXEC) != 0) {
        outcome.error = std::string("cannot make a pipe: ") + std::strerror(errno);
        return outcome;
    }
    pid_t const child = fork();
    if (child < 0) {
        outcome.error = std::string("cannot start a child process: ") + std::strerror(errno);
        close(channel[0]);
        close(channel[1]);
        return outcome;
    }
    if (child == 0) {
        close(channel[0]);
        RunWork(work, channel[1]);
    }
    close(channel[1]);
    auto const deadline =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(timeoutSeconds));
    CollectReport(channel[0], deadline, outcome.report);
    close(channel[0]);
    int status = 0;
    if (!WaitUntil(child, deadline, status)) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        outcome.end = ChildOutcome::End::TimedOut;
    } else if (WIFSIGNALED(status)) {
        outcome.end = ChildOutcome::End::Crashed;
        outcome.signal = WTERMSIG(status);
    } else {
        outcome.end = ChildOutcome::End::Exited;
        outcome.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    }
    return outcome;
}

void ReportLine(int reportChannel, std::string const& line)
{
    std::string const text = line + '\n';
    std::size_t written = 0;
    while (written < text.size()) {
        ssize_t const put = write(reportChannel, text.data() + written, text.size() - written);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return;
        written += static_cast<std::size_t>(put);
    }
}

}  // namespace QdxTool
}  // namespace Norvane
