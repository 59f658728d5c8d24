#include "DialogStrings.h"

#include "CoreLog.h"

#include <fstream>
#include <sstream>

namespace Norvane {
namespace LocalCore {

constexpr char DialogStrings::kFallbackLocale[];

DialogStrings::DialogStrings(std::string const& coreFile)
{
    std::string const folder = coreFile.substr(0, coreFile.find_last_of('/') + 1);
    std::string const file = folder + "QdxSDKCore.dialog-strings.json";
    std::ifstream in(file);
    std::stringstream text;
    text << in.rdbuf();
    if (m_strings.Parse(text.str().c_str()).HasParseError() || !m_strings.IsObject()) {
        CoreLog("no dialog strings: %s is missing or not a JSON object", file.c_str());
        m_strings.SetObject();
    }
}

std::string DialogStrings::Match(std::string const& locale) const
{
    auto const exact = m_strings.FindMember(locale.c_str());
    if (exact != m_strings.MemberEnd() && exact->value.IsObject())
        return locale;
    std::string const language = locale.substr(0, locale.find_first_of("_-"));
    if (language.empty())
        return std::string();
    for (auto const& entry : m_strings.GetObject()) {
        std::string const name = entry.name.GetString();
        if (entry.value.IsObject() && name.compare(0, language.size(), language) == 0 &&
            (name.size() == language.size() || name[language.size()] == '_'))
            return name;
    }
    return std::string();
}

bool DialogStrings::Copy(std::string const& locale, JsonNode& texts, JsonDocument::AllocatorType& allocator) const
{
    auto const found = m_strings.FindMember(locale.c_str());
    if (found == m_strings.MemberEnd() || !found->value.IsObject())
        return false;
    texts.CopyFrom(found->value, allocator);
    return true;
}

}  // namespace LocalCore
}  // namespace Norvane
