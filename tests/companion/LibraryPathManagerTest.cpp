// The library path configuration in "slp.json", in the launcher's private
// /tmp. Each test is its own process: the manager starts unconfigured.
#include "TestIsolation.h"
#include "companion/LibraryPathManager.h"
#include "support/Path.h"
#include <gtest/gtest.h>
#include <string>

using namespace Norvane::QDXDesktopSDK;

namespace {

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
        ASSERT_TRUE(m_folder.CreateDir());
    }
    static bool WriteConfig(Path const& folder, std::string const& text)
    {
        return folder.Append("slp.json")
            .WriteFile(text.data(), static_cast<long long>(text.size()), 0, nullptr, nullptr);
    }
    static std::string Entry(std::string const& key, std::string const& libraryPath)
    {
        return R"({"ProductLibraryPath": {")" + key + R"(": {"QDX": ")" + libraryPath + R"("}}})";
    }

    LibraryPathManager& m_manager = LibraryPathManager::Instance();
    Path const m_folder{"/tmp/slp"};
    Path const m_hostKey = Path::GetSpecialFolderPath(Path::SpecialFolder_ExecutableFile, false).Parent();
};

}  // namespace

TEST_F(LibraryPathManagerTest, KeysChooseExactMemberElseFarthestAncestor)
{
    struct {
        char const *hosts, *libraryPath, *libraryPathKey;
    } const cases[] = {
        // A longer name is not an ancestor, nor is a folder below the host's.
        {R"("/opt/ab": {"QDX": "/x"}, "/opt/a/bin/sub": {"QDX": "/y"})", "", ""},
        {R"("/opt/a": {"QDX": "/libs"})", "/libs", "/opt/a"},
        {R"("/opt/a": {"QDX": "/a"}, "/opt": {"QDX": "/o"})", "/o", "/opt"},
        {R"("/": {"QDX": "/r"}, "/opt": {"QDX": "/o"}, "/opt/a/bin": {"QDX": "/exact"})", "/exact", "/opt/a/bin"},
        {R"("/opt/a/bin": {"QDX": 5})", "", "/opt/a/bin"},
    };
    LibraryPathManager::SSetWorkingPath(m_folder);
    for (auto const& c : cases) {
        SCOPED_TRACE(c.hosts);
        ASSERT_TRUE(WriteConfig(m_folder, std::string(R"({"ProductLibraryPath": {)") + c.hosts + "}}"));
        EXPECT_TRUE(m_manager.LoadLibraryPathConfig("/opt/a/bin"));
        EXPECT_EQ(c.libraryPath, m_manager.GetLibraryPath().GetString());
        EXPECT_EQ(c.libraryPathKey, m_manager.GetLibraryPathKey().GetString());
    }
}

TEST_F(LibraryPathManagerTest, UnusableFilesConfigureNothing)
{
    struct {
        char const* text;  // null: no file
        bool valid, loaded;
    } const cases[] = {{nullptr, false, false},
                       {"{\"ProductLibraryPath\": {", false, false},
                       {"[1, 2]", false, true},
                       {"{\"ProductLibraryPath\": 5}", true, true}};
    for (auto const& c : cases) {
        SCOPED_TRACE(c.text != nullptr ? c.text : "no file");
        Path const folder = m_folder.Append(std::to_string(&c - cases));
        ASSERT_TRUE(c.text == nullptr ? folder.CreateDir() : WriteConfig(folder, c.text));
        LibraryPathManager::SSetWorkingPath(folder);
        EXPECT_TRUE(m_manager.GetLibraryPath().IsEmpty());
        EXPECT_TRUE(m_manager.GetLibraryPathKey().IsEmpty());
        EXPECT_EQ(c.loaded, m_manager.IsLibraryPathConfigLoaded());
        EXPECT_EQ(c.valid, m_manager.LoadLibraryPathConfig("/opt/a/bin"));
    }
}

TEST_F(LibraryPathManagerTest, UpdateRewritesOnlyThisHostsEntry)
{
    struct {
        char const *before, *after;  // before: null for no file
    } const cases[] = {
        {nullptr, R"({"ProductLibraryPath": {"/opt/a/bin": {"QDX": "/new"}}})"},
        {R"({"Version": 3, "ProductLibraryPath": {"/other": {"QDX": "/o", "Extra": [1]}}})",
         R"({"Version": 3, "ProductLibraryPath": {"/other": {"QDX": "/o", "Extra": [1]}, "/opt/a/bin": {"QDX": "/new"}}})"},
        {R"({"ProductLibraryPath": {"/opt/a/bin": {"QDX": "/old", "Extra": true}, "/opt": {"QDX": "/o"}}})",
         R"({"ProductLibraryPath": {"/opt/a/bin": {"QDX": "/new"}, "/opt": {"QDX": "/o"}}})"},
    };
    LibraryPathManager::SSetWorkingPath(m_folder);
    for (auto const& c : cases) {
        SCOPED_TRACE(c.before != nullptr ? c.before : "no file");
        m_folder.Append("slp.json").DeleteFile();
        ASSERT_TRUE(c.before == nullptr || WriteConfig(m_folder, c.before));
        EXPECT_TRUE(m_manager.UpdateLibraryPathConfig("/opt/a/bin", "/new"));
        JsonValue const written = Parse(m_folder.Append("slp.json").ReadFileAsString(-1));
        EXPECT_EQ(0, Parse(c.after).Compare(written)) << written.GetJsonString().c_str();
        EXPECT_FALSE(m_folder.Append("slp.json.saving").Exists());
    }
    EXPECT_TRUE(m_manager.GetLibraryPath().IsEmpty());  // recording is not choosing
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

TEST_F(LibraryPathManagerTest, OnlyANewWorkingFolderForcesAReloadOfThisHostsEntry)
{
    Path const other("/tmp/slp-other");
    ASSERT_TRUE(WriteConfig(m_folder, Entry(m_hostKey.GetString(), "/first")));
    ASSERT_TRUE(WriteConfig(other, Entry(m_hostKey.GetString(), "/second")));
    LibraryPathManager::SSetWorkingPath(m_folder);
    EXPECT_FALSE(m_manager.IsLibraryPathConfigLoaded());
    ASSERT_EQ("/first", m_manager.GetLibraryPath().GetString());
    EXPECT_EQ(m_hostKey.GetString(), m_manager.GetLibraryPathKey().GetString());
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
    LibraryPathManager::SSetWorkingPath("/tmp/slp-none");  // no file: the last path stays
    EXPECT_EQ("/changed", m_manager.GetLibraryPath().GetString());
    EXPECT_EQ(m_hostKey.GetString(), m_manager.GetLibraryPathKey().GetString());
}
