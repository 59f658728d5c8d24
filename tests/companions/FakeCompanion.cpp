// A stand-in companion, built once per suffix, version and variant (variants
// leave entry points out). Tests script it and read back the calls it got.
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#define FAKE_CONCAT_(name, suffix) name##suffix
#define FAKE_CONCAT(name, suffix) FAKE_CONCAT_(name, suffix)
#define FAKE_ENTRY(name) FAKE_CONCAT(name, FAKE_SUFFIX)
#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

__attribute__((used)) static const char version[] = "$Id: FakeCompanion,v " FAKE_VERSION " Jan  1 2025 00:00:00 Tests $";

namespace {

// Never destroyed: the wrapper may finalise the companion during process
// exit, after the companion's own static objects are gone.
std::mutex& s_mutex = *new std::mutex;
int s_initializeStatus = 0;
bool s_echo = false;
bool s_recording = true;
std::string& s_log = *new std::string;  // " Entry(detail)" per call

int Record(char const* entry, char const* detail)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    if (s_recording)
        s_log += std::string(" ") + entry + "(" + (detail != nullptr ? detail : "<null>") + ")";
    return s_initializeStatus;
}

}  // namespace

#ifndef FAKE_WITHOUT_INITIALIZE
FAKE_EXPORT int FAKE_ENTRY(Initialize)() { return Record("Initialize", ""); }
#endif
#ifndef FAKE_WITHOUT_INITIALIZE_EX
FAKE_EXPORT int FAKE_ENTRY(InitializeEx)(char const* text) { return Record("InitializeEx", text); }
#endif
FAKE_EXPORT void FAKE_ENTRY(Finalize)() { Record("Finalize", ""); }

#ifndef FAKE_WITHOUT_PROCESS_MESSAGE
FAKE_EXPORT char const* FAKE_ENTRY(ProcessMessage)(char const* name, char const* data)
{
    Record("ProcessMessage", name);
    return strdup(s_echo && data != nullptr ? data : "{\"_returnCode\": 0}");
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
FAKE_EXPORT void FakeSetInitializeStatus(int status) { s_initializeStatus = status; }
FAKE_EXPORT void FakeSetEcho(int echo) { s_echo = echo != 0; }  // answer the argument text received
FAKE_EXPORT void FakeSetRecording(int recording) { s_recording = recording != 0; }

/// The calls so far (valid until the next call).
FAKE_EXPORT char const* FakeLog() { std::lock_guard<std::mutex> const lock(s_mutex); return s_log.c_str(); }
