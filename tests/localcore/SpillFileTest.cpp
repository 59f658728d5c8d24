// Spill files are read by the next process to load the core, whatever
// became of them in between: cut short by a crash or a full disk, or not
// written by a core at all. Every whole item must come back as it was, and
// nothing in a file may make the reader crash or allocate more than the
// file holds.
#include "SpillFile.h"
#include "TestIsolation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>

using namespace Norvane::LocalCore;
namespace fs = std::filesystem;

namespace {

WorkItem Item(WorkItem::Kind kind, std::string text, std::string sessionId = "s-1")
{
    WorkItem item;
    item.kind = kind;
    item.timeMs = 1700000000123;
    item.name = "UpdateLiFlow";
    item.text = std::move(text);
    item.sessionId = std::move(sessionId);
    return item;
}

std::vector<WorkItem> SampleItems()
{
    return {Item(WorkItem::Kind::Record, "{\n  \"a\": \"line\\nfeed \\\"quoted\\\"\"\n}\n"),
            Item(WorkItem::Kind::OpenSession, "", ""),
            Item(WorkItem::Kind::Record, std::string("raw\nlines\0and a NUL\n\n", 22)),
            Item(WorkItem::Kind::SetSetting, std::string(1 << 20, 'x'))};
}

void ExpectSame(std::vector<WorkItem> const& read, std::vector<WorkItem> const& written, std::size_t count)
{
    ASSERT_EQ(read.size(), count);
    for (std::size_t i = 0; i < count; ++i) {
        EXPECT_EQ(read[i].kind, written[i].kind) << i;
        EXPECT_EQ(read[i].timeMs, written[i].timeMs) << i;
        EXPECT_EQ(read[i].name, written[i].name) << i;
        EXPECT_EQ(read[i].text, written[i].text) << i;
        EXPECT_EQ(read[i].sessionId, written[i].sessionId) << i;
    }
}

class SpillFileTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        fs::remove_all(m_folder);
        fs::create_directories(m_folder);
    }

    void Put(std::string const& name, std::string const& bytes) const
    {
        std::ofstream(m_folder / name, std::ios::binary) << bytes;
    }

    std::vector<WorkItem> ReadAll(std::vector<std::string>* files = nullptr) const
    {
        std::vector<WorkItem> items;
        std::vector<std::string> names;
        SpillFile::ReadAll(m_folder.string(), items, names);
        if (files != nullptr)
            *files = names;
        return items;
    }

    // The bytes Write puts into a file for `items`.
    std::string Written(std::vector<WorkItem> const& items) const
    {
        fs::path const folder = m_folder / "written";
        fs::create_directories(folder);
        EXPECT_TRUE(SpillFile::Write(folder.string(), items));
        fs::path const file = fs::directory_iterator(folder)->path();
        std::ifstream in(file, std::ios::binary);
        std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        fs::remove_all(folder);
        return bytes;
    }

    fs::path const m_folder = "/tmp/spill-file-test";
};

}  // namespace

TEST_F(SpillFileTest, EveryItemComesBackAsWrittenAndRemoveDeletesTheFile)
{
    std::vector<WorkItem> const items = SampleItems();
    ASSERT_TRUE(SpillFile::Write(m_folder.string(), items));
    std::vector<std::string> files;
    ExpectSame(ReadAll(&files), items, items.size());
    ASSERT_EQ(files.size(), 1u);
    SpillFile::Remove(files);
    EXPECT_TRUE(fs::is_empty(m_folder));
}

TEST_F(SpillFileTest, AFileCutShortAnywhereGivesItsWholeItemsOnly)
{
    std::vector<WorkItem> items = SampleItems();
    items.pop_back();  // every cut of a megabyte would take long
    std::string const bytes = Written(items);
    std::vector<std::size_t> ends;  // where each item's bytes end
    for (std::size_t i = 1; i <= items.size(); ++i)
        ends.push_back(Written(std::vector<WorkItem>(items.begin(), items.begin() + i)).size());
    ASSERT_EQ(ends.back(), bytes.size());
    for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
        Put("spill-1-1.items", bytes.substr(0, cut));
        std::size_t const whole = std::upper_bound(ends.begin(), ends.end(), cut) - ends.begin();
        ExpectSame(ReadAll(), items, whole);
    }
}

TEST_F(SpillFileTest, WhatFollowsALineThatIsNotAnItemIsNotReadAsItems)
{
    std::string const item = Written({Item(WorkItem::Kind::Record, "{}")});
    std::string const inText = R"({"kind":0,"time":1,"text_bytes":2})"
                               "\n{}\n";
    struct Case {
        char const* what;
        std::string header;
    };
    Case const cases[] = {
        {"a length of 2^64 - 1", R"({"kind":0,"time":1,"text_bytes":18446744073709551615})"},
        {"a length beyond the end", R"({"kind":0,"time":1,"text_bytes":1000})"},
        {"a negative length", R"({"kind":0,"time":1,"text_bytes":-1})"},
        {"no length", R"({"kind":0,"time":1,"text":"{}"})"},
        {"a line that is not JSON", "\x01\xff{garbage"},
        {"a JSON array", "[1, 2]"},
    };
    for (Case const& c : cases) {
        // The text after the line would be a whole item, were it read as one.
        Put("spill-1-1.items", item + c.header + "\n" + inText);
        EXPECT_EQ(ReadAll().size(), 1u) << c.what;
    }
}

TEST_F(SpillFileTest, AnItemThatIsNotStoredIsSkippedWithItsText)
{
    std::vector<WorkItem> const items = {Item(WorkItem::Kind::Record, "{\"n\":1}"),
                                         Item(WorkItem::Kind::ReadFigures, "{\"kind\":0,\"time\":1}\n"),
                                         Item(WorkItem::Kind::Record, "{\"n\":2}")};
    ASSERT_TRUE(SpillFile::Write(m_folder.string(), items));
    std::vector<WorkItem> const read = ReadAll();
    ASSERT_EQ(read.size(), 2u);
    EXPECT_EQ(read[0].text, items[0].text);
    EXPECT_EQ(read[1].text, items[2].text);
}

TEST_F(SpillFileTest, FilesOfEarlierCoresWithOneLineAnItemAreStillRead)
{
    Put("spill-1-1.jsonl", R"({"kind":0,"time":5,"name":"UpdateLiFlow","text":"{\"a\":\n1}","session_id":"s"})"
                           "\nnot an item\n"
                           R"({"kind":1,"time":6,"name":"","text":"","session_id":"t"})"
                           "\n");
    Put("spill-1-1.txt", "ignored\n");
    std::vector<std::string> files;
    std::vector<WorkItem> const read = ReadAll(&files);
    ASSERT_EQ(read.size(), 2u);
    EXPECT_EQ(read[0].text, "{\"a\":\n1}");
    EXPECT_EQ(read[0].timeMs, 5);
    EXPECT_EQ(read[1].kind, WorkItem::Kind::OpenSession);
    EXPECT_EQ(read[1].sessionId, "t");
    EXPECT_EQ(files.size(), 1u);
}
