// Every exported call, one table per area: the message that its companion
// receives, exactly, and what the caller gets back. The same tables then show
// how every call reports a missing companion and one that refused to start.
#include "InterfaceTest.h"

#include <cstdint>

using namespace InterfaceTesting;
using namespace Norvane::QDXDesktopSDKUI;
using namespace Norvane::QDXGlint;

namespace {

char const kBytes[] = "abcd";
char* const kData = const_cast<char*>(kBytes);
int GlintTarget(char const*, void*)
{
    return 0;
}
int TestingTarget(JsonValue const&, void*, JsonValue&)
{
    return 0;
}
void* const kWindow = reinterpret_cast<void*>(std::uintptr_t{0x7f0012345678});
std::string const kWindowNumber = std::to_string(0x7f0012345678ULL);
std::string const kPackedVersion = std::to_string((5LL << 48) | (5LL << 32) | (34LL << 16) | 5);
std::string const kDataText = '"' + PointerText(kBytes) + '"';

// A row's call and its label, the call's own text; WITH declares what the
// call fills in and reports it beside the result.
#define CALL(call) #call, [] { return Outcome(call); }
#define WITH(declaration, call, output)                                                                                \
#call, [] { declaration; auto const r = call; return Outcome(r, output); }

std::vector<Call> SessionCalls()
{
    return {
        {CALL(UnInitialize("s1")), {{Core, "UnInitialize", Stamped(R"("session_id": "s1")")}}},
        {CALL(UnInitialize(QdxString())), {{Core, "UnInitialize", Stamped(R"("session_id": "")")}}},
        {CALL(IsOptedIn(nullptr)), {{Core, "IsOptedIn", ""}}},
        {WITH(JsonValue preferences, IsOptedIn(&preferences), preferences["choice"]),
         {{Core, "IsOptedIn", "true"}},
         "7 in"},
        {WITH(JsonValue preferences = Json(R"({"scope": "all"})"), IsOptedIn(&preferences), preferences["choice"]),
         {{Core, "IsOptedIn", Stamped(R"("scope": "all")")}},
         "7 in"},
        {CALL(SetOptedIn(JsonValue(false))), {{Core, "SetOptedIn", Stamped(R"("OptIN": false)")}}},
        {CALL(SetOptedIn(JsonValue(2))), {{Core, "SetOptedIn", Stamped(R"("OptIN": true)")}}},
        {CALL(SetOptedIn(Json(R"({"a": 1, "b": "x"})"))), {{Core, "SetOptedIn", Stamped(R"("a": 1, "b": "x")")}}},
        {CALL(IsDialogShown()), {{Core, "IsPXDialogShown", "{}"}}},
        {CALL(SetPXDialogShown(true, JsonValue())), {{Core, "SetPXDialogShown", Stamped(R"("DialogShown": true)")}}},
        {CALL(SetPXDialogShown(false, Json(R"({"a": 1})"))),
         {{Core, "SetPXDialogShown", Stamped(R"("DialogShown": false, "preferences": {"a": 1})")}}},
        {WITH(JsonValue const consent = Json(R"({"a": 1})"), SyncUserConsent(consent), consent["_sdk_api_version"]),
         {{Core, "SyncUserConsent", Stamped(R"("a": 1)")}},
         "7 5.5.34.5"},
        {CALL(IsDialogStringsAvailable("de-DE")),
         {{Core, "IsDialogStringsAvailable", Stamped(R"("locale": "de-DE")")}}},
        {WITH(JsonValue strings, GetPXDialogStrings("de-DE", strings), strings["deviceID"]),
         {{Core, "GetPXDialogStrings", Stamped(R"("locale": "de-DE")")}},
         "7 dev-1"},
        {CALL(IsQDXDisabled()), {{Core, "IsQDXDisabled", "{}"}}, "false"},
        {CALL(DisableQDX()), {{Core, "DisableQDX", "{}"}}},
        {CALL(SetInstallerMode()), {{Core, "SetInstallerMode", "{}"}}},
    };
}

std::vector<Call> EventCalls()
{
    return {
        {CALL(HeartBeat("s1", HeartBeatType_Machine)),
         {{Core, "HeartBeat", Stamped(R"("session_id": "s1", "_type": "machine")")}}},
        {CALL(HeartBeat("s1", HeartBeatType_User)),
         {{Core, "HeartBeat", Stamped(R"("session_id": "s1", "_type": "user")")}}},
        {CALL(HeartBeat("s1", static_cast<HeartBeatType>(2))), {}, "InvalidArgument"},
        {CALL(HeartBeat("s1", static_cast<HeartBeatType>(-1))), {}, "InvalidArgument"},
        {CALL(OnCrash("s1", 4294967295u, -100, 9000000000LL, "g1")),
         {{Core, "OnCrash", Stamped(R"("session_id": "s1", "_crashCount": "4294967295", "_uptime": "-100",
                                       "_calUptime": "9000000000", "_userGUID": "g1")")}}},
        {CALL(UpdateLiFlow(LiFlowType_FlowStart, Address(Json(R"({"_type": "old", "step": 2})")))),
         {{Core, "UpdateLiFlow", Stamped(R"("_type": "flow_start", "step": 2)")}}},
        {CALL(UpdateLiFlow(LiFlowType_FlowEnd, nullptr)), {{Core, "UpdateLiFlow", Stamped(R"("_type": "flow_end")")}}},
        {CALL(UpdateLiFlow(LiFlowType_NotRequired, nullptr)),
         {{Core, "UpdateLiFlow", Stamped(R"("_type": "not_required")")}}},
        {CALL(UpdateLiFlow(static_cast<LiFlowType>(3), nullptr)), {}, "InvalidArgument"},
        {CALL(UpdateLiFlow(static_cast<LiFlowType>(-1), nullptr)), {}, "InvalidArgument"},
        {CALL(UpdateLiData(LiUpdateType_AuthCall, nullptr)),
         {{Core, "UpdateLiData", Stamped(R"("_type": "auth_call")")}}},
        {CALL(UpdateLiData(LiUpdateType_ModalStart, nullptr)),
         {{Core, "UpdateLiData", Stamped(R"("_type": "modal_start")")}}},
        {CALL(UpdateLiData(LiUpdateType_ModalEnd, nullptr)),
         {{Core, "UpdateLiData", Stamped(R"("_type": "modal_end")")}}},
        {CALL(UpdateLiData(LiUpdateType_Data, nullptr)), {{Core, "UpdateLiData", Stamped(R"("_type": "data")")}}},
        {CALL(UpdateLiData(static_cast<LiUpdateType>(4), nullptr)), {}, "InvalidArgument"},
        {CALL(SetCloseTimeoutOnProductClose(1LL << 40)),
         {{Core, "SetCloseTimeoutOnProductClose", Stamped(R"("CloseTimeoutOnProductClose": 1099511627776)")}}},
        {CALL(IsCollectionEnabled("s1", "f", "on", Address(Json(R"({"x": 1, "f": "off"})")))),
         {{Core, "IsCollectionEnabled", Stamped(R"("_moreData": {"f": "on", "x": 1}, "session_id": "s1")")}}},
        {CALL(IsCollectionEnabled("s1", "f", "on", Address(JsonValue()))),
         {{Core, "IsCollectionEnabled", Stamped(R"("_moreData": {"f": "on"}, "session_id": "s1")")}}},
        {WITH(QdxString id, GetDeviceID(id), id), {{Core, "GetDeviceID", "{}"}}, "7 dev-1"},
        {WITH(QdxString id, GetTOVDeviceID(id), id), {{Core, "GetTOVDeviceID", "{}"}}, "7 dev-1"},
        {WITH(QdxString hash, GetSHA256Hash(kBytes, 4, hash), hash),
         {{Core, "GetSHA256Hash", Stamped(R"("size": 4, "data": )" + kDataText)}},
         "7 ab12"},
        {CALL(SetHostProduct("s1")), {{Core, "SetHostProduct", Stamped(R"("session_id": "s1")")}}, "false"},
        {CALL(GetVersion(VersionType_Full, "", true)), {}, kPackedVersion},
        {CALL(GetVersion(VersionType_Major, nullptr, false)), {}, "5"},
        {CALL(GetVersion(VersionType_Minor, nullptr, false)), {}, "5"},
        {CALL(GetVersion(VersionType_Patch, nullptr, false)), {}, "34"},
        {CALL(GetVersion(VersionType_Build, nullptr, false)), {}, "5"},
        {CALL(GetVersion(static_cast<VersionType>(5), nullptr, false)),
         {{Core, "GetVersion", Stamped(R"("type": 5, "module": "", "bFromQDXSDKFolder": false)")}},
         "1234"},
        {CALL(GetVersion(VersionType_Patch, "GlintCore.so", true)),
         {{Core, "GetVersion", Stamped(R"("type": 3, "module": "GlintCore.so", "bFromQDXSDKFolder": true)")}},
         "1234"},
    };
}

std::vector<Call> DialogCalls()
{
    return {
        {CALL(DisplayPXDialog("de-DE", true, kWindow)),
         {{Dialogs, "DisplayPXDialog",
           Stamped(R"("locale": "de-DE", "isActiveNotification": true, "mainWindow": )" + kWindowNumber)}}},
        {CALL(DisplayPXDialog(QdxString(), false, nullptr)),
         {{Dialogs, "DisplayPXDialog", Stamped(R"("locale": "", "isActiveNotification": false, "mainWindow": 0)")}}},
        {CALL(DisplayWebDialog(Json(R"({"url": "u", "parentWindow": 1})"), kWindow)),
         {{Dialogs, "DisplayWebDialog", Stamped(R"("url": "u", "parentWindow": )" + kWindowNumber)}}},
        {CALL(DisplayWebDialog(JsonValue(), nullptr)),
         {{Dialogs, "DisplayWebDialog", Stamped(R"("parentWindow": 0)")}}},
    };
}

std::vector<Call> GlintCalls()
{
    std::string const callback = R"("callbackFuntion": ")" + PointerText(reinterpret_cast<void*>(&GlintTarget)) + "\"";
    return {
        {CALL(EnableGlint("s1", false, Address(Json(R"({"m": 1})")))),
         {{Glint, "EnableGlint", Stamped(R"("session_id": "s1", "enable": false, "_moreData": {"m": 1})")}}},
        {CALL(EnableGlint("s1", true, Address(JsonValue()))),
         {{Glint, "EnableGlint", Stamped(R"("session_id": "s1", "enable": true)")}}},
        {WITH(JsonValue answer, QueryGlintService("s1", Json(R"({"q": 1, "session_id": "old"})"), answer),
              answer["deviceID"]),
         {{Glint, "QueryGlintService", Stamped(R"("q": 1, "session_id": "s1")")}},
         "7 dev-1"},
        {CALL(RegisterGlintCallback("s1", &GlintTarget, kData)),
         {{Glint, "RegisterGlintCallback",
           Stamped(R"("session_id": "s1", "pCallerData": )" + kDataText + ", " + callback)}}},
        {CALL(RegisterGlintCallback("s1", &GlintTarget, nullptr)),
         {{Glint, "RegisterGlintCallback", Stamped(R"("session_id": "s1", )" + callback)}}},
    };
}

std::vector<Call> RoutingCalls()
{
    std::string const callback = R"("callback": ")" + PointerText(reinterpret_cast<void*>(&TestingTarget)) + "\"";
    std::string const sent = Stamped(R"("a": "kept")");
    // The caller's object afterwards: the answer, or untouched when nothing was sent.
#define ROUTE(name) WITH(JsonValue args = Json(R"({"a": "kept"})"), InternalProcessMessage(name, args), args["a"])
    return {
        {ROUTE("Ping"), {{Core, "Ping", sent}}, "7 <null>"},
        {ROUTE("QdxSDKCore.InternalMessageEnableGlint"), {{Core, "InternalMessageEnableGlint", sent}}, "7 <null>"},
        {ROUTE("QdxSDKUI.Show.Now"), {{Dialogs, "Show.Now", sent}}, "7 <null>"},
        {ROUTE("GlintCore."), {{Glint, "", sent}}, "7 <null>"},
        {ROUTE(".Ping"), {}, "NoReturnCode kept"},
        {ROUTE("Unknown.Ping"), {}, "NoReturnCode kept"},
        {ROUTE("qdxsdkcore.Ping"), {}, "NoReturnCode kept"},
        {WITH(JsonValue args, InternalProcessMessage("Ping", args), args["deviceID"]), {{Core, "Ping", ""}}, "7 dev-1"},
        // Only objects with members carry the interface version.
        {WITH(JsonValue args = Json("[1, 2]"), InternalProcessMessage("Ping", args), args["deviceID"]),
         {{Core, "Ping", "[1, 2]"}},
         "7 dev-1"},
        {WITH(JsonValue args = Json("5"), InternalProcessMessage("Ping", args), args["deviceID"]),
         {{Core, "Ping", "5"}},
         "7 dev-1"},
        {CALL(SetTestingFlags("p1", Json(R"({"product_id": "old", "f": true})"))),
         {{Core, "SetTestingFlags", Stamped(R"("f": true, "product_id": "p1")")}}},
        {CALL(SetTestingCallback("p1", &TestingTarget, kData)),
         {{Core, "SetTestingCallback", Stamped(R"("product_id": "p1", "pUserData": )" + kDataText + ", " + callback)}}},
        {CALL(SetTestingCallback("p1", &TestingTarget, nullptr)),
         {{Core, "SetTestingCallback", Stamped(R"("product_id": "p1", "pUserData": "0", )" + callback)}}},
    };
#undef ROUTE
}

// Facets as an application fills them.
Facet::Product const& ProductFacet()
{
    static Facet::Product product;
    product.Data()["product_id"] = "p1";
    return product;
}

Facet::User const& UserFacet()
{
    static Facet::User user;
    user.Data()["user_id"] = "u1";
    return user;
}

Facet::Core const& EventFacets()
{
    static Facet::Core event;
    event.GetFacetByName("user", Facet::Core::FacetCreate)->Data()["user_id"] = "u1";
    event.GetFacetByName("product", Facet::Core::FacetCreate)->Data()["product_id"] = "p1";
    return event;
}

// An application's own container that builds to nothing.
struct NothingToReport : Facet::Core {
    JsonValue Build(JsonValue const&) const override { return JsonValue(); }
};

std::vector<Call> FacetCalls()
{
    std::string const event =
        R"("product_id": "p1", "user_id": "u1", "facets": ["product", "user"], "session_id": "s1")";
    return {
        {WITH(QdxString id("old"), Initialize(ProductFacet(), id), id),
         {{Core, "Initialize", Stamped(R"("product_id": "p1")")}},
         "7 old"},
        {CALL(TrackEvent("s1", EventFacets(), Address(Json(R"({"m": 1})")))),
         {{Core, "TrackEvent", Stamped(event + R"(, "_moreData": {"m": 1})")}}},
        {CALL(TrackEvent("s1", EventFacets(), Address(JsonValue()))), {{Core, "TrackEvent", Stamped(event)}}},
        {CALL(TrackEvent("s1", Facet::Core(), nullptr)),
         {{Core, "TrackEvent", Stamped(R"("facets": null, "session_id": "s1")")}}},
        {CALL(TrackEvent("s1", NothingToReport(), nullptr)), {}, "InvalidArgument"},
        {CALL(SetUserInformation(UserFacet())), {{Core, "SetUserInformation", Stamped(R"("user_id": "u1")")}}},
        {CALL(SetGroupInformation("s1", UserFacet())),
         {{Core, "SetGroupInformation", Stamped(R"("user_id": "u1", "session_id": "s1")")}}},
    };
}

std::vector<Call> AllCalls()
{
    std::vector<Call> calls;
    for (auto* table : {&SessionCalls, &EventCalls, &FacetCalls, &DialogCalls, &GlintCalls, &RoutingCalls}) {
        std::vector<Call> rows = table();
        calls.insert(calls.end(), rows.begin(), rows.end());
    }
    return calls;
}

class ExportedCallsTest : public InterfaceTest {
protected:
    void AnswerEverywhere(char const* answer)
    {
        CopyFakes();
        for (Companion const companion : {Core, Dialogs, Glint})
            fake(companion).SetAnswer(answer);
    }

    /// Calls that send return `code` instead of their companion's; those
    /// answered here answer as they do with the companion there.
    void ExpectEveryCallToFailWith(unsigned int code) const
    {
        for (Call const& call : AllCalls()) {
            SCOPED_TRACE(call.what);
            std::string const outcome = call.call();
            if (call.sent.empty()) {
                EXPECT_EQ(call.outcome, outcome);
            } else if (call.outcome.substr(0, call.outcome.find(' ')) == "7") {  // returns its code
                EXPECT_EQ(Outcome(code), outcome.substr(0, outcome.find(' ')));
            }
            EXPECT_TRUE(TakeMessages().empty());
        }
    }
};

}  // namespace

TEST_F(ExportedCallsTest, SessionAndConsent)
{
    AnswerEverywhere(kAnswer);
    ExpectCalls(SessionCalls());
}

TEST_F(ExportedCallsTest, EventsCrashesAndDevices)
{
    AnswerEverywhere(kAnswer);
    ExpectCalls(EventCalls());
}

TEST_F(ExportedCallsTest, CallsThatSendAFacetsBody)
{
    AnswerEverywhere(kAnswer);
    ExpectCalls(FacetCalls());
}

TEST_F(ExportedCallsTest, InitializeTakesTheSessionIdOnlyOnSuccess)
{
    CopyFakes();
    for (auto const& [answer, outcome] : {std::pair{R"({"_returnCode": 0, "session_id": "new"})", "Success new"},
                                          std::pair{R"({"_returnCode": 4, "session_id": "new"})", "4 old"}}) {
        fake(Core).SetAnswer(answer);
        QdxString id("old");
        unsigned int const code = Initialize(ProductFacet(), id);
        EXPECT_EQ(outcome, Outcome(code, id));
    }
}

TEST_F(ExportedCallsTest, Dialogs)
{
    AnswerEverywhere(kAnswer);
    ExpectCalls(DialogCalls());
}

TEST_F(ExportedCallsTest, CompanionFeatures)
{
    AnswerEverywhere(kAnswer);
    ExpectCalls(GlintCalls());
}

TEST_F(ExportedCallsTest, RoutingAndTestingHooks)
{
    AnswerEverywhere(kAnswer);
    ExpectCalls(RoutingCalls());
}

TEST_F(ExportedCallsTest, EveryCallReportsAMissingCompanion)
{
    ExpectEveryCallToFailWith(QdxResult_CompanionNotLoaded);
    EXPECT_TRUE(IsQDXDisabled());
}

TEST_F(ExportedCallsTest, EveryCallReportsACompanionThatRefusedToStart)
{
    CopyFakes();
    for (Companion const companion : {Core, Dialogs, Glint})
        fake(companion).SetInitializeStatus(QdxResult_Disabled);
    ExpectEveryCallToFailWith(QdxResult_Disabled);
    EXPECT_TRUE(IsQDXDisabled());
    for (Companion const companion : {Core, Dialogs, Glint})  // never tried again
        EXPECT_EQ(" InitializeEx() Finalize()", fake(companion).Log()) << kCompanionNames[companion];
}

TEST_F(ExportedCallsTest, TheAnswerDecidesTheResult)
{
    struct Case {
        char const* answer;
        char const* outcome;  // GetDeviceID's code and output, SetHostProduct, IsQDXDisabled
    } const cases[] = {
        {R"({"_returnCode": 0, "deviceID": "d"})", "Success d true false"},
        {R"({"_returnCode": 7})", "7 <null> false false"},
        {R"({"_returnCode": 12})", "Disabled <null> false true"},
        {R"({"deviceID": "d"})", "NoReturnCode d false false"},  // the output is copied whatever the code
    };
    CopyFakes();
    for (Case const& test : cases) {
        fake(Core).SetAnswer(test.answer);
        QdxString id("old");
        unsigned int const code = GetDeviceID(id);
        std::string const device = Outcome(code, id);
        std::string const hostProduct = Outcome(SetHostProduct("s1"));
        EXPECT_EQ(test.outcome, device + " " + hostProduct + " " + Outcome(IsQDXDisabled())) << test.answer;
    }
}

TEST_F(ExportedCallsTest, EnableGlintTellsTheCoreOnlyWhenItSucceeds)
{
    std::string const arguments = Stamped(R"("session_id": "s1", "enable": true)");
    struct Case {
        char const* answer;
        unsigned int code;
        std::vector<Sent> sent;
    } const cases[] = {
        {R"({"_returnCode": 0})",
         0,
         {{Core, "InternalMessageEnableGlint", arguments}, {Glint, "EnableGlint", arguments}}},
        {R"({"_returnCode": 5})", 5, {{Glint, "EnableGlint", arguments}}},
    };
    CopyFakes();
    fake(Core).SetAnswer(R"({"_returnCode": 9})");  // the core's answer changes nothing
    for (Case const& test : cases) {
        fake(Glint).SetAnswer(test.answer);
        EXPECT_EQ(test.code, EnableGlint("s1", true, nullptr));
        EXPECT_EQ(Lines(test.sent), TakeMessages()) << test.answer;
    }
}
