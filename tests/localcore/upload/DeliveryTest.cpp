// The local core's upload against a receiver on the loopback address that
// checks every request against the OTLP schema: records arrive once each
// with their attributes, through outages, refusals and a restart of the
// application; a refused batch is dropped and counted; opting out stops the
// upload and purges what was pending; "Finalize" never waits for the network.
#include "CoreHarness.h"
#include "OtlpReceiver.h"

#include <future>
#include <set>

using namespace CoreTesting;
using UploadTesting::OtlpReceiver;
using UploadTesting::ReceivedRecord;

namespace {

// Generous bounds on waits for something that must happen, never a measure
// of speed: a back-off of a few failed attempts takes several seconds.
constexpr auto kDeliveryBound = std::chrono::seconds(90);

class DeliveryTest : public CoreTest {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_OTLP_RECEIVER();
        CoreTest::SetUp();
    }

    /// Starts the receiver with `plan` and points the core at it; the core
    /// reads its configuration on the first message.
    void StartReceiver(std::string const& plan, std::string const& moreConfiguration = "")
    {
        ASSERT_TRUE(m_receiver.Start(plan)) << m_receiver.Problem();
        WriteConfiguration("upload_endpoint=" + m_receiver.Endpoint() + "\nupload_interval_s=1\n" + moreConfiguration);
    }

    /// Opens a session and sends `count` numbered records in it, durably.
    std::string SendRecords(int count, int process = 1)
    {
        std::string const session = OpenSession();
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(0, Code("TrackEvent", WithSession(session, "\"p\": " + std::to_string(process) +
                                                                     ", \"i\": " + std::to_string(i))));
        EXPECT_EQ(0, Code("FlushEvent"));
        return session;
    }

    bool ReceivedAtLeast(std::size_t count) const
    {
        return PollUntil([&] { return m_receiver.Records().size() >= count; }, kDeliveryBound);
    }

    long long Counter(char const* name) { return Send("GetStoreStatus").Counter(name); }

    /// Every record id once, and each of `count` numbered records among them.
    void ExpectEachRecordOnce(int count)
    {
        std::vector<ReceivedRecord> const records = m_receiver.Records();
        std::set<std::string> ids;
        std::set<long long> numbers;
        for (ReceivedRecord const& record : records) {
            EXPECT_TRUE(ids.insert(record.recordId).second) << "sent twice: " << record.recordId;
            JsonDocument const body = Parse(record.body);
            if (body.IsObject() && body.HasMember("i"))
                numbers.insert(body["i"].GetInt64());
        }
        EXPECT_EQ(static_cast<std::size_t>(count), numbers.size());
        EXPECT_EQ(std::vector<std::string>(), m_receiver.Errors());
    }

    OtlpReceiver m_receiver;
};

}  // namespace

TEST_F(DeliveryTest, SessionRecordsArriveOnceWithTheirAttributes)
{
    for (char const* const gzip : {"on", "off"}) {
        SCOPED_TRACE(gzip);
        m_receiver.Stop();
        StartReceiver("200", std::string("upload_gzip=") + gzip + "\n");
        ReloadCore();  // a new process, which reads the new configuration
        OptIn();
        int const before = static_cast<int>(m_receiver.Records().size());
        std::string const session = SendRecords(12);
        ASSERT_TRUE(ReceivedAtLeast(before + 12));
        ASSERT_TRUE(PollUntil([] { return StoredRecords().empty(); })) << "delivered records leave the database";

        std::vector<ReceivedRecord> const records = m_receiver.Records();
        std::string const deviceId = Send("GetDeviceID").Text("deviceID");
        for (std::size_t i = before; i < records.size(); ++i) {
            ReceivedRecord const& record = records[i];
            EXPECT_EQ("TrackEvent", record.eventName);
            EXPECT_EQ(session, record.sessionId);
            EXPECT_EQ(std::string(gzip) == "on", record.gzip);
            EXPECT_TRUE(SameJson(WithSession(session, "\"p\": 1, \"i\": " + std::to_string(i - before)), record.body))
                << record.body;
            JsonDocument const resource = Parse(record.resource);
            EXPECT_STREQ("TestProduct", resource["service.name"].GetString());
            EXPECT_STREQ("1.0", resource["service.version"].GetString());
            EXPECT_EQ(deviceId, resource["device.id"].GetString());
        }
        EXPECT_EQ(12, Counter("upload_records_sent") - (std::string(gzip) == "on" ? 0 : 12));
    }
    ExpectEachRecordOnce(12);  // by number: both rounds sent 0..11, with distinct ids
}

TEST_F(DeliveryTest, DownThenRetryAfterThenAcceptedLosesNothing)
{
    StartReceiver("down:2s,503*2:retry-after=1,200", "upload_batch_records=7\n");
    OptIn();
    SendRecords(20);
    ASSERT_TRUE(ReceivedAtLeast(20)) << m_receiver.Log();
    ExpectEachRecordOnce(20);
    EXPECT_GE(m_receiver.CountOutcome("refused"), 1) << "the 503s were met";
    EXPECT_GE(Counter("upload_batches_retried"), 2);
    EXPECT_EQ(20, Counter("upload_records_sent"));
}

// Pending records and the back-off are in the database: the next process
// that loads the core sends them.
TEST_F(DeliveryTest, ARestartInBetweenLosesNothing)
{
    StartReceiver("503");
    OptIn();
    SendRecords(10);
    ASSERT_TRUE(PollUntil([&] { return Counter("upload_batches_retried") >= 1; }, kDeliveryBound));
    Answer const status = Send("GetStoreStatus");
    EXPECT_EQ(m_receiver.Endpoint(), status.json["upload"]["endpoint"].GetString());
    EXPECT_TRUE(status.json["upload"]["active"].GetBool());
    EXPECT_GE(status.json["upload"]["failed_attempts"].GetInt64(), 1);
    Core().Unload();
    EXPECT_EQ(10u, StoredRecords().size()) << "refused records stay pending";

    ASSERT_TRUE(m_receiver.Restart("200"));
    ReloadCore();
    EXPECT_EQ(0, Code("IsOptedIn"));
    ASSERT_TRUE(ReceivedAtLeast(10)) << m_receiver.Log();
    ExpectEachRecordOnce(10);
}

TEST_F(DeliveryTest, ARefusedBatchIsDroppedAndCounted)
{
    StartReceiver("400*1,200", "upload_batch_records=5\n");
    OptIn();
    SendRecords(10);
    ASSERT_TRUE(PollUntil([&] { return StoredRecords().empty(); }, kDeliveryBound));
    EXPECT_EQ(1, Counter("upload_batches_dropped"));
    long long const dropped = Counter("upload_records_dropped");
    EXPECT_GE(dropped, 1);
    EXPECT_EQ(10, dropped + static_cast<long long>(m_receiver.Records().size()));
    EXPECT_EQ(10 - dropped, Counter("upload_records_sent"));
}

TEST_F(DeliveryTest, OptingOutStopsTheUploadAndPurgesWhatWasPending)
{
    StartReceiver("503");
    OptIn();
    SendRecords(10);
    ASSERT_TRUE(PollUntil([&] { return Counter("upload_batches_retried") >= 1; }, kDeliveryBound));
    ASSERT_EQ(0, Code("SetOptedIn", R"({"OptIN": false})"));
    EXPECT_EQ(0, Code("FlushEvent"));
    EXPECT_TRUE(StoredRecords().empty());

    // Records kept for an application's own tests, without consent, are not sent.
    ASSERT_TRUE(m_receiver.Restart("200"));
    ASSERT_EQ(0, Code("SetTestingFlags", R"({"product_id": "TestProduct", "ignore_consent": true})"));
    SendRecords(5);
    int const requests = static_cast<int>(m_receiver.Requests().size());
    std::this_thread::sleep_for(std::chrono::seconds(4));  // several upload intervals
    EXPECT_EQ(requests, static_cast<int>(m_receiver.Requests().size()));
    EXPECT_EQ(5u, StoredRecords().size());
}

// A collector that does not answer holds "Finalize" no longer than the close
// time-out; the batch in flight stays pending, without a back-off.
TEST_F(DeliveryTest, FinalizeNeverWaitsForTheNetwork)
{
    StartReceiver("200:delay=10m");
    OptIn();
    ASSERT_EQ(0, Code("SetCloseTimeoutOnProductClose", R"({"CloseTimeoutOnProductClose": 300})"));
    SendRecords(3);
    std::this_thread::sleep_for(std::chrono::seconds(2));  // the upload has begun
    auto finalized = std::async(std::launch::async, [&] { Core().Unload(); });
    ASSERT_EQ(std::future_status::ready, finalized.wait_for(std::chrono::seconds(30)));
    EXPECT_EQ(3u, StoredRecords().size());
    EXPECT_EQ("0", Query("SELECT failed_attempts FROM upload_state")[0][0]);
}
