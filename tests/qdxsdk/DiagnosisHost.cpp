// A host application as a user runs it: it links the shared library, sends
// one message to the core companion and ends, so that the library's search,
// its log file and the file's summary at unload are seen from outside.
#include <QdxEvents.h>

int main()
{
    return static_cast<int>(Norvane::QDXDesktopSDK::HeartBeat("4f6c2a9e-7d31-4b8e-9c55-0e2f1a7b3d64",
                                                              Norvane::QDXDesktopSDK::HeartBeatType_Machine));
}
