// What the tests of the exported interface share. They see the library as an
// application does: its public headers and the shared library, nothing else.
// The three fake companions are copied into a folder of the private /tmp that
// is configured before the first call, and read back through their control
// functions.
#ifndef QDX_TESTS_INTERFACE_TEST_H
#define QDX_TESTS_INTERFACE_TEST_H

#include "FakeCompanions.h"
#include "QdxDesktopSDK.h"
#include "TestIsolation.h"
#include "fakes/FakeCopy.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace InterfaceTesting {

using namespace Norvane::QDXDesktopSDK;
namespace fs = std::filesystem;

inline fs::path const kCompanionFolder = "/tmp/companions";

enum Companion { Core, Dialogs, Glint };
inline char const* const kCompanionNames[] = {"core", "dialogs", "glint"};

/// A fake companion copied into the companion folder.
struct Fake : FakeCopy {
    explicit Fake(char const* built) : FakeCopy(built, kCompanionFolder) {}
};

/// JSON text in the library's own canonical form (keys sorted), on one line;
/// "" for no value at all.
inline std::string Canonical(std::string const& text)
{
    JsonValue value;
    value.FromJsonString(QdxString(text.c_str()));
    QdxString const pretty = value.GetJsonString();
    std::string line;
    // A line break never occurs inside a JSON string, so it and the indent after it can go.
    for (char const* c = pretty.c_str() != nullptr ? pretty.c_str() : ""; *c != '\0'; ++c) {
        if (*c != '\n')
            line += *c;
        else
            while (c[1] == ' ')
                ++c;
    }
    return line;
}

inline JsonValue Json(char const* text)
{
    JsonValue value;
    value.FromJsonString(QdxString(text));
    return value;
}

/// An argument object with the given members and the interface version that
/// the library adds to every object with members.
inline std::string Stamped(std::string const& members)
{
    return "{" + members + ", \"_sdk_api_version\": \"5.5.34.5\"}";
}

/// An address as a text stream writes it, the form in which pointers travel.
inline std::string PointerText(void const* pointer)
{
    std::ostringstream text;
    text << pointer;
    return text.str();
}

/// What a call returned, with the output it filled in when it has one. A code
/// of the library's own is written as its name in QdxResult.h, a companion's
/// own code as its number.
inline std::string Outcome(unsigned int code)
{
    switch (code) {
    case QdxResult_Success:
        return "Success";
    case QdxResult_CompanionNotLoaded:
        return "CompanionNotLoaded";
    case QdxResult_NoReturnCode:
        return "NoReturnCode";
    case QdxResult_InvalidArgument:
        return "InvalidArgument";
    case QdxResult_NoEntryPoint:
        return "NoEntryPoint";
    case QdxResult_Disabled:
        return "Disabled";
    default:
        return std::to_string(code);
    }
}
inline std::string Outcome(unsigned int code, QdxString const& output)
{
    return Outcome(code) + " " + (output.c_str() != nullptr ? output.c_str() : "<null>");
}
inline std::string Outcome(bool answer)
{
    return answer ? "true" : "false";
}
inline std::string Outcome(long long number)
{
    return std::to_string(number);
}

/// The address of a value that lives until the end of the full expression.
template <typename Value> Value const* Address(Value const& value)
{
    return &value;
}

/// A message that a companion receives.
struct Sent {
    Companion companion;
    std::string name;
    std::string arguments;  // JSON text; "" for no value at all
};

/// One row of a table of calls.
struct Call {
    char const* what;
    std::function<std::string()> call;  // makes the call and returns its Outcome
    std::vector<Sent> sent;             // in the order core, dialogs, Glint
    std::string outcome = "7";          // when every companion answers kAnswer: its code, passed through
};

/// The answer of the companions in the tables of calls: a code of their own
/// and a member for each output that a call fills in.
inline char const kAnswer[] = R"({"_returnCode": 7, "preferences": {"choice": "in"}, "deviceID": "dev-1",
                                  "sha256": "ab12", "version": 1234})";

class InterfaceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        fs::create_directories(kCompanionFolder);
        SetLibraryPath(QdxString(kCompanionFolder.c_str()));
    }

    void CopyFakes()
    {
        m_fakes[Core] = std::make_unique<Fake>(FakeCompanions::kFakeCore_1_0);
        m_fakes[Dialogs] = std::make_unique<Fake>(FakeCompanions::kFakeUi_1_0);
        m_fakes[Glint] = std::make_unique<Fake>(FakeCompanions::kFakeGlint_1_0);
    }
    Fake const& fake(Companion companion) const { return *m_fakes[companion]; }

    /// The messages received since the last call, one line each, in the order core, dialogs, Glint.
    std::vector<std::string> TakeMessages() const
    {
        std::vector<std::string> lines;
        for (Companion const companion : {Core, Dialogs, Glint}) {
            if (m_fakes[companion] == nullptr)
                continue;
            Fake const& fake = *m_fakes[companion];
            for (int i = 0; i < fake.Entry<int()>("FakeMessageCount")(); ++i)
                lines.push_back(Line({companion, fake.Entry<char const*(int)>("FakeMessageName")(i),
                                      fake.Entry<char const*(int)>("FakeMessageData")(i)}));
            fake.Entry<void()>("FakeClearMessages")();
        }
        return lines;
    }

    static std::string Line(Sent const& message)
    {
        return std::string(kCompanionNames[message.companion]) + " \"" + message.name + "\" " +
               Canonical(message.arguments);
    }
    static std::vector<std::string> Lines(std::vector<Sent> const& messages)
    {
        std::vector<std::string> lines;
        for (Sent const& message : messages)
            lines.push_back(Line(message));
        return lines;
    }

    /// Each call returns its outcome and sends exactly its messages.
    void ExpectCalls(std::vector<Call> const& calls) const
    {
        for (Call const& call : calls) {
            SCOPED_TRACE(call.what);
            EXPECT_EQ(call.outcome, call.call());
            EXPECT_EQ(Lines(call.sent), TakeMessages());
        }
    }

private:
    std::unique_ptr<Fake> m_fakes[3];
};

}  // namespace InterfaceTesting

#endif
