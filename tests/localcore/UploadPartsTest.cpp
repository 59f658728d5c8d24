// The upload's parts on their own: the OTLP request a batch becomes, what a
// collector's answer means, the back-off, and the gzip body.
#include "CoreJson.h"
#include "Gzip.h"
#include "LocalCoreVersion.h"
#include "OtlpLogs.h"
#include "UploadAnswer.h"

#include <gtest/gtest.h>
#include <zlib.h>

using namespace Norvane::LocalCore;

namespace {

// The string value of attribute `key` in an OTLP attribute array, or "(absent)".
std::string Attribute(JsonNode const& attributes, char const* key)
{
    for (auto const& attribute : attributes.GetArray())
        if (std::string(attribute["key"].GetString()) == key)
            return attribute["value"]["stringValue"].GetString();
    return "(absent)";
}

StoredRecord Stored(long long seq, std::string const& session, std::string const& args)
{
    StoredRecord record;
    record.seq = seq;
    record.timeMs = 1700000000123;
    record.sessionId = session;
    record.name = "TrackEvent";
    record.args = args;
    return record;
}

UploadBatch Batch()
{
    UploadBatch batch;
    batch.databaseId = "0123456789abcdef0123456789abcdef";
    batch.records = {Stored(7, "s-a",
                            R"({"s":"x","i":-5,"big":18446744073709551615,"d":1.5,"b":true,"n":null,)"
                            R"("a":[1,"two"],"o":{"k":"v"}})"),
                     Stored(8, "", "{}"), Stored(9, "s-b", "{}"), Stored(10, "s-a", "{}")};
    batch.products = {{"s-a", R"({"product_id":"Painter","product_version":"3.1"})"},
                      {"s-b", R"({"product_id":"Viewer"})"}};
    return batch;
}

std::string Gunzip(std::string const& compressed)
{
    z_stream stream{};
    inflateInit2(&stream, 15 + 32);
    std::string out(1 << 20, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
    stream.avail_in = static_cast<uInt>(compressed.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    int const result = inflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    inflateEnd(&stream);
    return result == Z_STREAM_END ? out : "(not gzip)";
}

}  // namespace

TEST(OtlpLogsTest, OneResourcePerProductAndOneLogRecordPerRecord)
{
    OtlpLogsEncoder encoder("9.9.9.9");
    UploadBatch const batch = Batch();
    JsonDocument request;
    ASSERT_FALSE(request.Parse(encoder.Request(batch, "device-1").c_str()).HasParseError());
    auto const& resources = request["resourceLogs"];
    ASSERT_EQ(3u, resources.Size()) << "Painter, no product, Viewer";

    auto const& painter = resources[0];
    EXPECT_EQ("Painter", Attribute(painter["resource"]["attributes"], "service.name"));
    EXPECT_EQ("3.1", Attribute(painter["resource"]["attributes"], "service.version"));
    EXPECT_EQ("9.9.9.9", Attribute(painter["resource"]["attributes"], "qdx.core.version"));
    EXPECT_EQ("device-1", Attribute(painter["resource"]["attributes"], "device.id"));
    EXPECT_EQ("(absent)", Attribute(resources[1]["resource"]["attributes"], "service.name"));
    EXPECT_EQ("(absent)", Attribute(resources[2]["resource"]["attributes"], "service.version"));
    auto const& scope = painter["scopeLogs"][0];
    EXPECT_STREQ("QdxSDKCore", scope["scope"]["name"].GetString());
    ASSERT_EQ(2u, scope["logRecords"].Size()) << "records 7 and 10";

    auto const& first = scope["logRecords"][0];
    EXPECT_STREQ("1700000000123000000", first["timeUnixNano"].GetString()) << "64-bit integers are strings";
    EXPECT_EQ("TrackEvent", Attribute(first["attributes"], "event.name"));
    EXPECT_EQ("s-a", Attribute(first["attributes"], "session.id"));
    EXPECT_EQ("0123456789abcdef0123456789abcdef-7", Attribute(first["attributes"], "qdx.record.id"));
    EXPECT_EQ("(absent)", Attribute(resources[1]["scopeLogs"][0]["logRecords"][0]["attributes"], "session.id"));

    JsonDocument expectedBody;
    expectedBody.Parse(R"({"kvlistValue":{"values":[
        {"key":"s","value":{"stringValue":"x"}},
        {"key":"i","value":{"intValue":"-5"}},
        {"key":"big","value":{"doubleValue":1.8446744073709552e19}},
        {"key":"d","value":{"doubleValue":1.5}},
        {"key":"b","value":{"boolValue":true}},
        {"key":"n","value":{}},
        {"key":"a","value":{"arrayValue":{"values":[{"intValue":"1"},{"stringValue":"two"}]}}},
        {"key":"o","value":{"kvlistValue":{"values":[{"key":"k","value":{"stringValue":"v"}}]}}}]}})");
    EXPECT_TRUE(first["body"] == expectedBody) << CompactText(first["body"]);

    JsonDocument withoutDevice;
    withoutDevice.Parse(encoder.Request(batch, "").c_str());
    EXPECT_EQ("(absent)", Attribute(withoutDevice["resourceLogs"][0]["resource"]["attributes"], "device.id"));
}

// Records encoded while the store picked the batch are reused, unless the
// database (and so the record ids) turned out to be another.
TEST(OtlpLogsTest, RecordIdsFollowTheBatchsDatabase)
{
    OtlpLogsEncoder encoder(QDX_LOCAL_CORE_VERSION);
    UploadBatch const batch = Batch();
    encoder.SetDatabaseId("ffffffffffffffffffffffffffffffff");
    long long const size = encoder.Encode(batch.records[1]);
    EXPECT_GT(size, 0);
    JsonDocument request;
    request.Parse(encoder.Request(batch, "").c_str());
    EXPECT_EQ("0123456789abcdef0123456789abcdef-8",
              Attribute(request["resourceLogs"][1]["scopeLogs"][0]["logRecords"][0]["attributes"], "qdx.record.id"));
}

TEST(UploadAnswerTest, EachAnswerHasItsOutcome)
{
    struct Row {
        bool completed, interrupted;
        long status;
        UploadOutcome outcome;
    } const rows[] = {
        {true, false, 200, UploadOutcome::Delivered}, {true, false, 204, UploadOutcome::Delivered},
        {true, false, 429, UploadOutcome::Retry},     {true, false, 502, UploadOutcome::Retry},
        {true, false, 503, UploadOutcome::Retry},     {true, false, 504, UploadOutcome::Retry},
        {false, false, 0, UploadOutcome::Retry},      {true, false, 400, UploadOutcome::Dropped},
        {true, false, 401, UploadOutcome::Dropped},   {true, false, 413, UploadOutcome::Dropped},
        {true, false, 500, UploadOutcome::Dropped},   {true, false, 301, UploadOutcome::Dropped},
        {false, true, 0, UploadOutcome::Unconfirmed},
    };
    for (Row const& row : rows) {
        HttpExchange exchange;
        exchange.completed = row.completed;
        exchange.interrupted = row.interrupted;
        exchange.status = row.status;
        UploadResult const result = Classify(exchange);
        EXPECT_EQ(row.outcome, result.outcome) << row.status;
        EXPECT_EQ(row.outcome == UploadOutcome::Retry, static_cast<bool>(result.retryDelayMs)) << row.status;
    }
    EXPECT_EQ(3, RejectedRecords(R"({"partialSuccess":{"rejectedLogRecords":"3","errorMessage":"x"}})"));
    EXPECT_EQ(4, RejectedRecords(R"({"partialSuccess":{"rejectedLogRecords":4}})"));
    EXPECT_EQ(0, RejectedRecords(R"({"partialSuccess":{}})"));
    EXPECT_EQ(0, RejectedRecords("not json"));
    EXPECT_EQ(0, RejectedRecords(""));
}

TEST(UploadAnswerTest, BackOffDoublesWithJitterAndHonoursRetryAfter)
{
    struct Row {
        long long attempts, retryAfterS;
        double random;
        long long delayMs;
    } const rows[] = {
        {1, -1, 0.0, 500},      {1, -1, 0.999999, 999},    {2, -1, 0.0, 1000},         {3, -1, 0.5, 3000},
        {10, -1, 1e-9, 150000}, {40, -1, 0.0, 150000},     {40, -1, 0.999999, 299999}, {1, 10, 0.0, 10000},
        {9, 1, 0.0, 128000},    {1, 999999, 0.0, 3600000},
    };
    for (Row const& row : rows)
        EXPECT_EQ(row.delayMs, RetryDelayMs(row.attempts, row.retryAfterS, row.random))
            << row.attempts << " " << row.retryAfterS << " " << row.random;
}

TEST(GzipTest, BodiesDecode)
{
    for (std::string const& body : {std::string(), std::string("{\"resourceLogs\":[]}"), std::string(300000, 'x')}) {
        std::string compressed;
        ASSERT_TRUE(Gzip(body, compressed));
        EXPECT_EQ(0x1f, static_cast<unsigned char>(compressed[0]));
        EXPECT_EQ(body, Gunzip(compressed));
    }
}
