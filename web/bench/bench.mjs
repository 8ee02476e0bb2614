// Size and speed of the web package in node: the gzip size of the module, the time init() takes,
// the first shapes('C') after it, and uncached generation of the chords that
// bench/TARVGenerationBenchmark times natively. Each number is the median of several fresh runs.
//
//   node web/bench/bench.mjs [runs]
import { spawnSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { gzipSync } from 'node:zlib';

const here = dirname(fileURLToPath(import.meta.url));
const dist = join(here, '..', 'package', 'dist');
const runs = Number(process.argv[2] ?? 7);
const median = (values) => [...values].sort((a, b) => a - b)[Math.floor(values.length / 2)];

if (process.argv[3] === '--child') {
    // One fresh module: load, then the first answer.
    const started = performance.now();
    const tarvguitar = await import('../package/index.js');
    await tarvguitar.init();
    const loaded = performance.now();
    tarvguitar.shapes('C', { rank: process.argv[4] });
    const answered = performance.now();
    console.log(JSON.stringify({ load: loaded - started, first: answered - loaded }));
    process.exit(0);
}

const gzip = (name) => gzipSync(readFileSync(join(dist, name)), { level: 9 }).length;
const size = gzip('tarvguitar-module.wasm') + gzip('tarvguitar-module.js') +
    gzipSync(readFileSync(join(here, '..', 'package', 'index.js')), { level: 9 }).length;
console.log(`module size: ${(size / 1024).toFixed(1)} KiB gzip (wasm + JS, without the shape files)`);

for (const rank of ['spec', 'playable']) {
    const samples = [];
    for (let run = 0; run < runs; ++run) {
        const child = spawnSync(process.execPath, [fileURLToPath(import.meta.url), '1', '--child', rank], { encoding: 'utf8' });
        if (child.status !== 0) {
            console.log(`first shapes('C', {rank: '${rank}'}): failed: ${child.stderr.trim().split('\n').pop()}`);
            break;
        }
        samples.push(JSON.parse(child.stdout));
    }
    if (samples.length === runs) {
        console.log(`init(): ${median(samples.map((s) => s.load)).toFixed(1)} ms; first shapes('C', {rank: '${rank}'}) after it: ` +
            `${median(samples.map((s) => s.first)).toFixed(1)} ms (median of ${runs} fresh modules)`);
    }
}

const tarvguitar = await import('../package/index.js');
await tarvguitar.init();
for (const symbol of ['C', 'Am', 'G7', 'Cmaj7', 'F#m7b5', 'C/E', 'E5', 'C13']) {
    tarvguitar.shapes(symbol, { rank: 'uncached' });
    const samples = [];
    for (let run = 0; run < runs * 3; ++run) {
        const started = performance.now();
        tarvguitar.shapes(symbol, { rank: 'uncached' });
        samples.push(performance.now() - started);
    }
    console.log(`uncached ${symbol}: ${(median(samples) * 1000).toFixed(0)} us`);
}
