// A core companion that answers every message at once with a fixed text and
// keeps no state, so that a benchmark measures the wrapper alone and threads
// never wait on the companion.
#define INSTANT_EXPORT extern "C" __attribute__((visibility("default")))

__attribute__((used)) static const char version[] = "$Id: InstantCompanion,v 1.0.0.0 Jan  1 2025 00:00:00 Bench $";

INSTANT_EXPORT int Initialize_QdxSDKCore()
{
    return 0;
}
INSTANT_EXPORT int InitializeEx_QdxSDKCore(char const*)
{
    return 0;
}
INSTANT_EXPORT void Finalize_QdxSDKCore() {}
INSTANT_EXPORT char const* ProcessMessage_QdxSDKCore(char const*, char const*)
{
    return "{\"_returnCode\": 0}";
}
INSTANT_EXPORT void FreeMessage_QdxSDKCore(char const*) {}
