#include "CoreSettings.h"

#include "CoreJson.h"

namespace Norvane {
namespace LocalCore {

namespace {

// True when any product's testing flags hold "ignore_consent": true.
bool AnyIgnoresConsent(std::string const& flagsText)
{
    JsonDocument flags;
    if (flags.Parse(flagsText.c_str()).HasParseError() || !flags.IsObject())
        return false;
    for (auto const& product : flags.GetObject()) {
        if (!product.value.IsObject())
            continue;
        auto const flag = product.value.FindMember("ignore_consent");
        if (flag != product.value.MemberEnd() && flag->value.IsTrue())
            return true;
    }
    return false;
}

}  // namespace

void CoreSettings::Replace(std::map<std::string, std::string> settings)
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_settings = std::move(settings);
    for (auto const& [name, value] : m_unwritten) {
        if (value)
            m_settings[name] = *value;
        else
            m_settings.erase(name);
    }
    Derive();
}

std::string CoreSettings::Get(char const* name, std::string const& fallback) const
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    auto const found = m_settings.find(name);
    return found != m_settings.end() ? found->second : fallback;
}

void CoreSettings::Set(char const* name, std::string const& value)
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_settings[name] = value;
    m_unwritten[name] = value;
    Derive();
}

void CoreSettings::Remove(char const* name)
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_settings.erase(name);
    m_unwritten[name] = std::nullopt;
    Derive();
}

void CoreSettings::Written(std::string const& name, std::optional<std::string> const& value)
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    auto const found = m_unwritten.find(name);
    if (found != m_unwritten.end() && found->second == value)
        m_unwritten.erase(found);  // a later change of the same setting stays until it is written too
}

void CoreSettings::ForgetUnwrittenAfterFork()
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_unwritten.clear();
}

std::map<std::string, std::string> CoreSettings::All() const
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    return m_settings;
}

void CoreSettings::Derive()
{
    auto const value = [&](char const* name) {
        auto const found = m_settings.find(name);
        return found != m_settings.end() ? found->second : std::string();
    };
    m_consented.store(value(Setting::kConsent) == "in", std::memory_order_relaxed);
    m_disabled.store(value(Setting::kDisabled) == "1", std::memory_order_relaxed);
    m_consentIgnored.store(AnyIgnoresConsent(value(Setting::kTestingFlags)), std::memory_order_relaxed);
}

}  // namespace LocalCore
}  // namespace Norvane
