// The tarvguitar package in node: what a web developer calls, and how it refuses bad input.
import assert from 'node:assert/strict';
import { before, describe, test } from 'node:test';
import * as tarvguitar from '../package/index.js';

describe('tarvguitar package before init()', () => {
    test('calls are refused with a clear error', () => {
        assert.throws(() => tarvguitar.shapes('C'), { name: 'TARVGuitarError', message: /await init\(\)/ });
    });
});

describe('tarvguitar package', () => {
    before(async () => {
        await tarvguitar.init();
    });

    test('init() loads once', async () => {
        assert.equal(await tarvguitar.init(), await tarvguitar.init());
    });

    test('shapes() answers the chord, the tuning and ranked shapes', () => {
        const answer = tarvguitar.shapes('Cmaj7', { limit: 4 });
        assert.equal(answer.chord.symbol, 'Cmaj7');
        assert.deepEqual(answer.chord.notes, ['C', 'E', 'G', 'B']);
        assert.equal(answer.tuning.asciiNoteString, 'EADGBE');
        assert.equal(answer.shapes.length, 4);
        assert.equal(answer.shapes[0].frets, 'x,3,2,0,0,0');
    });

    test('the spec ranking answers the shipped shapes', () => {
        const answer = tarvguitar.shapes('C', { rank: 'spec', limit: 1 });
        assert.equal(answer.shapes[0].frets, 'x,3,2,0,1,0');
    });

    test('tuning, capo and fret count are read as the tool reads them', () => {
        const answer = tarvguitar.shapes('G', { tuning: 'G4 C4 E4 A4', frets: 12, capo: 2, limit: 2 });
        assert.equal(answer.tuning.pitches.length, 4);
        assert.equal(answer.tuning.capo, 2);
        assert.equal(answer.tuning.fretCount, 12);
        assert.ok(answer.shapes.length > 0);
        assert.deepEqual(tarvguitar.shapes('G', { tuning: ['G4', 'C4', 'E4', 'A4'], frets: 12, capo: 2, limit: 2 }), answer);
    });

    test('chord() reads root, bass and notes', () => {
        const chord = tarvguitar.chord('Am/G');
        assert.equal(chord.root, 'A');
        assert.equal(chord.bass, 'G');
        assert.deepEqual(chord.notes.slice(0, 3), ['A', 'C', 'E']);
        assert.equal(tarvguitar.chord('C').bass, null);
    });

    test('svg() draws a shape of shapes()', () => {
        const [shape] = tarvguitar.shapes('D', { limit: 1 }).shapes;
        const right = tarvguitar.svg(shape);
        assert.match(right, /^<\?xml|^<svg/);
        assert.match(right, /<\/svg>\s*$/);
        assert.notEqual(tarvguitar.svg(shape, { leftHanded: true }), right);
        const across = tarvguitar.svg(shape, { horizontal: true });
        const size = (svg) => svg.match(/width="([0-9.]+)" height="([0-9.]+)"/).slice(1).map(Number);
        assert.ok(size(right)[1] > size(right)[0], 'upright: taller than wide');
        assert.ok(size(across)[0] > size(across)[1], 'across: wider than tall');
        assert.doesNotMatch(right, /capo/);
        assert.match(tarvguitar.svg(shape, { capo: 2 }), /class="capo".*>capo 2</);
        assert.throws(() => tarvguitar.svg(shape, { capo: -1 }), /capo must be a whole number/);
    });

    test('bad input throws TARVGuitarError with the reason, and the module keeps working', () => {
        const refusals = [
            [() => tarvguitar.shapes('Hmaj99'), /cannot read the chord symbol "Hmaj99"/],
            [() => tarvguitar.shapes(''), /no chord symbol/],
            [() => tarvguitar.shapes(42), /must be a text/],
            [() => tarvguitar.shapes('C', { tuning: 'E2 A2 Q3' }), /cannot read the pitch "Q3"/],
            [() => tarvguitar.shapes('C', { tuning: '' }), /has no strings/],
            [() => tarvguitar.shapes('C', { capo: 300 }), /outside 0 to 255/],
            [() => tarvguitar.shapes('C', { capo: 1.5 }), /whole number/],
            [() => tarvguitar.shapes('C', { limit: -1 }), /below 0/],
            [() => tarvguitar.shapes('C', { rank: 'best' }), /rank must be/],
            [() => tarvguitar.chord('C#b#'), /cannot read the chord symbol/],
            [() => tarvguitar.svg({}), /needs a shape/],
            [() => tarvguitar.svg({ frets: 'x,3,q' }), /fret text/],
        ];
        for (const [call, message] of refusals) {
            assert.throws(call, (error) => error.name === 'TARVGuitarError' && message.test(error.message),
                `${call}`);
        }
        assert.equal(tarvguitar.shapes('C', { limit: 1 }).shapes.length, 1);
    });

    test('qualities() lists the suffixes the symbol reader knows', () => {
        const qualities = tarvguitar.qualities();
        assert.ok(qualities.includes('maj7'));
        for (const quality of qualities.slice(0, 20)) {
            assert.equal(tarvguitar.chord(`C${quality}`).root, 'C');
        }
    });
});
