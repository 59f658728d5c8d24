'use strict';
// The receiver's answer plan: parsing and stepping. The syntax is described
// at the top of receiver.js.

/// Milliseconds in "1.5s", "200ms", "2m" or a bare number of seconds.
function parseDuration(text, what)
{
    const match = /^(\d+(?:\.\d+)?)(ms|s|m)?$/.exec(text);
    if (!match)
        throw new Error(`${what}: a duration such as 500ms, 2s or 1m expected, got "${text}"`);
    const scale = {ms: 1, s: 1000, m: 60000}[match[2] || 's'];
    return Math.round(Number(match[1]) * scale);
}

function parseCount(text, what)
{
    if (!/^\d+$/.test(text) || Number(text) < 1)
        throw new Error(`${what}: a whole number of at least 1 expected, got "${text}"`);
    return Number(text);
}

function parseOption(step, option)
{
    const [name, value] = option.split('=', 2);
    if (value === undefined)
        throw new Error(`"${option}": options are name=value`);
    if (name === 'retry-after')
        step.retryAfter = String(parseCount(value, name));
    else if (name === 'delay')
        step.delayMs = parseDuration(value, name);
    else if (name === 'rejected' && step.status >= 200 && step.status < 300)
        step.rejected = parseCount(value, name);
    else if (name === 'max-streak' && step.kind === 'refuse')
        step.maxStreak = parseCount(value, name);
    else
        throw new Error(`"${option}": unknown option for "${step.text}"`);
}

// One step: "down:2s", "drop*2", "503*3:retry-after=1", "refuse=0.5" ...
function parseStep(text)
{
    const [head, ...options] = text.split(':');
    const [what, count] = head.split('*', 2);
    const step = {text, count: count === undefined ? 1 : parseCount(count, text)};
    if (what === 'down') {
        if (count !== undefined || options.length !== 1)
            throw new Error(`"${text}": down takes one duration, as in down:2s`);
        step.kind = 'down';
        step.downMs = parseDuration(options[0], text);
        return step;
    }
    if (what === 'drop') {
        step.kind = 'drop';
    } else if (/^refuse=/.test(what)) {
        const probability = Number(what.slice('refuse='.length));
        if (!(probability >= 0 && probability <= 1) || count !== undefined)
            throw new Error(`"${text}": refuse=P takes a probability from 0 to 1 and no count`);
        step.kind = 'refuse';
        step.probability = probability;
        step.count = Infinity;
        step.status = 503;
    } else if (/^[2-5]\d\d$/.test(what)) {
        step.kind = 'status';
        step.status = Number(what);
    } else {
        throw new Error(`"${text}": a status code, drop, down:DURATION or refuse=P expected`);
    }
    for (const option of options)
        parseOption(step, option);
    return step;
}

// A small seeded generator (mulberry32): the same seed refuses the same
// requests, so that a failing run can be repeated.
function seededRandom(seed)
{
    let state = seed >>> 0;
    return () => {
        state = (state + 0x6d2b79f5) >>> 0;
        let t = state;
        t = Math.imul(t ^ (t >>> 15), t | 1);
        t ^= t + Math.imul(t ^ (t >>> 7), t | 61);
        return ((t ^ (t >>> 14)) >>> 0) / 4294967296;
    };
}

/// The steps of a plan, answered in order; the last one goes on for ever.
class Plan {
    constructor(text, seed)
    {
        this.steps = text.split(',').map((step) => parseStep(step.trim()));
        if (this.steps[this.steps.length - 1].kind === 'down')
            throw new Error('a plan ends with the answer that goes on after it, not with down');
        this.index = 0;
        this.usedInStep = 0;
        this.random = seededRandom(seed);
        this.streak = 0;  // refusals in a row by a refuse step
    }

    current()
    {
        return this.steps[this.index];
    }

    /// The answer to the next request: {kind: 'status'|'drop', status,
    /// retryAfter, delayMs, rejected}. A down step is never the answer: the
    /// receiver goes down when one becomes current and calls advance().
    answer()
    {
        const step = this.current();
        let answer = step;
        if (step.kind === 'refuse') {
            const refused = this.random() < step.probability && !(this.streak >= step.maxStreak);
            this.streak = refused ? this.streak + 1 : 0;
            if (!refused)
                answer = {kind: 'status', status: 200};
        }
        this.usedInStep += 1;
        if (this.usedInStep >= step.count)
            this.advance();
        return answer;
    }

    advance()
    {
        this.usedInStep = 0;
        if (this.index < this.steps.length - 1)
            this.index += 1;
    }
}

module.exports = {Plan, parseDuration};
