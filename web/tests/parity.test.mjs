// The web package in node against the native tool: the same 200 chord and tuning requests must
// get identical answers. Needs the native tool (TARV_BUILD_DIR); skipped without it.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { before, describe, test } from 'node:test';
import * as tarvguitar from '../package/index.js';
import { ensureArtifacts, nativeTool, runTool, toolRanks, webDirectory } from './support.mjs';

const REQUEST_COUNT = 200;
const CHORDS_PER_CALL = 10;
const tool = nativeTool();

/** A small deterministic generator, so that every run asks the same requests. */
function random(seed) {
    let state = seed >>> 0;
    return () => {
        state = (state * 1664525 + 1013904223) >>> 0;
        return state / 2 ** 32;
    };
}

function pick(next, list) {
    return list[Math.floor(next() * list.length)];
}

/** Groups of chord symbols that share one tuning, capo, fret count, limit and ranking. */
function requestGroups(qualities, ranks) {
    const instruments = JSON.parse(readFileSync(join(webDirectory, 'package', 'dist', 'instruments.json'), 'utf8'));
    const tunings = instruments.flatMap((instrument) =>
        instrument.tunings.map((tuning) => ({ pitches: tuning.pitches, frets: instrument.frets, capos: instrument.capos })));
    tunings.push({ pitches: 'D2 A2 D3 G3 A3 D4', frets: 20, capos: [0, 2] });
    tunings.push({ pitches: 'C3 G3 D4 A4', frets: 17, capos: [0] });
    const roots = ['C', 'C#', 'Db', 'D', 'Eb', 'E', 'F', 'F#', 'G', 'Ab', 'A', 'Bb', 'B'];
    const next = random(20261123);
    const groups = [];
    for (let index = 0; index < REQUEST_COUNT / CHORDS_PER_CALL; ++index) {
        const tuning = tunings[index % tunings.length];
        const group = {
            tuning: tuning.pitches,
            frets: tuning.frets,
            capo: pick(next, tuning.capos.filter((capo) => capo <= 5)),
            limit: pick(next, [1, 3, 6, 12]),
            rank: ranks[index % ranks.length],
            symbols: [],
        };
        for (let chord = 0; chord < CHORDS_PER_CALL; ++chord) {
            const root = pick(next, roots);
            const quality = pick(next, qualities);
            const slash = next() < 0.1 ? `/${pick(next, roots)}` : '';
            group.symbols.push(root + quality + slash);
        }
        groups.push(group);
    }
    return groups;
}

function toolArguments(group, ranks) {
    return ['--tuning', group.tuning, '--frets', String(group.frets), '--capo', String(group.capo),
        '--limit', String(group.limit), ...(ranks ? ['--rank', group.rank] : []), '--format', 'json'];
}

describe('web package against the native tool', { skip: tool ? false : 'no native tool (TARV_BUILD_DIR)' }, () => {
    before(async () => {
        ensureArtifacts();
        await tarvguitar.init();
    });

    test(`${REQUEST_COUNT} chord and tuning requests get identical answers`, () => {
        // A tool without --rank answers the library's cached shapes (the 'spec' ranking).
        const ranks = toolRanks(tool);
        const groups = requestGroups(tarvguitar.qualities(), ranks ? ['playable', 'spec'] : ['spec']);
        let compared = 0;
        let readable = 0;
        for (const group of groups) {
            const native = runTool(tool, ['shapes', ...group.symbols, ...toolArguments(group, ranks)]);
            const answers = [];
            const errors = [];
            for (const symbol of group.symbols) {
                try {
                    answers.push(tarvguitar.shapes(symbol, group));
                } catch (error) {
                    assert.equal(error.name, 'TARVGuitarError', `${symbol}: ${error.stack}`);
                    errors.push(`tarvguitar: ${error.message}`);
                }
            }
            // The tool answers the symbols it can read, one line each, and reports the others.
            assert.deepEqual(answers, native.lines, `answers of ${JSON.stringify(group)}`);
            const reported = native.stderr.split('\n').filter((line) => line.trim());
            assert.deepEqual(errors, reported, `errors of ${JSON.stringify(group)}`);
            compared += group.symbols.length;
            readable += answers.length;
        }
        assert.equal(compared, REQUEST_COUNT);
        assert.ok(readable >= REQUEST_COUNT * 0.9, `${readable} of ${REQUEST_COUNT} symbols were readable`);
    });

    test('chord readings equal the tool\'s', () => {
        const symbols = ['C', 'Cmaj7', 'F#m7b5', 'Am/G', 'Bb13', 'Dsus4', 'E7#9'];
        const native = runTool(tool, ['chord', ...symbols, '--format', 'json']);
        assert.equal(native.status, 0, native.stderr);
        assert.deepEqual(symbols.map((symbol) => ({ chord: tarvguitar.chord(symbol) })), native.lines);
    });

    test('names equal the tool\'s name answers', () => {
        const cases = [
            ['x,3,2,0,1,0', {}], ['x,0,2,0,1,0', {}], ['x,x,0,2,1,2', { capo: 2 }],
            ['0,3,2,0,1,0', { capo: 5 }], ['x,3,2,3,1,x', {}], ['0,0,0,2', { tuning: 'G4 C4 E4 A4', frets: 18 }],
            ['2,2,3,x', { tuning: 'G4 C4 E4 A4', frets: 18, capo: 3 }], ['0,0,0,2,3,2', { tuning: 'D2 A2 D3 G3 B3 E4', limit: 2 }],
        ];
        for (const [frets, options] of cases) {
            const args = ['name', frets, '--format', 'json'];
            if (options.tuning) args.push('--tuning', options.tuning);
            if (options.frets) args.push('--frets', String(options.frets));
            if (options.capo) args.push('--capo', String(options.capo));
            if (options.limit) args.push('--limit', String(options.limit));
            const native = runTool(tool, args);
            assert.equal(native.status, 0, native.stderr);
            assert.deepEqual([tarvguitar.names(frets, options)], native.lines, `${frets} ${JSON.stringify(options)}`);
        }
    });

    test('progressions equal the tool\'s progression answers', () => {
        const cases = [
            ['C Am F G', {}],
            ['C Am F G', { alternatives: 3 }],
            ['Eb Ab Bb Cm', { capo: 'auto' }],
            ['D G A Bm', { capo: 2, candidates: 4 }],
            ['C | G | Am | F', { transpose: 2, tuning: 'G4 C4 E4 A4', frets: 18 }],
            ['Cmaj7 Am7 Dm7 G7', { tuning: 'D2 A2 D3 G3 B3 E4', alternatives: 2, capo: 'auto' }],
        ];
        for (const [chords, options] of cases) {
            const args = ['progression', chords, '--format', 'json'];
            if (options.tuning) args.push('--tuning', options.tuning);
            if (options.frets) args.push('--frets', String(options.frets));
            if (options.capo) args.push('--capo', String(options.capo));
            for (const name of ['alternatives', 'candidates', 'transpose']) {
                if (options[name]) args.push(`--${name}`, String(options[name]));
            }
            const native = runTool(tool, args);
            assert.equal(native.status, 0, native.stderr);
            assert.deepEqual([tarvguitar.progression(chords, options)], native.lines, `${chords} ${JSON.stringify(options)}`);
        }
        // An unreadable chord: the tool's message, suggestion included.
        const native = runTool(tool, ['progression', 'C am7', '--format', 'json']);
        assert.equal(native.status, 2);
        assert.throws(() => tarvguitar.progression('C am7'),
            (error) => `tarvguitar: ${error.message}` === native.stderr.trim());
    });

    test('bad tunings are refused with the tool\'s message', () => {
        for (const pitches of ['E2 A2 Q3', '', 'E2,,H4']) {
            const native = runTool(tool, ['shapes', 'C', '--tuning', pitches, '--format', 'json']);
            assert.equal(native.status, 2);
            assert.throws(() => tarvguitar.shapes('C', { tuning: pitches }),
                (error) => `tarvguitar: ${error.message}` === native.stderr.trim());
        }
    });
});
