// The library's log file, seen from outside: a host run with and without the
// marker files, then the file it left in the SDK folder.
#include "DiagnosisPrograms.h"
#include "FakeCompanions.h"
#include "QdxsdkFixture.h"

#include "TestIsolation.h"
#include "companion/QdxSDKFolder.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

using namespace Norvane;
namespace fs = std::filesystem;

namespace {

std::string ReadFile(fs::path const& file)
{
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class LogFileTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        fs::create_directories("/tmp/app/bin");
        fs::create_directories("/tmp/app/lib");
        fs::copy_file(DiagnosisPrograms::kHost, "/tmp/app/bin/host");
        fs::copy_file(DiagnosisPrograms::kLibrary, "/tmp/app/lib/libQdxSDKWrapper.so");
        m_logs = QDXDesktopSDK::QdxSDKFolder::GetQDXSDKFolderPath("logs").GetString();
    }
    static void RunHost() { ASSERT_NE(-1, std::system("/tmp/app/bin/host")); }
    static void Mark(char const* name) { std::ofstream(std::string("/tmp/") + name).flush(); }
    std::vector<fs::path> LogFiles() const
    {
        std::vector<fs::path> files;
        std::error_code error;
        for (fs::directory_iterator entry(m_logs, error), end; !error && entry != end; entry.increment(error))
            files.push_back(entry->path());
        return files;
    }
    static unsigned Mode(fs::path const& path)
    {
        struct stat status {};
        stat(path.c_str(), &status);
        return status.st_mode & 07777;
    }

    std::string m_logs;
};

}  // namespace

TEST_F(LogFileTest, WithoutALevelMarkerNothingIsWritten)
{
    Mark("qdxpid");
    Mark("qdxverbose");
    RunHost();
    EXPECT_FALSE(fs::exists(m_logs));
}

TEST_F(LogFileTest, ALevelMarkerWritesAPrivateFileThatSaysWhatWasLoadedAndEndsWithTheSummary)
{
    fs::copy_file(FakeCompanions::kFakeCore_2_0, "/tmp/app/lib/QdxSDKCore.so");
    for (char const* marker : {"qdxdebug", "qdxdev"}) {
        SCOPED_TRACE(marker);
        fs::remove_all(m_logs);
        Mark(marker);
        RunHost();
        ASSERT_EQ(std::vector<fs::path>{fs::path(m_logs) / "host.log"}, LogFiles());
        EXPECT_EQ(0700u, Mode(m_logs));
        EXPECT_EQ(0600u, Mode(fs::path(m_logs) / "host.log"));
        std::string const log = ReadFile(fs::path(m_logs) / "host.log");
        for (char const* expected :
             {"\xEF\xBB\xBF", "Log of libQdxSDKWrapper 5.5.34.5", "Environment file (none), mirror ",
              "Candidate QdxSDKCore.so in own folder: /tmp/app/bin/../lib/QdxSDKCore.so, version 2.0.0.0, "
              "priority 1: chosen, the only copy found",
              "Candidate QdxSDKCore.so in host folder: /tmp/app/bin/QdxSDKCore.so, version -, priority 0: not found",
              "Successfully load QDX SDK library from /tmp/app/bin/../lib/QdxSDKCore.so",
              "Initialised QdxSDKCore.so from /tmp/app/bin/../lib: status 0"})
            EXPECT_NE(log.find(expected), std::string::npos) << expected << "\n" << log;
        std::size_t const summary = log.rfind("-- Summary --");
        ASSERT_NE(summary, std::string::npos) << log;
        EXPECT_NE(log.find(" - 0 fatal error(s), 0 error(s), 0 warning(s)\r\n", summary), std::string::npos) << log;
        EXPECT_EQ(std::string::npos, log.find("| Candidate", summary));
        // Level 6 also logs every message of the channel.
        EXPECT_EQ(std::string(marker) == "qdxdev", log.find("CallProcessMessage: HeartBeat") != std::string::npos);
    }
}

TEST_F(LogFileTest, ACopyThatCannotBeLoadedIsLoggedWithTheLoadersErrorAndSummarised)
{
    std::ofstream("/tmp/app/bin/QdxSDKCore.so") << "not a library";
    Mark("qdxdebug");
    RunHost();
    std::string const log = ReadFile(fs::path(m_logs) / "host.log");
    std::string const failure = "Failed to load QDX SDK library from /tmp/app/bin/QdxSDKCore.so. ";
    std::size_t const line = log.find(failure);
    ASSERT_NE(line, std::string::npos) << log;
    // The loader's own text follows: the file is no ELF file.
    EXPECT_NE(log.find("/tmp/app/bin/QdxSDKCore.so: ", line + failure.size()), std::string::npos) << log;
    EXPECT_NE(log.find("no version stamp"), std::string::npos) << log;
    std::size_t const summary = log.rfind("-- Summary --");
    ASSERT_NE(summary, std::string::npos);
    EXPECT_NE(log.find("ERROR: " + failure, summary), std::string::npos) << log;
    EXPECT_NE(log.find(" - 0 fatal error(s), 1 error(s), 0 warning(s)", summary), std::string::npos) << log;

    ToolResult const shown = RunQdxsdk({"log", "show", "--exe", "host"});
    EXPECT_EQ(0, shown.exitCode) << shown.err;
    EXPECT_EQ(log.substr(3), shown.out);
}

TEST_F(LogFileTest, TheProcessIdJoinsTheNameWithItsMarker)
{
    Mark("qdxdebug");
    Mark("qdxpid");
    RunHost();
    RunHost();
    std::vector<fs::path> const files = LogFiles();
    ASSERT_EQ(2u, files.size());
    for (fs::path const& file : files) {
        std::string const name = file.filename().string();
        EXPECT_TRUE(name.size() > 9 && name.compare(0, 5, "host_") == 0 &&
                    name.find_first_not_of("0123456789", 5) == name.size() - 4 && file.extension() == ".log")
            << name;
        EXPECT_EQ(0600u, Mode(file));
    }
    EXPECT_EQ(0, RunQdxsdk({"log", "show", "--exe", "/tmp/app/bin/host"}).exitCode);
}
