#include "support/StdStringMatcher.h"

#include "support/StdStringUtil.h"

#include <strings.h>

#include <algorithm>
#include <cctype>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool BeginsWith(std::string const& text, std::string const& part)
{
    return text.size() >= part.size() && text.compare(0, part.size(), part) == 0;
}

bool EndsWith(std::string const& text, std::string const& part)
{
    return text.size() >= part.size() && text.compare(text.size() - part.size(), part.size(), part) == 0;
}

}  // namespace

StdStringMatcherSimple::StdStringMatcherSimple(char const* match, bool matchCase, MatchType type)
    : m_matchCase(matchCase), m_type(type)
{
    SetMatchString(match);
}

void StdStringMatcherSimple::SetMatchString(char const* match)
{
    m_match = match != nullptr ? match : "";
    m_lowerMatch = Lower(m_match);
}

int StdStringMatcherSimple::Match(std::string const& text) const
{
    if (m_type == MatchType_Equal)
        return m_matchCase ? text.compare(m_match) : strcasecmp(text.c_str(), m_match.c_str());
    std::string const subject = m_matchCase ? text : Lower(text);
    std::string const& part = m_matchCase ? m_match : m_lowerMatch;
    bool matched = false;
    switch (m_type) {
    case MatchType_BeginsWith:
        matched = BeginsWith(subject, part);
        break;
    case MatchType_EndsWith:
        matched = EndsWith(subject, part);
        break;
    case MatchType_Contains:
        matched = subject.find(part) != std::string::npos;
        break;
    default:
        break;
    }
    return matched ? 0 : 1;
}

StdStringMatcherRegEx::StdStringMatcherRegEx(char const* expression)
{
    SetRegularExpression(expression);
}

bool StdStringMatcherRegEx::SetRegularExpression(char const* expression)
{
    // The standard library reports a malformed expression (and an input too
    // complex to match) only by exception; neither may leave this class.
    try {
        m_expression.assign(expression != nullptr ? expression : "", std::regex::ECMAScript | std::regex::icase);
        m_valid = true;
    } catch (std::regex_error const&) {
        m_valid = false;
    }
    return m_valid;
}

int StdStringMatcherRegEx::Match(std::string const& text) const
{
    if (!m_valid)
        return 1;
    try {
        return std::regex_match(text, m_expression) ? 0 : 1;
    } catch (std::regex_error const&) {
        return 1;
    }
}

StdStringMatcherWildCard::StdStringMatcherWildCard(char const* wildCards) : StdStringMatcherRegEx(nullptr)
{
    SetWildCardExpression(wildCards);
}

bool StdStringMatcherWildCard::SetWildCardExpression(char const* wildCards)
{
    std::string expression;
    for (std::string const& alternative :
         StdStringUtil::SplitString(wildCards != nullptr ? wildCards : "", ";", false, -1)) {
        if (!expression.empty())
            expression.push_back('|');
        expression.push_back('(');
        for (char const c : alternative) {
            if (c == '*')
                expression.append(".*");
            else if (c == '.')
                expression.append("\\.");
            else
                expression.push_back(c);
        }
        expression.push_back(')');
    }
    return SetRegularExpression(expression.c_str());
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
