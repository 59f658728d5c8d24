// Log files are written under the isolating launcher's private /tmp.
#include "TestIsolation.h"
#include "support/LogTargetFile.h"
#include "support/Logger.h"
#include "support/Path.h"
#include "support/StdProcessTime.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

using namespace Norvane::QDXDesktopSDK;

namespace {

char const kByteOrderMark[] = "\xEF\xBB\xBF";

std::string Contents(Path const& file)
{
    return file.ReadFileAsString(-1);
}

class LogTargetFileTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        m_folder = Path::GetTempPath().Append("logs");
        m_logger = Logger::Instance(Singleton::GetOrCreate);
    }

    Path m_folder;
    Logger* m_logger = nullptr;
};

}  // namespace

TEST_F(LogTargetFileTest, OpensOnTheFirstLineAndEndsWithTheSummary)
{
    Path const file = m_folder.Append("app.log");
    auto target = std::make_unique<LogTargetFile>(file.c_str(), false, "file");
    EXPECT_FALSE(file.Exists());

    m_logger->Log("first", Logger::LogLevel_Info);
    m_logger->Log("careful", Logger::LogLevel_Warning);
    std::string text = Contents(file);
    EXPECT_EQ(0u, text.find(kByteOrderMark));
    EXPECT_NE(std::string::npos, text.find(" | first\r\n"));
    EXPECT_EQ("file", m_logger->HasTarget(target.get()));

    target.reset();
    text = Contents(file);
    EXPECT_NE(std::string::npos, text.find("Summary"));
    EXPECT_NE(std::string::npos, text.find(" | WARN: careful\r\n"));
    EXPECT_NE(std::string::npos, text.find(" - 0 fatal error(s), 0 error(s), 1 warning(s)"));
    m_logger->Log("after", Logger::LogLevel_Info);
    EXPECT_EQ(std::string::npos, Contents(file).find("after"));
}

TEST_F(LogTargetFileTest, ResetStartsTheSameFileAnew)
{
    Path const file = m_folder.Append("reset.log");
    LogTargetFile target(file.c_str(), false, "file");
    m_logger->Log("old line", Logger::LogLevel_Info);
    m_logger->Reset();
    m_logger->Log("new line", Logger::LogLevel_Info);
    std::string const text = Contents(file);
    EXPECT_EQ(std::string::npos, text.find("old line"));
    EXPECT_NE(std::string::npos, text.find("new line"));
}

TEST_F(LogTargetFileTest, ProcessIdJoinsTheNameOnRequestOrWithTheMarker)
{
    std::string const pid = std::to_string(StdProcessUtil::GetPid());
    {
        LogTargetFile target(m_folder.Append("asked.log").c_str(), true, "asked");
        m_logger->Log("line", Logger::LogLevel_Info);
    }
    EXPECT_TRUE(m_folder.Append("asked_" + pid + ".log").Exists());

    ASSERT_TRUE(Path::GetTempPath().Append("qdxpid").WriteFile("", 0, 0, nullptr, nullptr));
    EXPECT_TRUE(Logger_GetAddPID(false));
    LogTargetFile target(m_folder.Append("marked.log").c_str(), false, "marked");
    m_logger->Log("line", Logger::LogLevel_Info);
    EXPECT_TRUE(m_folder.Append("marked_" + pid + ".log").Exists());
    EXPECT_FALSE(m_folder.Append("marked.log").Exists());
}

TEST_F(LogTargetFileTest, OpeningRegistersUnderTheFileStem)
{
    LogTargetFile unnamed(m_folder.Append("stem.log").c_str(), false, nullptr);
    EXPECT_EQ("", m_logger->HasTarget(&unnamed));
    unnamed.OpenLogFile(m_folder.Append("stem.log").c_str());
    EXPECT_EQ("stem", m_logger->HasTarget(&unnamed));

    // A second file with the same stem takes the name over.
    LogTargetFile other(nullptr, false, nullptr);
    other.OpenLogFile(m_folder.Append("sub").Append("stem.txt").c_str());
    EXPECT_EQ(&other, m_logger->GetTarget("stem"));
    EXPECT_EQ("", m_logger->HasTarget(&unnamed));
}

TEST_F(LogTargetFileTest, NothingOpensWhileLoggingIsOff)
{
    m_logger->SetLogLevel(Logger::LogLevel_Off);
    Path const file = m_folder.Append("off.log");
    LogTargetFile target(file.c_str(), false, "file");
    target.OpenLogFile(file.c_str());
    target.Log("direct line\r\n");
    EXPECT_FALSE(file.Exists());
    EXPECT_FALSE(target.Close(false));
}

TEST_F(LogTargetFileTest, UnwritableFolderLeavesTheTargetClosed)
{
    // A file where the folder should be: the log cannot be created.
    Path const blocker = m_folder.Append("blocker");
    ASSERT_TRUE(blocker.WriteFile("x", 1, 0, nullptr, nullptr));
    LogTargetFile target(blocker.Append("app.log").c_str(), false, "file");
    m_logger->Log("dropped", Logger::LogLevel_Info);
    EXPECT_FALSE(target.Close(false));
    EXPECT_EQ("x", Contents(blocker));
}
