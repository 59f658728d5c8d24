#include "OtlpLogs.h"

#include "CoreJson.h"

#include <vector>

namespace Norvane {
namespace LocalCore {

namespace {

using TextWriter = QdxLocalCoreJson::Writer<QdxLocalCoreJson::StringBuffer>;

void Text(TextWriter& writer, std::string const& text)
{
    writer.String(text.c_str(), static_cast<QdxLocalCoreJson::SizeType>(text.size()));
}

// A JSON value as an AnyValue: objects become key-value lists and arrays
// array values, so that a backend sees the structure, not a string of JSON.
void WriteAnyValue(TextWriter& writer, JsonNode const& value)
{
    writer.StartObject();
    if (value.IsObject()) {
        writer.Key("kvlistValue");
        writer.StartObject();
        writer.Key("values");
        writer.StartArray();
        for (auto const& member : value.GetObject()) {
            writer.StartObject();
            writer.Key("key");
            writer.String(member.name.GetString(), member.name.GetStringLength());
            writer.Key("value");
            WriteAnyValue(writer, member.value);
            writer.EndObject();
        }
        writer.EndArray();
        writer.EndObject();
    } else if (value.IsArray()) {
        writer.Key("arrayValue");
        writer.StartObject();
        writer.Key("values");
        writer.StartArray();
        for (auto const& element : value.GetArray())
            WriteAnyValue(writer, element);
        writer.EndArray();
        writer.EndObject();
    } else if (value.IsString()) {
        writer.Key("stringValue");
        writer.String(value.GetString(), value.GetStringLength());
    } else if (value.IsBool()) {
        writer.Key("boolValue");
        writer.Bool(value.GetBool());
    } else if (value.IsInt64()) {
        writer.Key("intValue");
        Text(writer, std::to_string(value.GetInt64()));
    } else if (value.IsNumber()) {
        // Integers past the signed 64-bit range too: an intValue cannot hold them.
        writer.Key("doubleValue");
        writer.Double(value.GetDouble());
    }
    // null: an AnyValue without a value
    writer.EndObject();
}

void WriteAttribute(TextWriter& writer, char const* key, std::string const& value)
{
    writer.StartObject();
    writer.Key("key");
    writer.String(key);
    writer.Key("value");
    writer.StartObject();
    writer.Key("stringValue");
    Text(writer, value);
    writer.EndObject();
    writer.EndObject();
}

// The product facet's members that name it; none for a record without a
// session, or one whose facet is not an object.
void WriteProductAttributes(TextWriter& writer, std::string const& productJson)
{
    JsonDocument product;
    if (product.Parse(productJson.c_str()).HasParseError() || !product.IsObject())
        return;
    std::string const id = StringMember(product, "product_id");
    std::string const version = StringMember(product, "product_version");
    if (!id.empty())
        WriteAttribute(writer, OtlpAttribute::kServiceName, id);
    if (!version.empty())
        WriteAttribute(writer, OtlpAttribute::kServiceVersion, version);
}

}  // namespace

void OtlpLogsEncoder::SetDatabaseId(std::string const& id)
{
    if (id != m_databaseId)
        m_logRecords.clear();
    m_databaseId = id;
}

std::string OtlpLogsEncoder::RecordId(std::string const& databaseId, long long seq)
{
    return databaseId + "-" + std::to_string(seq);
}

long long OtlpLogsEncoder::Encode(StoredRecord const& record)
{
    QdxLocalCoreJson::StringBuffer buffer;
    TextWriter writer(buffer);
    writer.StartObject();
    writer.Key("timeUnixNano");
    Text(writer, std::to_string(record.timeMs) + "000000");
    writer.Key("body");
    JsonDocument arguments;
    if (arguments.Parse(record.args.c_str()).HasParseError()) {
        writer.StartObject();
        writer.Key("stringValue");
        Text(writer, record.args);
        writer.EndObject();
    } else {
        WriteAnyValue(writer, arguments);
    }
    writer.Key("attributes");
    writer.StartArray();
    WriteAttribute(writer, OtlpAttribute::kEventName, record.name);
    if (!record.sessionId.empty())
        WriteAttribute(writer, OtlpAttribute::kSessionId, record.sessionId);
    WriteAttribute(writer, OtlpAttribute::kRecordId, RecordId(m_databaseId, record.seq));
    writer.EndArray();
    writer.EndObject();
    std::string& encoded = m_logRecords[record.seq];
    encoded.assign(buffer.GetString(), buffer.GetSize());
    return static_cast<long long>(encoded.size());
}

std::string OtlpLogsEncoder::Request(UploadBatch const& batch, std::string const& deviceId)
{
    SetDatabaseId(batch.databaseId);
    // One resource per product, in the order the records name them.
    std::vector<std::string> products;
    std::map<std::string, std::vector<StoredRecord const*>> byProduct;
    for (StoredRecord const& record : batch.records) {
        auto const found = batch.products.find(record.sessionId);
        std::string const& product = found != batch.products.end() ? found->second : std::string();
        std::vector<StoredRecord const*>& records = byProduct[product];
        if (records.empty())
            products.push_back(product);
        records.push_back(&record);
    }

    QdxLocalCoreJson::StringBuffer buffer;
    TextWriter writer(buffer);
    writer.StartObject();
    writer.Key("resourceLogs");
    writer.StartArray();
    for (std::string const& product : products) {
        writer.StartObject();
        writer.Key("resource");
        writer.StartObject();
        writer.Key("attributes");
        writer.StartArray();
        WriteProductAttributes(writer, product);
        WriteAttribute(writer, OtlpAttribute::kCoreVersion, m_coreVersion);
        if (!deviceId.empty())
            WriteAttribute(writer, OtlpAttribute::kDeviceId, deviceId);
        writer.EndArray();
        writer.EndObject();
        writer.Key("scopeLogs");
        writer.StartArray();
        writer.StartObject();
        writer.Key("scope");
        writer.StartObject();
        writer.Key("name");
        writer.String("QdxSDKCore");
        writer.Key("version");
        Text(writer, m_coreVersion);
        writer.EndObject();
        writer.Key("logRecords");
        writer.StartArray();
        for (StoredRecord const* record : byProduct[product]) {
            auto encoded = m_logRecords.find(record->seq);
            if (encoded == m_logRecords.end()) {
                Encode(*record);
                encoded = m_logRecords.find(record->seq);
            }
            writer.RawValue(encoded->second.c_str(), encoded->second.size(), QdxLocalCoreJson::kObjectType);
        }
        writer.EndArray();
        writer.EndObject();
        writer.EndArray();
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    m_logRecords.clear();
    return std::string(buffer.GetString(), buffer.GetSize());
}

}  // namespace LocalCore
}  // namespace Norvane
