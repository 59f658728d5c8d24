// A first look at the library's value types: build the body of an event,
// write it as the JSON text that travels to the companion libraries, read an
// answer back and look up members by key path.
#include <QdxDesktopSDK.h>

#include <cstdio>

using namespace Norvane::QDXDesktopSDK;

int main()
{
    JsonValue event;
    event["event_name"] = "launch";
    event["duration_ms"] = 1250;
    event["product"]["id"] = "QdxDemo";
    event["product"]["version"] = "1.4.0";
    event["tags"][-1] = "first-run";
    event["tags"][-1] = "trial";

    QdxString const text = event.GetJsonString();
    std::printf("event body:\n%s\n", text.c_str());

    JsonValue answer;
    if (!answer.FromJsonString("{\"_returnCode\": 0, \"session\": {\"id\": \"a1b2\"}}")) {
        std::fprintf(stderr, "the answer did not parse\n");
        return 1;
    }
    int const code = answer["_returnCode"];
    QdxString const sessionId = JsonValue_GetValueFromKeys(answer, "session.id", -1, nullptr);
    std::printf("return code %d, session %s\n", code, sessionId.c_str());
    return code;
}
