'use strict';
// Checks an OTLP/HTTP JSON logs request against the protobuf code that the
// OpenTelemetry project generates from its OTLP definitions, and turns its
// log records into plain JSON for the tests.
//
// The generated fromObject() is lenient (it skips unknown members and
// coerces types), so it cannot judge a body alone. The check is a round
// trip instead: fromObject, verify, encode, decode, toObject, and the result
// must equal what was received, member by member and type by type. What the
// schema does not know comes back missing; a value of the wrong type comes
// back as another value or type. The only differences allowed are those of
// the OTLP JSON encoding: 64-bit integers are decimal strings, enums are
// integers, traceId and spanId are lower-case hex (other bytes are base64),
// and members left out stand for their default value.
const path = require('path');

const generated = path.join(__dirname, 'node_modules', '@opentelemetry', 'otlp-transformer', 'build', 'src',
                            'generated', 'root.js');
const root = require(generated);
const ExportLogsServiceRequest = root.opentelemetry.proto.collector.logs.v1.ExportLogsServiceRequest;

// Lengths in bytes of the ids that OTLP JSON writes as hex instead of base64.
const hexIds = {traceId: 16, spanId: 8};

const toObjectOptions = {longs: String, enums: Number, bytes: String, defaults: true, arrays: true, objects: true};

function forEachLogRecord(request, visit)
{
    for (const resourceLogs of request.resourceLogs || [])
        for (const scopeLogs of resourceLogs.scopeLogs || [])
            for (const logRecord of scopeLogs.logRecords || [])
                visit(logRecord, resourceLogs, scopeLogs);
}

// A copy of the request with the hex ids in base64, as fromObject reads bytes.
function hexIdsToBase64(received)
{
    const copy = structuredClone(received);
    forEachLogRecord(copy, (logRecord) => {
        if (typeof logRecord !== 'object' || logRecord === null)
            return;  // fromObject reports it
        for (const [name, length] of Object.entries(hexIds)) {
            const hex = logRecord[name];
            if (hex === undefined)
                continue;
            if (typeof hex !== 'string' || !/^([0-9a-f]{2})*$/.test(hex) || (hex !== '' && hex.length !== 2 * length))
                throw new Error(`${name}: ${length} bytes in lower-case hex (or "") expected, got ${JSON.stringify(hex)}`);
            logRecord[name] = Buffer.from(hex, 'hex').toString('base64');
        }
    });
    return copy;
}

function base64IdsToHex(request)
{
    forEachLogRecord(request, (logRecord) => {
        for (const name of Object.keys(hexIds))
            logRecord[name] = Buffer.from(logRecord[name], 'base64').toString('hex');
    });
}

function describe(value)
{
    const text = JSON.stringify(value);
    return text === undefined ? String(value) : text.length > 80 ? text.slice(0, 77) + '...' : text;
}

// The first difference between what was received and what the schema made of
// it, as "path: reason", or null. Members that only the schema's side has are
// defaults that the sender left out.
function firstDifference(received, expected, where)
{
    if (Array.isArray(received) !== Array.isArray(expected))
        return `${where}: ${Array.isArray(received) ? 'an array' : 'not an array'} where the schema has ${
            describe(expected)}`;
    if (Array.isArray(received)) {
        if (received.length !== expected.length)
            return `${where}: ${received.length} items, the schema kept ${expected.length}`;
        for (let i = 0; i < received.length; ++i) {
            const difference = firstDifference(received[i], expected[i], `${where}[${i}]`);
            if (difference)
                return difference;
        }
        return null;
    }
    const isObject = (value) => typeof value === 'object' && value !== null;
    if (isObject(received) && isObject(expected)) {
        for (const key of Object.keys(received)) {
            if (!(key in expected))
                return `${where}.${key}: not a member of this message`;
            const difference = firstDifference(received[key], expected[key], `${where}.${key}`);
            if (difference)
                return difference;
        }
        return null;
    }
    if (received !== expected)
        return `${where}: ${describe(received)} where the schema reads ${describe(expected)}`;
    return null;
}

// A log record's body is the record's argument object: it must travel as a
// structured value, not as JSON text inside a string.
function stringifiedBody(request)
{
    let problem = null;
    forEachLogRecord(request, (logRecord) => {
        const text = logRecord.body && logRecord.body.stringValue;
        if (problem || typeof text !== 'string')
            return;
        try {
            const parsed = JSON.parse(text);
            if (typeof parsed === 'object' && parsed !== null)
                problem = `body: a JSON ${Array.isArray(parsed) ? 'array' : 'object'} sent as a string (${
                    describe(text)}); send it as a kvlistValue or arrayValue`;
        } catch (notJson) {
            // A plain string body is a string.
        }
    });
    return problem;
}

/// The problem with a parsed request body, or null when it is a valid
/// ExportLogsServiceRequest in the OTLP JSON encoding.
function checkLogsRequest(received)
{
    if (typeof received !== 'object' || received === null || Array.isArray(received))
        return 'the body is not a JSON object';
    let message;
    try {
        message = ExportLogsServiceRequest.fromObject(hexIdsToBase64(received));
    } catch (error) {
        return error.message;
    }
    const invalid = ExportLogsServiceRequest.verify(message);
    if (invalid)
        return invalid;
    const decoded = ExportLogsServiceRequest.decode(ExportLogsServiceRequest.encode(message).finish());
    const expected = ExportLogsServiceRequest.toObject(decoded, toObjectOptions);
    base64IdsToHex(expected);
    return firstDifference(received, expected, 'request') || stringifiedBody(received);
}

/// An AnyValue as the plain JSON value it stands for: 64-bit integers as
/// numbers while they are exact, else as their decimal text; bytes as base64.
function plainValue(anyValue)
{
    if (!anyValue)
        return null;
    if ('stringValue' in anyValue)
        return anyValue.stringValue;
    if ('boolValue' in anyValue)
        return anyValue.boolValue;
    if ('intValue' in anyValue) {
        const number = Number(anyValue.intValue);
        return Number.isSafeInteger(number) ? number : anyValue.intValue;
    }
    if ('doubleValue' in anyValue)
        return anyValue.doubleValue;
    if ('arrayValue' in anyValue)
        return (anyValue.arrayValue.values || []).map(plainValue);
    if ('kvlistValue' in anyValue)
        return plainAttributes(anyValue.kvlistValue.values);
    if ('bytesValue' in anyValue)
        return anyValue.bytesValue;
    return null;
}

function plainAttributes(keyValues)
{
    const object = {};
    for (const {key, value} of keyValues || [])
        object[key] = plainValue(value);
    return object;
}

/// The log records of a valid request, each as one plain object.
function plainLogRecords(request)
{
    const records = [];
    forEachLogRecord(request, (logRecord, resourceLogs, scopeLogs) => {
        records.push({
            timeUnixNano: logRecord.timeUnixNano || '0',
            severityNumber: logRecord.severityNumber || 0,
            body: plainValue(logRecord.body),
            attributes: plainAttributes(logRecord.attributes),
            resource: plainAttributes(resourceLogs.resource && resourceLogs.resource.attributes),
            scope: {name: (scopeLogs.scope && scopeLogs.scope.name) || '',
                    version: (scopeLogs.scope && scopeLogs.scope.version) || ''},
        });
    });
    return records;
}

/// The length of a valid request in the protobuf encoding, as a collector
/// that forwards OTLP as protobuf (to a queue, say) passes it on.
function protobufBytes(request)
{
    return ExportLogsServiceRequest.encode(ExportLogsServiceRequest.fromObject(hexIdsToBase64(request))).finish().length;
}

module.exports = {checkLogsRequest, plainLogRecords, protobufBytes};
