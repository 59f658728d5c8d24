// qdxsdk events and export: the records as stored, chosen by every filter.
#include "QdxsdkFixture.h"

#include "RecordJson.h"

#include <sys/stat.h>

#include <dirent.h>
#include <fstream>
#include <sstream>

using namespace Norvane;

TEST_F(QdxsdkTest, EventsJsonPrintsEveryRecordExactlyAsStored)
{
    FillStore();
    ToolResult const result = Run({"events", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(CheckedSeqs(result), (std::vector<long long>{1, 2, 3, 4, 5}));
}

TEST_F(QdxsdkTest, FiltersChooseTheRecords)
{
    FillStore();
    // A whole second between records 3 and 4, written without milliseconds.
    std::string const wholeSecond = LocalCore::Rfc3339Utc((m_nowMs - 90 * 60 * 1000) / 1000 * 1000).substr(0, 19) + "Z";
    struct Case {
        std::vector<std::string> options;
        std::vector<long long> seqs;
    } const cases[] = {
        {{"--session", kSessionA}, {1, 2}},
        {{"--name", "Event"}, {2, 3, 5}},
        {{"--session", kSessionB, "--name", "Event"}, {3, 5}},
        {{"--name", "NoSuchName"}, {}},
        {{"--session", "no-such-session"}, {}},
        {{"--since", wholeSecond}, {4, 5}},
        // Milliseconds count, and the time itself is included.
        {{"--since", LocalCore::Rfc3339Utc(m_records[2].timeMs)}, {3, 4, 5}},
        {{"--since", LocalCore::Rfc3339Utc(m_records[2].timeMs + 1)}, {4, 5}},
        {{"--since", "1h"}, {4, 5}},
        {{"--since", "3h"}, {2, 3, 4, 5}},
        {{"--since", "10d"}, {1, 2, 3, 4, 5}},
        {{"--limit", "2"}, {1, 2}},
        {{"--name", "Event", "--limit", "2"}, {2, 3}},
        {{"--since", "3h", "--session", kSessionB, "--limit", "1"}, {3}},
    };
    for (Case const& c : cases) {
        std::vector<std::string> arguments{"events", "--json"};
        arguments.insert(arguments.end(), c.options.begin(), c.options.end());
        ToolResult const result = Run(arguments);
        std::string const shown = ::testing::PrintToString(c.options);
        ASSERT_EQ(result.exitCode, 0) << shown << ": " << result.err;
        EXPECT_EQ(CheckedSeqs(result), c.seqs) << shown;
    }
}

TEST_F(QdxsdkTest, TableShowsOneLinePerRecord)
{
    FillStore();
    // The global option may also follow the subcommand.
    ToolResult const result = RunQdxsdk({"events", "--sdk-folder", m_sdkFolder});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    std::vector<std::string> const lines = result.Lines();
    ASSERT_EQ(lines.size(), 1 + m_records.size()) << result.out;
    EXPECT_NE(lines[0].find("SEQ"), std::string::npos);
    EXPECT_NE(lines[1].find("SessionStarted"), std::string::npos);
    EXPECT_NE(lines[1].find(std::string(kSessionA).substr(0, 8)), std::string::npos);
    EXPECT_NE(lines[3].find("Grüße 😀 日本"), std::string::npos);
    EXPECT_NE(lines[4].find("Glint"), std::string::npos);

    ToolResult const none = Run({"events", "--name", "NoSuchName"});
    EXPECT_EQ(none.exitCode, 0);
    EXPECT_NE(none.out.find("(no records)"), std::string::npos);
}

TEST_F(QdxsdkTest, ExportWritesTheEventsLinesToAPrivateFile)
{
    FillStore();
    char folder[] = "/tmp/qdxsdk-export-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    std::string const file = std::string(folder) + "/usage.jsonl";
    std::ofstream(file) << "replaced\n";

    ToolResult const exported = Run({"export", "--out", file, "--name", "Event"});
    ASSERT_EQ(exported.exitCode, 0) << exported.err;
    EXPECT_NE(exported.out.find("Exported 3 records"), std::string::npos) << exported.out;
    std::stringstream content;
    content << std::ifstream(file).rdbuf();
    EXPECT_EQ(content.str(), Run({"events", "--json", "--name", "Event"}).out);
    struct stat status {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    // Nothing is left beside it.
    DIR* const listing = opendir(folder);
    int entries = 0;
    while (dirent const* entry = readdir(listing))
        entries += entry->d_name[0] != '.';
    closedir(listing);
    EXPECT_EQ(entries, 1);

    ToolResult const unwritable = Run({"export", "--out", std::string(folder) + "/missing/usage.jsonl"});
    EXPECT_EQ(unwritable.exitCode, 4);
    EXPECT_NE(unwritable.err.find("missing/usage.jsonl"), std::string::npos) << unwritable.err;
}
