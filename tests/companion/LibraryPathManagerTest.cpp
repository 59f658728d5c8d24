// The library path configuration in "slp.json", in the launcher's private
// /tmp. Each test is its own process, so the process-wide manager starts
// without a working folder and without a configuration.
#include "TestIsolation.h"
#include "companion/LibraryPathManager.h"
#include "support/Logger.h"
#include "support/Path.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace Norvane::QDXDesktopSDK;

namespace {

using Lines = std::vector<std::pair<std::string, int>>;
Lines LoggedLines;
void Capture(char const* text, Logger::LogLevel level)
{
    LoggedLines.emplace_back(text, level);
}

JsonValue Parse(std::string const& text)
{
    JsonValue value;
    value.FromJsonString(text.c_str());
    return value;
}

class LibraryPathManagerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        Logger& logger = *Logger::Instance(Singleton::GetOrCreate);
        logger.SetLogLevel(Logger::LogLevel_Dev);
        logger.SetRedirectionFunction(&Capture);
        ASSERT_TRUE(m_folder.CreateDir());
    }
    void TearDown() override
    {
        if (Logger* logger = Logger::Instance(Singleton::GetExisting))
            logger->SetRedirectionFunction(&Logger::DefaultRedirectionFunction);
    }

    static bool WriteConfig(Path const& folder, std::string const& text)
    {
        return folder.Append("slp.json")
            .WriteFile(text.data(), static_cast<long long>(text.size()), 0, nullptr, nullptr);
    }
    JsonValue ReadConfig() const { return Parse(m_folder.Append("slp.json").ReadFileAsString(-1)); }
    static std::string Entry(std::string const& key, std::string const& libraryPath)
    {
        return R"({"ProductLibraryPath": {")" + key + R"(": {"QDX": ")" + libraryPath + R"("}}})";
    }

    LibraryPathManager& m_manager = LibraryPathManager::Instance();
    Path const m_folder{"/tmp/slp"};
    Path const m_hostKey = Path::GetSpecialFolderPath(Path::SpecialFolder_ExecutableFile, false).Parent();
};

}  // namespace

TEST_F(LibraryPathManagerTest, TheHostsOwnFolderWinsOverAnyAncestor)
{
    ASSERT_TRUE(WriteConfig(m_folder, R"({"ProductLibraryPath": {"/": {"QDX": "/everywhere"}, ")" +
                                          m_hostKey.GetString() + R"(": {"QDX": "/libs"}}})"));
    LibraryPathManager::SSetWorkingPath(m_folder);
    EXPECT_FALSE(m_manager.IsLibraryPathConfigLoaded());
    EXPECT_EQ("/libs", m_manager.GetLibraryPath().GetString());
    EXPECT_EQ(m_hostKey.GetString(), m_manager.GetLibraryPathKey().GetString());
    EXPECT_TRUE(m_manager.IsLibraryPathConfigLoaded());
}

TEST_F(LibraryPathManagerTest, KeysChooseExactMemberElseFarthestAncestor)
{
    struct Case {
        char const* hosts;
        char const* libraryPath;
        char const* libraryPathKey;
        char const* firstLine;  // before the "found" line; null when nothing matched
    } const cases[] = {
        // A longer name is not an ancestor, nor is a folder below the host's.
        {R"("/opt/ab": {"QDX": "/x"}, "/opt/a/bin/sub": {"QDX": "/y"})", "", "", nullptr},
        {R"("/opt/a": {"QDX": "/libs"})", "/libs", "/opt/a",
         "LoadLibraryPathConfig from CurrentPath Parents: key = /opt/a, currentPath = /opt/a/bin"},
        {R"("/opt/a": {"QDX": "/a"}, "/opt": {"QDX": "/o"})", "/o", "/opt",
         "LoadLibraryPathConfig from CurrentPath Parents: key = /opt, currentPath = /opt/a/bin"},
        {R"("/": {"QDX": "/r"}, "/opt": {"QDX": "/o"}, "/opt/a/bin": {"QDX": "/exact"})", "/exact", "/opt/a/bin",
         "LoadLibraryPathConfig from CurrentPath: key = /opt/a/bin"},
        {R"("/OPT/A": {"QDX": "/upper"})", "/upper", "/OPT/A",
         "LoadLibraryPathConfig from CurrentPath Parents: key = /OPT/A, currentPath = /opt/a/bin"},
        {R"("/opt/a": {"QDX": "relative/libs"})", "relative/libs", "/opt/a",
         "LoadLibraryPathConfig from CurrentPath Parents: key = /opt/a, currentPath = /opt/a/bin"},
        {R"("/opt/a/bin": {"QDX": 5})", "", "/opt/a/bin", "LoadLibraryPathConfig from CurrentPath: key = /opt/a/bin"},
    };
    LibraryPathManager::SSetWorkingPath(m_folder);
    for (Case const& c : cases) {
        SCOPED_TRACE(c.hosts);
        ASSERT_TRUE(WriteConfig(m_folder, std::string(R"({"ProductLibraryPath": {)") + c.hosts + "}}"));
        LoggedLines.clear();
        EXPECT_TRUE(m_manager.LoadLibraryPathConfig("/opt/a/bin"));
        EXPECT_EQ(c.libraryPath, m_manager.GetLibraryPath().GetString());
        EXPECT_EQ(c.libraryPathKey, m_manager.GetLibraryPathKey().GetString());
        Lines expected;
        if (c.firstLine != nullptr)
            expected.emplace_back(c.firstLine, Logger::LogLevel_Dev);
        expected.emplace_back("LoadLibraryPathConfig found sLibraryPath = " + std::string(c.libraryPath) +
                                  ", sLibraryPathKey = " + c.libraryPathKey,
                              Logger::LogLevel_Dev);
        EXPECT_EQ(expected, LoggedLines);
    }
}

TEST_F(LibraryPathManagerTest, UnusableFilesConfigureNothingAndLogNoError)
{
    struct Case {
        char const* text;  // null: no file
        bool valid;
        bool loaded;
    } const cases[] = {
        {nullptr, false, false},
        {"", false, false},
        {"{\"ProductLibraryPath\": {", false, false},
        {"{} x", false, false},
        {"null", false, false},
        {"[1, 2]", false, true},
        {"{\"Other\": {}}", false, true},
        {"{\"ProductLibraryPath\": 5}", true, true},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.text != nullptr ? c.text : "no file");
        Path const folder = m_folder.Append(std::to_string(&c - cases));
        ASSERT_TRUE(c.text == nullptr ? folder.CreateDir() : WriteConfig(folder, c.text));
        LibraryPathManager::SSetWorkingPath(folder);
        LoggedLines.clear();
        EXPECT_TRUE(m_manager.GetLibraryPath().IsEmpty());
        EXPECT_TRUE(m_manager.GetLibraryPathKey().IsEmpty());
        EXPECT_EQ(c.loaded, m_manager.IsLibraryPathConfigLoaded());
        EXPECT_EQ(c.valid, m_manager.LoadLibraryPathConfig("/opt/a/bin"));
        for (auto const& line : LoggedLines)
            EXPECT_EQ(Logger::LogLevel_Dev, line.second) << line.first;
    }
}

TEST_F(LibraryPathManagerTest, AnUnusableFileOrNoMatchLeavesTheLastPathAndKey)
{
    ASSERT_TRUE(WriteConfig(m_folder, Entry("/opt/a", "/libs")));
    LibraryPathManager::SSetWorkingPath(m_folder);
    ASSERT_TRUE(m_manager.LoadLibraryPathConfig("/opt/a/bin"));
    for (bool const usable : {false, true}) {
        ASSERT_TRUE(WriteConfig(m_folder, usable ? Entry("/elsewhere", "/x") : "{"));
        EXPECT_EQ(usable, m_manager.LoadLibraryPathConfig("/opt/a/bin"));
        EXPECT_EQ("/libs", m_manager.GetLibraryPath().GetString());
        EXPECT_EQ("/opt/a", m_manager.GetLibraryPathKey().GetString());
    }
}

TEST_F(LibraryPathManagerTest, UpdateRewritesOnlyThisHostsEntry)
{
    struct Case {
        char const* before;  // null: no file
        char const* after;
    } const cases[] = {
        {nullptr, R"({"ProductLibraryPath": {"/opt/a/bin": {"QDX": "/new"}}})"},
        {"{", R"({"ProductLibraryPath": {"/opt/a/bin": {"QDX": "/new"}}})"},
        {R"({"Other": 1})", R"({"Other": 1, "ProductLibraryPath": {"/opt/a/bin": {"QDX": "/new"}}})"},
        {R"({"ProductLibraryPath": 5})", R"({"ProductLibraryPath": {"/opt/a/bin": {"QDX": "/new"}}})"},
        {R"({"Version": 3, "ProductLibraryPath": {"/other": {"QDX": "/o", "Extra": [1]}}})",
         R"({"Version": 3, "ProductLibraryPath": {"/other": {"QDX": "/o", "Extra": [1]},
                                                  "/opt/a/bin": {"QDX": "/new"}}})"},
        {R"({"ProductLibraryPath": {"/opt/a/bin": {"QDX": "/old", "Extra": true}, "/opt": {"QDX": "/o"}}})",
         R"({"ProductLibraryPath": {"/opt/a/bin": {"QDX": "/new"}, "/opt": {"QDX": "/o"}}})"},
    };
    LibraryPathManager::SSetWorkingPath(m_folder);
    for (Case const& c : cases) {
        SCOPED_TRACE(c.before != nullptr ? c.before : "no file");
        m_folder.Append("slp.json").DeleteFile();
        if (c.before != nullptr) {
            ASSERT_TRUE(WriteConfig(m_folder, c.before));
        }
        EXPECT_TRUE(m_manager.UpdateLibraryPathConfig("/opt/a/bin", "/new"));
        EXPECT_EQ(0, Parse(c.after).Compare(ReadConfig())) << ReadConfig().GetJsonString().c_str();
        EXPECT_FALSE(m_folder.Append("slp.json.saving").Exists());
    }
    // Recording is not choosing: the path in use changes only through SetLibraryPath.
    EXPECT_TRUE(m_manager.GetLibraryPath().IsEmpty());
}

TEST_F(LibraryPathManagerTest, SetLibraryPathWithoutWorkingFolderOnlyChangesMemory)
{
    ASSERT_TRUE(Path::SetCurrentDir(m_folder));
    EXPECT_FALSE(m_manager.SetLibraryPath("/libs"));
    EXPECT_EQ("/libs", m_manager.GetLibraryPath().GetString());
    EXPECT_TRUE(m_manager.GetLibraryPathKey().IsEmpty());
    EXPECT_FALSE(m_manager.IsLibraryPathConfigLoaded());
    EXPECT_FALSE(m_folder.Append("slp.json").Exists());
    EXPECT_FALSE(Path("slp.json").Exists());
}

TEST_F(LibraryPathManagerTest, SetLibraryPathStoresTheTextAsGivenForThisHost)
{
    char const* const libraryPaths[] = {"/abs/libs", "relative/libs", "./a/../b/", "~/libs", ""};
    for (char const* const& libraryPath : libraryPaths) {
        SCOPED_TRACE(libraryPath);
        Path const folder = m_folder.Append(std::to_string(&libraryPath - libraryPaths));
        LibraryPathManager::SSetWorkingPath(folder);
        EXPECT_TRUE(m_manager.SetLibraryPath(libraryPath));
        EXPECT_EQ(libraryPath, m_manager.GetLibraryPath().GetString());
        JsonValue const config = Parse(folder.Append("slp.json").ReadFileAsString(-1));
        EXPECT_EQ(0, Parse(Entry(m_hostKey.GetString(), libraryPath)).Compare(config))
            << config.GetJsonString().c_str();
    }
}

TEST_F(LibraryPathManagerTest, OnlyANewWorkingFolderForcesAReload)
{
    Path const other("/tmp/slp-other");
    ASSERT_TRUE(WriteConfig(m_folder, Entry(m_hostKey.GetString(), "/first")));
    ASSERT_TRUE(WriteConfig(other, Entry(m_hostKey.GetString(), "/second")));
    LibraryPathManager::SSetWorkingPath(m_folder);
    ASSERT_EQ("/first", m_manager.GetLibraryPath().GetString());

    ASSERT_TRUE(WriteConfig(m_folder, Entry(m_hostKey.GetString(), "/changed")));
    LibraryPathManager::SSetWorkingPath(m_folder);
    LibraryPathManager::SSetWorkingPath("/tmp/slp/");  // the same folder, written differently
    EXPECT_TRUE(m_manager.IsLibraryPathConfigLoaded());
    EXPECT_EQ("/first", m_manager.GetLibraryPath().GetString());

    LibraryPathManager::SSetWorkingPath(other);
    EXPECT_FALSE(m_manager.IsLibraryPathConfigLoaded());
    EXPECT_EQ("/second", m_manager.GetLibraryPath().GetString());
    LibraryPathManager::SSetWorkingPath(m_folder);
    EXPECT_EQ("/changed", m_manager.GetLibraryPath().GetString());

    // A folder without a file configures nothing new: the last path stays.
    LibraryPathManager::SSetWorkingPath("/tmp/slp-none");
    EXPECT_EQ("/changed", m_manager.GetLibraryPath().GetString());
    EXPECT_EQ(m_hostKey.GetString(), m_manager.GetLibraryPathKey().GetString());
}

TEST_F(LibraryPathManagerTest, ConcurrentCallersLeaveWholeFilesAndOneOfTheirPaths)
{
    Path const folders[] = {m_folder, "/tmp/slp-other"};
    std::set<std::string> const paths = {"/libs0", "/libs1", "/libs2", "/libs3"};
    std::vector<std::thread> threads;
    for (std::string const& path : paths) {
        threads.emplace_back([&, path] {
            for (int i = 0; i < 40; ++i) {
                LibraryPathManager::SSetWorkingPath(folders[i % 2]);
                EXPECT_TRUE(m_manager.SetLibraryPath(path.c_str()));
                EXPECT_EQ(1u, paths.count(m_manager.GetLibraryPath().GetString()));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (Path const& folder : folders) {
        JsonValue const config = Parse(folder.Append("slp.json").ReadFileAsString(-1));
        QdxString const recorded = config["ProductLibraryPath"][m_hostKey.c_str()]["QDX"];
        EXPECT_EQ(1u, paths.count(recorded.c_str() != nullptr ? recorded.c_str() : "")) << folder.GetString();
    }
}
