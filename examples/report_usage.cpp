// A complete integration, as an application reports its usage: a session for
// the product, the consent flow, events described by several facets, a
// heartbeat, a flush, and the end of the session and of the library.
//
// The calls go to the core companion "QdxSDKCore.so". Installed beside
// libQdxSDKWrapper.so (cmake --install does that with the local core), it is
// found with no setting; a folder given as the first argument is searched
// first. Without any core every call answers 1 and the application carries
// on: reporting usage must never stand in the application's way.
//
// Run it twice with `--decline` the second time to see a user who says no:
// nothing is kept, and what was kept before is deleted.
#include <QdxDesktopSDK.h>

#include <cstdio>
#include <cstring>

using namespace Norvane::QDXDesktopSDK;

namespace {

// What a code means to an application. 0 to 3, 8 and 12 come from the
// library; the local core's own codes start at 100 (docs/local-core.md).
char const* Meaning(unsigned int code)
{
    switch (code) {
    case QdxResult_Success:
        return "done";
    case QdxResult_CompanionNotLoaded:
        return "no core companion found: nothing is reported, carry on";
    case QdxResult_NoReturnCode:
        return "the core answered without a code";
    case QdxResult_InvalidArgument:
        return "an argument outside its range: nothing was sent";
    case 8:
        return "reporting is switched off on this machine";
    case 102:
        return "the session is not open";
    case 103:
        return "the user has not opted in: nothing is kept";
    case 104:
        return "the core's queue is full: this record was dropped";
    case 105:
        return "the core has no storage (see qdxsdk status)";
    case 106:
        return "the consent dialog has not been shown yet";
    case 108:
        return "the disk did not answer in time";
    default:
        return "the core's own code";
    }
}

unsigned int Check(char const* call, unsigned int code)
{
    std::printf("%-18s %3u  %s\n", call, code, Meaning(code));
    return code;
}

}  // namespace

int main(int argc, char** argv)
{
    bool decline = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--decline") == 0)
            decline = true;
        else
            SetLibraryPath(QdxString(argv[i]));  // before the first call that sends
    }

    // 1. The product and its session. Every event is reported in a session.
    Facet::Product product;
    product.Data()["product_id"] = "ExampleEditor";
    product.Data()["product_version"] = "1.0.0";
    product.Data()["product_locale"] = "en_US";
    QdxString sessionId;
    if (Check("Initialize", Initialize(product, sessionId)) != QdxResult_Success) {
        OnShutdown();
        return 0;  // no reporting on this machine; the application runs on
    }
    std::printf("  session %s\n", sessionId.c_str());

    // 2. Consent. Ask the user once (here: the command line decides), keep the
    // answer with the core, and tell it that the dialog was shown.
    if (Check("IsDialogShown", IsDialogShown()) != QdxResult_Success) {
        JsonValue preferences;
        preferences["usage_data"] = !decline;
        Check("SetPXDialogShown", SetPXDialogShown(true, preferences));
    }
    Check("SetOptedIn", SetOptedIn(JsonValue(!decline)));
    JsonValue preferences;
    Check("IsOptedIn", IsOptedIn(&preferences));

    // 3. Events. One Facet::Core gathers the facets of an event; each facet
    // writes its "<facet>_" fields. The content facet also measures how long
    // the document has been edited.
    Facet::Core opened;
    opened.GetFacetByName("product", Facet::Core::FacetCreate)->Data()["product_id"] = "ExampleEditor";
    Facet::Base* content = opened.GetFacetByName("content", Facet::Core::FacetCreate);
    content->Data()["content_type"] = "text/markdown";
    content->Data()["content_size"] = 2048;
    static_cast<Facet::Content*>(content)->StartDocumentEditTimer();
    opened.GetFacetByName("operation", Facet::Core::FacetCreate)->Data()["operation_name"] = "open";
    JsonValue moreData;
    moreData["trigger"] = "recent-files";  // extra data beside the facets
    Check("TrackEvent open", TrackEvent(sessionId, opened, &moreData));

    // The same document, saved: the content facet still measures its editing.
    opened.GetFacetByName("operation", Facet::Core::FacetCreate)->Data()["operation_name"] = "save";
    content->Data()["content_size"] = 4096;
    Check("TrackEvent save", TrackEvent(sessionId, opened, nullptr));

    // 4. A heartbeat says the user is still at work.
    Check("HeartBeat", HeartBeat(sessionId, HeartBeatType_User));

    // 5. A flush waits until everything reported so far is on disk, for
    // example before the application hands over to an updater.
    Check("FlushEvent", FlushEvent(nullptr));

    // 6. The end of the session, and of the library: the core writes what is
    // left within its close time-out and is unloaded.
    Check("UnInitialize", UnInitialize(sessionId));
    OnShutdown();
    return 0;
}
