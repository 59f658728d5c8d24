// qdxsdk messages and send: the list of messages covers every exported call
// that sends one, and send goes through the library's routing.
#include "QdxsdkFixture.h"

#include "FakeCompanions.h"
#include "QdxsdkProgram.h"
#include "TestIsolation.h"

#include "companion/QdxSDKFolder.h"

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

using namespace Norvane;

namespace {

// The exported free functions of the three call namespaces.
std::set<std::string> ExportedCalls()
{
    std::set<std::string> calls;
    std::ifstream list(kExportList);
    std::regex const call(R"(^Norvane::(QDXDesktopSDK|QDXDesktopSDKUI|QDXGlint)::([A-Z][A-Za-z0-9]*)\()");
    std::smatch match;
    for (std::string line; std::getline(list, line);) {
        if (std::regex_search(line, match, call))
            calls.insert(match[2]);
    }
    return calls;
}

}  // namespace

TEST(QdxsdkMessagesTest, EveryExportedCallThatSendsIsListed)
{
    ToolResult const result = RunQdxsdk({"messages", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    std::set<std::string> listed;
    for (std::string const& line : result.Lines()) {
        QDXDesktopSDK::JsonDocument const json = ParseJson(line);
        ASSERT_TRUE(json.IsObject() && json.HasMember("call")) << line;
        listed.insert(json["call"].GetString());
    }
    // The calls that send nothing to a companion of their own: the sender
    // accessors, the folder setting and shut-down.
    std::set<std::string> expected = ExportedCalls();
    ASSERT_FALSE(expected.empty());
    for (char const* sendsNothing : {"GetLibraryMessageSender", "GetUILibraryMessageSender",
                                     "GetGlintLibraryMessageSender", "SetLibraryPath", "OnShutdown"})
        EXPECT_EQ(expected.erase(sendsNothing), 1u) << sendsNothing;
    EXPECT_EQ(listed, expected);
}

TEST(QdxsdkSendTest, SendsThroughTheLibrarysRoutingAndReportsTheCode)
{
    QDX_REQUIRE_ISOLATION();
    // qdxsdk's own folder is the host folder: its configured companion folder
    // in this test's SDK folder holds a copy of the local core.
    std::filesystem::path const companions = "/tmp/send-companions";
    std::filesystem::create_directories(companions);
    std::filesystem::copy_file(kLocalCore, companions / "QdxSDKCore.so");
    std::filesystem::path const sdkFolder = QDXDesktopSDK::QdxSDKFolder::GetQDXSDKFolderPath(nullptr).GetString();
    std::filesystem::create_directories(sdkFolder);
    std::ofstream(sdkFolder / "slp.json")
        << R"({"ProductLibraryPath": {")" << std::filesystem::path(kQdxsdkProgram).parent_path().string()
        << R"(": {"QDX": ")" << companions.string() << R"("}}})";

    ToolResult const device = RunQdxsdk({"send", "GetDeviceID", "--json"});
    ASSERT_EQ(device.exitCode, 0) << device.err;
    QDXDesktopSDK::JsonDocument const answer = ParseJson(device.out);
    ASSERT_TRUE(answer.IsObject()) << device.out;
    EXPECT_EQ(answer["name"], "GetDeviceID");
    EXPECT_EQ(answer["code"], 0);
    EXPECT_TRUE(answer["answer"]["deviceID"].IsString()) << device.out;

    ToolResult const table = RunQdxsdk({"send", "QdxSDKCore.GetDeviceID"});
    EXPECT_EQ(table.exitCode, 0) << table.err;
    EXPECT_NE(table.out.find("Code: 0\nAnswer:\n{"), std::string::npos) << table.out;
    EXPECT_NE(table.out.find("\"deviceID\""), std::string::npos) << table.out;

    // An unknown prefix is the library's code 2, sent nowhere.
    ToolResult const unknown = RunQdxsdk({"send", "Nowhere.Foo", "{\"a\":1}", "--json"});
    EXPECT_EQ(unknown.exitCode, 5);
    EXPECT_EQ(ParseJson(unknown.out)["code"], 2) << unknown.out;

    EXPECT_EQ(RunQdxsdk({"send", "Foo", "{not json"}).exitCode, 1);
    EXPECT_EQ(RunQdxsdk({"send"}).exitCode, 1);
}
