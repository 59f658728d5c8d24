#include "UploadAnswer.h"

#include "CoreJson.h"

#include <algorithm>
#include <cstdlib>
#include <random>

namespace Norvane {
namespace LocalCore {

namespace {

constexpr long long kFirstDelayMs = 1000;
constexpr long long kLongestDelayMs = 5 * 60 * 1000;
constexpr long long kLongestRetryAfterS = 3600;

double Random01()
{
    thread_local std::mt19937_64 generator{std::random_device{}()};
    return std::uniform_real_distribution<double>(0.0, 1.0)(generator);
}

}  // namespace

long long RetryDelayMs(long long failedAttempts, long long retryAfterS, double random01)
{
    long long delay = kFirstDelayMs;
    for (long long attempt = 1; attempt < failedAttempts && delay < kLongestDelayMs; ++attempt)
        delay *= 2;
    delay = std::min(delay, kLongestDelayMs);
    long long const jittered = delay / 2 + static_cast<long long>(random01 * static_cast<double>(delay / 2));
    long long const asked = std::min(std::max(retryAfterS, 0LL), kLongestRetryAfterS) * 1000;
    return std::max(jittered, asked);
}

UploadResult Classify(HttpExchange const& exchange)
{
    UploadResult result;
    if (exchange.interrupted) {
        result.outcome = UploadOutcome::Unconfirmed;
        return result;
    }
    long const status = exchange.completed ? exchange.status : 0;
    if (status >= 200 && status < 300) {
        result.outcome = UploadOutcome::Delivered;
        result.rejected = RejectedRecords(exchange.body);
    } else if (!exchange.completed || status == 429 || status == 502 || status == 503 || status == 504) {
        result.outcome = UploadOutcome::Retry;
        long long const retryAfterS = exchange.retryAfterS;
        result.retryDelayMs = [retryAfterS](long long attempts) {
            return RetryDelayMs(attempts, retryAfterS, Random01());
        };
    } else {
        result.outcome = UploadOutcome::Dropped;
    }
    return result;
}

long long RejectedRecords(std::string const& body)
{
    JsonDocument answer;
    if (answer.Parse(body.c_str()).HasParseError() || !answer.IsObject())
        return 0;
    auto const partial = answer.FindMember("partialSuccess");
    if (partial == answer.MemberEnd() || !partial->value.IsObject())
        return 0;
    auto const rejected = partial->value.FindMember("rejectedLogRecords");
    if (rejected == partial->value.MemberEnd())
        return 0;
    if (rejected->value.IsInt64())
        return std::max(0LL, static_cast<long long>(rejected->value.GetInt64()));
    if (rejected->value.IsString())
        return std::max(0LL, std::atoll(rejected->value.GetString()));
    return 0;
}

}  // namespace LocalCore
}  // namespace Norvane
