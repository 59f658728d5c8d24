// A stand-in companion, built once per suffix, version and variant (variants
// leave entry points out). Tests script it and read back the calls it got.
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <dlfcn.h>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <unistd.h>
#include <utility>

#define FAKE_CONCAT_(name, suffix) name##suffix
#define FAKE_CONCAT(name, suffix) FAKE_CONCAT_(name, suffix)
#define FAKE_ENTRY(name) FAKE_CONCAT(name, FAKE_SUFFIX)
#define FAKE_TEXT_(token) #token
#define FAKE_TEXT(token) FAKE_TEXT_(token)
#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

__attribute__((used)) static const char version[] =
    "$Id: FakeCompanion,v " FAKE_VERSION " Jan  1 2025 00:00:00 Tests $";

namespace {

// Never destroyed: the wrapper may finalise the companion during process
// exit, after the companion's own static objects are gone.
std::mutex& s_mutex = *new std::mutex;
int s_initializeStatus = 0;
bool s_echo = false;
bool s_recording = true;
std::string& s_log = *new std::string;  // " Entry(detail)" per call
// Name and argument text of every message. A deque, so that the texts handed
// out stay where they are while messages are added.
std::deque<std::pair<std::string, std::string>>& s_messages = *new std::deque<std::pair<std::string, std::string>>;
std::string* s_answer = new std::string("{\"_returnCode\": 0}");  // null: answer with a null text
std::string& s_recordFile = *new std::string;

// Once loaded, the companion stays mapped until the process ends, however
// often it is closed: its state outlives an unload and a reload, and the
// memory it holds stays reachable for leak checkers at exit.
__attribute__((constructor)) void StayLoaded()
{
    Dl_info self{};
    if (dladdr(reinterpret_cast<void*>(&StayLoaded), &self) != 0)
        dlopen(self.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

int Record(char const* entry, char const* detail)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    if (s_recording)
        s_log += std::string(" ") + entry + "(" + (detail != nullptr ? detail : "<null>") + ")";
    if (!s_recordFile.empty()) {
        // One write per line on an appending descriptor, so that several
        // companions and processes can share one record file.
        std::string const line = std::string(FAKE_TEXT(FAKE_SUFFIX)) + " " + entry + "\n";
        int const file = open(s_recordFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        if (file >= 0) {
            [[maybe_unused]] ssize_t const written = write(file, line.data(), line.size());
            close(file);
        }
    }
    return s_initializeStatus;
}

}  // namespace

#ifndef FAKE_WITHOUT_INITIALIZE
FAKE_EXPORT int FAKE_ENTRY(Initialize)()
{
    return Record("Initialize", "");
}
#endif
#ifndef FAKE_WITHOUT_INITIALIZE_EX
FAKE_EXPORT int FAKE_ENTRY(InitializeEx)(char const* text)
{
    return Record("InitializeEx", text);
}
#endif
FAKE_EXPORT void FAKE_ENTRY(Finalize)()
{
    Record("Finalize", "");
}

// Misbehaviour for checks of the checker: FAKE_MISBEHAVE_ON names the message
// that is answered wrongly, FAKE_MISBEHAVIOUR says how.
#define FAKE_MALFORMED 1  // an answer that is not JSON
#define FAKE_CRASH 2      // a segmentation fault
#define FAKE_HANG 3       // never returns
#ifdef FAKE_MISBEHAVE_ON
char const* Misbehave(char const* name)
{
    if (name == nullptr || std::strcmp(name, FAKE_MISBEHAVE_ON) != 0)
        return nullptr;
#if FAKE_MISBEHAVIOUR == FAKE_MALFORMED
    return strdup("{\"_returnCode\": 0,");
#elif FAKE_MISBEHAVIOUR == FAKE_CRASH
    std::raise(SIGSEGV);
#elif FAKE_MISBEHAVIOUR == FAKE_HANG
    for (;;)
        pause();
#endif
    return nullptr;
}
#endif

#ifndef FAKE_WITHOUT_PROCESS_MESSAGE
FAKE_EXPORT char const* FAKE_ENTRY(ProcessMessage)(char const* name, char const* data)
{
    Record("ProcessMessage", name);
#ifdef FAKE_MISBEHAVE_ON
    if (char const* const wrong = Misbehave(name))
        return wrong;
#endif
    std::lock_guard<std::mutex> const lock(s_mutex);
    if (s_recording)
        s_messages.emplace_back(name != nullptr ? name : "", data != nullptr ? data : "");
    if (s_echo && data != nullptr)
        return strdup(data);
    return s_answer != nullptr ? strdup(s_answer->c_str()) : nullptr;
}
#endif

#ifndef FAKE_WITHOUT_FREE_MESSAGE
FAKE_EXPORT void FAKE_ENTRY(FreeMessage)(char const* answer)
{
    Record("FreeMessage", "");
    std::free(const_cast<char*>(answer));
}
#endif

// Control functions, called before the companion is in use.
FAKE_EXPORT void FakeSetInitializeStatus(int status)
{
    s_initializeStatus = status;
}
// Answer with the argument text received.
FAKE_EXPORT void FakeSetEcho(int echo)
{
    s_echo = echo != 0;
}
// Off: neither the calls nor the messages are kept, so that a long run keeps no memory.
FAKE_EXPORT void FakeSetRecording(int recording)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    s_recording = recording != 0;
}

/// The text that every following message is answered with; null for a null answer.
FAKE_EXPORT void FakeSetAnswer(char const* text)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    std::string* const old = s_answer;
    s_answer = text != nullptr ? new std::string(text) : nullptr;
    delete old;
}
/// Appends a line "<suffix> <Entry>" to `path` for every entry-point call from
/// now on, so that another process can read which companions ran what, in
/// which order. Null or "" stops it.
FAKE_EXPORT void FakeSetRecordFile(char const* path)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    s_recordFile = path != nullptr ? path : "";
}

/// The calls so far (valid until the next call).
FAKE_EXPORT char const* FakeLog()
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    return s_log.c_str();
}

/// The messages received so far; the texts stay valid until FakeClearMessages().
FAKE_EXPORT int FakeMessageCount()
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    return static_cast<int>(s_messages.size());
}
FAKE_EXPORT char const* FakeMessageName(int index)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    return index >= 0 && static_cast<std::size_t>(index) < s_messages.size() ? s_messages[index].first.c_str()
                                                                             : nullptr;
}
FAKE_EXPORT char const* FakeMessageData(int index)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    return index >= 0 && static_cast<std::size_t>(index) < s_messages.size() ? s_messages[index].second.c_str()
                                                                             : nullptr;
}
FAKE_EXPORT void FakeClearMessages()
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    s_messages.clear();
}
