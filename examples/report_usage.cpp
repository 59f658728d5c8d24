// A session with one event, as an application reports it. The calls go to the
// core companion library "QdxSDKCore.so", taken from the folder given as the
// first argument (or from the default folders). Without it, every call
// answers 1 (companion not loaded) and the application carries on.
#include <QdxDesktopSDK.h>

#include <cstdio>

using namespace Norvane::QDXDesktopSDK;

int main(int argc, char** argv)
{
    if (argc > 1)
        SetLibraryPath(QdxString(argv[1]));  // before the first call that sends

    Facet::Product product;
    product.Data()["product_id"] = "ExampleEditor";
    product.Data()["product_version"] = "1.0.0";
    QdxString sessionId;
    unsigned int const started = Initialize(product, sessionId);
    std::printf("Initialize: %u, session %s\n", started, sessionId.c_str() != nullptr ? sessionId.c_str() : "-");

    // All facets write their "<facet>_" fields into the one object of the Core.
    Facet::Core event;
    event.GetFacetByName("product", Facet::Core::FacetCreate)->Data()["product_id"] = "ExampleEditor";
    event.GetFacetByName("content", Facet::Core::FacetCreate)->Data()["content_type"] = "text/plain";
    JsonValue moreData;
    moreData["trigger"] = "menu";
    std::printf("TrackEvent: %u\n", TrackEvent(sessionId, event, &moreData));

    std::printf("UnInitialize: %u\n", UnInitialize(sessionId));
    OnShutdown();
    return 0;
}
