// What the tests of the local core share: the core library loaded with
// dlopen and driven through its entry points as the wrapper drives it, its
// answers parsed, and the SDK folder, configuration and database it uses in
// the test's private home folder.
#ifndef QDX_TESTS_LOCALCORE_CORE_HARNESS_H
#define QDX_TESTS_LOCALCORE_CORE_HARNESS_H

#include "CoreJson.h"
#include "LocalCoreFiles.h"
#include "TestIsolation.h"
#include "store/Store.h"

#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

struct sqlite3;

namespace CoreTesting {

namespace fs = std::filesystem;
using namespace Norvane::LocalCore;

/// The core's answer to one message.
struct Answer {
    int code = -1;  ///< "_returnCode"; -1 when the answer is not an object with an integer one
    JsonDocument json;

    std::string Text(char const* member) const;
    long long Number(char const* member) const;
    /// A member of "counters" ("GetStoreStatus"), 0 when absent.
    long long Counter(char const* name) const;
};

/// One load of a core library file, driven through its five entry points.
class LoadedCore {
public:
    explicit LoadedCore(std::string const& file = LocalCoreFiles::kCore);
    /// Finalizes the core; the library stays mapped.
    ~LoadedCore();
    LoadedCore(LoadedCore const&) = delete;
    LoadedCore& operator=(LoadedCore const&) = delete;

    bool Loaded() const { return m_library != nullptr; }
    int Initialize() const { return m_initialize(); }
    int InitializeEx(char const* configuration) const { return m_initializeEx(configuration); }
    void Finalize() const { m_finalize(); }
    Answer Send(char const* name, char const* text) const;
    Answer Send(char const* name, std::string const& text) const { return Send(name, text.c_str()); }
    /// Finalizes the core and closes the library.
    void Unload();

private:
    void* m_library = nullptr;
    int (*m_initialize)() = nullptr;
    int (*m_initializeEx)(char const*) = nullptr;
    void (*m_finalize)() = nullptr;
    char const* (*m_process)(char const*, char const*) = nullptr;
    void (*m_free)(char const*) = nullptr;
};

/// A test with the core of this build loaded, in the private home folder.
class CoreTest : public ::testing::Test {
protected:
    void SetUp() override;

    LoadedCore& Core() { return *m_core; }
    /// Unloads the core (unless that was done) and loads it afresh, as the
    /// application's next process would.
    void ReloadCore()
    {
        m_core.reset();
        m_core = std::make_unique<LoadedCore>();
    }
    Answer Send(char const* name, std::string const& text = "{}") { return m_core->Send(name, text); }
    int Code(char const* name, std::string const& text = "{}") { return Send(name, text).code; }
    void OptIn() { ASSERT_EQ(Code("SetOptedIn", R"({"OptIN": true})"), 0); }
    /// Opens a session with "Initialize" and returns its id.
    std::string OpenSession();

private:
    std::unique_ptr<LoadedCore> m_core;
};

fs::path SdkFolder();
inline fs::path StoreFolder()
{
    return SdkFolder() / "localcore";
}
inline fs::path DatabaseFile()
{
    return StoreFolder() / "usage.db";
}
/// Writes the core's configuration file, read when the core starts.
void WriteConfiguration(std::string const& lines);
void WriteFile(fs::path const& file, std::string const& content);
std::string ReadFile(fs::path const& file);
/// The files in `folder` whose names start with `prefix`.
std::vector<fs::path> FilesStartingWith(fs::path const& folder, std::string const& prefix);

/// {"session_id": id} with the given further members (text after a comma).
std::string WithSession(std::string const& id, std::string const& members = "");
/// A record's arguments that say who sent it: {"p": process, "i": index}.
std::string NumberedRecord(int process, long long index, std::string const& payload = "");
/// The (process, index) pairs of stored numbered records, in storage order.
std::vector<std::pair<int, long long>> Numbers(std::vector<StoredRecord> const& records);

JsonDocument Parse(std::string const& text);
/// Equal as JSON values (member order aside); false when either is not JSON.
bool SameJson(std::string const& left, std::string const& right);
/// An address as a text stream writes it, the form in which pointers travel.
std::string PointerText(void const* pointer);

/// The database as the command-line tool reads it; a test failure when it cannot be opened.
std::unique_ptr<Store> OpenStoreReadOnly();
std::vector<StoredRecord> StoredRecords();
std::map<std::string, std::string> StoredSettings();
/// Every row of `sql` on a connection of the test's own, as text ("" for NULL).
std::vector<std::vector<std::string>> Query(std::string const& sql);

/// A connection of the test's own holding the database's write lock
/// (BEGIN IMMEDIATE), as another process would, until released.
class DatabaseLock {
public:
    DatabaseLock();
    ~DatabaseLock() { Release(); }
    DatabaseLock(DatabaseLock const&) = delete;
    DatabaseLock& operator=(DatabaseLock const&) = delete;
    bool Held() const { return m_held; }
    void Release();

private:
    sqlite3* m_db = nullptr;
    bool m_held = false;
};

/// Polls `condition` until it holds or a generous limit passes.
template <typename Condition> bool PollUntil(Condition condition, std::chrono::seconds limit = std::chrono::seconds(20))
{
    auto const end = std::chrono::steady_clock::now() + limit;
    for (; !condition(); std::this_thread::sleep_for(std::chrono::milliseconds(10)))
        if (std::chrono::steady_clock::now() > end)
            return false;
    return true;
}

/// Runs `body` in a forked child, which leaves with its result at once (no
/// exit handlers, no test framework); returns the child's process id.
pid_t Spawn(std::function<int()> const& body);
/// The child's exit status; -1 when a signal ended it or it did not end
/// within a generous limit (it is then killed).
int ExitStatus(pid_t child);

}  // namespace CoreTesting

#endif
