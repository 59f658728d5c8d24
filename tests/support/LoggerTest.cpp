// The logger's level and log files live in /tmp: every test runs in the isolating launcher's private /tmp.
#include "TestIsolation.h"
#include "support/LogTarget.h"
#include "support/LogTargetFile.h"
#include "support/Logger.h"
#include "support/Path.h"
#include "support/StdProcessTime.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

using namespace Norvane::QDXDesktopSDK;

namespace {
struct CapturingTarget : LogTarget {
    explicit CapturingTarget(char const* name) : LogTarget(name) {}
    void Log(char const* line) override { lines.emplace_back(line); }
    void Reset() override {}
    std::vector<std::string> lines;
};
std::string MessageOf(std::string const& line)  // what follows the last " | ", without "\r\n"
{
    return line.substr(line.rfind(" | ") + 3, line.size() - line.rfind(" | ") - 5);
}
void CreateMarker(char const* name)
{
    ASSERT_TRUE(Path::GetTempPath().Append(name).WriteFile("", 0, 0, nullptr, nullptr));
}
std::vector<std::string> RedirectedTexts;
class LoggerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        m_logger = Logger::Instance(Singleton::GetOrCreate);
    }
    Path m_folder = Path::GetTempPath().Append("logs");
    Logger* m_logger = nullptr;
};
using LogTargetFileTest = LoggerTest;
}  // namespace

TEST(LoggerLevelTest, MarkerFilesChooseTheLevelOverAnyRequest)
{
    QDX_REQUIRE_ISOLATION();
    EXPECT_EQ(Logger::LogLevel_Error, Logger_GetDefaultLogLevel(2));
    CreateMarker("qdxdebug");
    EXPECT_EQ(Logger::LogLevel_Debug, Logger_GetDefaultLogLevel(2));
    CreateMarker("qdxdev");
    EXPECT_EQ(Logger::LogLevel_Dev, Logger_GetDefaultLogLevel(0));
    Logger& logger = *Logger::Instance(Singleton::GetOrCreate);
    EXPECT_EQ(Logger::LogLevel_Dev, logger.SetLogLevel(Logger::LogLevel_Error));
    EXPECT_TRUE(logger.IsLogEnabled(Logger::LogLevel_Dev));
}

TEST_F(LoggerTest, LineFormatLevelsOutsideTheTableAndEmptyTexts)
{
    CapturingTarget target("capture");
    m_logger->Log("some text", Logger::LogLevel_Info);
    ASSERT_EQ(1u, target.lines.size());
    std::regex const format(R"(INFO \| \d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}[+-]\d{4} \| exe: support_tests )"
                            R"(\| pid:(\d+) \| tid:(\d+) \| some text\r\n)");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(target.lines[0], match, format)) << target.lines[0];
    EXPECT_EQ(std::to_string(StdProcessUtil::GetPid()), match[1].str());
    EXPECT_EQ(std::to_string(StdProcessUtil::GetThreadId()), match[2].str());
    target.lines.clear();
    m_logger->SetLogLevel(Logger::LogLevel_Dev);
    m_logger->Log("too detailed", static_cast<Logger::LogLevel>(7));
    m_logger->Log("", Logger::LogLevel_Fatal);
    m_logger->Log(nullptr, Logger::LogLevel_Fatal);
    m_logger->Log(Logger::LogLevel_Fatal, "%s", "");
    m_logger->Log("odd", static_cast<Logger::LogLevel>(-1));
    ASSERT_EQ(1u, target.lines.size());
    EXPECT_EQ(0u, target.lines[0].find("UNKNOWN | "));
    target.lines.clear();
    m_logger->LogSummary(false);
    ASSERT_EQ(4u, target.lines.size());
    EXPECT_EQ("UNKNOWN: odd", MessageOf(target.lines[1]));
    EXPECT_EQ(" - 0 fatal error(s), 0 error(s), 0 warning(s)", MessageOf(target.lines[2]));
}

TEST_F(LoggerTest, RedirectionSeesEveryMessageBeforeTheLevelTest)
{
    CapturingTarget target("capture");
    m_logger->SetRedirectionFunction([](char const* text, Logger::LogLevel) { RedirectedTexts.emplace_back(text); });
    m_logger->Log("detail", Logger::LogLevel_Dev);
    m_logger->Log(Logger::LogLevel_Debug, "formatted %d", 1);  // the formatting variant tests the level first
    m_logger->Log(Logger::LogLevel_Info, "%s", "");
    EXPECT_EQ((std::vector<std::string>{"detail", ""}), RedirectedTexts);
    EXPECT_TRUE(target.lines.empty());
    m_logger->SetRedirectionFunction(&Logger::DefaultRedirectionFunction);
    m_logger->Log(Logger::LogLevel_Warning, "%s has %d items", "list", 3);
    ASSERT_EQ(1u, target.lines.size());
    EXPECT_EQ("list has 3 items", MessageOf(target.lines[0]));
}

TEST_F(LoggerTest, SummaryCountsClearsAndIsBoundedAndLevelZeroTurnsEverythingOff)
{
    CapturingTarget target("capture");
    m_logger->LogSummary(true);
    ASSERT_EQ(2u, target.lines.size());
    EXPECT_EQ("-------------------------------------- Summary --------------------------------------",
              MessageOf(target.lines[0]));
    EXPECT_EQ(" - 0 fatal error(s), 0 error(s), 0 warning(s)", MessageOf(target.lines[1]));
    m_logger->Log("disk gone", Logger::LogLevel_Fatal);
    m_logger->Log("no answer", Logger::LogLevel_Error);
    m_logger->Log("slow", Logger::LogLevel_Warning);
    m_logger->Log("fine", Logger::LogLevel_Info);
    target.lines.clear();
    m_logger->LogSummary(false);
    ASSERT_EQ(4u, target.lines.size());
    EXPECT_EQ("FATAL: disk gone\r\nERROR: no answer\r\nWARN: slow", MessageOf(target.lines[1]));
    EXPECT_EQ(" - 1 fatal error(s), 1 error(s), 1 warning(s)", MessageOf(target.lines[2]));
    EXPECT_EQ("Please search the above error/warning string(s) to find when the error occurred.",
              MessageOf(target.lines[3]));
    target.lines.clear();
    m_logger->LogSummary(false);
    EXPECT_TRUE(target.lines.empty());
    std::string text(8193 - 6, 'x');  // with "WARN: ", one past the bound
    text.replace(4096, 4, "KEEP");
    m_logger->Log(text.c_str(), Logger::LogLevel_Warning);
    target.lines.clear();
    m_logger->LogSummary(false);
    ASSERT_EQ(4u, target.lines.size());
    EXPECT_EQ(("WARN: " + text).substr(4096), MessageOf(target.lines[1]));
    EXPECT_EQ(Logger::LogLevel_Info, m_logger->SetLogLevel(Logger::LogLevel_Off));
    for (int level = -1; level <= 6; ++level)
        EXPECT_FALSE(m_logger->IsLogEnabled(static_cast<Logger::LogLevel>(level))) << level;
}

TEST_F(LoggerTest, TargetsLiveUnderOneNameAtMost)
{
    CapturingTarget first("first");
    CapturingTarget second("second");
    EXPECT_EQ(nullptr, m_logger->AddTarget("moved", &first, true));
    EXPECT_EQ("first", m_logger->HasTarget(&first));
    EXPECT_EQ(nullptr, m_logger->AddTarget("moved", &first, false));
    EXPECT_EQ("moved", m_logger->HasTarget(&first));
    EXPECT_EQ(nullptr, m_logger->GetTarget("first"));
    EXPECT_EQ(&first, m_logger->AddTarget("moved", &second, false));
    EXPECT_EQ("", m_logger->HasTarget(&first));
    EXPECT_EQ(&second, m_logger->RemoveTarget(&second));
    EXPECT_EQ(nullptr, m_logger->GetTarget("moved"));
}

TEST_F(LogTargetFileTest, OpensOnTheFirstLineResetsAndEndsWithTheSummary)
{
    Path const file = m_folder.Append("app.log");
    {
        LogTargetFile target(file.c_str(), false, "file");
        EXPECT_FALSE(file.Exists());
        m_logger->Log("old line", Logger::LogLevel_Info);
        m_logger->Reset();
        m_logger->Log("first", Logger::LogLevel_Info);
        m_logger->Log("careful", Logger::LogLevel_Warning);
        std::string const text = file.ReadFileAsString(-1);
        EXPECT_EQ(0u, text.find("\xEF\xBB\xBF"));
        EXPECT_NE(std::string::npos, text.find(" | first\r\n"));
        EXPECT_EQ(std::string::npos, text.find("old line"));
    }
    std::string const text = file.ReadFileAsString(-1);
    EXPECT_NE(std::string::npos, text.find("Summary"));
    EXPECT_NE(std::string::npos, text.find(" | WARN: careful\r\n"));
    EXPECT_NE(std::string::npos, text.find(" - 0 fatal error(s), 0 error(s), 1 warning(s)"));
    m_logger->Log("after", Logger::LogLevel_Info);
    EXPECT_EQ(std::string::npos, file.ReadFileAsString(-1).find("after"));
}

TEST_F(LogTargetFileTest, AnotherSpellingOfTheOpenFileKeepsItOpen)
{
    Path const file = m_folder.Append("app.log");
    LogTargetFile target(file.c_str(), false, "file");
    m_logger->Log("before", Logger::LogLevel_Info);
    Path const startFolder = Path::CurrentDir();
    ASSERT_TRUE(Path::SetCurrentDir(Path::GetTempPath()));
    for (char const* spelling : {"logs/app.log", "/tmp/LOGS/App.log", "/tmp/./logs//app.log"}) {
        target.SetLogFile(spelling, false);
        m_logger->Log(spelling, Logger::LogLevel_Info);
    }
    Path::SetCurrentDir(startFolder);
    std::string const text = file.ReadFileAsString(-1);
    for (char const* line : {"before", "logs/app.log", "/tmp/LOGS/App.log", "/tmp/./logs//app.log"})
        EXPECT_NE(std::string::npos, text.find(std::string(" | ") + line + "\r\n")) << line;
}

TEST_F(LogTargetFileTest, OpeningRegistersUnderTheStemAndTheMarkerAddsTheProcessId)
{
    LogTargetFile unnamed(m_folder.Append("stem.log").c_str(), false, nullptr);
    EXPECT_EQ("", m_logger->HasTarget(&unnamed));
    unnamed.OpenLogFile(m_folder.Append("stem.log").c_str());
    EXPECT_EQ("stem", m_logger->HasTarget(&unnamed));
    CreateMarker("qdxpid");
    EXPECT_TRUE(Logger_GetAddPID(false));
    LogTargetFile target(m_folder.Append("marked.log").c_str(), false, "marked");
    m_logger->Log("line", Logger::LogLevel_Info);
    EXPECT_TRUE(m_folder.Append("marked_" + std::to_string(StdProcessUtil::GetPid()) + ".log").Exists());
    EXPECT_FALSE(m_folder.Append("marked.log").Exists());
}

TEST_F(LogTargetFileTest, UnwritableFolderLeavesTheTargetClosed)
{
    Path const blocker = m_folder.Append("blocker");  // a file where the folder should be
    ASSERT_TRUE(blocker.WriteFile("x", 1, 0, nullptr, nullptr));
    LogTargetFile target(blocker.Append("app.log").c_str(), false, "file");
    m_logger->Log("dropped", Logger::LogLevel_Info);
    EXPECT_FALSE(target.Close(false));
    EXPECT_EQ("x", blocker.ReadFileAsString(-1));
}
