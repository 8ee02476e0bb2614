// tarvguitar: chord shapes and chord diagrams for fretted instruments, from the TARVGuitar
// library compiled to WebAssembly. `await init()` once, then call shapes(), chord(), svg(),
// names() and progression().
import createTARVGuitarModule from './dist/tarvguitar-module.js';

/** Where the module finds the shipped resources in its own file system. */
const RESOURCE_DIRECTORY = '/tarvguitar/resources';

/** Input the library cannot read: an unreadable chord symbol, tuning or option. */
export class TARVGuitarError extends Error {
    constructor(message) {
        super(message);
        this.name = 'TARVGuitarError';
    }
}

const isNode = typeof process === 'object' && typeof process.versions === 'object' &&
    typeof process.versions.node === 'string' && typeof window === 'undefined';

async function readPackageFile(relativePath, base) {
    const url = new URL(relativePath, base);
    if (isNode && url.protocol === 'file:') {
        const { readFile } = await import('node:fs/promises');
        return new Uint8Array(await readFile(url));
    }
    const response = await fetch(url);
    if (!response.ok) {
        throw new TARVGuitarError(`cannot load ${url} (${response.status})`);
    }
    return new Uint8Array(await response.arrayBuffer());
}

let loading = null;
let instance = null;

/**
 * Loads the module and the shipped shape files. `options.baseURL` is the folder that holds
 * dist/ (default: beside this file).
 */
export function init(options = {}) {
    if (!loading) {
        loading = load(options).then((loaded) => (instance = loaded), (error) => {
            loading = null;
            throw error;
        });
    }
    return loading;
}

async function load(options) {
    const base = options.baseURL ? new URL(options.baseURL, import.meta.url) : new URL('./', import.meta.url);
    const distURL = new URL('dist/', base);
    const [wasm, indexBytes] = await Promise.all([
        readPackageFile('tarvguitar-module.wasm', distURL),
        readPackageFile('resources/index.json', distURL),
    ]);
    const resourceNames = JSON.parse(new TextDecoder().decode(indexBytes));
    const resources = await Promise.all(
        resourceNames.map((name) => readPackageFile(`resources/${name}`, distURL)));
    const module = await createTARVGuitarModule({
        wasmBinary: wasm,
        print: () => {},
        printErr: () => {},
    });
    for (let index = 0; index < resourceNames.length; ++index) {
        const path = `${RESOURCE_DIRECTORY}/${resourceNames[index]}`;
        module.FS.mkdirTree(path.slice(0, path.lastIndexOf('/')));
        module.FS.writeFile(path, resources[index]);
    }
    return new TARVGuitar(module);
}

function call(module, name, argument) {
    const text = module.ccall(name, 'string', argument === undefined ? [] : ['string'],
        argument === undefined ? [] : [argument]);
    const answer = JSON.parse(text);
    if (answer && typeof answer === 'object' && !Array.isArray(answer) && 'error' in answer) {
        throw new TARVGuitarError(answer.error);
    }
    return answer;
}

function optionalInteger(options, name) {
    const value = options[name];
    if (value === undefined || value === null || value === '') {
        return null;
    }
    const number = typeof value === 'string' ? Number(value.trim()) : value;
    if (typeof number !== 'number' || !Number.isInteger(number)) {
        throw new TARVGuitarError(`${name} must be a whole number, not ${JSON.stringify(value)}`);
    }
    return number;
}

function optionalText(options, name) {
    const value = options[name];
    if (value === undefined || value === null) {
        return null;
    }
    if (typeof value !== 'string') {
        throw new TARVGuitarError(`${name} must be a text`);
    }
    return value;
}

function tuningRequest(options) {
    const tuning = options.tuning;
    return {
        tuning: Array.isArray(tuning) ? tuning.join(' ') : optionalText(options, 'tuning'),
        tuningName: optionalText(options, 'tuningName'),
        frets: optionalInteger(options, 'frets'),
        capo: optionalInteger(options, 'capo'),
    };
}

/**
 * The frets of a shape as a text, lowest string first: "x,3,2,0,1,0". Takes the text itself or
 * an array of frets (a negative number, null or "x" for a muted string).
 */
export function fretText(shape) {
    const frets = shape?.frets;
    if (typeof frets === 'string') {
        return frets;
    }
    if (Array.isArray(frets)) {
        return frets.map((fret) => (fret === null || fret === 'x' || fret < 0 ? 'x' : String(fret))).join(',');
    }
    throw new TARVGuitarError('svg() needs a shape from shapes()');
}

/**
 * The chords of a progression: a text of symbols separated by blanks, commas or bar lines
 * ("C Am | F G"), or an array of symbols.
 */
function progressionChords(chords) {
    if (typeof chords === 'string') {
        return chords;
    }
    if (Array.isArray(chords) && chords.every((chord) => typeof chord === 'string')) {
        return chords;
    }
    throw new TARVGuitarError('the chords must be a text ("C Am F G") or an array of chord symbols');
}

/** The capo of a progression: a fret, or 'auto' for the best position from 0 to 7. */
function progressionCapo(options) {
    const capo = options.capo;
    if (typeof capo === 'string' && capo.trim() === 'auto') {
        return 'auto';
    }
    return optionalInteger(options, 'capo');
}

/** The library, loaded: what init() resolves to. */
export class TARVGuitar {
    constructor(module) {
        this._module = module;
    }

    shapes(chordSymbol, options = {}) {
        if (typeof chordSymbol !== 'string') {
            throw new TARVGuitarError('the chord symbol must be a text');
        }
        const rank = options.rank ?? 'playable';
        if (!['playable', 'spec', 'uncached'].includes(rank)) {
            throw new TARVGuitarError(`rank must be 'playable' or 'spec', not ${JSON.stringify(rank)}`);
        }
        const request = { symbol: chordSymbol, ...tuningRequest(options), rank,
            limit: optionalInteger(options, 'limit') };
        return call(this._module, 'tarv_web_shapes', JSON.stringify(request));
    }

    names(frets, options = {}) {
        let notation;
        try {
            notation = fretText(typeof frets === 'object' && frets !== null && !Array.isArray(frets) ? frets : { frets });
        } catch {
            throw new TARVGuitarError('names() needs a fret text ("x,3,2,0,1,0"), an array of frets or a shape');
        }
        const request = { notation, ...tuningRequest(options), limit: optionalInteger(options, 'limit') };
        return call(this._module, 'tarv_web_names', JSON.stringify(request));
    }

    progression(chords, options = {}) {
        const request = { chords: progressionChords(chords), ...tuningRequest({ ...options, capo: null }),
            capo: progressionCapo(options),
            alternatives: optionalInteger(options, 'alternatives'),
            candidates: optionalInteger(options, 'candidates'),
            transpose: optionalInteger(options, 'transpose') };
        return call(this._module, 'tarv_web_progression', JSON.stringify(request));
    }

    chord(symbol) {
        if (typeof symbol !== 'string') {
            throw new TARVGuitarError('the chord symbol must be a text');
        }
        return call(this._module, 'tarv_web_chord', symbol);
    }

    svg(shape, options = {}) {
        const request = { frets: fretText(shape), leftHanded: Boolean(options.leftHanded),
            horizontal: Boolean(options.horizontal), capo: options.capo ?? null,
            caption: optionalText(options, 'caption') ?? '' };
        return call(this._module, 'tarv_web_svg', JSON.stringify(request)).svg;
    }

    tuning(options = {}) {
        return call(this._module, 'tarv_web_tuning', JSON.stringify(tuningRequest(options)));
    }

    qualities() {
        return call(this._module, 'tarv_web_qualities');
    }

    version() {
        return call(this._module, 'tarv_web_version');
    }
}

function loaded() {
    if (!instance) {
        throw new TARVGuitarError('tarvguitar is not loaded yet: await init() first');
    }
    return instance;
}

export function shapes(chordSymbol, options) { return loaded().shapes(chordSymbol, options); }
export function chord(symbol) { return loaded().chord(symbol); }
export function names(frets, options) { return loaded().names(frets, options); }
export function progression(chords, options) { return loaded().progression(chords, options); }
export function svg(shape, options) { return loaded().svg(shape, options); }
export function tuning(options) { return loaded().tuning(options); }
export function qualities() { return loaded().qualities(); }
export function version() { return loaded().version(); }
