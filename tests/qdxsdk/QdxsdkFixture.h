// Runs the built qdxsdk program against a usage database that a test builds
// with the store, in a fresh SDK folder in the private /tmp.
#ifndef QDX_TEST_QDXSDK_FIXTURE_H
#define QDX_TEST_QDXSDK_FIXTURE_H

#include "Store.h"
#include "values/RapidJson.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

struct ToolResult {
    int exitCode = -1;  ///< -1 when the program did not exit normally
    std::string out;
    std::string err;
    std::vector<std::string> Lines() const;  ///< out, line by line
};

/// Runs qdxsdk with exactly these arguments and waits for it.
ToolResult RunQdxsdk(std::vector<std::string> const& arguments);

Norvane::QDXDesktopSDK::JsonDocument ParseJson(std::string const& text);

/// qdxsdk running in the background (events --follow), its output read as it comes.
class RunningQdxsdk {
public:
    explicit RunningQdxsdk(std::vector<std::string> const& arguments);
    ~RunningQdxsdk();
    RunningQdxsdk(RunningQdxsdk const&) = delete;
    RunningQdxsdk& operator=(RunningQdxsdk const&) = delete;

    /// Reads the output until it holds at least `count` lines, for up to a
    /// generous limit; returns the lines read so far either way.
    std::vector<std::string> WaitForLines(std::size_t count);
    /// Sends `signal` and waits for the program: its exit code, -1 when it
    /// did not exit normally.
    int Stop(int signal);
    /// Waits for the program to end by itself: as Stop.
    int Wait();

private:
    int m_pid = -1;
    int m_output = -1;
    std::string m_read;
};

class QdxsdkTest : public testing::Test {
protected:
    static constexpr char kSessionA[] = "5f0c2a4e-8d1b-4c3a-9e7f-0a1b2c3d4e5f";
    static constexpr char kSessionB[] = "c0ffee00-1234-4abc-8def-fedcba987654";

    void SetUp() override;

    /// Opens the store (kept open, as a running core would) and adds
    /// sessions A (ended) and B (open) and the sample records, seq 1 to 5.
    void FillStore();
    /// Runs qdxsdk on this test's SDK folder.
    ToolResult Run(std::vector<std::string> arguments) const;

    std::string StoreFolder() const { return m_sdkFolder + "/localcore"; }
    std::string DatabasePath() const { return StoreFolder() + "/usage.db"; }
    /// The seqs of the records that `events --json` printed, checking that
    /// each line is exactly the sample record of its seq.
    std::vector<long long> CheckedSeqs(ToolResult const& result) const;

    std::string m_sdkFolder;
    long long m_nowMs = 0;
    std::vector<Norvane::LocalCore::RecordToStore> m_records;  ///< the record of seq n is m_records[n - 1]
    std::unique_ptr<Norvane::LocalCore::Store> m_store;
};

#endif
