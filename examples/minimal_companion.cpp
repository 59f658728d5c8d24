/* The smallest complete companion library: the core library "QdxSDKCore.so"
 * with its five entry points, its version stamp, and the answer
 * {"_returnCode": 0} to every message. docs/companion-protocol.md explains
 * each part. Build it (the version script exports the five entry points and
 * nothing else):
 *
 *   g++ -std=c++17 -O2 -shared -fPIC -fvisibility=hidden -o QdxSDKCore.so \
 *       examples/minimal_companion.cpp \
 *       -Wl,--version-script=examples/minimal_companion.map -Wl,--no-undefined
 *
 * For another companion, change the suffix of the five names (here and in the
 * version script) and the name in the stamp: "GlintCore.so" exports
 * "ProcessMessage_GlintCore" and so on.
 */
#include <cstdlib>
#include <cstring>

// The version stamp, read from the file's full symbol table as "_ZL7version"
// to choose between copies without loading them. File-local, at namespace
// scope, in a C++ file, kept although nothing refers to it. Never strip.
__attribute__((used)) static const char version[] = "$Id: QdxSDKCore,v 1.0.0.1 " __DATE__ " " __TIME__ " Norvane $";

#define COMPANION_ENTRY extern "C" __attribute__((visibility("default")))

// Called once after each load, with an empty text; the result is the status.
// 0: ready. 12: unload this library at once and never load it again in this
// process. 1 and 8 also forbid a later load, but keep this one in use.
COMPANION_ENTRY int InitializeEx_QdxSDKCore(char const* /*initialisationText*/) noexcept
{
    return 0;
}

// Called instead of InitializeEx_QdxSDKCore only when that one is missing.
COMPANION_ENTRY int Initialize_QdxSDKCore() noexcept
{
    return 0;
}

// Called once before the library is closed.
COMPANION_ENTRY void Finalize_QdxSDKCore() noexcept {}

// Called for every message, from any thread, possibly from many at once. The
// answer belongs to this library until it comes back through FreeMessage.
COMPANION_ENTRY char const* ProcessMessage_QdxSDKCore(char const* /*name*/, char const* /*arguments*/) noexcept
{
    return strdup("{\"_returnCode\": 0}");  // null when out of memory: the caller then gets 2
}

// Called with every answer of ProcessMessage once it is copied, null included.
COMPANION_ENTRY void FreeMessage_QdxSDKCore(char const* answer) noexcept
{
    std::free(const_cast<char*>(answer));
}
