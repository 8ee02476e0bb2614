// Types of the tarvguitar package: chord shapes and chord diagrams for fretted instruments.

/** Input the library cannot read: an unreadable chord symbol, tuning or option. */
export declare class TARVGuitarError extends Error {
    name: 'TARVGuitarError';
}

export interface InitOptions {
    /** The folder that holds dist/ (default: beside index.js). */
    baseURL?: string | URL;
}

export interface TuningOptions {
    /**
     * Open strings from the lowest to the highest: "E2 A2 D3 G3 B3 E4" (blanks or commas between
     * pitches), or the same as an array. Default: the standard guitar tuning.
     */
    tuning?: string | string[];
    /** The name of a custom tuning (default "Custom"). */
    tuningName?: string;
    /** Frets on the neck, 0 to 255 (default 22). */
    frets?: number | string;
    /** Fret of the capo, 0 for none (default 0). */
    capo?: number | string;
}

export type Rank = 'playable' | 'spec' | 'uncached';

export interface ShapesOptions extends TuningOptions {
    /**
     * 'playable' (default): the playable search, ranked by the playability model.
     * 'spec': the library's cached shapes (the shipped shape files, generation on a miss).
     * 'uncached': the generator alone, without any cache.
     */
    rank?: Rank;
    /** At most this many shapes. */
    limit?: number | string;
}

export interface Chord {
    symbol: string;
    root: string;
    /** The bass of a slash chord, null otherwise. */
    bass: string | null;
    notes: string[];
    characteristicNotes: string[];
    numericNoteStringValue: string;
}

export interface Tuning {
    /** Present when the tuning comes from an instrument of the settings. */
    instrument?: string;
    name: string;
    noteString: string;
    asciiNoteString: string;
    /** Open-string pitches from string 0, the highest-sounding string of a guitar. */
    pitches: string[];
    /** Open-string pitches from the lowest-pitched string position to string 0. */
    strings: string[];
    fretCount: number;
    capo: number;
}

export interface SoundingTuning extends Tuning {
    /** Semitones above C0 of the open strings, string 0 first. */
    semitones: number[];
}

export interface Barre {
    /** Relative to the capo. */
    fret: number;
    lowString: number;
    highString: number;
    /** 1 index, 2 middle, 3 ring, 4 little finger, 5 thumb. */
    finger: number;
}

/** A ranked shape, as `tarvguitar shapes --format json` writes it. */
export interface Shape {
    /** Counts from 1. */
    rank: number;
    /** "x,3,2,0,1,0": the frets from the lowest string to the highest, relative to the capo. */
    frets: string;
    /** The fret a chord box starts at: 0 at the nut. */
    baseFret: number;
    /** Lower is better. */
    score: number;
    /** The generator's badness, for shapes the library's cache or generator answered ('spec'). */
    badness?: number;
    baseString: number;
    reach: number;
    /** Per string number (string 0 first): 0 none, 1 to 4 the fingers, 5 the thumb. */
    fingers: number[];
    fingerCount: number;
    barres: Barre[];
    /** The notes the shape sounds, string 0 first. */
    notes: string[];
    indicators: Array<{ kind: 'fret' | 'open' | 'muted' | 'barre'; string: number; fret: number; endString?: number }>;
    /** The terms of the score, by name. */
    terms: Record<string, number>;
}

/** With a capo: its fret, and how frets and chord names relate to it. */
export interface CapoConvention {
    fret: number;
    /** Frets count from the capo, and chord names read relative to it as chord sheets write them. */
    convention: string;
}

export interface ShapesAnswer {
    chord: Chord;
    tuning: Tuning;
    shapes: Shape[];
    /** With a capo. */
    capo?: CapoConvention;
    /** With a capo: the chord the shapes make as fingered, relative to the capo ("C" for D, capo 2). */
    playedAs?: string;
    /** With a capo: the chord that sounds (the symbol asked for). */
    soundsAs?: string;
}

export interface NamesOptions extends TuningOptions {
    /** At most this many names. */
    limit?: number | string;
}

/** One name of a shape, read as it is fingered (relative to the capo). */
export interface ChordName {
    /** "Am7", "C/E". */
    symbol: string;
    kind: 'root position' | 'inversion' | 'added bass' | 'rootless';
    /** Chord tones the shape leaves out ("G"). */
    omitted: string[];
    /** With a capo: the chord that sounds ("D" for C with the capo at 2). */
    soundsAs?: string;
}

/** As `tarvguitar name FRETS --format json` writes it. */
export interface NamesAnswer {
    /** The fret text as read. */
    notation: string;
    tuning: Tuning;
    capo?: CapoConvention;
    /** Best first: root position, inversions, chords over an added bass, rootless readings last. */
    names: ChordName[];
    /** The shape with its fingering (no score: no chord is named). */
    shape: Shape;
}

export interface ProgressionOptions extends Omit<TuningOptions, 'capo'> {
    /** Fret of the capo (default 0), or 'auto': the best position from 0 to 7, the song sounding as written. */
    capo?: number | string | 'auto';
    /** How many whole arrangements, 1 to 20 (default 1). */
    alternatives?: number | string;
    /** How many of each chord's best shapes to choose among, 1 to 40 (default 8). */
    candidates?: number | string;
    /** Semitones to move every chord first, -24 to 24 (default 0). */
    transpose?: number | string;
}

export interface ArrangedChord {
    /** The chord as fingered, relative to the capo. */
    chord: string;
    /** With a capo: the chord that sounds. */
    soundsAs?: string;
    /** The cost of moving here from the previous shape (0 for the first). */
    movement: number;
    shape: Shape;
}

export interface Arrangement {
    /** The shapes' scores and the movements, summed; lower is easier. */
    cost: number;
    chords: ArrangedChord[];
}

export interface CapoChoice {
    capo: number;
    /** The chords as fingered with this capo. */
    chords: string[];
    /** The best arrangement's cost and 0.4 per fret of capo. */
    cost: number;
}

/** As `tarvguitar progression CHORDS --format json` writes it. */
export interface ProgressionAnswer {
    /** The chords as they sound (after any transposition). */
    progression: string[];
    /** With the capo the arrangements are played with. */
    tuning: Tuning;
    capo?: CapoConvention;
    /** With capo 'auto': every position that plays, best first; the arrangements use the first. */
    capoChoices?: CapoChoice[];
    /** Best first; empty when a chord has no playable shape. */
    arrangements: Arrangement[];
}

export interface SvgOptions {
    /** Mirrored for a left-handed player: the lowest-pitched string on the right. */
    leftHanded?: boolean;
    /** The neck drawn across, as tablature reads: the highest-pitched string on top. */
    horizontal?: boolean;
    /** The fret of the capo (the shape's frets count from it): drawn across the strings, with "capo N". */
    capo?: number;
    /** A caption above the diagram, such as the chord's name. */
    caption?: string;
}

/** The library, loaded. */
export declare class TARVGuitar {
    shapes(chordSymbol: string, options?: ShapesOptions): ShapesAnswer;
    chord(symbol: string): Chord;
    names(frets: string | Array<number | string | null> | Pick<Shape, 'frets'>, options?: NamesOptions): NamesAnswer;
    progression(chords: string | string[], options?: ProgressionOptions): ProgressionAnswer;
    svg(shape: Pick<Shape, 'frets'>, options?: SvgOptions): string;
    tuning(options?: TuningOptions): SoundingTuning;
    qualities(): string[];
    version(): string;
}

/** Loads the module and the shipped shape files, once; the functions below need it first. */
export declare function init(options?: InitOptions): Promise<TARVGuitar>;
/** The shapes of a chord, best first. Throws TARVGuitarError for input it cannot read. */
export declare function shapes(chordSymbol: string, options?: ShapesOptions): ShapesAnswer;
/** How a chord symbol is read: root, bass, notes. Throws TARVGuitarError. */
export declare function chord(symbol: string): Chord;
/**
 * The chord names a shape can be, best first, read as it is fingered (frets count from the capo).
 * Throws TARVGuitarError for a fret text or tuning it cannot read.
 */
export declare function names(frets: string | Array<number | string | null> | Pick<Shape, 'frets'>, options?: NamesOptions): NamesAnswer;
/**
 * One shape per chord, chosen so that the whole progression is easy to play. Throws
 * TARVGuitarError for a chord, tuning or option it cannot read.
 */
export declare function progression(chords: string | string[], options?: ProgressionOptions): ProgressionAnswer;
/** The chord diagram of a shape as a standalone SVG document. Throws TARVGuitarError. */
export declare function svg(shape: Pick<Shape, 'frets'>, options?: SvgOptions): string;
/** The tuning the options describe, with the semitones of its open strings. */
export declare function tuning(options?: TuningOptions): SoundingTuning;
/** The chord-quality suffixes the symbol reader knows ("", "m", "maj7", ...). */
export declare function qualities(): string[];
export declare function version(): string;
/** The frets of a shape as a text, lowest string first: "x,3,2,0,1,0". */
export declare function fretText(shape: Pick<Shape, 'frets'>): string;
