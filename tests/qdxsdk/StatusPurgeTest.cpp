// qdxsdk status and purge: the figures and counters of the database, and
// deleting its records only when asked twice.
#include "QdxsdkFixture.h"

#include "RecordJson.h"
#include "Schema.h"

using namespace Norvane;

TEST_F(QdxsdkTest, StatusJsonGivesTheFiguresCountersAndSettings)
{
    FillStore();
    ToolResult const fresh = Run({"status", "--json"});
    ASSERT_EQ(fresh.exitCode, 0) << fresh.err;
    QDXDesktopSDK::JsonDocument status = ParseJson(fresh.out);
    ASSERT_TRUE(status.IsObject()) << fresh.out;
    EXPECT_EQ(status["database"], DatabasePath().c_str());
    EXPECT_GT(status["database_bytes"].GetInt64(), 0);
    EXPECT_EQ(status["schema_version"].GetInt(), LocalCore::Schema::CurrentVersion());
    EXPECT_EQ(status["records"].GetInt64(), 5);
    EXPECT_EQ(status["sessions"].GetInt64(), 2);
    EXPECT_EQ(status["open_sessions"].GetInt64(), 1);
    EXPECT_EQ(status["oldest_time"], LocalCore::Rfc3339Utc(m_records[0].timeMs).c_str());
    EXPECT_EQ(status["newest_time"], LocalCore::Rfc3339Utc(m_records[4].timeMs).c_str());
    EXPECT_EQ(status["newest_seq"].GetInt64(), 5);
    EXPECT_TRUE(status["consent"].IsNull());
    EXPECT_FALSE(status["disabled"].GetBool());
    for (char const* counter :
         {"dropped_not_consented", "dropped_queue_full", "dropped_no_storage", "dropped_disabled", "dropped_malformed",
          "dropped_store_error", "removed_by_size", "removed_by_age", "upload_batches_sent", "upload_records_sent",
          "upload_records_rejected", "upload_batches_retried", "upload_batches_dropped", "upload_records_dropped"})
        EXPECT_EQ(status["counters"][counter], 0) << counter;
    EXPECT_EQ(status["upload"]["failed_attempts"], 0);
    EXPECT_TRUE(status["upload"]["next_attempt_time"].IsNull());
    EXPECT_EQ(status["upload"]["batches_in_flight"], 0);

    ASSERT_TRUE(m_store->SetSetting("consent", "out"));
    ASSERT_TRUE(m_store->SetSetting("disabled", "1"));
    ASSERT_TRUE(m_store->AddToCounters({{"dropped_queue_full", 3}, {"dropped_not_consented", 7}}));
    LocalCore::StoreLimits limits;
    limits.maxAgeMs = 48LL * 3600 * 1000;  // the first record goes
    ASSERT_TRUE(m_store->Trim(limits, m_nowMs).ok);
    // A batch on its way, as an uploading core leaves it.
    LocalCore::UploadBatch batch;
    LocalCore::UploadLimits limits1;
    limits1.maxRecords = 1;
    ASSERT_TRUE(m_store->ClaimUploadBatch("test", m_nowMs, limits1, batch));
    ToolResult const later = Run({"status", "--json"});
    ASSERT_EQ(later.exitCode, 0) << later.err;
    status = ParseJson(later.out);
    EXPECT_EQ(status["records"].GetInt64(), 4);
    EXPECT_EQ(status["oldest_time"], LocalCore::Rfc3339Utc(m_records[1].timeMs).c_str());
    EXPECT_EQ(status["newest_seq"].GetInt64(), 5);
    EXPECT_EQ(status["consent"], "out");
    EXPECT_TRUE(status["disabled"].GetBool());
    EXPECT_EQ(status["counters"]["dropped_queue_full"], 3);
    EXPECT_EQ(status["counters"]["dropped_not_consented"], 7);
    EXPECT_EQ(status["counters"]["removed_by_age"], 1);
    EXPECT_EQ(status["upload"]["batches_in_flight"], 1);

    ToolResult const text = Run({"status"});
    ASSERT_EQ(text.exitCode, 0) << text.err;
    for (char const* shown :
         {"Records:          4\n", "Consent:          out\n", "Collection:       disabled\n",
          "  dropped_queue_full          3\n", "Upload:           no failed attempts, 1 batches in flight\n"})
        EXPECT_NE(text.out.find(shown), std::string::npos) << shown << " in\n" << text.out;
}

TEST_F(QdxsdkTest, PurgeDeletesOnlyWithYes)
{
    FillStore();
    ToolResult const refused = Run({"purge"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.err.find("would delete 5 records"), std::string::npos) << refused.err;
    EXPECT_EQ(Run({"events", "--json"}).Lines().size(), 5u);

    ToolResult const purged = Run({"purge", "--yes"});
    ASSERT_EQ(purged.exitCode, 0) << purged.err;
    EXPECT_NE(purged.out.find("Deleted 5 records"), std::string::npos) << purged.out;
    EXPECT_TRUE(Run({"events", "--json"}).out.empty());
    QDXDesktopSDK::JsonDocument const status = ParseJson(Run({"status", "--json"}).out);
    EXPECT_EQ(status["records"].GetInt64(), 0);
    EXPECT_TRUE(status["oldest_time"].IsNull());
    EXPECT_EQ(status["sessions"].GetInt64(), 2);
    // The core writing on afterwards continues the seq numbers.
    ASSERT_TRUE(m_store->AddRecord({m_nowMs, kSessionB, "Event", "{}"})) << m_store->LastError();
    ToolResult const after = Run({"events", "--json"});
    ASSERT_EQ(after.Lines().size(), 1u);
    EXPECT_EQ(ParseJson(after.out)["seq"].GetInt64(), 6);
}
