// A stand-in companion library for the tests. One source is built per
// entry-point suffix and version; variants leave entry points out. Tests
// script it through its control functions (initialisation status, canned
// answers, null answers) before the sender loads it, and read back every call
// it received.
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#define FAKE_CONCAT_(name, suffix) name##suffix
#define FAKE_CONCAT(name, suffix) FAKE_CONCAT_(name, suffix)
#define FAKE_ENTRY(name) FAKE_CONCAT(name, FAKE_SUFFIX)
#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

__attribute__((used)) static const char version[] = "$Id: FakeCompanion,v " FAKE_VERSION " Jan  1 2025 00:00:00 Tests $";

namespace {

struct Call {
    std::string entry;
    std::string name;
    std::string data;
};

std::mutex s_mutex;
int s_initializeStatus = 0;
bool s_answerNull = false;
bool s_echo = false;        // answer with the argument text itself
bool s_recording = true;
std::string s_answer = "{\"_returnCode\": 0}";
std::vector<Call> s_calls;
std::set<char const*> s_outstanding;  // answers handed out and not yet given back
int s_unknownFrees = 0;

void Record(char const* entry, char const* name = "", char const* data = "")
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    if (!s_recording)
        return;
    s_calls.push_back({entry, name != nullptr ? name : "<null>", data != nullptr ? data : "<null>"});
}

}  // namespace

#ifndef FAKE_WITHOUT_INITIALIZE
FAKE_EXPORT int FAKE_ENTRY(Initialize)()
{
    Record("Initialize");
    std::lock_guard<std::mutex> const lock(s_mutex);
    return s_initializeStatus;
}
#endif

#ifndef FAKE_WITHOUT_INITIALIZE_EX
FAKE_EXPORT int FAKE_ENTRY(InitializeEx)(char const* text)
{
    Record("InitializeEx", "", text);
    std::lock_guard<std::mutex> const lock(s_mutex);
    return s_initializeStatus;
}
#endif

FAKE_EXPORT void FAKE_ENTRY(Finalize)()
{
    Record("Finalize");
}

#ifndef FAKE_WITHOUT_PROCESS_MESSAGE
FAKE_EXPORT char const* FAKE_ENTRY(ProcessMessage)(char const* name, char const* data)
{
    Record("ProcessMessage", name, data);
    std::lock_guard<std::mutex> const lock(s_mutex);
    if (s_answerNull)
        return nullptr;
    char* const answer = strdup(s_echo && data != nullptr ? data : s_answer.c_str());
    s_outstanding.insert(answer);
    return answer;
}
#endif

#ifndef FAKE_WITHOUT_FREE_MESSAGE
FAKE_EXPORT void FAKE_ENTRY(FreeMessage)(char const* answer)
{
    Record("FreeMessage", answer == nullptr ? "<null>" : "");
    std::lock_guard<std::mutex> const lock(s_mutex);
    if (s_outstanding.erase(answer) != 0)
        std::free(const_cast<char*>(answer));
    else if (answer != nullptr)
        ++s_unknownFrees;
}
#endif

// ---- Control functions for the tests ----

/// The status the initialisation entry points return from now on.
FAKE_EXPORT void FakeSetInitializeStatus(int status)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    s_initializeStatus = status;
}

/// The text "ProcessMessage" answers from now on; null answers a null pointer.
FAKE_EXPORT void FakeSetAnswer(char const* answer)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    s_answerNull = answer == nullptr;
    s_answer = answer != nullptr ? answer : "";
}

/// With `echo`, "ProcessMessage" answers the argument text it received.
FAKE_EXPORT void FakeSetEcho(int echo)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    s_echo = echo != 0;
}

/// Without `recording`, calls are no longer kept (for long benchmark runs).
FAKE_EXPORT void FakeSetRecording(int recording)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    s_recording = recording != 0;
}

FAKE_EXPORT int FakeCallCount()
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    return static_cast<int>(s_calls.size());
}

/// The entry point, message name and data of call `index` (valid until the
/// next call of the library).
FAKE_EXPORT char const* FakeCallEntry(int index)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    return s_calls.at(static_cast<std::size_t>(index)).entry.c_str();
}

FAKE_EXPORT char const* FakeCallName(int index)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    return s_calls.at(static_cast<std::size_t>(index)).name.c_str();
}

FAKE_EXPORT char const* FakeCallData(int index)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    return s_calls.at(static_cast<std::size_t>(index)).data.c_str();
}

/// Answers not yet given back, and pointers given back that were never handed out.
FAKE_EXPORT int FakeOutstandingAnswers()
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    return static_cast<int>(s_outstanding.size());
}

FAKE_EXPORT int FakeUnknownFrees()
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    return s_unknownFrees;
}
