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
        // As the tool answers: the chord as fingered above the capo, and as it sounds.
        assert.equal(answer.capo.fret, 2);
        assert.equal(answer.playedAs, 'F');
        assert.equal(answer.soundsAs, 'G');
        assert.equal(tarvguitar.shapes('G', { limit: 1 }).playedAs, undefined);
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
        // The nut runs across the strings: level when the neck is upright, upright when across.
        const nut = (svg) => svg.match(/class="nut" x1="([0-9.]+)" y1="([0-9.]+)" x2="([0-9.]+)" y2="([0-9.]+)"/).slice(1).map(Number);
        const [ux1, uy1, ux2, uy2] = nut(right);
        assert.ok(uy1 === uy2 && ux1 !== ux2, 'upright: a level nut');
        const [ax1, ay1, ax2, ay2] = nut(across);
        assert.ok(ax1 === ax2 && ay1 !== ay2, 'across: an upright nut');
        assert.doesNotMatch(right, /capo/);
        const withCapo = tarvguitar.svg(shape, { capo: 2 });
        assert.match(withCapo, /<rect class="capo"/);
        assert.match(withCapo, /class="capo-label"[^>]*>capo 2</);
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

    test('names() names familiar shapes, best first', () => {
        const first = (frets) => tarvguitar.names(frets).names[0].symbol;
        assert.equal(first('x,3,2,0,1,0'), 'C');
        assert.equal(first('x,0,2,2,1,0'), 'Am');
        assert.equal(first('x,x,0,2,1,2'), 'D7');
        assert.equal(first('0,3,2,0,1,0'), 'C/E');
        const am7 = tarvguitar.names('x,0,2,0,1,0');
        assert.deepEqual(am7.names.slice(0, 2).map((name) => name.symbol), ['Am7', 'C6/A']);
        assert.deepEqual(am7.names.slice(0, 2).map((name) => name.kind), ['root position', 'inversion']);
        assert.equal(am7.notation, 'x,0,2,0,1,0');
        assert.equal(am7.shape.frets, 'x,0,2,0,1,0');
        assert.equal(am7.capo, undefined);
        assert.deepEqual(tarvguitar.names('x,3,2,3,1,x').names[0], { symbol: 'C7', kind: 'root position', omitted: ['G'] });
        // An array of frets, lowest string first, or a shape of shapes() reads the same.
        assert.deepEqual(tarvguitar.names([null, 0, 2, 0, 1, 0]), am7);
        assert.deepEqual(tarvguitar.names({ frets: 'x,0,2,0,1,0' }), am7);
        assert.equal(tarvguitar.names('x,0,2,0,1,0', { limit: 1 }).names.length, 1);
    });

    test('names() reads a shape as fingered above the capo and says what sounds', () => {
        const answer = tarvguitar.names('x,3,2,0,1,0', { capo: 2 });
        assert.equal(answer.capo.fret, 2);
        assert.match(answer.capo.convention, /frets count from the capo/);
        assert.equal(answer.names[0].symbol, 'C');
        assert.equal(answer.names[0].soundsAs, 'D');
        assert.equal(tarvguitar.names('0,0,0,3', { tuning: 'G4 C4 E4 A4', frets: 18 }).names[0].symbol, 'C');
    });

    test('progression() chooses one shape per chord', () => {
        const answer = tarvguitar.progression('C Am F G');
        assert.deepEqual(answer.progression, ['C', 'Am', 'F', 'G']);
        assert.equal(answer.arrangements.length, 1);
        const [best] = answer.arrangements;
        assert.deepEqual(best.chords.map((chord) => chord.chord), ['C', 'Am', 'F', 'G']);
        assert.equal(best.chords[0].movement, 0);
        assert.equal(best.chords[0].shape.frets, 'x,3,2,0,1,0');
        assert.equal(answer.capoChoices, undefined);
        assert.deepEqual(tarvguitar.progression(['C', 'Am', 'F', 'G']), answer);
        assert.deepEqual(tarvguitar.progression('| C, Am | F G |'), answer);
        const three = tarvguitar.progression('C Am F G', { alternatives: 3 }).arrangements;
        assert.equal(three.length, 3);
        assert.deepEqual(three[0], best);
        assert.ok(three[0].cost <= three[1].cost && three[1].cost <= three[2].cost);
        const moved = tarvguitar.progression('C G Am F', { transpose: 2, tuning: 'G4 C4 E4 A4', frets: 18 });
        assert.deepEqual(moved.progression, ['D', 'A', 'Bm', 'G']);
    });

    test('progression() with capo auto plays "Eb Ab Bb Cm" as C F G Am at capo 3', () => {
        const answer = tarvguitar.progression('Eb Ab Bb Cm', { capo: 'auto' });
        assert.equal(answer.tuning.capo, 3);
        assert.equal(answer.capo.fret, 3);
        assert.deepEqual(answer.capoChoices[0].chords, ['C', 'F', 'G', 'Am']);
        assert.equal(answer.capoChoices[0].capo, 3);
        const [best] = answer.arrangements;
        assert.deepEqual(best.chords.map((chord) => chord.chord), ['C', 'F', 'G', 'Am']);
        assert.deepEqual(best.chords.map((chord) => chord.soundsAs), ['Eb', 'Ab', 'Bb', 'Cm']);
        const given = tarvguitar.progression('Eb Ab Bb Cm', { capo: 3 });
        assert.deepEqual(given.arrangements, answer.arrangements);
        assert.equal(given.capoChoices, undefined);
    });

    test('names() and progression() refuse bad input with the reason, and the module keeps working', () => {
        const refusals = [
            [() => tarvguitar.names('x,3,2'), /has 3 strings but the tuning has 6/],
            [() => tarvguitar.names('x,3,q,0,1,0'), /fret text/],
            [() => tarvguitar.names('x,25,2,0,1,0'), /reaches fret 25 but the neck has 22 frets/],
            [() => tarvguitar.names('x,21,2,0,1,0', { capo: 2 }), /20 frets above the capo/],
            [() => tarvguitar.names('x,3,2,0,1,0', { tuning: 'E2 A2 Q3' }), /cannot read the pitch "Q3"/],
            [() => tarvguitar.names(42), /names\(\) needs a fret text/],
            [() => tarvguitar.names('x,3,2,0,1,0', { limit: -1 }), /below 0/],
            [() => tarvguitar.progression('C Hm7 G'), /cannot read the chord symbol "Hm7"/],
            [() => tarvguitar.progression('C am7'), /did you mean "Am7"\?/],
            [() => tarvguitar.progression(' | '), /holds no chord/],
            [() => tarvguitar.progression([]), /holds no chord/],
            [() => tarvguitar.progression(42), /chords must be a text/],
            [() => tarvguitar.progression(['C', 7]), /chords must be a text/],
            [() => tarvguitar.progression('C G', { alternatives: 0 }), /alternatives must be from 1 to 20, not 0/],
            [() => tarvguitar.progression('C G', { alternatives: 21 }), /alternatives must be from 1 to 20/],
            [() => tarvguitar.progression('C G', { candidates: 41 }), /candidates must be from 1 to 40/],
            [() => tarvguitar.progression('C G', { transpose: -25 }), /transpose must be from -24 to 24/],
            [() => tarvguitar.progression('C G', { transpose: 1.5 }), /whole number/],
            [() => tarvguitar.progression('C G', { capo: 'top' }), /capo must be a whole number/],
            [() => tarvguitar.progression('C G', { capo: 300 }), /outside 0 to 255/],
            [() => tarvguitar.progression('C G', { tuning: 'E2 A2 Q3' }), /cannot read the pitch "Q3"/],
        ];
        for (const [call, message] of refusals) {
            assert.throws(call, (error) => error.name === 'TARVGuitarError' && message.test(error.message),
                `${call}`);
        }
        assert.equal(tarvguitar.progression('C G').arrangements.length, 1);
        assert.equal(tarvguitar.names('x,3,2,0,1,0').names[0].symbol, 'C');
    });

    test('qualities() lists the suffixes the symbol reader knows', () => {
        const qualities = tarvguitar.qualities();
        assert.ok(qualities.includes('maj7'));
        for (const quality of qualities.slice(0, 20)) {
            assert.equal(tarvguitar.chord(`C${quality}`).root, 'C');
        }
    });
});
