// qdxsdk events --follow: records that another process stores after it
// started, through a database that appears, grows and is replaced.
#include "QdxsdkFixture.h"

#include <csignal>
#include <filesystem>

using namespace Norvane;

namespace {

ToolResult Printed(std::vector<std::string> const& lines)
{
    ToolResult result;
    for (std::string const& line : lines)
        result.out += line + '\n';
    return result;
}

}  // namespace

TEST_F(QdxsdkTest, FollowWaitsForTheDatabaseThenPrintsEachNewRecord)
{
    RunningQdxsdk follow({"--sdk-folder", m_sdkFolder, "events", "--follow", "--json"});
    FillStore();  // the database appears after the tool started
    EXPECT_EQ(CheckedSeqs(Printed(follow.WaitForLines(5))), (std::vector<long long>{1, 2, 3, 4, 5}));

    m_records.push_back({m_nowMs, kSessionB, "Event", R"({"appended":true})"});
    ASSERT_TRUE(m_store->AddRecord(m_records.back()));
    EXPECT_EQ(CheckedSeqs(Printed(follow.WaitForLines(6))), (std::vector<long long>{1, 2, 3, 4, 5, 6}));

    // Replaced by a fresh database (as when the core moves a corrupt one
    // aside): followed from its first record.
    m_store.reset();
    for (char const* suffix : {"", "-wal", "-shm"})
        std::filesystem::remove(DatabasePath() + suffix);
    LocalCore::OpenReport report;
    m_store = LocalCore::Store::Open(StoreFolder(), report);
    ASSERT_TRUE(m_store) << report.error;
    ASSERT_TRUE(m_store->OpenSession(kSessionA, R"({"name":"Demo"})", m_nowMs, 100));
    ASSERT_TRUE(m_store->AddRecord(m_records[0]));
    EXPECT_EQ(CheckedSeqs(Printed(follow.WaitForLines(7))), (std::vector<long long>{1, 2, 3, 4, 5, 6, 1}));

    EXPECT_EQ(follow.Stop(SIGTERM), 0);
}

TEST_F(QdxsdkTest, FollowKeepsToTheFiltersAndEndsAtTheLimit)
{
    FillStore();
    RunningQdxsdk follow(
        {"--sdk-folder", m_sdkFolder, "events", "--follow", "--json", "--name", "Event", "--limit", "4"});
    EXPECT_EQ(CheckedSeqs(Printed(follow.WaitForLines(3))), (std::vector<long long>{2, 3, 5}));
    m_records.push_back({m_nowMs, "", "Glint", R"({"skipped":true})"});
    m_records.push_back({m_nowMs, kSessionB, "Event", R"({"fourth":true})"});
    m_records.push_back({m_nowMs, kSessionB, "Event", R"({"beyond_the_limit":true})"});
    for (std::size_t seq = 6; seq <= 8; ++seq)
        ASSERT_TRUE(m_store->AddRecord(m_records[seq - 1]));
    EXPECT_EQ(CheckedSeqs(Printed(follow.WaitForLines(5))), (std::vector<long long>{2, 3, 5, 7}));
    EXPECT_EQ(follow.Wait(), 0);  // the fourth record ends it
}

TEST_F(QdxsdkTest, FollowEndsCleanlyAtAnInterrupt)
{
    FillStore();
    RunningQdxsdk follow({"--sdk-folder", m_sdkFolder, "events", "--follow"});
    std::vector<std::string> const lines = follow.WaitForLines(6);
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_NE(lines[0].find("SEQ"), std::string::npos);
    EXPECT_NE(lines[5].find("Event"), std::string::npos);
    EXPECT_EQ(follow.Stop(SIGINT), 0);
}
