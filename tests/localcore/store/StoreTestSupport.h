// What the store's tests share: a fresh folder per test, direct SQLite access
// to look at (or damage) a database behind the store's back, and records.
#ifndef QDX_LOCAL_CORE_STORE_TEST_SUPPORT_H
#define QDX_LOCAL_CORE_STORE_TEST_SUPPORT_H

#include "Store.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

namespace QdxStoreTest {

using namespace Norvane::LocalCore;

/// A new folder under /tmp (the test's own inside the isolating launcher),
/// removed with everything in it at the end.
class TempFolder {
public:
    TempFolder()
    {
        std::string pattern = "/tmp/localcore-store-XXXXXX";
        m_path = mkdtemp(pattern.data()) != nullptr ? pattern : std::string();
    }
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    std::string const& Path() const { return m_path; }
    /// The folder the store keeps its database in.
    std::string Store() const { return m_path + "/localcore"; }
    std::string Database() const { return Store() + "/usage.db"; }

private:
    std::string m_path;
};

inline std::unique_ptr<Store> OpenStore(std::string const& folder, OpenMode mode = OpenMode::ReadWrite)
{
    OpenReport report;
    auto store = Store::Open(folder, report, mode);
    EXPECT_TRUE(report.ready) << report.error;
    return store;
}

/// A record of session "s-<session>" with a small varied argument object.
inline RecordToStore Record(long long i, long long timeMs = 1000, std::string const& session = "s-1",
                            std::string const& name = "TrackEvent")
{
    return {timeMs, session, name,
            "{\"event_name\":\"tool_selected\",\"i\":" + std::to_string(i) + ",\"tool\":\"t" + std::to_string(i % 7) +
                "\",\"duration_ms\":" + std::to_string(i * 37 % 1000) + "}"};
}

/// A connection of its own, with none of the store's settings or defences.
class RawDatabase {
public:
    explicit RawDatabase(std::string const& path) { sqlite3_open(path.c_str(), &m_db); }
    ~RawDatabase() { sqlite3_close(m_db); }
    bool Exec(std::string const& sql)
    {
        return sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    std::string Text(std::string const& sql)
    {
        sqlite3_stmt* statement = nullptr;
        std::string result;
        if (sqlite3_prepare_v2(m_db, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
            sqlite3_step(statement) == SQLITE_ROW && sqlite3_column_text(statement, 0) != nullptr)
            result = reinterpret_cast<char const*>(sqlite3_column_text(statement, 0));
        sqlite3_finalize(statement);
        return result;
    }
    long long Int(std::string const& sql) { return std::atoll(Text(sql).c_str()); }

private:
    sqlite3* m_db = nullptr;
};

inline std::string ReadFile(std::string const& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void WriteFile(std::string const& path, std::string const& bytes, std::streamoff offset = 0)
{
    std::fstream out(path, std::ios::binary | std::ios::in | std::ios::out);
    if (!out.is_open())
        out.open(path, std::ios::binary | std::ios::out);
    out.seekp(offset);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline unsigned ModeOf(std::string const& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? (status.st_mode & 07777) : 0;
}

inline bool Exists(std::string const& path)
{
    return std::filesystem::exists(path);
}

}  // namespace QdxStoreTest

#endif
