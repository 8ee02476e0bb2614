// What the tests share: a static server for web/app on a loopback port, the native tool, and
// Debian's chromium.
import { spawnSync } from 'node:child_process';
import { createReadStream, existsSync, mkdirSync, statSync } from 'node:fs';
import { createServer } from 'node:http';
import { dirname, extname, join, normalize, resolve, sep } from 'node:path';
import { fileURLToPath } from 'node:url';

export const webDirectory = resolve(dirname(fileURLToPath(import.meta.url)), '..');
export const appDirectory = join(webDirectory, 'app');
export const artifactDirectory = join(webDirectory, 'test-artifacts');
export const chromiumPath = process.env.TARV_CHROMIUM ?? '/usr/bin/chromium';

const types = {
    '.html': 'text/html; charset=utf-8', '.js': 'text/javascript; charset=utf-8', '.mjs': 'text/javascript; charset=utf-8',
    '.css': 'text/css; charset=utf-8', '.json': 'application/json', '.webmanifest': 'application/manifest+json',
    '.wasm': 'application/wasm', '.svg': 'image/svg+xml',
};

/** Serves `root` on 127.0.0.1 at a free port; resolves to {url, close}. */
export function serve(root = appDirectory) {
    const server = createServer((request, response) => {
        const path = decodeURIComponent(new URL(request.url, 'http://localhost').pathname);
        let file = normalize(join(root, path));
        if (!file.startsWith(root + sep) && file !== root) {
            response.writeHead(403).end();
            return;
        }
        if (existsSync(file) && statSync(file).isDirectory()) file = join(file, 'index.html');
        if (!existsSync(file)) {
            response.writeHead(404).end('not found');
            return;
        }
        response.writeHead(200, { 'Content-Type': types[extname(file)] ?? 'application/octet-stream', 'Cache-Control': 'no-cache' });
        createReadStream(file).pipe(response);
    });
    return new Promise((resolvePromise) => {
        server.listen(0, '127.0.0.1', () => {
            const { port } = server.address();
            resolvePromise({ url: `http://127.0.0.1:${port}/`, close: () => new Promise((done) => server.close(done)) });
        });
    });
}

/** The native tool of the build folder in $TARV_BUILD_DIR, or null when there is none. */
export function nativeTool() {
    const build = process.env.TARV_BUILD_DIR;
    if (!build) return null;
    const tool = join(build, 'tools', 'tarvguitar', 'tarvguitar');
    return existsSync(tool) ? tool : null;
}

/** Runs the native tool; answers its JSON lines, parsed. */
export function runTool(tool, args) {
    // Run outside the source tree, so that only the library's own resource lookup applies.
    const result = spawnSync(tool, args, { encoding: 'utf8', cwd: artifactDirectory, maxBuffer: 64 << 20 });
    if (result.error) throw result.error;
    return {
        status: result.status,
        stderr: result.stderr,
        lines: result.stdout.split('\n').filter((line) => line.trim()).map((line) => JSON.parse(line)),
    };
}

/** Whether the tool's shapes command takes --rank (playable or spec). */
export function toolRanks(tool) {
    const help = spawnSync(tool, ['shapes', '--help'], { encoding: 'utf8' });
    return /--rank\b/.test(help.stdout ?? '');
}

export const chromiumArguments = ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
    '--disable-background-networking', '--disable-component-update', '--disable-sync',
    '--autoplay-policy=no-user-gesture-required'];

export function ensureArtifacts() {
    mkdirSync(artifactDirectory, { recursive: true });
}
