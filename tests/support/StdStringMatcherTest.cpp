#include "support/Finder.h"
#include "support/StdStringMatcher.h"

#include <gtest/gtest.h>

#include <string>

using namespace Norvane::QDXDesktopSDK;

TEST(StdStringMatcherTest, SimpleMatchTypes)
{
    struct Case {
        char const* match;
        bool matchCase;
        int type;
        char const* text;
        bool matches;
    };
    for (Case const& c :
         {Case{"Name", false, 0, "nAME", true}, Case{"Name", true, 0, "nAME", false},
          Case{"Name", false, 0, "Names", false}, Case{"lib", false, 1, "LIBX.so", true},
          Case{"lib", true, 1, "LIBX.so", false}, Case{"lib", false, 1, "li", false},
          Case{".SO", false, 2, "x.so", true}, Case{".SO", true, 2, "x.so", false},
          Case{".so", false, 2, "x.so.2", false}, Case{"b", false, 3, "aBc", true}, Case{"B", true, 3, "abc", false},
          Case{"abc", false, 4, "abc", false}, Case{nullptr, false, 0, "", true}}) {
        StdStringMatcherSimple const matcher(c.match, c.matchCase, StdStringMatcherSimple::MatchType(c.type));
        EXPECT_EQ(c.matches, matcher.Match(c.text) == 0)
            << (c.match ? c.match : "null") << " type " << c.type << " case " << c.matchCase << " on " << c.text;
    }
    // Equality answers with the sense of a comparison.
    StdStringMatcherSimple matcher("b", false, StdStringMatcherSimple::MatchType_Equal);
    EXPECT_LT(matcher.Match("A"), 0);
    EXPECT_GT(matcher.Match("c"), 0);
    matcher.SetMatchCase(true);
    matcher.SetMatchType(StdStringMatcherSimple::MatchType_BeginsWith);
    matcher.SetMatchString("B");
    EXPECT_EQ(0, matcher.Match("Bx"));
    EXPECT_NE(0, matcher.Match("bx"));
}

TEST(StdStringMatcherTest, RegularExpressionsMatchWholeTextsIgnoringCase)
{
    StdStringMatcherRegEx matcher("ab+c");
    EXPECT_EQ(0, matcher.Match("ABBC"));
    EXPECT_NE(0, matcher.Match("xabc"));
    EXPECT_NE(0, matcher.Match("abcx"));
    EXPECT_FALSE(matcher.SetRegularExpression("(unclosed"));
    EXPECT_NE(0, matcher.Match("(unclosed"));
    EXPECT_TRUE(matcher.SetRegularExpression(nullptr));
    EXPECT_EQ(0, matcher.Match(""));
    EXPECT_NE(0, matcher.Match("a"));
}

TEST(StdStringMatcherTest, WildCardLists)
{
    struct Case {
        char const* wildCards;
        char const* text;
        bool matches;
    };
    for (Case const& c : {Case{"*.so;*.so.*", "libx.so", true}, Case{"*.so;*.so.*", "LIBX.SO.2", true},
                          Case{"*.so;*.so.*", "libx.sox", false}, Case{"*.so", "libxso", false}, Case{"a?b", "b", true},
                          Case{"x;;y", "y", true}, Case{nullptr, "a", false}, Case{"log[", "log[", false}}) {
        StdStringMatcherWildCard const matcher(c.wildCards);
        EXPECT_EQ(c.matches, matcher.Match(c.text) == 0) << (c.wildCards ? c.wildCards : "null") << " on " << c.text;
    }
}

TEST(StdStringMatcherTest, FinderMakesTheMatcherOfItsPatternKind)
{
    EXPECT_EQ(nullptr, Finder_GetStringMatcher(nullptr, true));
    auto const simple = Finder_GetStringMatcher(".so", true);
    EXPECT_NE(nullptr, dynamic_cast<StdStringMatcherSimple*>(simple.get()));
    EXPECT_EQ(0, simple->Match("LIBX.SO"));
    auto const wild = Finder_GetStringMatcher("*.so", false);
    EXPECT_NE(nullptr, dynamic_cast<StdStringMatcherWildCard*>(wild.get()));
    EXPECT_NE(0, wild->Match(".so.x"));
}
