import * as t from '../package/index.js';
await t.init();
t.shapes('C', {rank:'spec'});
