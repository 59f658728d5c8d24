// The text rules of Path, and the comparisons that canonicalise through the
// file system (read-only, except where a test makes a link in /tmp).
#include "TestIsolation.h"
#include "support/Path.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <string>

using Norvane::QDXDesktopSDK::Path;

namespace {

struct TextCase {
    char const* path;
    char const* expected;
};

template <typename Rule> void ExpectEach(char const* name, Rule rule, std::initializer_list<TextCase> cases)
{
    for (TextCase const& c : cases)
        EXPECT_EQ(c.expected, Path(rule(Path(c.path))).GetString()) << name << " of '" << c.path << "'";
}

struct PairCase {
    char const* left;
    char const* right;
    char const* expected;
};

Path Home()
{
    return Path::GetSpecialFolderPath(Path::SpecialFolder_Home, false);
}

}  // namespace

TEST(PathTextTest, PartsOfAPath)
{
    ExpectEach("Parent", [](Path const& p) { return p.Parent(); },
               {{"/a/b", "/a"}, {"/a", "/"}, {"/", "/"}, {"a", ""}, {"/a/b/", "/a"}, {"a//b", "a"}, {"//a", "/"}});
    ExpectEach("FileName", [](Path const& p) { return p.FileName(); },
               {{"/a/b.txt", "b.txt"}, {"b", "b"}, {"/a/", ""}});
    ExpectEach("GetRoot", [](Path const& p) { return p.GetRoot(); },
               {{"/a/b", "/a"}, {"~/x", "~"}, {"a/b/c", "a"}, {"/a", "/a"}, {"/", "/"}});
    ExpectEach("RemoveRoot", [](Path const& p) { return p.RemoveRoot(); },
               {{"/a/b/c", "b/c"}, {"/a//b/", "b"}, {"~/x", "x"}, {"/a", ""}, {"/a///", ""}});
    ExpectEach("GetExtension", [](Path const& p) { return p.GetExtension(); },
               {{"archive.tar.gz", ".gz"}, {".profile", ".profile"}, {"/a.d/file", ""}, {"dir/", ""}});
    ExpectEach("FileNameWithoutExt", [](Path const& p) { return p.FileNameWithoutExt(); },
               {{"/x/archive.tar.gz", "archive.tar"}, {"name", "name"}, {"/x/.profile", ""}, {"a.b/c", "c"}});
}

TEST(PathTextTest, RenameExtensionAndAppend)
{
    for (PairCase const& c :
         {PairCase{"name.log", ".txt", "name.txt"}, PairCase{"name.log", "txt", "name.txt"},
          PairCase{"name.log", ".", "name"}, PairCase{"name.log", nullptr, "name"},
          PairCase{"/x/a.b.c", "d", "/x/a.b.d"}, PairCase{"/a.txt", "md", "/a.md"}, PairCase{"x/n", "..t", "x/n..t"}})
        EXPECT_EQ(c.expected, Path(c.left).RenameExtension(c.right).GetString()) << c.left;
    for (PairCase const& c :
         {PairCase{"/", "/x", "/x"}, PairCase{"a/", "b/", "a/b"}, PairCase{"", "/x", "x"},
          PairCase{"/a//", "//b//c//", "/a/b//c"}, PairCase{"/a", "", "/a"}, PairCase{"~", "x", "~/x"}})
        EXPECT_EQ(c.expected, Path(c.left).Append(Path(c.right)).GetString()) << c.left << " + " << c.right;
}

TEST(PathTextTest, RelativeFullAndCanonicalPaths)
{
    for (char const* relative : {"", "a", "./a", "a/~"})
        EXPECT_TRUE(Path(relative).IsRelativePath()) << relative;
    for (char const* absolute : {"/", "~", "~/a"})
        EXPECT_FALSE(Path(absolute).IsRelativePath()) << absolute;
    // A relative path is put below the current folder as it is, never resolved.
    EXPECT_EQ(Path::CurrentDir().GetString() + "/x/../y", Path("x/../y").MakeFullPath().GetString());
    EXPECT_EQ("/", Path("/./tmp/../").MakeFullPath().GetString());
    EXPECT_EQ("/no/such/../x", Path("/no/such/../x").Canonicalize().GetString());
    EXPECT_EQ(Home().GetString(), Path("~").Canonicalize().GetString());
    EXPECT_EQ(Home().Append(Path("a/b")).GetString(), Path("~/a/b").Canonicalize().GetString());
}

TEST(PathTextTest, CompareIgnoresCaseAndSpelling)
{
    EXPECT_TRUE(Path("/Opt/X") == Path("/opt/x"));
    EXPECT_TRUE(Path("/a") != Path("/b"));
    EXPECT_LT(Path("/a").Compare(Path("/B")), 0);
    EXPECT_TRUE(Path("rel/x") == Path(Path::CurrentDir().Append(Path("REL/X"))));
    EXPECT_TRUE(Path("~/Notes") == Home().Append(Path("notes")));
    EXPECT_TRUE(Path("/tmp/../") == Path("/"));
}

TEST(PathTextTest, CompareFollowsLinks)
{
    QDX_REQUIRE_ISOLATION();
    ASSERT_TRUE(Path("/tmp/real").CreateDir());
    ASSERT_EQ(0, symlink("/tmp/real", "/tmp/link"));
    EXPECT_TRUE(Path("/tmp/link") == Path("/tmp/real"));
    EXPECT_TRUE(Path("/tmp/LINK") != Path("/tmp/real"));  // no such entry, so not resolved
    EXPECT_TRUE(Path("/tmp/link").IsPreFixOf(Path("/tmp/real/inner")));
}

TEST(PathTextTest, PrefixAndRelativePathGoByWholeComponents)
{
    struct Case {
        char const* prefix;
        char const* path;
        bool expected;
    };
    for (Case const& c : {Case{"/", "/a", true}, Case{"/a", "/a", true}, Case{"/A", "/a/b", true},
                          Case{"/a/b", "/a", false}, Case{"/a/b", "/a/bc", false}, Case{"/a//b/", "/a/b/c", true}})
        EXPECT_EQ(c.expected, Path(c.prefix).IsPreFixOf(Path(c.path))) << c.prefix << " of " << c.path;
    for (PairCase const& c : {PairCase{"/a/b/c", "/a", "b/c"}, PairCase{"/a/b", "/a/c/d", "../../b"},
                              PairCase{"/a", "/A", ""}, PairCase{"/x", "/", "x"}})
        EXPECT_EQ(c.expected, Path(c.left).GetRelativePath(Path(c.right)).GetString()) << c.left << " from " << c.right;
}

TEST(PathTextTest, WideTextRoundTrips)
{
    Path const wide(std::wstring(L"/tmp/\u00e4\u4e2d"));
    EXPECT_EQ("/tmp/\xc3\xa4\xe4\xb8\xad", wide.GetString());
    EXPECT_EQ(std::wstring(L"/tmp/\u00e4\u4e2d"), wide.GetWideString());
}
