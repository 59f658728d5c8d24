#include "CoreCompanionChoice.h"

#include "Facet.h"
#include "QdxInternalMessages.h"
#include "QdxLifecycle.h"
#include "QdxSession.h"
#include "SpillFile.h"
#include "Store.h"

#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <thread>

using namespace Norvane::QDXDesktopSDK;

namespace QdxBench {

namespace {

bool s_loaded = false;
CoreCompanion s_current = CoreCompanion::Instant;
QdxString s_sessionId;
std::string s_database;  // the local core's database file, once it said

// QDX_BENCH_LOCAL_CORE_FOLDER in the environment names another build of the
// local core, to set two builds side by side.
char const* Folder(CoreCompanion companion)
{
    if (companion == CoreCompanion::Instant)
        return QDX_BENCH_INSTANT_COMPANION_FOLDER;
    char const* const chosen = std::getenv("QDX_BENCH_LOCAL_CORE_FOLDER");
    return chosen != nullptr && *chosen != '\0' ? chosen : QDX_BENCH_LOCAL_CORE_FOLDER;
}

[[noreturn]] void Fail(char const* what, unsigned int code)
{
    std::fprintf(stderr, "%s failed with code %u\n", what, code);
    std::exit(1);
}

long long FileBytes(std::string const& path)
{
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : 0;
}

void Unload()
{
    OnShutdown();
    s_loaded = false;
}

QdxString OpenLocalCoreSession()
{
    if (unsigned int const code = SetOptedIn(JsonValue(true)))
        Fail("SetOptedIn", code);
    Facet::Product product;
    product.Data()["product_name"] = "QdxEditor";
    product.Data()["product_version"] = "12.3.1.4567";
    QdxString sessionId;
    if (unsigned int const code = Initialize(product, sessionId))
        Fail("Initialize", code);
    return sessionId;
}

}  // namespace

QdxString const& UseCoreCompanion(CoreCompanion companion, bool emptyStore)
{
    if (s_loaded && s_current == companion && !emptyStore)
        return s_sessionId;
    Unload();
    SetLibraryPath(QdxString(Folder(companion)));
    s_current = companion;
    s_loaded = true;
    if (companion == CoreCompanion::Instant) {
        s_sessionId = "4f6c2a9e-7d31-4b8e-9c55-0e2f1a7b3d64";
        return s_sessionId;
    }
    if (emptyStore) {
        if (s_database.empty())
            LocalCoreStoreStatus();  // loads the core, which names its database
        Unload();
        for (char const* suffix : {"", "-wal", "-shm"})
            std::remove((s_database + suffix).c_str());
        s_loaded = true;
    }
    s_sessionId = OpenLocalCoreSession();
    return s_sessionId;
}

void UnloadCoreCompanion()
{
    Unload();
}

void ConfigureLocalCore(std::string const& lines)
{
    UseCoreCompanion(CoreCompanion::LocalCore);
    if (s_database.empty())
        LocalCoreStoreStatus();
    // The database lives in "localcore" under the SDK folder, which holds the configuration.
    std::string const sdkFolder = s_database.substr(0, s_database.rfind("/localcore/"));
    std::string const file = sdkFolder + "/qdxdesktopsdk.env";
    if (lines.empty()) {
        std::remove(file.c_str());
        return;
    }
    std::ofstream out(file, std::ios::trunc);
    out << lines;
}

JsonValue LocalCoreStoreStatus()
{
    JsonValue status;
    if (unsigned int const code = InternalProcessMessage(QdxString("GetStoreStatus"), status))
        Fail("GetStoreStatus", code);
    s_database = static_cast<QdxString>(status["database"]).c_str();
    return status;
}

long long DroppedRecords(JsonValue const& status)
{
    JsonValue const& counters = status["counters"];
    JsonValue const names = counters.GetKeyList();
    long long dropped = 0;
    for (int i = 0; i < names.GetCount(); ++i) {
        QdxString const name = static_cast<QdxString>(names[i]);
        if (std::strncmp(name.c_str(), "dropped_", 8) == 0)
            dropped += static_cast<long long>(counters[name]);
    }
    return dropped;
}

long long DatabaseFileBytes()
{
    return FileBytes(s_database) + FileBytes(s_database + "-wal");
}

long long RecordsOnDisk(long long* removedByLimits)
{
    std::string const folder = s_database.substr(0, s_database.rfind('/'));
    // A writer may hold the database for a moment (the figures come back
    // empty, without a schema version, when they cannot be read): try again.
    Norvane::LocalCore::OpenReport report;
    Norvane::LocalCore::StoreFigures figures;
    for (int attempt = 0; figures.schemaVersion == 0; ++attempt) {
        if (attempt == 20) {
            std::fprintf(stderr, "cannot read the local core's database: %s\n", report.error.c_str());
            std::exit(1);
        }
        if (attempt > 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        std::unique_ptr<Norvane::LocalCore::Store> const store =
            Norvane::LocalCore::Store::Open(folder, report, Norvane::LocalCore::OpenMode::ReadOnly);
        if (store != nullptr) {
            figures = store->Figures();
            std::map<std::string, long long> const counters = store->Counters();
            if (removedByLimits != nullptr) {
                *removedByLimits = 0;
                for (char const* name : Norvane::LocalCore::LimitCounter::kAll) {
                    auto const counter = counters.find(name);
                    *removedByLimits += counter != counters.end() ? counter->second : 0;
                }
            }
        }
    }
    std::vector<Norvane::LocalCore::WorkItem> spilled;
    std::vector<std::string> files;
    Norvane::LocalCore::SpillFile::ReadAll(folder, spilled, files);
    long long records = figures.records;
    for (Norvane::LocalCore::WorkItem const& item : spilled)
        records += item.kind == Norvane::LocalCore::WorkItem::Kind::Record ? 1 : 0;
    return records;
}

void RequireIsolation(char const* program)
{
    if (std::getenv("QDX_TEST_ISOLATED") != nullptr)
        return;
    std::fprintf(stderr,
                 "%s writes the SDK folder under the home folder; run it in a private home, /tmp and /opt:\n"
                 "  tests/isolate.sh SOURCE_DIR BUILD_DIR %s [ARGUMENTS...]   (as root)\n",
                 program, program);
    std::exit(2);
}

}  // namespace QdxBench
