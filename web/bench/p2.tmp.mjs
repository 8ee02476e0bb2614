import * as t from '../package/index.js';
await t.init();
for (let i=0;i<300;i++) t.shapes('G7',{rank:'uncached'});
