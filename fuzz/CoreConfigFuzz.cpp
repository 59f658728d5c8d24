// Arbitrary bytes as the local core's configuration file. Whatever it holds,
// every limit stays within the range the core accepts, and every line that
// was not taken is reported.
#include "CoreConfig.h"

#include <cstdint>
#include <string>

using namespace Norvane::LocalCore;

namespace {

void Require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string problems;
    CoreConfig const config = CoreConfig::Parse(std::string(reinterpret_cast<char const*>(data), size), problems);
    Require(config.maxBytes >= (1LL << 20) && config.maxBytes <= (1LL << 40));
    Require(config.maxAgeDays >= 1 && config.maxAgeDays <= 36500);
    Require(config.queueBytes >= (64u << 10) && config.queueBytes <= (1u << 30));
    Require(config.durabilityMs >= 10 && config.durabilityMs <= 60000);
    return 0;
}
