// The same first-answer timing in Debian's chromium: a fresh page loads the package, then asks
// shapes('C') once. Prints the medians of several fresh pages.
//
//   node web/bench/browser.mjs [runs] [rank]
import { chromium } from 'playwright-core';
import { chromiumArguments, chromiumPath, serve } from '../tests/support.mjs';

const runs = Number(process.argv[2] ?? 5);
const rank = process.argv[3] ?? 'playable';
const server = await serve();
const browser = await chromium.launch({ executablePath: chromiumPath, args: chromiumArguments.filter((a) => a !== '--headless') });
const samples = [];
for (let run = 0; run < runs; ++run) {
    const context = await browser.newContext();
    const page = await context.newPage();
    await page.goto(`${server.url}manifest.webmanifest`);
    samples.push(await page.evaluate(async (chosenRank) => {
        const started = performance.now();
        const tarvguitar = await import('./lib/index.js');
        await tarvguitar.init();
        const loaded = performance.now();
        tarvguitar.shapes('C', { rank: chosenRank });
        const first = performance.now();
        tarvguitar.shapes('F#m7b5', { rank: 'uncached' });
        const uncached = performance.now();
        return { load: loaded - started, first: first - loaded, uncached: uncached - first };
    }, rank));
    await context.close();
}
await browser.close();
await server.close();
const median = (key) => [...samples.map((sample) => sample[key])].sort((a, b) => a - b)[Math.floor(runs / 2)].toFixed(1);
console.log(`chromium, rank ${rank}: init() ${median('load')} ms, first shapes('C') ${median('first')} ms, ` +
    `first uncached F#m7b5 ${median('uncached')} ms (median of ${runs} fresh pages)`);
