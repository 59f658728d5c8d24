// What qdxsdk says and which code it exits with when it cannot do its work,
// and the SDK folder it looks at when none is given.
#include "QdxsdkFixture.h"

#include "TestIsolation.h"
#include "companion/QdxSDKFolder.h"

#include <sqlite3.h>

#include <sys/stat.h>

#include <fstream>
#include <sstream>

using namespace Norvane;

namespace {

struct Expected {
    std::vector<std::string> arguments;
    int exitCode;
    std::string message;  // in standard error
};

}  // namespace

class QdxsdkFailureTest : public QdxsdkTest {
protected:
    void CheckEach(std::vector<Expected> const& cases) const
    {
        for (Expected const& c : cases) {
            ToolResult const result = Run(c.arguments);
            std::string const shown = ::testing::PrintToString(c.arguments);
            EXPECT_EQ(result.exitCode, c.exitCode) << shown << ": " << result.err;
            EXPECT_NE(result.err.find(c.message), std::string::npos) << shown << ": " << result.err;
        }
    }
    void CheckEverySubcommand(int exitCode, std::string const& message) const
    {
        CheckEach({{{"events"}, exitCode, message},
                   {{"status", "--json"}, exitCode, message},
                   {{"export", "--out", m_sdkFolder + "/out.jsonl"}, exitCode, message},
                   {{"purge", "--yes"}, exitCode, message}});
    }
};

TEST_F(QdxsdkFailureTest, NoDatabaseExitsWithTwoAndCreatesNothing)
{
    CheckEverySubcommand(2, "no usage database at " + DatabasePath());
    struct stat status {};
    EXPECT_NE(stat(StoreFolder().c_str(), &status), 0) << "purge made the folder";
    // An empty file: the core has not written its first transaction yet.
    ASSERT_EQ(mkdir(StoreFolder().c_str(), 0700), 0);
    std::ofstream{DatabasePath()};
    CheckEverySubcommand(2, "no usage database at " + DatabasePath());
}

TEST_F(QdxsdkFailureTest, CorruptDatabaseExitsWithThreeAndStaysAsItIs)
{
    ASSERT_EQ(mkdir(StoreFolder().c_str(), 0700), 0);
    std::string const garbage(8192, 'x');
    std::ofstream(DatabasePath()) << garbage;
    CheckEverySubcommand(3, "corrupt");
    std::stringstream content;
    content << std::ifstream(DatabasePath()).rdbuf();
    EXPECT_EQ(content.str(), garbage);
}

TEST_F(QdxsdkFailureTest, NewerSchemaExitsWithThree)
{
    FillStore();
    m_store.reset();
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(DatabasePath().c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "PRAGMA user_version = 99", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
    CheckEverySubcommand(3, "newer");
}

TEST_F(QdxsdkFailureTest, BadUsageExitsWithOne)
{
    FillStore();
    CheckEach({
        {{}, 1, "subcommand"},
        {{"frobnicate"}, 1, "subcommand"},
        {{"events", "--limit", "0"}, 1, "--limit"},
        {{"events", "--limit", "many"}, 1, "--limit"},
        {{"events", "--since", "yesterday"}, 1, "RFC 3339"},
        {{"events", "--since", "2026-11-24 07:00:00Z"}, 1, "RFC 3339"},
        {{"events", "--since", "2026-13-24T07:00:00Z"}, 1, "RFC 3339"},
        {{"events", "--since", "10y"}, 1, "RFC 3339"},
        {{"events", "--json", "extra"}, 1, "extra"},
        {{"export"}, 1, "--out"},
        {{"status", "--yes"}, 1, "--yes"},
    });
    // Accepted forms of --since, for contrast.
    for (char const* since :
         {"2026-11-24T07:00:00Z", "2026-11-24t07:00:00.5z", "2026-11-24T07:00:00.123456+01:30", "90s", "0m"})
        EXPECT_EQ(Run({"events", "--since", since}).exitCode, 0) << since;
}

TEST_F(QdxsdkFailureTest, HelpAndVersionExitWithZero)
{
    ToolResult const help = RunQdxsdk({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (char const* shown : {"events", "status", "export", "purge", "--sdk-folder", "Exit codes"})
        EXPECT_NE(help.out.find(shown), std::string::npos) << shown;
    ToolResult const version = RunQdxsdk({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out.rfind("qdxsdk ", 0), 0u) << version.out;
}

// Without --sdk-folder the tool looks where the library keeps its files: here
// the private home folder, which is writable.
TEST_F(QdxsdkTest, DefaultSdkFolderIsTheLibrarysOwn)
{
    std::string const library = QDXDesktopSDK::QdxSDKFolder::GetQDXSDKFolderPath(nullptr).GetString();
    EXPECT_EQ(library, QDXDesktopSDK::Path::GetSpecialFolderPath(QDXDesktopSDK::Path::SpecialFolder_Home, false)
                           .Append(".norvane/UI/Norvane/QDXSDK")
                           .GetString());
    m_sdkFolder = library;
    FillStore();
    ToolResult const result = RunQdxsdk({"status", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(ParseJson(result.out)["database"], (library + "/localcore/usage.db").c_str());
}
