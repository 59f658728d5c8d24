#include "CoreConfig.h"

#include "CoreLog.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace Norvane {
namespace LocalCore {

namespace {

std::string Trimmed(std::string const& text)
{
    std::size_t const first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// A positive number with an optional K, M or G suffix, at most `limit`.
bool ParseAmount(std::string const& text, long long limit, long long& amount)
{
    if (text.empty() || text[0] < '0' || text[0] > '9')
        return false;
    errno = 0;
    char* end = nullptr;
    unsigned long long const number = std::strtoull(text.c_str(), &end, 10);
    unsigned shift = 0;
    std::string const suffix = end;
    if (suffix == "K" || suffix == "k")
        shift = 10;
    else if (suffix == "M" || suffix == "m")
        shift = 20;
    else if (suffix == "G" || suffix == "g")
        shift = 30;
    else if (!suffix.empty())
        return false;
    if (errno != 0 || number == 0 || number > (static_cast<unsigned long long>(limit) >> shift))
        return false;
    amount = static_cast<long long>(number << shift);
    return true;
}

}  // namespace

CoreConfig CoreConfig::Parse(std::string const& text, std::string& problems)
{
    CoreConfig config;
    std::istringstream lines(text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        std::string const content = Trimmed(line);
        if (content.empty() || content[0] == '#')
            continue;
        std::size_t const equals = content.find('=');
        std::string const key = Trimmed(content.substr(0, equals));
        std::string const value = equals == std::string::npos ? std::string() : Trimmed(content.substr(equals + 1));
        long long amount = 0;
        bool known = true;
        bool good = false;
        if (key == "QDX_LOCALCORE_MAX_BYTES") {
            good = ParseAmount(value, 1LL << 40, amount) && amount >= (1LL << 20);
            if (good)
                config.maxBytes = amount;
        } else if (key == "QDX_LOCALCORE_MAX_AGE_DAYS") {
            good = ParseAmount(value, 36500, amount);
            if (good)
                config.maxAgeDays = amount;
        } else if (key == "QDX_LOCALCORE_QUEUE_BYTES") {
            good = ParseAmount(value, 1LL << 30, amount) && amount >= (64LL << 10);
            if (good)
                config.queueBytes = static_cast<std::size_t>(amount);
        } else if (key == "QDX_LOCALCORE_DURABILITY_MS") {
            good = ParseAmount(value, 60000, amount) && amount >= 10;
            if (good)
                config.durabilityMs = amount;
        } else {
            known = false;
        }
        if (!known)
            problems += "line " + std::to_string(number) + ": unknown key \"" + key + "\" ignored\n";
        else if (!good)
            problems += "line " + std::to_string(number) + ": bad value \"" + value + "\" for " + key + " ignored\n";
    }
    return config;
}

CoreConfig CoreConfig::Read(std::string const& file)
{
    std::ifstream in(file);
    if (!in)
        return CoreConfig();
    std::stringstream text;
    text << in.rdbuf();
    std::string problems;
    CoreConfig const config = Parse(text.str(), problems);
    std::istringstream lines(problems);
    for (std::string line; std::getline(lines, line);)
        CoreLog("%s: %s", file.c_str(), line.c_str());
    return config;
}

}  // namespace LocalCore
}  // namespace Norvane
