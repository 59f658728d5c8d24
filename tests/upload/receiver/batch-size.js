#!/usr/bin/env node
'use strict';
// How large an upload batch is, as JSON and gzip-compressed, for the figures
// of docs/fleet.md: a batch of the typical event of the benchmarks (four
// facets, 25 fields, a nested object and an array), with the time, the record
// id and three fields different in every record, checked by the receiver's
// schema check before it is measured. Also its size in the protobuf encoding,
// as a collector passes OTLP on.
//
//   node batch-size.js [--records 512] [--seed 1]
const zlib = require('zlib');
const {parseArgs} = require('util');
const {checkLogsRequest, protobufBytes} = require('./otlpLogs');

const {values: options} = parseArgs({
    options: {records: {type: 'string', default: '512'}, seed: {type: 'string', default: '1'}},
});

let state = Number(options.seed) >>> 0;
function random()
{
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
    return state / 4294967296;
}

const string = (value) => ({stringValue: value});
function anyValue(value)
{
    if (typeof value === 'string')
        return string(value);
    if (typeof value === 'boolean')
        return {boolValue: value};
    if (typeof value === 'number')
        return Number.isInteger(value) ? {intValue: String(value)} : {doubleValue: value};
    if (Array.isArray(value))
        return {arrayValue: {values: value.map(anyValue)}};
    return {kvlistValue: {values: Object.entries(value).map(([key, item]) => ({key, value: anyValue(item)}))}};
}

const sessionId = '4f6c2a9e-7d31-4b8e-9c55-0e2f1a7b3d64';
function event()
{
    return {
        product_name: 'QdxEditor', product_version: '12.3.1.4567', product_locale: 'en_US', product_build: 4567,
        product_channel: 'release', product_platform: 'linux-x86_64',
        user_guid: '9b1d7e52-3a64-4c0f-8e2d-51f7a9c0b3e8', user_type: 'individual', user_region: 'EU',
        user_plan: 'trial', user_age_days: 12, user_is_trial: true,
        device_id: 'd2c4e6f8-1a3b-4c5d-9e7f-0a1b2c3d4e5f', device_os: 'Linux', device_os_version: '6.1.0-18-amd64',
        device_cpu_count: 8, device_memory_mb: 16384, device_screen_scale: 1.5,
        content_type: 'application/pdf', content_size: Math.floor(random() * 1e7),
        content_pages: 1 + Math.floor(random() * 400), content_name: `report-${Math.floor(random() * 1e6)}.pdf`,
        content_is_shared: false, content_tags: ['cloud', 'shared', 'signed', 'large'],
        content_meta: {origin: 'local'},
        facets: ['content', 'device', 'product', 'user'], session_id: sessionId, _sdk_api_version: '5.5.34.5',
    };
}

const count = Number(options.records);
let timeMs = 1732290000123;
const logRecords = [];
for (let id = 1; id <= count; ++id) {
    timeMs += Math.floor(random() * 5000);
    logRecords.push({
        timeUnixNano: `${timeMs}000000`,
        body: anyValue(event()),
        attributes: [{key: 'event.name', value: string('TrackEvent')}, {key: 'session.id', value: string(sessionId)},
                     {key: 'qdx.record.id', value: string(`8d1f0c1e-5b7a-4f2e-a3c9-6e0b2d4f8a17-${1000000 + id}`)}],
    });
}
const request = {
    resourceLogs: [{
        resource: {attributes: [{key: 'service.name', value: string('QdxEditor')},
                                {key: 'service.version', value: string('12.3.1.4567')},
                                {key: 'qdx.core.version', value: string('1.0.0.1')},
                                {key: 'device.id', value: string('d2c4e6f8-1a3b-4c5d-9e7f-0a1b2c3d4e5f')}]},
        scopeLogs: [{scope: {name: 'QdxSDKCore', version: '1.0.0.1'}, logRecords}],
    }],
};
const problem = checkLogsRequest(request);
if (problem)
    throw new Error(`the batch is not a valid request: ${problem}`);

const json = Buffer.from(JSON.stringify(request));
const eventText = JSON.stringify(event()).length;
console.log(`records: ${count}; one event as compact JSON: ${eventText} bytes`);
console.log(`request as JSON: ${json.length} bytes (${(json.length / count).toFixed(0)} a record)`);
const protobuf = protobufBytes(request);
console.log(`as protobuf: ${protobuf} bytes (${(protobuf / count).toFixed(0)} a record)`);
for (const level of [1, 6, 9]) {
    const gzip = zlib.gzipSync(json, {level});
    console.log(`gzip level ${level}: ${gzip.length} bytes (${(gzip.length / count).toFixed(0)} a record), ratio ${
        (gzip.length / json.length).toFixed(3)}`);
}
