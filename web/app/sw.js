// Keeps the page and the chord library available offline: everything is answered from the cache
// when it is there, and refreshed from the network in the background.
const CACHE = 'tarvguitar-v1';
const SHELL = ['./', './index.html', './style.css', './app.js', './manifest.webmanifest',
    './lib/index.js', './lib/dist/tarvguitar-module.js', './lib/dist/tarvguitar-module.wasm',
    './lib/dist/instruments.json', './lib/dist/resources/index.json'];

self.addEventListener('install', (event) => {
    event.waitUntil((async () => {
        const cache = await caches.open(CACHE);
        await cache.addAll(SHELL);
        const names = await (await fetch('./lib/dist/resources/index.json')).json();
        await cache.addAll(names.map((name) => `./lib/dist/resources/${name}`));
        await self.skipWaiting();
    })());
});

self.addEventListener('activate', (event) => {
    event.waitUntil((async () => {
        for (const name of await caches.keys()) {
            if (name !== CACHE) await caches.delete(name);
        }
        await self.clients.claim();
    })());
});

self.addEventListener('fetch', (event) => {
    const request = event.request;
    if (request.method !== 'GET' || new URL(request.url).origin !== self.location.origin) return;
    event.respondWith((async () => {
        const cache = await caches.open(CACHE);
        const cached = await cache.match(request, { ignoreSearch: request.mode === 'navigate' });
        const fresh = fetch(request).then((response) => {
            if (response.ok) cache.put(request, response.clone());
            return response;
        });
        if (cached) {
            event.waitUntil(fresh.catch(() => {}));
            return cached;
        }
        return fresh;
    })());
});
