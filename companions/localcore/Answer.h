// Answers to messages. The library copies every answer at once and hands it
// back through "FreeMessage", so an answer is either one of a few constant
// texts (most answers are a bare code, and making them costs nothing) or a
// text allocated for the occasion.
#ifndef QDX_LOCALCORE_ANSWER_H
#define QDX_LOCALCORE_ANSWER_H

#include "CoreJson.h"

namespace Norvane {
namespace LocalCore {

/// {"_returnCode": code}, constant for the core's codes.
char const* CodeAnswer(int code);

/// `members` (an object) with "_returnCode" set to `code`, as allocated text.
char const* ObjectAnswer(int code, JsonDocument& members);

/// Gives back an answer: constant texts stay, allocated ones are freed.
void FreeAnswer(char const* answer);

}  // namespace LocalCore
}  // namespace Norvane

#endif
