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

// "http://" or "https://", a host, no white space; the trailing "/" goes.
bool ParseEndpoint(std::string text, std::string& endpoint)
{
    while (!text.empty() && text.back() == '/')
        text.pop_back();
    std::size_t const scheme = text.rfind("https://", 0) == 0 ? 8 : text.rfind("http://", 0) == 0 ? 7 : 0;
    if (scheme == 0 || text.size() == scheme || text.find_first_of(" \t\r\n") != std::string::npos)
        return false;
    endpoint = text;
    return true;
}

// "Name: value" pairs separated by ";". A header name is an HTTP token; a
// value may not break the request's lines.
bool ParseHeaders(std::string const& text, std::vector<std::string>& headers)
{
    std::vector<std::string> parsed;
    std::istringstream pairs(text);
    for (std::string pair; std::getline(pairs, pair, ';');) {
        if (Trimmed(pair).empty())
            continue;
        std::size_t const colon = pair.find(':');
        if (colon == std::string::npos)
            return false;
        std::string const name = Trimmed(pair.substr(0, colon));
        std::string const value = Trimmed(pair.substr(colon + 1));
        if (name.empty() || name.find_first_of(" \t()<>@,;:\\\"/[]?={}") != std::string::npos ||
            value.find_first_of("\r\n") != std::string::npos)
            return false;
        parsed.push_back(name + ": " + value);
    }
    headers = std::move(parsed);
    return true;
}

// The upload's keys; false for a key that is not one of them.
bool ParseUploadKey(std::string const& key, std::string const& value, UploadConfig& upload, bool& good)
{
    long long amount = 0;
    if (key == "upload_endpoint") {
        good = value.empty() || ParseEndpoint(value, upload.endpoint);
    } else if (key == "upload_headers") {
        good = ParseHeaders(value, upload.headers);
    } else if (key == "upload_interval_s") {
        good = ParseAmount(value, 86400, amount) && value.find_first_not_of("0123456789") == std::string::npos;
        if (good)
            upload.intervalS = amount;
    } else if (key == "upload_batch_records") {
        good = ParseAmount(value, 100000, amount) && value.find_first_not_of("0123456789") == std::string::npos;
        if (good)
            upload.batchRecords = amount;
    } else if (key == "upload_batch_bytes") {
        good = ParseAmount(value, 64LL << 20, amount) && amount >= 1024;
        if (good)
            upload.batchBytes = amount;
    } else if (key == "upload_gzip") {
        good = value == "on" || value == "off";
        if (good)
            upload.gzip = value == "on";
    } else {
        return false;
    }
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
            known = ParseUploadKey(key, value, config.upload, good);
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
