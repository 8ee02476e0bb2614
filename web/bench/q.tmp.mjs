import * as t from '../package/index.js';
await t.init();
let s=performance.now(); t.shapes('C', {rank:'spec'}); console.log('first C', (performance.now()-s).toFixed(1));
for (const sym of ['C','G7','C13']) { t.shapes(sym,{rank:'uncached'}); const a=[]; for(let i=0;i<15;i++){s=performance.now(); t.shapes(sym,{rank:'uncached'}); a.push(performance.now()-s);} a.sort((x,y)=>x-y); console.log(sym, (a[7]*1000).toFixed(0),'us'); }
