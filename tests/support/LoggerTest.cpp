// The logger's level comes from marker files in /tmp, so every test here runs
// in the isolating launcher's private /tmp.
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

class CapturingTarget : public LogTarget {
public:
    explicit CapturingTarget(char const* name) : LogTarget(name) {}
    void Log(char const* line) override { lines.emplace_back(line); }
    void Reset() override { ++resets; }

    std::vector<std::string> lines;
    int resets = 0;
};

// The message part of a line: what follows the last " | ", without "\r\n".
std::string MessageOf(std::string const& line)
{
    std::string const message = line.substr(line.rfind(" | ") + 3);
    return message.substr(0, message.size() - 2);
}

void CreateMarker(char const* name)
{
    ASSERT_TRUE(Path::GetTempPath().Append(name).WriteFile("", 0, 0, nullptr, nullptr));
}

Logger& TheLogger()
{
    return *Logger::Instance(Singleton::GetOrCreate);
}

std::vector<std::string> RedirectedTexts;
void Redirect(char const* text, Logger::LogLevel)
{
    RedirectedTexts.emplace_back(text);
}

class LoggerTest : public ::testing::Test {
protected:
    void SetUp() override { QDX_REQUIRE_ISOLATION(); }
};

}  // namespace

TEST_F(LoggerTest, MarkerFilesChooseTheLevelOverAnyRequest)
{
    EXPECT_EQ(Logger::LogLevel_Info, Logger_GetDefaultLogLevel(-1));
    EXPECT_EQ(Logger::LogLevel_Error, Logger_GetDefaultLogLevel(2));
    CreateMarker("qdxdebug");
    EXPECT_EQ(Logger::LogLevel_Debug, Logger_GetDefaultLogLevel(2));
    CreateMarker("qdxdev");
    EXPECT_EQ(Logger::LogLevel_Dev, Logger_GetDefaultLogLevel(0));

    Logger& logger = TheLogger();
    EXPECT_TRUE(logger.IsLogEnabled(Logger::LogLevel_Dev));
    EXPECT_EQ(Logger::LogLevel_Dev, logger.SetLogLevel(Logger::LogLevel_Error));
    EXPECT_TRUE(logger.IsLogEnabled(Logger::LogLevel_Dev));
}

TEST_F(LoggerTest, LevelZeroTurnsEverythingOff)
{
    Logger& logger = TheLogger();
    EXPECT_TRUE(logger.IsLogEnabled(Logger::LogLevel_Info));
    EXPECT_FALSE(logger.IsLogEnabled(Logger::LogLevel_Debug));
    EXPECT_EQ(Logger::LogLevel_Info, logger.SetLogLevel(Logger::LogLevel_Off));
    for (int level = -1; level <= 6; ++level)
        EXPECT_FALSE(logger.IsLogEnabled(static_cast<Logger::LogLevel>(level))) << level;
}

TEST_F(LoggerTest, LineCarriesLevelTimeExecutableProcessAndThread)
{
    CapturingTarget target("capture");
    TheLogger().Log("some text", Logger::LogLevel_Info);
    ASSERT_EQ(1u, target.lines.size());
    std::regex const format(R"(INFO \| \d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}[+-]\d{4} \| exe: support_tests )"
                            R"(\| pid:(\d+) \| tid:(\d+) \| some text\r\n)");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(target.lines[0], match, format)) << target.lines[0];
    EXPECT_EQ(std::to_string(StdProcessUtil::GetPid()), match[1].str());
    EXPECT_EQ(std::to_string(StdProcessUtil::GetThreadId()), match[2].str());
}

TEST_F(LoggerTest, LevelsOutsideTheTableAndEmptyTexts)
{
    CapturingTarget target("capture");
    Logger& logger = TheLogger();
    logger.SetLogLevel(Logger::LogLevel_Dev);
    logger.Log("too detailed", static_cast<Logger::LogLevel>(7));
    logger.Log("", Logger::LogLevel_Fatal);
    logger.Log(nullptr, Logger::LogLevel_Fatal);
    logger.Log(Logger::LogLevel_Fatal, "%s", "");
    logger.Log("odd", static_cast<Logger::LogLevel>(-1));
    ASSERT_EQ(1u, target.lines.size());
    EXPECT_EQ(0u, target.lines[0].find("UNKNOWN | "));

    // Below level 4 it enters the summary, but no counter.
    target.lines.clear();
    logger.LogSummary(false);
    ASSERT_EQ(4u, target.lines.size());
    EXPECT_EQ("UNKNOWN: odd", MessageOf(target.lines[1]));
    EXPECT_EQ(" - 0 fatal error(s), 0 error(s), 0 warning(s)", MessageOf(target.lines[2]));
}

TEST_F(LoggerTest, FormattingWritesOnlyEnabledLevels)
{
    CapturingTarget target("capture");
    Logger& logger = TheLogger();
    logger.Log(Logger::LogLevel_Warning, "%s has %d items", "list", 3);
    logger.Log(Logger::LogLevel_Debug, "hidden %d", 1);
    ASSERT_EQ(1u, target.lines.size());
    EXPECT_EQ("list has 3 items", MessageOf(target.lines[0]));
}

TEST_F(LoggerTest, RedirectionSeesEveryMessageBeforeTheLevelTest)
{
    CapturingTarget target("capture");
    Logger& logger = TheLogger();
    logger.SetRedirectionFunction(&Redirect);
    logger.Log("detail", Logger::LogLevel_Dev);
    logger.Log(Logger::LogLevel_Debug, "formatted %d", 1);  // the formatting variant tests the level first
    logger.Log(Logger::LogLevel_Info, "%s", "");
    EXPECT_EQ((std::vector<std::string>{"detail", ""}), RedirectedTexts);
    EXPECT_TRUE(target.lines.empty());

    logger.SetRedirectionFunction(&Logger::DefaultRedirectionFunction);
    logger.Log("back", Logger::LogLevel_Info);
    EXPECT_EQ(1u, target.lines.size());
}

TEST_F(LoggerTest, SummaryCountsAndClears)
{
    CapturingTarget target("capture");
    Logger& logger = TheLogger();
    logger.LogSummary(false);
    EXPECT_TRUE(target.lines.empty());

    logger.LogSummary(true);
    ASSERT_EQ(2u, target.lines.size());
    EXPECT_EQ("-------------------------------------- Summary --------------------------------------",
              MessageOf(target.lines[0]));
    EXPECT_EQ(" - 0 fatal error(s), 0 error(s), 0 warning(s)", MessageOf(target.lines[1]));

    logger.Log("disk gone", Logger::LogLevel_Fatal);
    logger.Log("no answer", Logger::LogLevel_Error);
    logger.Log("slow", Logger::LogLevel_Warning);
    logger.Log("fine", Logger::LogLevel_Info);
    target.lines.clear();
    logger.LogSummary(false);
    ASSERT_EQ(4u, target.lines.size());
    EXPECT_EQ("FATAL: disk gone\r\nERROR: no answer\r\nWARN: slow", MessageOf(target.lines[1]));
    EXPECT_EQ(" - 1 fatal error(s), 1 error(s), 1 warning(s)", MessageOf(target.lines[2]));
    EXPECT_EQ("Please search the above error/warning string(s) to find when the error occurred.",
              MessageOf(target.lines[3]));

    target.lines.clear();
    logger.LogSummary(false);
    EXPECT_TRUE(target.lines.empty());
}

TEST_F(LoggerTest, SummaryKeepsTheNewestPartWhenItOutgrowsItsBound)
{
    CapturingTarget target("capture");
    Logger& logger = TheLogger();
    std::string text(8193 - 6, 'x');
    text.replace(4096, 4, "KEEP");
    logger.Log(text.c_str(), Logger::LogLevel_Warning);
    target.lines.clear();
    logger.LogSummary(false);
    ASSERT_EQ(4u, target.lines.size());
    EXPECT_EQ(("WARN: " + text).substr(4096), MessageOf(target.lines[1]));
}

TEST_F(LoggerTest, TargetsLiveUnderOneNameAtMost)
{
    CapturingTarget first("first");
    CapturingTarget second("second");
    Logger& logger = TheLogger();
    EXPECT_EQ("first", logger.HasTarget(&first));

    EXPECT_EQ(nullptr, logger.AddTarget("moved", &first, true));
    EXPECT_EQ("first", logger.HasTarget(&first));
    EXPECT_EQ(nullptr, logger.AddTarget("moved", &first, false));
    EXPECT_EQ("moved", logger.HasTarget(&first));
    EXPECT_EQ(nullptr, logger.GetTarget("first"));

    EXPECT_EQ(&first, logger.AddTarget("moved", &second, false));
    EXPECT_EQ("", logger.HasTarget(&first));
    EXPECT_EQ(nullptr, logger.RemoveTarget(""));
    EXPECT_EQ(&second, logger.RemoveTarget(&second));
    EXPECT_EQ(nullptr, logger.GetTarget("moved"));

    logger.AddTarget("again", &first, false);
    logger.Reset();
    EXPECT_EQ(1, first.resets);
    EXPECT_EQ(0, second.resets);
}

TEST_F(LoggerTest, ConsoleCopyNeedsTheVerboseMarkerAndLevelSix)
{
    CreateMarker("qdxverbose");
    Logger& logger = TheLogger();
    EXPECT_FALSE(logger.IsConsoleLoggingEnabled());
    logger.SetLogLevel(Logger::LogLevel_Dev);  // no marker for it: the request stands
    ASSERT_TRUE(logger.IsConsoleLoggingEnabled());
    testing::internal::CaptureStdout();
    logger.Log("to the console", Logger::LogLevel_Info);
    std::string const output = testing::internal::GetCapturedStdout();
    EXPECT_NE(std::string::npos, output.find(" | to the console\r\n")) << output;
}
