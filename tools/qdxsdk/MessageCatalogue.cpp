#include "MessageCatalogue.h"

#include "QdxDesktopSDK.h"
#include "api/LibraryMessageSenderQDXSDKWrapper.h"
#include "companion/EntryPointNames.h"

namespace Norvane {
namespace QdxTool {

using namespace QDXDesktopSDK;

namespace {

// Sample inputs: plausible values of the kinds an application passes.
constexpr char kSession[] = "00000000-0000-4000-8000-00000000c4ec";
constexpr char kProduct[] = "qdxsdk-check";
constexpr char kLocale[] = "en_US";

Facet::Product SampleProduct()
{
    Facet::Product product;
    product.Data()["product_id"] = kProduct;
    product.Data()["product_version"] = "1.0.0";
    return product;
}

Facet::User SampleUser()
{
    Facet::User user;
    user.Data()["user_guid"] = "qdxsdk-check-user";
    return user;
}

JsonValue SampleObject(char const* key, JsonValue const& value)
{
    JsonValue object;
    object[key] = value;
    return object;
}

int TestingCallbackSample(JsonValue const&, void*, JsonValue&)
{
    return 0;
}

int GlintCallbackSample(char const*, void*)
{
    return 0;
}

CompanionKind const& Core()
{
    return CompanionKinds()[0];
}

CompanionKind const& Dialog()
{
    return CompanionKinds()[1];
}

CompanionKind const& Glint()
{
    return CompanionKinds()[2];
}

std::vector<CatalogueMessage> MakeCatalogue()
{
    // Calls that change what the core keeps for good come last.
    return {
        {&Core(), "Initialize", "Initialize",
         [] {
             QdxString session;
             return static_cast<long long>(Initialize(SampleProduct(), session));
         }},
        {&Core(), "IsOptedIn", "IsOptedIn",
         [] {
             JsonValue preferences;
             return static_cast<long long>(IsOptedIn(&preferences));
         }},
        {&Core(), "SetOptedIn", "SetOptedIn", [] { return static_cast<long long>(SetOptedIn(JsonValue(true))); }},
        {&Core(), "IsPXDialogShown", "IsDialogShown", [] { return static_cast<long long>(IsDialogShown()); }},
        {&Core(), "SetPXDialogShown", "SetPXDialogShown",
         [] { return static_cast<long long>(SetPXDialogShown(true, SampleObject("usage_data", true))); }},
        {&Core(), "SyncUserConsent", "SyncUserConsent",
         [] { return static_cast<long long>(SyncUserConsent(SampleObject("OptIN", true))); }},
        {&Core(), "IsDialogStringsAvailable", "IsDialogStringsAvailable",
         [] { return static_cast<long long>(IsDialogStringsAvailable(kLocale)); }},
        {&Core(), "GetPXDialogStrings", "GetPXDialogStrings",
         [] {
             JsonValue strings;
             return static_cast<long long>(GetPXDialogStrings(kLocale, strings));
         }},
        {&Core(), "IsQDXDisabled", "IsQDXDisabled", [] { return static_cast<long long>(IsQDXDisabled()); }},
        {&Core(), "TrackEvent", "TrackEvent",
         [] {
             Facet::Core event;
             event.GetFacetByName("product", Facet::Core::FacetCreate)->Data()["product_id"] = kProduct;
             event.GetFacetByName("operation", Facet::Core::FacetCreate)->Data()["operation_name"] = "check";
             JsonValue const moreData = SampleObject("step", 1);
             return static_cast<long long>(TrackEvent(kSession, event, &moreData));
         }},
        {&Core(), "FlushEvent", "FlushEvent", [] { return static_cast<long long>(FlushEvent(nullptr)); }},
        {&Core(), "HeartBeat", "HeartBeat",
         [] { return static_cast<long long>(HeartBeat(kSession, HeartBeatType_Machine)); }},
        {&Core(), "OnCrash", "OnCrash",
         [] { return static_cast<long long>(OnCrash(kSession, 1, 60000, 60000, "qdxsdk-check-user")); }},
        {&Core(), "SetUserInformation", "SetUserInformation",
         [] { return static_cast<long long>(SetUserInformation(SampleUser())); }},
        {&Core(), "SetGroupInformation", "SetGroupInformation",
         [] { return static_cast<long long>(SetGroupInformation(kSession, SampleUser())); }},
        {&Core(), "UpdateLiFlow", "UpdateLiFlow",
         [] { return static_cast<long long>(UpdateLiFlow(LiFlowType_FlowStart, nullptr)); }},
        {&Core(), "UpdateLiData", "UpdateLiData",
         [] {
             JsonValue const data = SampleObject("value", "check");
             return static_cast<long long>(UpdateLiData(LiUpdateType_Data, &data));
         }},
        {&Core(), "SetCloseTimeoutOnProductClose", "SetCloseTimeoutOnProductClose",
         [] { return static_cast<long long>(SetCloseTimeoutOnProductClose(1000)); }},
        {&Core(), "IsCollectionEnabled", "IsCollectionEnabled",
         [] { return static_cast<long long>(IsCollectionEnabled(kSession, "feature", "check", nullptr)); }},
        {&Core(), "GetDeviceID", "GetDeviceID",
         [] {
             QdxString device;
             return static_cast<long long>(GetDeviceID(device));
         }},
        {&Core(), "GetTOVDeviceID", "GetTOVDeviceID",
         [] {
             QdxString device;
             return static_cast<long long>(GetTOVDeviceID(device));
         }},
        {&Core(), "GetSHA256Hash", "GetSHA256Hash",
         [] {
             static char const data[] = "qdxsdk check";
             QdxString hash;
             return static_cast<long long>(GetSHA256Hash(data, sizeof data - 1, hash));
         }},
        {&Core(), "SetHostProduct", "SetHostProduct", [] { return static_cast<long long>(SetHostProduct(kSession)); }},
        // Only a named module makes GetVersion ask the core.
        {&Core(), "GetVersion", "GetVersion", [] { return GetVersion(VersionType_Full, "QdxSDKCore", false); }},
        {&Core(), "SetTestingFlags", "SetTestingFlags",
         [] { return static_cast<long long>(SetTestingFlags(kProduct, SampleObject("check", true))); }},
        {&Core(), "SetTestingCallback", "SetTestingCallback",
         [] { return static_cast<long long>(SetTestingCallback(kProduct, TestingCallbackSample, nullptr)); }},
        // What EnableGlint passes on to the core once the companion-feature
        // library accepted it, sent the way EnableGlint sends it.
        {&Core(), "InternalMessageEnableGlint", "InternalProcessMessage",
         [] {
             JsonValue arguments;
             arguments["session_id"] = kSession;
             arguments["enable"] = true;
             return static_cast<long long>(InternalProcessMessage("QdxSDKCore.InternalMessageEnableGlint", arguments));
         }},
        {&Core(), "UnInitialize", "UnInitialize", [] { return static_cast<long long>(UnInitialize(kSession)); }},
        {&Core(), "SetInstallerMode", "SetInstallerMode", [] { return static_cast<long long>(SetInstallerMode()); }},
        {&Core(), "DisableQDX", "DisableQDX", [] { return static_cast<long long>(DisableQDX()); }},

        {&Dialog(), "DisplayPXDialog", "DisplayPXDialog",
         [] { return static_cast<long long>(QDXDesktopSDKUI::DisplayPXDialog(kLocale, false, nullptr)); }},
        {&Dialog(), "DisplayWebDialog", "DisplayWebDialog",
         [] {
             return static_cast<long long>(
                 QDXDesktopSDKUI::DisplayWebDialog(SampleObject("url", "about:blank"), nullptr));
         }},

        {&Glint(), "EnableGlint", "EnableGlint",
         [] { return static_cast<long long>(QDXGlint::EnableGlint(kSession, true, nullptr)); }},
        {&Glint(), "QueryGlintService", "QueryGlintService",
         [] {
             JsonValue answer;
             return static_cast<long long>(
                 QDXGlint::QueryGlintService(kSession, SampleObject("query", "status"), answer));
         }},
        {&Glint(), "RegisterGlintCallback", "RegisterGlintCallback",
         [] {
             return static_cast<long long>(QDXGlint::RegisterGlintCallback(kSession, GlintCallbackSample, nullptr));
         }},
    };
}

}  // namespace

std::string CompanionKind::Suffix() const
{
    return EntryPointNames::SuffixFor(fileName, nullptr);
}

std::vector<CompanionKind> const& CompanionKinds()
{
    static std::vector<CompanionKind> const kinds{
        {"core", "core library", "QdxSDKCore.so", [] { return GetLibraryMessageSender(); }},
        {"dialog", "dialog library", "QdxSDKUI.so", [] { return GetUILibraryMessageSender(); }},
        {"glint", "companion-feature library", "GlintCore.so", [] { return QDXGlint::GetGlintLibraryMessageSender(); }},
    };
    return kinds;
}

CompanionKind const* CompanionKindForSuffix(std::string const& suffix)
{
    for (CompanionKind const& kind : CompanionKinds()) {
        if (kind.Suffix() == suffix)
            return &kind;
    }
    return nullptr;
}

std::vector<CatalogueMessage> const& MessageCatalogue()
{
    static std::vector<CatalogueMessage> const catalogue = MakeCatalogue();
    return catalogue;
}

std::vector<CatalogueMessage> MessagesFor(CompanionKind const& kind)
{
    std::vector<CatalogueMessage> messages;
    for (CatalogueMessage const& message : MessageCatalogue()) {
        if (message.companion == &kind)
            messages.push_back(message);
    }
    return messages;
}

}  // namespace QdxTool
}  // namespace Norvane
