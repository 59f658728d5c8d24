// Device ids, hashes of the host's memory and version stamps of modules.
#include "CoreHarness.h"

using namespace CoreTesting;

using CoreDevice = CoreTest;

TEST_F(CoreDevice, DeviceIdsAreDistinctAndKeptAcrossStarts)
{
    std::string const deviceId = Send("GetDeviceID").Text("deviceID");
    std::string const tovDeviceId = Send("GetTOVDeviceID").Text("deviceID");
    EXPECT_EQ(deviceId.size(), 36u);
    EXPECT_EQ(tovDeviceId.size(), 36u);
    EXPECT_NE(deviceId, tovDeviceId);
    EXPECT_EQ(Send("GetDeviceID").Text("deviceID"), deviceId);
    EXPECT_EQ(Send("GetTOVDeviceID").Text("deviceID"), tovDeviceId);

    Core().Finalize();
    ASSERT_EQ(Core().Initialize(), 0);
    EXPECT_EQ(Send("GetDeviceID").Text("deviceID"), deviceId);
    EXPECT_EQ(Send("GetTOVDeviceID").Text("deviceID"), tovDeviceId);
}

TEST_F(CoreDevice, Sha256HashesTheBytesAtTheAddressGiven)
{
    static char const kAbc[] = "abc";
    static char const kLonger[] = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
    std::string const abc = PointerText(kAbc);
    std::string const longer = PointerText(kLonger);
    char const* const kEmptyHash = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
    struct {
        std::string size, data;
        int code;
        char const* hash;
    } const cases[] = {
        {"3", abc, 0, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"56", longer, 0, "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {"0", abc, 0, kEmptyHash},
        {"0", "0", 0, kEmptyHash},
        {"3", "0", 101, ""},
        {"-1", abc, 101, ""},
        {"\"3\"", abc, 101, ""},
        {"3", "abc", 101, ""},
        {"3", "0xZZ", 101, ""},
    };
    for (auto const& hashed : cases) {
        std::string const arguments = "{\"size\": " + hashed.size + ", \"data\": \"" + hashed.data + "\"}";
        Answer const answer = Send("GetSHA256Hash", arguments);
        EXPECT_EQ(answer.code, hashed.code) << arguments;
        EXPECT_EQ(answer.Text("sha256"), hashed.hash) << arguments;
    }
    EXPECT_EQ(Code("GetSHA256Hash", "{\"data\": \"" + abc + "\"}"), 101);
}

TEST_F(CoreDevice, VersionReadsTheStampOfAModuleFile)
{
    unsigned long long const* const parts = LocalCoreFiles::kCoreVersion;
    long long const packed = static_cast<long long>(parts[0] << 48 | parts[1] << 32 | parts[2] << 16 | parts[3]);
    std::string const core = LocalCoreFiles::kCore;
    struct {
        std::string arguments;
        int code;
        long long version;
    } const cases[] = {
        {R"({"type": 0, "module": "QdxSDKCore.so"})", 0, packed},
        {R"({"type": 1, "module": "QdxSDKCore.so"})", 0, static_cast<long long>(parts[0])},
        {R"({"type": 2, "module": "QdxSDKCore.so"})", 0, static_cast<long long>(parts[1])},
        {R"({"type": 3, "module": "QdxSDKCore.so"})", 0, static_cast<long long>(parts[2])},
        {R"({"type": 4, "module": "QdxSDKCore.so"})", 0, static_cast<long long>(parts[3])},
        {R"({"type": 0, "module": ")" + core + "\"}", 0, packed},
        {R"({"type": 0, "module": "QdxSDKCore.so", "bFromQDXSDKFolder": true})", 0, 0},
        {R"({"type": 0, "module": "NoSuchModule.so"})", 0, 0},
        {R"({"type": 0, "module": "/bin/sh"})", 0, 0},
        {R"({"type": 5, "module": "QdxSDKCore.so"})", 101, -1},
        {R"({"type": -1, "module": "QdxSDKCore.so"})", 101, -1},
        {R"({"type": "0", "module": "QdxSDKCore.so"})", 101, -1},
        {R"({"module": "QdxSDKCore.so"})", 101, -1},
        {R"({"type": 0})", 101, -1},
    };
    for (auto const& asked : cases) {
        Answer const answer = Send("GetVersion", asked.arguments);
        EXPECT_EQ(answer.code, asked.code) << asked.arguments;
        EXPECT_EQ(answer.Number("version"), asked.version) << asked.arguments;
    }

    // The desktop SDK's own folder, which the test's private /opt holds.
    fs::path const sdkCopy = "/opt/Norvane/QdxDesktopSDK/bin/QdxSDKCore.so";
    fs::create_directories(sdkCopy.parent_path());
    fs::copy_file(core, sdkCopy);
    EXPECT_EQ(
        Send("GetVersion", R"({"type": 0, "module": "QdxSDKCore.so", "bFromQDXSDKFolder": true})").Number("version"),
        packed);
}
