#include "RecordJson.h"

#include "LocalCoreJson.h"

#include <cstdio>
#include <ctime>

namespace Norvane {
namespace LocalCore {

std::string Rfc3339Utc(long long timeMs)
{
    long long const seconds = timeMs >= 0 ? timeMs / 1000 : (timeMs - 999) / 1000;
    time_t const whole = static_cast<time_t>(seconds);
    tm utc{};
    gmtime_r(&whole, &utc);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03lldZ", utc.tm_year + 1900, utc.tm_mon + 1,
                  utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, timeMs - seconds * 1000);
    return text;
}

std::string RecordJsonLine(long long seq, long long timeMs, std::string const& sessionId, std::string const& name,
                           std::string const& args)
{
    using QdxLocalCoreJson::SizeType;
    QdxLocalCoreJson::StringBuffer buffer;
    QdxLocalCoreJson::Writer<QdxLocalCoreJson::StringBuffer> writer(buffer);
    std::string const time = Rfc3339Utc(timeMs);
    writer.StartObject();
    writer.Key("seq");
    writer.Int64(seq);
    writer.Key("time");
    writer.String(time.c_str(), static_cast<SizeType>(time.size()));
    writer.Key("session_id");
    if (sessionId.empty())
        writer.Null();
    else
        writer.String(sessionId.c_str(), static_cast<SizeType>(sessionId.size()));
    writer.Key("name");
    writer.String(name.c_str(), static_cast<SizeType>(name.size()));
    writer.Key("args");
    // The stored text is already compact JSON: it goes in as it is.
    writer.RawValue(args.empty() ? "{}" : args.c_str(), args.empty() ? 2 : args.size(), QdxLocalCoreJson::kObjectType);
    writer.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize());
}

}  // namespace LocalCore
}  // namespace Norvane
