#include "QdxsdkFixture.h"

#include "QdxsdkProgram.h"
#include "RecordJson.h"
#include "TestIsolation.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sstream>

using namespace Norvane;

namespace {

std::string ReadAll(int descriptor)
{
    std::string text;
    char buffer[4096];
    for (ssize_t got; (got = read(descriptor, buffer, sizeof buffer)) != 0;) {
        if (got > 0)
            text.append(buffer, static_cast<std::size_t>(got));
        else if (errno != EINTR)
            break;
    }
    return text;
}

}  // namespace

std::vector<std::string> ToolResult::Lines() const
{
    std::vector<std::string> lines;
    std::istringstream stream(out);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

ToolResult RunQdxsdk(std::vector<std::string> const& arguments)
{
    std::vector<char*> argv{const_cast<char*>(kQdxsdkProgram)};
    for (std::string const& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    int output[2];
    std::FILE* const errors = std::tmpfile();
    if (errors == nullptr || pipe(output) != 0)
        return {};
    pid_t const child = fork();
    if (child == 0) {
        dup2(output[1], STDOUT_FILENO);
        dup2(fileno(errors), STDERR_FILENO);
        close(output[0]);
        close(output[1]);
        execv(kQdxsdkProgram, argv.data());
        _exit(127);
    }
    close(output[1]);
    ToolResult result;
    result.out = ReadAll(output[0]);
    close(output[0]);
    int status = 0;
    waitpid(child, &status, 0);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::rewind(errors);
    result.err = ReadAll(fileno(errors));
    std::fclose(errors);
    return result;
}

RunningQdxsdk::RunningQdxsdk(std::vector<std::string> const& arguments)
{
    std::vector<char*> argv{const_cast<char*>(kQdxsdkProgram)};
    for (std::string const& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    int output[2];
    if (pipe(output) != 0)
        return;
    m_pid = fork();
    if (m_pid == 0) {
        dup2(output[1], STDOUT_FILENO);
        close(output[0]);
        close(output[1]);
        execv(kQdxsdkProgram, argv.data());
        _exit(127);
    }
    close(output[1]);
    m_output = output[0];
}

RunningQdxsdk::~RunningQdxsdk()
{
    if (m_pid > 0)
        Stop(SIGKILL);
    if (m_output >= 0)
        close(m_output);
}

std::vector<std::string> RunningQdxsdk::WaitForLines(std::size_t count)
{
    auto const lines = [this] {
        std::vector<std::string> split;
        std::istringstream stream(m_read);
        for (std::string line; std::getline(stream, line);)
            split.push_back(line);
        return split;
    };
    // Generous: the program polls every quarter second, but a loaded machine is slow.
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (lines().size() < count && std::chrono::steady_clock::now() < deadline && m_output >= 0) {
        pollfd ready{m_output, POLLIN, 0};
        if (poll(&ready, 1, 200) <= 0)
            continue;
        char buffer[4096];
        ssize_t const got = read(m_output, buffer, sizeof buffer);
        if (got <= 0)
            break;
        m_read.append(buffer, static_cast<std::size_t>(got));
    }
    return lines();
}

int RunningQdxsdk::Stop(int signal)
{
    if (m_pid <= 0)
        return -1;
    kill(m_pid, signal);
    return Wait();
}

int RunningQdxsdk::Wait()
{
    if (m_pid <= 0)
        return -1;
    int status = 0;
    waitpid(m_pid, &status, 0);
    m_pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

QDXDesktopSDK::JsonDocument ParseJson(std::string const& text)
{
    QDXDesktopSDK::JsonDocument document;
    document.Parse(text.c_str(), text.size());
    return document;
}

void QdxsdkTest::SetUp()
{
    QDX_REQUIRE_ISOLATION();
    char folder[] = "/tmp/qdxsdk-test-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    m_sdkFolder = folder;
    using namespace std::chrono;
    m_nowMs = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

void QdxsdkTest::FillStore()
{
    LocalCore::OpenReport report;
    m_store = LocalCore::Store::Open(StoreFolder(), report);
    ASSERT_TRUE(m_store) << report.error;
    long long const minute = 60 * 1000;
    long long const hour = 60 * minute;
    m_records = {
        {m_nowMs - 72 * hour, kSessionA, "SessionStarted", R"({"product":{"name":"Demo","version":"1.2"}})"},
        {m_nowMs - 2 * hour, kSessionA, "Event", R"({"name":"open","path":"/x/y.txt","count":2})"},
        {m_nowMs - 2 * hour + 1500, kSessionB, "Event",
         R"({"text":"Grüße 😀 日本","escaped":"\u00fc\n","nested":{"list":[1,2.5,null,true]}})"},
        {m_nowMs - minute, "", "Glint", R"({"k":"v"})"},
        {m_nowMs - minute / 2, kSessionB, "Event", R"({"i":5})"},
    };
    ASSERT_TRUE(m_store->OpenSession(kSessionA, R"({"name":"Demo"})", m_nowMs - 73 * hour, 100));
    ASSERT_TRUE(m_store->OpenSession(kSessionB, R"({"name":"Demo"})", m_nowMs - 3 * hour, 200));
    ASSERT_TRUE(m_store->CloseSession(kSessionA, m_nowMs - hour));
    for (LocalCore::RecordToStore const& record : m_records)
        ASSERT_TRUE(m_store->AddRecord(record)) << m_store->LastError();
}

ToolResult QdxsdkTest::Run(std::vector<std::string> arguments) const
{
    arguments.insert(arguments.begin(), {"--sdk-folder", m_sdkFolder});
    return RunQdxsdk(arguments);
}

std::vector<long long> QdxsdkTest::CheckedSeqs(ToolResult const& result) const
{
    std::vector<long long> seqs;
    for (std::string const& line : result.Lines()) {
        QDXDesktopSDK::JsonDocument const json = ParseJson(line);
        EXPECT_TRUE(json.IsObject()) << line;
        if (!json.IsObject())
            continue;
        EXPECT_EQ(json.MemberCount(), 5u) << line;
        long long const seq = json.HasMember("seq") && json["seq"].IsInt64() ? json["seq"].GetInt64() : 0;
        EXPECT_TRUE(seq >= 1 && seq <= static_cast<long long>(m_records.size())) << line;
        if (seq < 1 || seq > static_cast<long long>(m_records.size()))
            continue;
        LocalCore::RecordToStore const& stored = m_records[static_cast<std::size_t>(seq - 1)];
        EXPECT_EQ(json["time"], LocalCore::Rfc3339Utc(stored.timeMs).c_str()) << line;
        if (stored.sessionId.empty())
            EXPECT_TRUE(json["session_id"].IsNull()) << line;
        else
            EXPECT_EQ(json["session_id"], stored.sessionId.c_str()) << line;
        EXPECT_EQ(json["name"], stored.name.c_str()) << line;
        EXPECT_EQ(json["args"], ParseJson(stored.args)) << line;
        seqs.push_back(seq);
    }
    return seqs;
}
