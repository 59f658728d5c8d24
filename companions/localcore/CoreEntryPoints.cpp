// The five entry points through which the library drives the core, and the
// core's version stamp. Nothing may leave an entry point as an exception: a
// failure becomes an answer code or a log line.
#include "Answer.h"
#include "CoreCodes.h"
#include "CoreLog.h"
#include "LocalCore.h"
#include "LocalCoreVersion.h"
#include "Messages.h"

#include <new>

// Loaders read the stamp straight from the file's symbol table ("_ZL7version")
// to choose the newest copy without loading it; the library must stay
// unstripped and the array file-local, in the global namespace.
__attribute__((used)) static const char version[] =
    "$Id: QdxSDKCore,v " QDX_LOCAL_CORE_VERSION " " __DATE__ " " __TIME__ " Norvane $";

#define CORE_EXPORT extern "C" __attribute__((visibility("default")))

using Norvane::LocalCore::LocalCore;

namespace {

int StartCore()
{
    try {
        return LocalCore::Start();
    } catch (...) {
        Norvane::LocalCore::CoreLog("initialisation failed: out of memory or resources");
        return Norvane::LocalCore::CoreCode_Success;  // usable without storage rather than a disabled core
    }
}

}  // namespace

CORE_EXPORT int Initialize_QdxSDKCore()
{
    return StartCore();
}

CORE_EXPORT int InitializeEx_QdxSDKCore(char const*)
{
    return StartCore();
}

CORE_EXPORT void Finalize_QdxSDKCore()
{
    try {
        LocalCore::Finish();
    } catch (...) {
        Norvane::LocalCore::CoreLog("finalisation failed: out of memory or resources");
    }
}

CORE_EXPORT char const* ProcessMessage_QdxSDKCore(char const* name, char const* text)
{
    using namespace Norvane::LocalCore;
    try {
        return LocalCore::Instance().Process(name, text);
    } catch (std::bad_alloc const&) {
        return CodeAnswer(CoreCode_StoreError);
    } catch (...) {
        return CodeAnswer(CoreCode_BadArguments);
    }
}

CORE_EXPORT void FreeMessage_QdxSDKCore(char const* answer)
{
    Norvane::LocalCore::FreeAnswer(answer);
}
