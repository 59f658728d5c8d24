#!/usr/bin/env node
'use strict';
// A loopback OTLP/HTTP logs receiver for the upload tests.
//
// Every POST /v1/logs body (Content-Type: application/json, optionally
// Content-Encoding: gzip) is checked against ExportLogsServiceRequest as the
// protobuf code generated from the OTLP definitions reads it (otlpLogs.js).
// An invalid request is answered 400 (404, 405, 413 or 415 for a wrong path,
// method, size or type) whatever the plan says, and written to the errors
// file, so that a test can assert that there were none. A valid request
// is answered as the plan says.
//
//   node receiver.js --port-file FILE --records FILE --requests FILE --errors FILE
//                    [--plan PLAN] [--seed N] [--port N]
//                    [--record-id-key KEY] [--session-id-key KEY] [--event-name-key KEY]
//
// --port N listens on that port (a restart on the port of an earlier run);
// by default the system chooses one. The receiver listens on 127.0.0.1 only
// and writes the port, once it listens, to the port file. It runs until
// SIGTERM or SIGINT, or until its parent ends, and then prints its counts
// by outcome and status.
//
// The plan: steps separated by commas, used in order, one request each
// unless counted; the last step answers every request after the others.
//   200, 400, 503 ...    answer with this status
//   STEP*N               the step for N requests: 503*3
//   STEP:retry-after=S   with a Retry-After header of S seconds
//   STEP:delay=D         wait D before answering (500ms, 2s, 1m)
//   2xx:rejected=N       a partial success that rejects N records
//   drop                 close the connection without an answer
//   down:D               stop listening for D, then listen on the same port
//                        again (as the first step: from the start)
//   refuse=P             503 with probability P, else 200, from a generator
//                        seeded with --seed (default 1); options as above,
//                        and max-streak=N: never more than N 503s in a row
// Examples: "200" (the default), "400*1,200", "down:2s,503*3:retry-after=1,200",
// "refuse=0.5:retry-after=1:max-streak=3".
//
// Output files, one JSON object a line, appended (a restarted receiver
// continues them and numbers its requests on from the requests file):
//   records   every record of a request answered 2xx: request, recordId,
//             sessionId, eventName (from the attributes named by the
//             *-key options), timeUnixNano, severityNumber, body,
//             attributes, resource (attributes), scope, gzip. AnyValues
//             are written as the plain JSON values they hold.
//   requests  every request: request, outcome (accepted, refused, dropped,
//             invalid, abandoned: the client left before the answer),
//             status, gzip, bytes (as sent), jsonBytes, records, headers
//   errors    every invalid request: request, status, error
const fs = require('fs');
const http = require('http');
const zlib = require('zlib');
const {parseArgs} = require('util');
const {checkLogsRequest, plainLogRecords} = require('./otlpLogs');
const {Plan} = require('./plan');

const largestBody = 64 * 1024 * 1024;

function fail(message)
{
    process.stderr.write(`receiver.js: ${message}\n`);
    process.exit(2);
}

let options, plan;
try {
    ({values: options} = parseArgs({
    options: {
        'port-file': {type: 'string'},
        'records': {type: 'string'},
        'requests': {type: 'string'},
        'errors': {type: 'string'},
        'plan': {type: 'string', default: '200'},
        'seed': {type: 'string', default: '1'},
        'port': {type: 'string', default: '0'},
        'record-id-key': {type: 'string', default: 'qdx.record.id'},
        'session-id-key': {type: 'string', default: 'session.id'},
        'event-name-key': {type: 'string', default: 'event.name'},
    },
    strict: true,
    }));
    plan = new Plan(options.plan, Number(options.seed));
} catch (error) {
    fail(error.message);
}
for (const required of ['port-file', 'records', 'requests', 'errors'])
    if (!options[required])
        fail(`--${required} FILE is required`);

const counts = {outcome: {}, status: {}};
let requestCount = fs.existsSync(options.requests)
    ? fs.readFileSync(options.requests, 'utf8').split('\n').filter((line) => line !== '').length
    : 0;

// Written synchronously before the answer: a client that saw 2xx finds its
// records in the file.
function appendLines(file, objects)
{
    if (objects.length > 0)
        fs.appendFileSync(file, objects.map((object) => JSON.stringify(object) + '\n').join(''));
}

function writePortFile(port)
{
    const partial = options['port-file'] + '.partial';
    fs.writeFileSync(partial, `${port}\n`);
    fs.renameSync(partial, options['port-file']);
}

// The problem with a request's framing and its decoded JSON: {status, error}
// or {json}.
function readRequest(request, raw)
{
    if (request.url !== '/v1/logs')
        return {status: 404, error: `path ${request.url}: only /v1/logs is received`};
    if (request.method !== 'POST')
        return {status: 405, error: `method ${request.method}: POST expected`};
    const type = (request.headers['content-type'] || '').split(';')[0].trim();
    if (type !== 'application/json')
        return {status: 415, error: `Content-Type "${request.headers['content-type']}": application/json expected`};
    const encoding = request.headers['content-encoding'] || 'identity';
    if (encoding !== 'gzip' && encoding !== 'identity')
        return {status: 415, error: `Content-Encoding "${encoding}": gzip or none expected`};
    let text;
    try {
        text = encoding === 'gzip' ? zlib.gunzipSync(raw, {maxOutputLength: largestBody}) : raw;
    } catch (error) {
        return {status: 400, error: `gzip body does not decode: ${error.message}`};
    }
    let json;
    try {
        json = JSON.parse(text.toString('utf8'));
    } catch (error) {
        return {status: 400, error: `not JSON: ${error.message}`};
    }
    const problem = checkLogsRequest(json);
    return problem ? {status: 400, error: problem} : {json, jsonBytes: text.length};
}

function count(outcome, status)
{
    counts.outcome[outcome] = (counts.outcome[outcome] || 0) + 1;
    if (status)
        counts.status[status] = (counts.status[status] || 0) + 1;
}

function acceptedRecords(json, number, gzip)
{
    const attribute = (record, key) => (key in record.attributes ? record.attributes[key] : null);
    return plainLogRecords(json).map((record) => ({
        request: number,
        recordId: attribute(record, options['record-id-key']),
        sessionId: attribute(record, options['session-id-key']),
        eventName: attribute(record, options['event-name-key']),
        ...record,
        gzip,
    }));
}

function answer(request, response, raw)
{
    const number = ++requestCount;
    const gzip = request.headers['content-encoding'] === 'gzip';
    const read = raw ? readRequest(request, raw) : {status: 413, error: `body larger than ${largestBody} bytes`};
    const entry = {request: number, gzip, bytes: raw ? raw.length : null, jsonBytes: read.jsonBytes || null,
                   records: read.json ? plainLogRecords(read.json).length : 0, headers: request.headers};
    const send = (status, body, headers = {}) => {
        response.writeHead(status, {'Content-Type': 'application/json', ...headers});
        response.end(JSON.stringify(body));
    };
    if (down) {
        // A request on a connection kept from before: a collector that is
        // down answers nothing.
        appendLines(options.requests, [{...entry, outcome: 'dropped', status: null}]);
        count('dropped');
        request.socket.destroy();
        return;
    }
    if (read.error) {
        appendLines(options.errors, [{request: number, status: read.status, error: read.error}]);
        appendLines(options.requests, [{...entry, outcome: 'invalid', status: read.status}]);
        count('invalid', read.status);
        return send(read.status, {code: 3, message: read.error});
    }
    const planned = plan.answer();
    if (plan.current().kind === 'down')
        goDown(response);
    if (planned.kind === 'drop') {
        appendLines(options.requests, [{...entry, outcome: 'dropped', status: null}]);
        count('dropped');
        request.socket.destroy();
        return;
    }
    setTimeout(() => {
        if (request.socket.destroyed) {
            appendLines(options.requests, [{...entry, outcome: 'abandoned', status: planned.status}]);
            count('abandoned');
            return;
        }
        const accepted = planned.status >= 200 && planned.status < 300;
        if (accepted)
            appendLines(options.records, acceptedRecords(read.json, number, gzip));
        appendLines(options.requests, [{...entry, outcome: accepted ? 'accepted' : 'refused', status: planned.status}]);
        count(accepted ? 'accepted' : 'refused', planned.status);
        const body = !accepted ? {code: 14, message: `refused by the plan (${planned.text})`}
                     : planned.rejected ? {partialSuccess: {rejectedLogRecords: String(planned.rejected),
                                                            errorMessage: 'rejected by the plan'}}
                                        : {};
        send(planned.status, body, planned.retryAfter ? {'Retry-After': planned.retryAfter} : {});
    }, planned.delayMs || 0);
}

const server = http.createServer((request, response) => {
    const chunks = [];
    let size = 0;
    request.on('data', (chunk) => {
        size += chunk.length;
        if (size <= largestBody)
            chunks.push(chunk);
    });
    request.on('end', () => answer(request, response, size <= largestBody ? Buffer.concat(chunks) : null));
});
let port = Number(options.port);
let down = false;

function listen(then)
{
    server.listen(port, '127.0.0.1', () => {
        port = server.address().port;
        then();
    });
}

// Refused connections, as from a collector that is not running, then the
// next step. New connections are refused at once; those open end once the
// answer that led here is sent.
function goDown(lastAnswer)
{
    down = true;
    server.close();
    const closeConnections = () => {
        server.closeAllConnections();
        setTimeout(() => {
            plan.advance();
            listen(() => {
                down = false;
                if (plan.current().kind === 'down')
                    goDown();
            });
        }, plan.current().downMs);
    };
    if (lastAnswer)
        lastAnswer.on('close', closeConnections);
    else
        closeConnections();
}

listen(() => {
    if (plan.current().kind === 'down')
        goDown();
    writePortFile(port);
});

function stop()
{
    process.stdout.write(JSON.stringify({requests: requestCount, ...counts}) + '\n');
    process.exit(0);
}
process.on('SIGTERM', stop);
process.on('SIGINT', stop);
// A test that dies leaves no receiver behind.
const parent = process.ppid;
setInterval(() => {
    if (process.ppid !== parent)
        stop();
}, 1000).unref();
