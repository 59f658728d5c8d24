#include "OtlpReceiver.h"

#include "OtlpReceiverFiles.h"
#include "values/RapidJson.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

extern char** environ;

namespace UploadTesting {

namespace {

namespace fs = std::filesystem;
using Norvane::QDXDesktopSDK::JsonDocument;
using Node = JsonDocument::ValueType;

// Bounds a wait for a receiver that does not start or stop, so that a broken
// machine fails the test rather than hanging it; never a measure of speed.
constexpr auto kStartBound = std::chrono::seconds(60);
constexpr auto kStopBound = std::chrono::seconds(20);
constexpr auto kPoll = std::chrono::milliseconds(10);

std::string ReadFile(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string Compact(Node const& value)
{
    QdxRapidJson::StringBuffer buffer;
    QdxRapidJson::Writer<QdxRapidJson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return std::string(buffer.GetString(), buffer.GetSize());
}

// A member as text: strings as they are, anything else as its JSON; "" when
// absent or null.
std::string Text(Node const& object, char const* name)
{
    auto const member = object.FindMember(name);
    if (member == object.MemberEnd() || member->value.IsNull())
        return std::string();
    if (member->value.IsString())
        return std::string(member->value.GetString(), member->value.GetStringLength());
    return Compact(member->value);
}

long long Number(Node const& object, char const* name)
{
    auto const member = object.FindMember(name);
    return member != object.MemberEnd() && member->value.IsInt64() ? member->value.GetInt64() : 0;
}

bool Flag(Node const& object, char const* name)
{
    auto const member = object.FindMember(name);
    return member != object.MemberEnd() && member->value.IsBool() && member->value.GetBool();
}

// Each line of a JSON-lines file that parses as an object; a line that does
// not is a fault of the receiver, reported as a test failure.
template <class Visit> void ForEachLine(std::string const& path, Visit visit)
{
    std::istringstream lines(ReadFile(path));
    std::string line;
    while (std::getline(lines, line)) {
        if (line.empty())
            continue;
        JsonDocument document;
        document.Parse(line.c_str(), line.size());
        if (document.HasParseError() || !document.IsObject()) {
            ADD_FAILURE() << path << ": not a JSON object: " << line;
            continue;
        }
        visit(document);
    }
}

}  // namespace

std::string OtlpReceiver::Unavailable()
{
    if (OtlpReceiverFiles::kNode[0] == '\0')
        return "node was not found when the build was configured: install Debian's nodejs and npm "
               "(scripts/setup.sh does) and configure again";
    std::string const schema = std::string(OtlpReceiverFiles::kReceiverFolder) +
                               "/node_modules/@opentelemetry/otlp-transformer/build/src/generated/root.js";
    if (!fs::exists(schema))
        return "the receiver's npm packages are not installed: run `npm ci` in " +
               std::string(OtlpReceiverFiles::kReceiverFolder) + " (scripts/setup.sh does)";
    return std::string();
}

OtlpReceiver::OtlpReceiver()
{
    char folder[] = "/tmp/qdx-otlp-receiver-XXXXXX";
    if (mkdtemp(folder) != nullptr)
        m_folder = folder;
}

OtlpReceiver::~OtlpReceiver()
{
    Stop();
    std::error_code ignored;
    if (!m_folder.empty())
        fs::remove_all(m_folder, ignored);
}

bool OtlpReceiver::Fail(std::string problem)
{
    m_problem = std::move(problem);
    return false;
}

std::string OtlpReceiver::Endpoint() const
{
    return "http://127.0.0.1:" + std::to_string(m_port);
}

bool OtlpReceiver::Start(std::string const& plan, unsigned seed)
{
    m_problem.clear();
    if (m_pid > 0)
        return Fail("already running");
    if (m_folder.empty())
        return Fail("no folder for the receiver's files under /tmp");
    std::string const portFile = File("port");
    fs::remove(portFile);

    std::string const script = std::string(OtlpReceiverFiles::kReceiverFolder) + "/receiver.js";
    std::vector<std::string> arguments = {OtlpReceiverFiles::kNode,
                                          script,
                                          "--port-file",
                                          portFile,
                                          "--records",
                                          File("records.jsonl"),
                                          "--requests",
                                          File("requests.jsonl"),
                                          "--errors",
                                          File("errors.jsonl"),
                                          "--plan",
                                          plan,
                                          "--seed",
                                          std::to_string(seed),
                                          "--port",
                                          std::to_string(m_port)};
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, File("log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    int const spawned = posix_spawn(&m_pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) {
        m_pid = -1;
        return Fail("cannot start " + arguments[0] + ": " + std::strerror(spawned));
    }

    auto const deadline = std::chrono::steady_clock::now() + kStartBound;
    while (!fs::exists(portFile)) {
        int status = 0;
        if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_pid = -1;
            return Fail("the receiver ended before it listened:\n" + Log());
        }
        if (std::chrono::steady_clock::now() > deadline) {
            Stop();
            return Fail("the receiver did not listen within a minute:\n" + Log());
        }
        std::this_thread::sleep_for(kPoll);
    }
    m_port = std::atoi(ReadFile(portFile).c_str());
    return true;
}

void OtlpReceiver::Stop()
{
    if (m_pid <= 0)
        return;
    kill(m_pid, SIGTERM);
    auto const deadline = std::chrono::steady_clock::now() + kStopBound;
    int status = 0;
    while (waitpid(m_pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, &status, 0);
            break;
        }
        std::this_thread::sleep_for(kPoll);
    }
    m_pid = -1;
}

std::vector<ReceivedRecord> OtlpReceiver::Records() const
{
    std::vector<ReceivedRecord> records;
    ForEachLine(File("records.jsonl"), [&](JsonDocument const& line) {
        ReceivedRecord record;
        record.request = static_cast<int>(Number(line, "request"));
        record.recordId = Text(line, "recordId");
        record.sessionId = Text(line, "sessionId");
        record.eventName = Text(line, "eventName");
        record.body = line.HasMember("body") ? Compact(line["body"]) : "null";
        record.attributes = Text(line, "attributes");
        record.resource = Text(line, "resource");
        record.gzip = Flag(line, "gzip");
        records.push_back(std::move(record));
    });
    return records;
}

std::vector<ReceivedRequest> OtlpReceiver::Requests() const
{
    std::vector<ReceivedRequest> requests;
    ForEachLine(File("requests.jsonl"), [&](JsonDocument const& line) {
        ReceivedRequest request;
        request.number = static_cast<int>(Number(line, "request"));
        request.outcome = Text(line, "outcome");
        request.status = static_cast<int>(Number(line, "status"));
        request.gzip = Flag(line, "gzip");
        request.bytes = Number(line, "bytes");
        request.jsonBytes = Number(line, "jsonBytes");
        request.records = static_cast<int>(Number(line, "records"));
        auto const headers = line.FindMember("headers");
        if (headers != line.MemberEnd() && headers->value.IsObject())
            for (auto const& header : headers->value.GetObject())
                request.headers[header.name.GetString()] = Text(headers->value, header.name.GetString());
        requests.push_back(std::move(request));
    });
    return requests;
}

std::vector<std::string> OtlpReceiver::Errors() const
{
    std::vector<std::string> errors;
    ForEachLine(File("errors.jsonl"), [&](JsonDocument const& line) { errors.push_back(Compact(line)); });
    return errors;
}

int OtlpReceiver::CountOutcome(std::string const& outcome) const
{
    int count = 0;
    for (auto const& request : Requests())
        count += request.outcome == outcome ? 1 : 0;
    return count;
}

std::string OtlpReceiver::Log() const
{
    return ReadFile(File("log"));
}

}  // namespace UploadTesting
