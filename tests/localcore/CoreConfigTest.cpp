// The configuration file's reader on its own: known keys with their bounds
// and suffixes, everything else reported and ignored.
#include "CoreConfig.h"

#include <gtest/gtest.h>

using Norvane::LocalCore::CoreConfig;

namespace {

constexpr long long kMiB = 1LL << 20;

struct Entry {
    char const* line;
    long long CoreConfig::*limit;  ///< the limit a good value sets, null for a size_t queue limit
    long long value;               ///< what it becomes; the default when the line is refused
    bool reported;
};

long long QueueBytes(CoreConfig const& config)
{
    return static_cast<long long>(config.queueBytes);
}

Entry const kEntries[] = {
    {"QDX_LOCALCORE_MAX_BYTES=2M", &CoreConfig::maxBytes, 2 * kMiB, false},
    {"QDX_LOCALCORE_MAX_BYTES=1048576", &CoreConfig::maxBytes, kMiB, false},
    {"  QDX_LOCALCORE_MAX_BYTES = 3g \r", &CoreConfig::maxBytes, 3LL << 30, false},
    {"QDX_LOCALCORE_MAX_BYTES=1024K", &CoreConfig::maxBytes, kMiB, false},
    {"QDX_LOCALCORE_MAX_BYTES=512K", &CoreConfig::maxBytes, 64 * kMiB, true},
    {"QDX_LOCALCORE_MAX_BYTES=1025G", &CoreConfig::maxBytes, 64 * kMiB, true},
    {"QDX_LOCALCORE_MAX_BYTES=2T", &CoreConfig::maxBytes, 64 * kMiB, true},
    {"QDX_LOCALCORE_MAX_BYTES=2 M", &CoreConfig::maxBytes, 64 * kMiB, true},
    {"QDX_LOCALCORE_MAX_BYTES=-2M", &CoreConfig::maxBytes, 64 * kMiB, true},
    {"QDX_LOCALCORE_MAX_BYTES=99999999999999999999999", &CoreConfig::maxBytes, 64 * kMiB, true},
    {"QDX_LOCALCORE_MAX_BYTES=", &CoreConfig::maxBytes, 64 * kMiB, true},
    {"QDX_LOCALCORE_MAX_BYTES", &CoreConfig::maxBytes, 64 * kMiB, true},
    {"QDX_LOCALCORE_MAX_AGE_DAYS=7", &CoreConfig::maxAgeDays, 7, false},
    {"QDX_LOCALCORE_MAX_AGE_DAYS=0", &CoreConfig::maxAgeDays, 30, true},
    {"QDX_LOCALCORE_MAX_AGE_DAYS=36501", &CoreConfig::maxAgeDays, 30, true},
    {"QDX_LOCALCORE_MAX_AGE_DAYS=seven", &CoreConfig::maxAgeDays, 30, true},
    {"QDX_LOCALCORE_DURABILITY_MS=10", &CoreConfig::durabilityMs, 10, false},
    {"QDX_LOCALCORE_DURABILITY_MS=9", &CoreConfig::durabilityMs, 1000, true},
    {"QDX_LOCALCORE_DURABILITY_MS=60001", &CoreConfig::durabilityMs, 1000, true},
    {"QDX_LOCALCORE_QUEUE_BYTES=64k", nullptr, 64 << 10, false},
    {"QDX_LOCALCORE_QUEUE_BYTES=1G", nullptr, 1 << 30, false},
    {"QDX_LOCALCORE_QUEUE_BYTES=63K", nullptr, 8 * kMiB, true},
    {"QDX_LOCALCORE_QUEUE_BYTES=2G", nullptr, 8 * kMiB, true},
    {"qdx_localcore_queue_bytes=1M", nullptr, 8 * kMiB, true},
    {"SOMETHING_ELSE=1", nullptr, 8 * kMiB, true},
    {"# QDX_LOCALCORE_QUEUE_BYTES=1M", nullptr, 8 * kMiB, false},
    {"   ", nullptr, 8 * kMiB, false},
};

}  // namespace

TEST(CoreConfigParse, TakesGoodValuesAndReportsTheRest)
{
    for (Entry const& entry : kEntries) {
        std::string problems;
        CoreConfig const config = CoreConfig::Parse(std::string("\n") + entry.line + "\n", problems);
        EXPECT_EQ(entry.limit != nullptr ? config.*entry.limit : QueueBytes(config), entry.value) << entry.line;
        EXPECT_EQ(!problems.empty(), entry.reported) << entry.line << ": " << problems;
        if (entry.reported) {
            EXPECT_EQ(problems.rfind("line 2: ", 0), 0u) << problems;
        }
    }
}

TEST(CoreConfigParse, ReadsEveryLineAndTheLastValueWins)
{
    std::string problems;
    CoreConfig const config = CoreConfig::Parse("# limits\nQDX_LOCALCORE_MAX_BYTES=2M\nUNKNOWN=1\r\n"
                                                "QDX_LOCALCORE_MAX_AGE_DAYS=3\nQDX_LOCALCORE_MAX_BYTES=5M\n"
                                                "QDX_LOCALCORE_MAX_AGE_DAYS=none",
                                                problems);
    EXPECT_EQ(config.maxBytes, 5 * kMiB);
    EXPECT_EQ(config.maxAgeDays, 3);
    EXPECT_EQ(problems, "line 3: unknown key \"UNKNOWN\" ignored\n"
                        "line 6: bad value \"none\" for QDX_LOCALCORE_MAX_AGE_DAYS ignored\n");
}

namespace {

// The upload's settings in one line, to compare a table row at a glance.
std::string Summary(Norvane::LocalCore::UploadConfig const& upload)
{
    std::string text = upload.endpoint + " |";
    for (std::string const& header : upload.headers)
        text += " " + header + " |";
    return text + " " + std::to_string(upload.intervalS) + " " + std::to_string(upload.batchRecords) + " " +
           std::to_string(upload.batchBytes) + (upload.gzip ? " gzip" : " plain");
}

struct UploadEntry {
    char const* line;
    char const* summary;
    bool reported;
};

UploadEntry const kUploadEntries[] = {
    {"", " | 60 512 1048576 gzip", false},
    {"upload_endpoint=https://collector.example:4318", "https://collector.example:4318 | 60 512 1048576 gzip", false},
    {"upload_endpoint = http://127.0.0.1:4318/ ", "http://127.0.0.1:4318 | 60 512 1048576 gzip", false},
    {"upload_endpoint=", " | 60 512 1048576 gzip", false},
    {"upload_endpoint=ftp://host", " | 60 512 1048576 gzip", true},
    {"upload_endpoint=http://", " | 60 512 1048576 gzip", true},
    {"upload_endpoint=http://a b", " | 60 512 1048576 gzip", true},
    {"upload_endpoint=collector:4318", " | 60 512 1048576 gzip", true},
    {"upload_headers=Authorization: Bearer abc; X-Tenant:  t1 ;",
     " | Authorization: Bearer abc | X-Tenant: t1 | 60 512 1048576 gzip", false},
    {"upload_headers=api-key=abc", " | 60 512 1048576 gzip", true},
    {"upload_headers=Bad Name: x", " | 60 512 1048576 gzip", true},
    {"upload_headers=: x", " | 60 512 1048576 gzip", true},
    {"upload_interval_s=1", " | 1 512 1048576 gzip", false},
    {"upload_interval_s=0", " | 60 512 1048576 gzip", true},
    {"upload_interval_s=86401", " | 60 512 1048576 gzip", true},
    {"upload_interval_s=5K", " | 60 512 1048576 gzip", true},
    {"upload_batch_records=100", " | 60 100 1048576 gzip", false},
    {"upload_batch_records=0", " | 60 512 1048576 gzip", true},
    {"upload_batch_records=100001", " | 60 512 1048576 gzip", true},
    {"upload_batch_bytes=64K", " | 60 512 65536 gzip", false},
    {"upload_batch_bytes=1000", " | 60 512 1048576 gzip", true},
    {"upload_batch_bytes=65M", " | 60 512 1048576 gzip", true},
    {"upload_gzip=off", " | 60 512 1048576 plain", false},
    {"upload_gzip=on", " | 60 512 1048576 gzip", false},
    {"upload_gzip=yes", " | 60 512 1048576 gzip", true},
    {"UPLOAD_GZIP=off", " | 60 512 1048576 gzip", true},
};

}  // namespace

TEST(CoreConfigParse, UploadKeysTakeGoodValuesAndReportTheRest)
{
    for (UploadEntry const& entry : kUploadEntries) {
        std::string problems;
        CoreConfig const config = CoreConfig::Parse(entry.line, problems);
        EXPECT_EQ(Summary(config.upload), entry.summary) << entry.line;
        EXPECT_EQ(!problems.empty(), entry.reported) << entry.line << ": " << problems;
    }
    std::string problems;
    EXPECT_EQ(CoreConfig::Parse("upload_endpoint=http://h:1/base/", problems).upload.LogsUrl(),
              "http://h:1/base/v1/logs");
}
