// Finder walks over a small tree made in the launcher's private /tmp.
#include "TestIsolation.h"
#include "support/Finder.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

using namespace Norvane::QDXDesktopSDK;

namespace {

// Every call as one line: the path below the tree, "+" when the entry passed,
// "/" for a folder, "done" for the notice that a folder's walk finished.
struct Calls {
    std::vector<std::string> lines;
    std::set<std::string> folders;
    int (*answer)(FindData const&) = nullptr;
};

int Record(FindData const& entry, void* user)
{
    Calls& calls = *static_cast<Calls*>(user);
    std::string line = entry.GetPath().GetString().substr(std::string("/tmp/tree").size());
    bool const notice = entry.IsDirectory() && !calls.folders.insert(line).second;
    EXPECT_FALSE(notice && entry.IsMatched()) << line;
    line += notice ? " done" : std::string(entry.IsMatched() ? " +" : "") + (entry.IsDirectory() ? " /" : "");
    calls.lines.push_back(line);
    return calls.answer != nullptr ? calls.answer(entry) : Finder::Result_Continue;
}

class FinderTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        // One file and one folder per level keep the order of readdir irrelevant.
        for (char const* file : {"/tmp/tree/a.so", "/tmp/tree/sub/b.SO.2", "/tmp/tree/sub/deeper/c.txt"})
            ASSERT_TRUE(Path(file).WriteFile("12345", 5, 0, nullptr, nullptr));
        ASSERT_EQ(0, symlink("/tmp/tree/sub", "/tmp/tree/sub/deeper/up"));
    }

    int Find(char const* include, char const* exclude, bool simple, char const* root = "/tmp/tree")
    {
        m_calls.lines.clear();
        m_calls.folders.clear();
        Finder finder(&Record, &m_calls, include, exclude, simple);
        return finder.StartFind(Path(root));
    }

    Calls m_calls;
};

}  // namespace

TEST_F(FinderTest, WalksDepthFirstWithANoticeAfterEachFolder)
{
    ASSERT_EQ(0, chdir("/tmp"));
    EXPECT_EQ(6, Find(nullptr, nullptr, false, "tree/sub/.."));  // canonicalised first
    std::vector<std::string> const& lines = m_calls.lines;
    ASSERT_EQ(8u, lines.size());
    auto const at = [&lines](char const* line) { return std::find(lines.begin(), lines.end(), line) - lines.begin(); };
    EXPECT_LT(at("/a.so +"), 8);
    EXPECT_LT(at("/sub + /"), at("/sub/b.SO.2 +"));
    EXPECT_LT(at("/sub/deeper + /"), at("/sub/deeper/c.txt +"));
    EXPECT_LT(at("/sub/deeper/up +"), at("/sub/deeper done"));  // the link is an entry, never entered
    EXPECT_LT(at("/sub/deeper done"), at("/sub done"));
    EXPECT_LT(at("/sub/b.SO.2 +"), at("/sub done"));
}

TEST_F(FinderTest, PatternsSelectByName)
{
    struct Case {
        char const* include;
        char const* exclude;
        bool simple;
        int count;
    };
    for (Case const& c :
         {Case{"*.so;*.so.*", nullptr, false, 2}, Case{".SO", nullptr, true, 1}, Case{"*", "*.txt;sub", false, 4},
          Case{nullptr, "deeper", false, 5}, Case{"*.SO*", "b*", false, 1}, Case{"x", "x", true, 0}}) {
        EXPECT_EQ(c.count, Find(c.include, c.exclude, c.simple)) << (c.include ? c.include : "null");
        EXPECT_EQ(8u, m_calls.lines.size()) << "every entry is reported, selected or not";
    }
}

TEST_F(FinderTest, CallbackSteersTheWalk)
{
    m_calls.answer = [](FindData const& entry) { return entry.IsDirectory() ? 2 : 0; };
    EXPECT_EQ(2, Find(nullptr, nullptr, false));  // the folder still counts
    EXPECT_EQ(2u, m_calls.lines.size());

    m_calls.answer = [](FindData const& entry) { return entry.GetPath().FileName().GetString() == "c.txt" ? 1 : 7; };
    Find(nullptr, nullptr, false);
    EXPECT_EQ("/sub/deeper/c.txt +", m_calls.lines.back()) << "no call after the stop, on any level";

    m_calls.answer = [](FindData const& entry) { return entry.IsMatched() ? 0 : 1; };  // stop at the first notice
    Find(nullptr, nullptr, false);
    EXPECT_EQ("/sub/deeper done", m_calls.lines.back());
}

TEST_F(FinderTest, RootThatIsAFileIsTheOnlyEntry)
{
    EXPECT_EQ(1, Find("*.so", nullptr, false, "/tmp/tree/a.so"));
    EXPECT_EQ(std::vector<std::string>{"/a.so +"}, m_calls.lines);
    EXPECT_EQ(0, Find("*.txt", nullptr, false, "/tmp/tree/a.so"));
    EXPECT_EQ(std::vector<std::string>{"/a.so"}, m_calls.lines);
    EXPECT_EQ(0, Find(nullptr, nullptr, false, "/tmp/tree/missing"));
    EXPECT_TRUE(m_calls.lines.empty());
}

TEST_F(FinderTest, StoredCallableSeesSizes)
{
    long long bytes = 0;
    Finder finder(
        [&bytes](FindData const& entry) {
            bytes += entry.IsDirectory() ? 0 : entry.GetFileSize();
            return 0;
        },
        nullptr, nullptr, false);
    EXPECT_EQ(6, finder.StartFind(Path("/tmp/tree")));
    EXPECT_EQ(15 + 13, bytes);  // the link's size is that of its text, /tmp/tree/sub
    finder.SetPattern("*.txt", nullptr, false);
    EXPECT_EQ(1, finder.StartFind(Path("/tmp/tree")));
}
