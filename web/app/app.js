// The chord-diagram page: reads the form, asks the tarvguitar package, draws its diagrams, keeps
// the state in the query string and strums a diagram when it is clicked.
import { fretText, init, TARVGuitarError } from './lib/index.js';

/** How shapes are ordered: the playable ranking of the library. */
const RANK = 'playable';
const CUSTOM = '__custom__';
const DEFAULT_COUNT = 8;
const ROOTS = ['C', 'C#', 'Db', 'D', 'D#', 'Eb', 'E', 'F', 'F#', 'Gb', 'G', 'G#', 'Ab', 'A', 'A#', 'Bb', 'B'];

const elements = {
    form: document.getElementById('controls'),
    chord: document.getElementById('chord'),
    suggestions: document.getElementById('chord-suggestions'),
    instrument: document.getElementById('instrument'),
    tuning: document.getElementById('tuning'),
    customField: document.getElementById('custom-field'),
    custom: document.getElementById('custom'),
    capo: document.getElementById('capo'),
    count: document.getElementById('count'),
    left: document.getElementById('left'),
    across: document.getElementById('across'),
    message: document.getElementById('message'),
    status: document.getElementById('status'),
    diagrams: document.getElementById('diagrams'),
};

let library = null;
let instruments = [];
let qualities = [];
let audio = null;

// --- State and the query string --------------------------------------------------------------------

function readState() {
    const query = new URLSearchParams(location.search);
    return {
        chord: query.get('chord') ?? 'C',
        instrument: query.get('instrument') ?? instruments[0]?.name ?? '',
        tuning: query.get('tuning') ?? '',
        custom: query.get('custom') ?? '',
        capo: query.get('capo') ?? '0',
        count: query.get('n') ?? String(DEFAULT_COUNT),
        left: query.get('left') === '1',
        across: query.get('across') === '1',
    };
}

function showState(state) {
    elements.chord.value = state.chord;
    const instrument = instruments.find((item) => item.name === state.instrument) ?? instruments[0];
    elements.instrument.value = instrument.name;
    fillTunings(instrument);
    if (state.custom) {
        elements.tuning.value = CUSTOM;
        elements.custom.value = state.custom;
    } else {
        const tuning = instrument.tunings.find((item) => item.name === state.tuning);
        elements.tuning.value = tuning ? tuning.name : instrument.tunings[0]?.name ?? CUSTOM;
        elements.custom.value = '';
    }
    elements.capo.value = state.capo;
    elements.count.value = state.count;
    elements.left.checked = state.left;
    elements.across.checked = state.across;
    elements.customField.hidden = elements.tuning.value !== CUSTOM;
}

function formState() {
    const custom = elements.tuning.value === CUSTOM;
    return {
        chord: elements.chord.value,
        instrument: elements.instrument.value,
        tuning: custom ? '' : elements.tuning.value,
        custom: custom ? elements.custom.value : '',
        capo: elements.capo.value,
        count: elements.count.value,
        left: elements.left.checked,
        across: elements.across.checked,
    };
}

function writeQuery(state) {
    const query = new URLSearchParams();
    query.set('chord', state.chord);
    query.set('instrument', state.instrument);
    if (state.custom) {
        query.set('custom', state.custom);
    } else {
        query.set('tuning', state.tuning);
    }
    if (state.capo && state.capo !== '0') query.set('capo', state.capo);
    if (state.count && state.count !== String(DEFAULT_COUNT)) query.set('n', state.count);
    if (state.left) query.set('left', '1');
    if (state.across) query.set('across', '1');
    const url = `${location.pathname}?${query}`;
    if (url !== `${location.pathname}${location.search}`) {
        history.replaceState(null, '', url);
    }
}

// --- Controls --------------------------------------------------------------------------------------

function fillInstruments() {
    elements.instrument.replaceChildren(...instruments.map((instrument) => new Option(instrument.name, instrument.name)));
}

function fillTunings(instrument) {
    const options = instrument.tunings.map((tuning) =>
        new Option(`${tuning.name} (${tuning.pitches})`, tuning.name));
    options.push(new Option('Custom…', CUSTOM));
    elements.tuning.replaceChildren(...options);
    elements.capo.max = String(Math.max(...instrument.capos, 0));
}

function fillSuggestions() {
    const typed = elements.chord.value.trim();
    const root = ROOTS.filter((name) => typed.startsWith(name)).sort((a, b) => b.length - a.length)[0] ?? 'C';
    const symbols = qualities.map((quality) => root + quality);
    elements.suggestions.replaceChildren(...symbols.map((symbol) => new Option(symbol)));
}

function currentInstrument() {
    return instruments.find((item) => item.name === elements.instrument.value) ?? instruments[0];
}

function requestOf(state) {
    const instrument = instruments.find((item) => item.name === state.instrument) ?? instruments[0];
    const options = { rank: RANK, limit: state.count, capo: state.capo, frets: instrument.frets };
    if (state.custom || elements.tuning.value === CUSTOM) {
        if (!state.custom.trim()) {
            throw new TARVGuitarError('Type the open strings of the custom tuning, lowest first: "E2 A2 D3 G3 B3 E4"');
        }
        options.tuning = state.custom;
    } else {
        const tuning = instrument.tunings.find((item) => item.name === state.tuning) ?? instrument.tunings[0];
        options.tuning = tuning.pitches;
        options.tuningName = tuning.name;
    }
    return options;
}

// --- Diagrams ----------------------------------------------------------------------------------------

function showMessage(text) {
    elements.message.textContent = text ? text[0].toUpperCase() + text.slice(1) : '';
    elements.message.hidden = !text;
}

function markInvalid(field, invalid) {
    if (invalid) field.setAttribute('aria-invalid', 'true');
    else field.removeAttribute('aria-invalid');
}

function describe(error) {
    return error instanceof TARVGuitarError ? error.message : `Something went wrong: ${error.message ?? error}`;
}

function update() {
    const state = formState();
    writeQuery(state);
    elements.customField.hidden = elements.tuning.value !== CUSTOM;
    markInvalid(elements.chord, false);
    markInvalid(elements.custom, false);
    let answer;
    let request;
    try {
        const options = requestOf(state);
        if (!state.chord.trim()) {
            throw new TARVGuitarError('Type a chord symbol, such as C, Am7 or F#m7b5.');
        }
        answer = library.shapes(state.chord, options);
        request = options;
    } catch (error) {
        const text = describe(error);
        markInvalid(/tuning|pitch|string/i.test(text) ? elements.custom : elements.chord, true);
        showMessage(/chord symbol/.test(text) ? `${text}. Try a symbol such as C, Am7, G7/B or F#m7b5.` : text);
        elements.diagrams.replaceChildren();
        elements.status.textContent = '';
        return;
    }
    showMessage('');
    drawAnswer(answer, state, request);
}

function drawAnswer(answer, state, options) {
    const chordName = answer.chord.symbol;
    const sounding = library.tuning(options);
    const items = answer.shapes.map((shape, index) => {
        const item = document.createElement('li');
        const button = document.createElement('button');
        button.type = 'button';
        button.className = 'chord-card';
        const frets = fretText(shape);
        button.dataset.frets = frets;
        button.setAttribute('aria-label', `${chordName}, shape ${index + 1}: ${frets}. Play`);
        button.innerHTML = library.svg(shape, {
            leftHanded: state.left, horizontal: state.across, capo: answer.tuning.capo, caption: chordName,
        });
        const caption = document.createElement('span');
        caption.className = 'caption';
        caption.textContent = frets;
        button.append(caption);
        button.addEventListener('click', () => strum(button, shape, sounding));
        item.append(button);
        return item;
    });
    elements.diagrams.replaceChildren(...items);
    const notes = answer.chord.notes.join(' ');
    elements.status.textContent = items.length === 0
        ? `No shapes of ${chordName} (${notes}) fit this tuning.`
        : `${chordName} (${notes}): ${items.length} shape${items.length === 1 ? '' : 's'}, best first.`;
}

// --- Sound -------------------------------------------------------------------------------------------

/** The sounding pitches (MIDI numbers) of a shape, lowest string first. */
function soundingPitches(shape, tuning) {
    const frets = fretText(shape).split(',');
    const strings = tuning.semitones.length;
    const pitches = [];
    frets.forEach((text, index) => {
        const fret = Number.parseInt(text, 10);
        if (!Number.isNaN(fret)) {
            // Semitones count from C0; string 0 is the last entry of the fret text.
            pitches.push(tuning.semitones[strings - 1 - index] + tuning.capo + fret + 12);
        }
    });
    return pitches;
}

function strum(button, shape, tuning) {
    const AudioContextClass = window.AudioContext ?? window.webkitAudioContext;
    if (!AudioContextClass) return;
    audio ??= new AudioContextClass();
    const start = audio.currentTime + 0.02;
    soundingPitches(shape, tuning).forEach((midi, index) => {
        const frequency = 440 * 2 ** ((midi - 69) / 12);
        const oscillator = audio.createOscillator();
        const gain = audio.createGain();
        const filter = audio.createBiquadFilter();
        oscillator.type = 'sawtooth';
        oscillator.frequency.value = frequency;
        filter.type = 'lowpass';
        filter.frequency.value = Math.min(frequency * 6, 8000);
        const at = start + index * 0.035;
        gain.gain.setValueAtTime(0, at);
        gain.gain.linearRampToValueAtTime(0.12, at + 0.005);
        gain.gain.exponentialRampToValueAtTime(0.0001, at + 2.2);
        oscillator.connect(filter).connect(gain).connect(audio.destination);
        oscillator.start(at);
        oscillator.stop(at + 2.3);
    });
    button.classList.add('playing');
    setTimeout(() => button.classList.remove('playing'), 600);
}

// --- Start -------------------------------------------------------------------------------------------

async function start() {
    try {
        const [loaded, response] = await Promise.all([
            init({ baseURL: new URL('./lib/', import.meta.url) }),
            fetch(new URL('./lib/dist/instruments.json', import.meta.url)),
        ]);
        library = loaded;
        instruments = await response.json();
        qualities = library.qualities();
    } catch (error) {
        showMessage(`The chord library could not be loaded: ${error.message ?? error}`);
        elements.status.textContent = '';
        return;
    }
    fillInstruments();
    showState(readState());
    fillSuggestions();
    elements.status.textContent = '';
    document.body.dataset.ready = 'true';

    let typing = null;
    elements.chord.addEventListener('input', () => {
        fillSuggestions();
        clearTimeout(typing);
        typing = setTimeout(update, 150);
    });
    elements.custom.addEventListener('input', () => {
        clearTimeout(typing);
        typing = setTimeout(update, 300);
    });
    elements.instrument.addEventListener('change', () => {
        fillTunings(currentInstrument());
        elements.tuning.value = currentInstrument().tunings[0]?.name ?? CUSTOM;
        if (Number(elements.capo.value) > Number(elements.capo.max)) elements.capo.value = '0';
        update();
    });
    for (const field of [elements.tuning, elements.capo, elements.count, elements.left, elements.across]) {
        field.addEventListener('change', update);
    }
    elements.form.addEventListener('submit', (event) => {
        event.preventDefault();
        update();
    });
    window.addEventListener('popstate', () => {
        showState(readState());
        update();
    });
    update();
}

if ('serviceWorker' in navigator && location.protocol.startsWith('http')) {
    navigator.serviceWorker.register('./sw.js').catch(() => {});
}

start();
