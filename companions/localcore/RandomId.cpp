#include "RandomId.h"

#include <openssl/rand.h>

#include <chrono>
#include <cstdio>
#include <random>

namespace Norvane {
namespace LocalCore {

std::string RandomUuid()
{
    unsigned char bytes[16];
    if (RAND_bytes(bytes, sizeof bytes) != 1) {
        // The generator failed (no entropy source): the system's device serves instead.
        std::random_device device;
        for (unsigned char& byte : bytes)
            byte = static_cast<unsigned char>(device());
    }
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
    char text[37];
    std::snprintf(text, sizeof text, "%02x%02x%02x%02x-%02x%02x-%02x%02x-%02x%02x-%02x%02x%02x%02x%02x%02x", bytes[0],
                  bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7], bytes[8], bytes[9], bytes[10],
                  bytes[11], bytes[12], bytes[13], bytes[14], bytes[15]);
    return text;
}

long long NowMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace LocalCore
}  // namespace Norvane
