// Finder over a small tree in the private /tmp, and the string matchers it uses.
#include "TestIsolation.h"
#include "support/Finder.h"
#include "support/StdStringMatcher.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <set>
#include <string>
#include <tuple>
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
        for (char const* file : {"/tmp/tree/a.so", "/tmp/tree/sub/b.SO.2", "/tmp/tree/sub/deeper/c.txt"})
            ASSERT_TRUE(Path(file).WriteFile("12345", 5, 0, nullptr, nullptr));
        ASSERT_EQ(0, symlink("/tmp/tree/sub", "/tmp/tree/sub/deeper/up"));
    }

    int Find(char const* include, char const* exclude, bool simple, char const* root = "/tmp/tree")
    {
        m_calls = {{}, {}, m_calls.answer};
        Finder finder(&Record, &m_calls, include, exclude, simple);
        return finder.StartFind(Path(root));
    }

    Calls m_calls;
};

}  // namespace

TEST_F(FinderTest, PatternsSelectByName)
{
    using Case = std::tuple<char const*, char const*, bool, int>;
    for (auto const& [include, exclude, simple, count] :
         {Case{"*.so;*.so.*", nullptr, false, 2}, Case{".SO", nullptr, true, 1}, Case{"*", "*.txt;sub", false, 4},
          Case{nullptr, "deeper", false, 5}, Case{"*.SO*", "b*", false, 1}, Case{"x", "x", true, 0}}) {
        EXPECT_EQ(count, Find(include, exclude, simple)) << (include ? include : "null");
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
}

TEST(StdStringMatcherTest, WildCardLists)
{
    using Case = std::tuple<char const*, char const*, bool>;
    for (auto const& [wildCards, text, matches] :
         {Case{"*.so;*.so.*", "libx.so", true}, Case{"*.so;*.so.*", "LIBX.SO.2", true},
          Case{"*.so;*.so.*", "libx.sox", false}, Case{"*.so", "libxso", false}, Case{"a?b", "b", true},
          Case{"x;;y", "y", true}, Case{nullptr, "a", false}, Case{"log[", "log[", false}}) {
        StdStringMatcherWildCard const matcher(wildCards);
        EXPECT_EQ(matches, matcher.Match(text) == 0) << (wildCards ? wildCards : "null") << " on " << text;
    }
}
