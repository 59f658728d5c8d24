#ifndef QDX_STD_STRING_MATCHER_H
#define QDX_STD_STRING_MATCHER_H

#include <regex>
#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// Decides whether a text, typically a file name, is selected. `Match` has the
/// sense of a comparison: 0 means "matches", anything else "does not".
/// Matchers are not changed by `Match`, so one may be shared by threads as
/// long as none of them sets it up anew.
class StdStringMatcher {
public:
    /// 0 when `text` matches; non-zero otherwise.
    virtual int Match(std::string const& text) const = 0;
    virtual ~StdStringMatcher() = default;

protected:
    StdStringMatcher() = default;
    StdStringMatcher(StdStringMatcher const&) = default;
    StdStringMatcher& operator=(StdStringMatcher const&) = default;
};

/// Plain text comparison: equal, begins with, ends with or contains.
class StdStringMatcherSimple : public StdStringMatcher {
public:
    enum MatchType : int {
        MatchType_Equal = 0,       ///< the whole text equals the match string
        MatchType_BeginsWith = 1,  ///< the text begins with the match string
        MatchType_EndsWith = 2,    ///< the text ends with the match string
        MatchType_Contains = 3,    ///< the text contains the match string
        MatchType_Count = 4        ///< this and above never match
    };

    /// A null `match` is the empty string. Without `matchCase`, case (ASCII)
    /// is ignored.
    StdStringMatcherSimple(char const* match, bool matchCase, MatchType type);

    /// For `MatchType_Equal` the result is that of the comparison itself
    /// (byte-wise with match case, strcasecmp without); otherwise 0 or 1.
    int Match(std::string const& text) const override;

    void SetMatchString(char const* match);
    void SetMatchCase(bool matchCase) { m_matchCase = matchCase; }
    void SetMatchType(MatchType type) { m_type = type; }

private:
    std::string m_match;
    std::string m_lowerMatch;
    bool m_matchCase;
    MatchType m_type;
};

/// A regular expression in ECMAScript syntax, ignoring case, that must match
/// the whole text. An expression that does not compile matches nothing.
class StdStringMatcherRegEx : public StdStringMatcher {
public:
    /// A null expression is the empty one (which matches only the empty text).
    explicit StdStringMatcherRegEx(char const* expression);

    int Match(std::string const& text) const override;

    /// Compiles `expression`; false (and nothing matches) when it is invalid.
    bool SetRegularExpression(char const* expression);

private:
    std::regex m_expression;
    bool m_valid = false;
};

/// A list of wildcard patterns separated by ";" ("*.so;*.so.*"), any one of
/// which must match the whole text, ignoring case. "*" stands for any run of
/// characters and "." for itself; every other character keeps its meaning in
/// a regular expression, so "?" makes the character before it optional.
class StdStringMatcherWildCard : public StdStringMatcherRegEx {
public:
    explicit StdStringMatcherWildCard(char const* wildCards);

    /// Converts and compiles `wildCards` (null: the empty list); false when
    /// the result is not a valid expression.
    bool SetWildCardExpression(char const* wildCards);
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
