// The receiver that the upload tests trust: it must accept what the OTLP
// schema accepts, refuse what it does not (so that a faulty upload cannot
// pass), decode gzip and answer as its plan says. Its outages, restarts and
// random refusals are checked where they are used: the delivery and load
// tests assert that they were met.
#include "OtlpReceiver.h"
#include "TestIsolation.h"

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <string>
#include <vector>

namespace {

using UploadTesting::OtlpReceiver;

struct Answer {
    CURLcode result = CURLE_OK;
    long status = 0;
    std::string retryAfter;
    std::string body;
};

std::string Gzip(std::string const& text)
{
    z_stream stream{};
    // 15 + 16: the largest window, with a gzip header and trailer.
    deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    std::string compressed(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(compressed.data());
    stream.avail_out = static_cast<uInt>(compressed.size());
    deflate(&stream, Z_FINISH);
    compressed.resize(stream.total_out);
    deflateEnd(&stream);
    return compressed;
}

struct Request {
    std::string body;
    std::string path = "/v1/logs";
    std::vector<std::string> headers = {"Content-Type: application/json"};
    bool get = false;
};

Answer Send(OtlpReceiver const& receiver, Request const& request)
{
    Answer answer;
    CURL* curl = curl_easy_init();
    curl_slist* headers = nullptr;
    for (auto const& header : request.headers)
        headers = curl_slist_append(headers, header.c_str());
    std::string const url = receiver.Endpoint() + request.path;
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    if (!request.get) {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body.data());
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(request.body.size()));
    }
    auto const keepText = +[](char* data, size_t size, size_t count, void* text) {
        static_cast<std::string*>(text)->append(data, size * count);
        return size * count;
    };
    auto const keepRetryAfter = +[](char* data, size_t size, size_t count, void* value) {
        std::string const line(data, size * count);
        if (line.rfind("Retry-After: ", 0) == 0)
            *static_cast<std::string*>(value) = line.substr(13, line.find('\r') - 13);
        return size * count;
    };
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, keepText);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &answer.body);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, keepRetryAfter);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &answer.retryAfter);
    answer.result = curl_easy_perform(curl);
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &answer.status);
    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
    return answer;
}

Answer Post(OtlpReceiver const& receiver, std::string const& body)
{
    return Send(receiver, Request{body});
}

// Two records as the core sends them: the argument object as a structured
// body, the ids as attributes, the product in the resource.
std::string const kValidBody = R"({"resourceLogs":[{
  "resource":{"attributes":[{"key":"product.id","value":{"stringValue":"ExampleEditor"}}]},
  "scopeLogs":[{"scope":{"name":"QdxSDKCore","version":"1.0.0.1"},"logRecords":[
    {"timeUnixNano":"1700000000123000000","observedTimeUnixNano":"1700000000123000000","severityNumber":9,
     "body":{"kvlistValue":{"values":[
       {"key":"operation_name","value":{"stringValue":"open"}},
       {"key":"content_size","value":{"intValue":"2048"}},
       {"key":"ratio","value":{"doubleValue":0.5}},
       {"key":"facets","value":{"arrayValue":{"values":[{"stringValue":"content"},{"boolValue":true}]}}}]}},
     "attributes":[{"key":"event.name","value":{"stringValue":"TrackEvent"}},
                   {"key":"session.id","value":{"stringValue":"s-1"}},
                   {"key":"qdx.record.id","value":{"stringValue":"r-1"}}],
     "traceId":"0102030405060708090a0b0c0d0e0f10","spanId":"0102030405060708"},
    {"timeUnixNano":"1700000000124000000","body":{"kvlistValue":{"values":[]}},
     "attributes":[{"key":"event.name","value":{"stringValue":"HeartBeat"}},
                   {"key":"qdx.record.id","value":{"stringValue":"r-2"}}]}]}]}]})";

// A test with a receiver started on the given plan.
class ReceiverTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        QDX_REQUIRE_OTLP_RECEIVER();
    }
    void Start(std::string const& plan) { ASSERT_TRUE(m_receiver.Start(plan)) << m_receiver.Problem(); }

    OtlpReceiver m_receiver;
};

TEST_F(ReceiverTest, AcceptsAValidRequestAndWritesEachRecordAsPlainJson)
{
    Start("200");
    Request request{kValidBody};
    request.headers.push_back("Authorization: Bearer token-1");
    Answer const answer = Send(m_receiver, request);
    ASSERT_EQ(answer.result, CURLE_OK);
    EXPECT_EQ(answer.status, 200);

    auto const records = m_receiver.Records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].request, 1);
    EXPECT_EQ(records[0].recordId, "r-1");
    EXPECT_EQ(records[0].sessionId, "s-1");
    EXPECT_EQ(records[0].eventName, "TrackEvent");
    EXPECT_EQ(records[0].body,
              R"({"operation_name":"open","content_size":2048,"ratio":0.5,"facets":["content",true]})");
    EXPECT_EQ(records[0].resource, R"({"product.id":"ExampleEditor"})");
    EXPECT_FALSE(records[0].gzip);
    EXPECT_EQ(records[1].recordId, "r-2");
    EXPECT_EQ(records[1].sessionId, "");
    EXPECT_EQ(records[1].body, "{}");

    auto const requests = m_receiver.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].outcome, "accepted");
    EXPECT_EQ(requests[0].records, 2);
    EXPECT_EQ(requests[0].headers.at("authorization"), "Bearer token-1");
    EXPECT_TRUE(m_receiver.Errors().empty());
}

TEST_F(ReceiverTest, RefusesWhatTheSchemaDoesNotReadAsSent)
{
    struct Case {
        char const* what;
        std::string body;
        char const* error;  // part of the receiver's reason
    };
    auto const record = [](std::string const& members) {
        return R"({"resourceLogs":[{"scopeLogs":[{"logRecords":[{)" + members + "}]}]}]}";
    };
    std::vector<Case> const cases = {
        {"an unknown member of the request", R"({"resourceLogs":[],"extra":1})", "extra: not a member"},
        {"an unknown member of a record", record(R"("eventName":"TrackEvent")"), "eventName: not a member"},
        {"a snake_case name", R"({"resource_logs":[]})", "resource_logs: not a member"},
        {"a 64-bit time as a number", record(R"("timeUnixNano":1700000000000000000)"), "timeUnixNano"},
        {"an intValue as a number", record(R"("body":{"intValue":5})"), "intValue"},
        {"an enum by name", record(R"("severityNumber":"SEVERITY_NUMBER_INFO")"), "severityNumber"},
        {"a string as a number", record(R"("severityText":5)"), "severityText"},
        {"attributes as an object", record(R"("attributes":{"a":1})"), "attributes: array expected"},
        {"a body with two values", record(R"("body":{"stringValue":"a","intValue":"1"})"), "multiple values"},
        {"an object as JSON text", record(R"("body":{"stringValue":"{\"a\":1}"})"), "sent as a string"},
        {"a trace id in base64", record(R"("traceId":"AQIDBAUGBwgJCgsMDQ4PEA==")"), "traceId"},
        {"a record nested one level too deep", R"({"resourceLogs":[{"logRecords":[]}]})", "logRecords: not a member"},
        {"a request that is an array", "[]", "not a JSON object"},
        {"text that is not JSON", "{resourceLogs:", "not JSON"},
    };
    Start("200");
    for (auto const& test : cases) {
        SCOPED_TRACE(test.what);
        Answer const answer = Post(m_receiver, test.body);
        ASSERT_EQ(answer.result, CURLE_OK);
        EXPECT_EQ(answer.status, 400);
        EXPECT_NE(answer.body.find(test.error), std::string::npos) << answer.body;
    }
    EXPECT_EQ(m_receiver.Errors().size(), cases.size());
    EXPECT_TRUE(m_receiver.Records().empty());
    EXPECT_EQ(m_receiver.CountOutcome("invalid"), static_cast<int>(cases.size()));
}

TEST_F(ReceiverTest, RefusesAWrongPathMethodTypeOrEncoding)
{
    struct Case {
        char const* what;
        Request request;
        long status;
    };
    std::vector<Case> const cases = {
        {"another path", Request{kValidBody, "/v1/traces"}, 404},
        {"GET", Request{"", "/v1/logs", {}, true}, 405},
        {"protobuf", Request{kValidBody, "/v1/logs", {"Content-Type: application/x-protobuf"}}, 415},
        {"deflate", Request{kValidBody, "/v1/logs", {"Content-Type: application/json", "Content-Encoding: deflate"}},
         415},
        {"gzip that is not",
         Request{kValidBody, "/v1/logs", {"Content-Type: application/json", "Content-Encoding: gzip"}}, 400},
    };
    Start("200");
    for (auto const& test : cases) {
        SCOPED_TRACE(test.what);
        Answer const answer = Send(m_receiver, test.request);
        ASSERT_EQ(answer.result, CURLE_OK);
        EXPECT_EQ(answer.status, test.status);
    }
    EXPECT_EQ(m_receiver.Errors().size(), cases.size());
}

TEST_F(ReceiverTest, DecodesGzipBodies)
{
    Start("200");
    Answer const answer =
        Send(m_receiver,
             Request{Gzip(kValidBody), "/v1/logs", {"Content-Type: application/json", "Content-Encoding: gzip"}});
    ASSERT_EQ(answer.result, CURLE_OK);
    EXPECT_EQ(answer.status, 200);
    auto const records = m_receiver.Records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_TRUE(records[0].gzip);
    EXPECT_EQ(records[0].eventName, "TrackEvent");
    auto const requests = m_receiver.Requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].jsonBytes, static_cast<long long>(kValidBody.size()));
    EXPECT_LT(requests[0].bytes, requests[0].jsonBytes);
}

TEST_F(ReceiverTest, AnswersInTheOrderOfItsPlanAndKeepsOnlyAcceptedRecords)
{
    Start("400,503*2:retry-after=3,drop,200:rejected=1,200");
    struct Expected {
        CURLcode result;
        long status;
        char const* retryAfter;
    };
    std::vector<Expected> const expected = {{CURLE_OK, 400, ""},        {CURLE_OK, 503, "3"}, {CURLE_OK, 503, "3"},
                                            {CURLE_GOT_NOTHING, 0, ""}, {CURLE_OK, 200, ""},  {CURLE_OK, 200, ""},
                                            {CURLE_OK, 200, ""}};
    for (size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE("request " + std::to_string(i + 1));
        Answer const answer = Post(m_receiver, kValidBody);
        EXPECT_EQ(answer.result, expected[i].result);
        EXPECT_EQ(answer.status, expected[i].status);
        EXPECT_EQ(answer.retryAfter, expected[i].retryAfter);
        if (i == 4) {
            EXPECT_NE(answer.body.find(R"("rejectedLogRecords":"1")"), std::string::npos) << answer.body;
        }
    }
    auto const records = m_receiver.Records();
    ASSERT_EQ(records.size(), 6u);  // two a request, from the three answered 200
    EXPECT_EQ(records.front().request, 5);
    EXPECT_EQ(records.back().request, 7);
    EXPECT_EQ(m_receiver.CountOutcome("refused"), 3);
    EXPECT_EQ(m_receiver.CountOutcome("dropped"), 1);
    EXPECT_EQ(m_receiver.CountOutcome("accepted"), 3);
    EXPECT_TRUE(m_receiver.Errors().empty());
}

}  // namespace
