// The messages the core answers, one handler each, grouped by file:
// SessionMessages.cpp, ConsentMessages.cpp, RecordMessages.cpp,
// DeviceMessages.cpp, ControlMessages.cpp. MessageTable.cpp finds them by name.
#ifndef QDX_LOCALCORE_MESSAGES_H
#define QDX_LOCALCORE_MESSAGES_H

#include "CoreJson.h"

namespace Norvane {
namespace LocalCore {

class LocalCore;

/// One message as the library sent it: its name and argument text.
struct Message {
    char const* name;
    char const* text;
};

/// Answers a message; the text is given back through FreeAnswer.
using MessageHandler = char const* (*)(LocalCore& core, Message const& message);

/// The handler for `name`, or null for a message the core does not know.
MessageHandler FindMessageHandler(char const* name);

/// The argument object of a message that needs it parsed: an empty text is
/// an empty object; false for text that is not JSON.
bool ParseArguments(Message const& message, JsonDocument& arguments);

/// "0x..." as a pointer, as the library writes addresses; "0" is null.
/// False for anything else.
bool ParsePointerText(std::string const& text, void*& pointer);

// Handlers, by file.
char const* HandleInitialize(LocalCore&, Message const&);
char const* HandleUnInitialize(LocalCore&, Message const&);

char const* HandleSetOptedIn(LocalCore&, Message const&);
char const* HandleIsOptedIn(LocalCore&, Message const&);
char const* HandleSetPXDialogShown(LocalCore&, Message const&);
char const* HandleIsPXDialogShown(LocalCore&, Message const&);
char const* HandleIsDialogStringsAvailable(LocalCore&, Message const&);
char const* HandleGetPXDialogStrings(LocalCore&, Message const&);
char const* HandleIsCollectionEnabled(LocalCore&, Message const&);

char const* HandleSessionRecord(LocalCore&, Message const&);
char const* HandleRecord(LocalCore&, Message const&);
char const* HandleOnCrash(LocalCore&, Message const&);
char const* HandleFlushEvent(LocalCore&, Message const&);

char const* HandleGetDeviceID(LocalCore&, Message const&);
char const* HandleGetTOVDeviceID(LocalCore&, Message const&);
char const* HandleGetSHA256Hash(LocalCore&, Message const&);
char const* HandleGetVersion(LocalCore&, Message const&);

char const* HandleDisableQDX(LocalCore&, Message const&);
char const* HandleEnableQDX(LocalCore&, Message const&);
char const* HandleIsQDXDisabled(LocalCore&, Message const&);
char const* HandleSetInstallerMode(LocalCore&, Message const&);
char const* HandleSetCloseTimeout(LocalCore&, Message const&);
char const* HandleSetTestingFlags(LocalCore&, Message const&);
char const* HandleSetTestingCallback(LocalCore&, Message const&);
char const* HandleEnableGlint(LocalCore&, Message const&);
char const* HandleGetStoreStatus(LocalCore&, Message const&);

}  // namespace LocalCore
}  // namespace Norvane

#endif
