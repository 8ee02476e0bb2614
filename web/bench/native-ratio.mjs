// The package against the native tool on the same 192 chords, end to end (reading the symbol,
// the query, the JSON answer), best of 7 runs each; the tool's start-up is measured and removed.
//
//   node web/bench/native-ratio.mjs build/tools/tarvguitar/tarvguitar
import { spawnSync } from 'node:child_process';
const t = await import('../package/index.js');
await t.init();
const tool = process.argv[2] ?? 'build/tools/tarvguitar/tarvguitar';
const roots = ['C','C#','D','Eb','E','F','F#','G','Ab','A','Bb','B'];
const symbols = roots.flatMap((r) => t.qualities().slice(0, 16).map((q) => r + q));
for (const rank of ['uncached', 'playable']) {
  for (const s of symbols) t.shapes(s, { rank });
  let web = Infinity, native = Infinity, start = Infinity;
  const flags = rank === 'uncached' ? ['--uncached'] : ['--rank', 'playable'];
  for (let k = 0; k < 7; k++) {
    let s = performance.now();
    for (const sym of symbols) t.shapes(sym, { rank });
    web = Math.min(web, performance.now() - s);
    s = performance.now();
    spawnSync(tool, ['shapes', ...symbols, ...flags, '--format', 'json'], { maxBuffer: 1 << 28 });
    native = Math.min(native, performance.now() - s);
    s = performance.now();
    spawnSync(tool, ['shapes', 'C', ...flags, '--format', 'json']);
    start = Math.min(start, performance.now() - s);
  }
  const n = symbols.length;
  console.log(`${rank}, ${n} chords (best of 7): web ${(web / n * 1000).toFixed(0)} us/chord, native ${((native - start) / (n - 1) * 1000).toFixed(0)} us/chord, ratio ${((web / n) / ((native - start) / (n - 1))).toFixed(2)}`);
}
