// The chord-diagram page in Debian's chromium: typing, instruments, bad input, shareable URLs,
// the left-handed switch, keyboard use, phone width and offline use. Screenshots of each state go
// to web/test-artifacts/.
import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';
import { join } from 'node:path';
import { chromium } from 'playwright-core';
import { artifactDirectory, chromiumArguments, chromiumPath, ensureArtifacts, nativeTool, runTool, serve, toolRanks } from './support.mjs';

let server;
let browser;

before(async () => {
    ensureArtifacts();
    server = await serve();
    browser = await chromium.launch({
        executablePath: chromiumPath,
        headless: true,
        args: chromiumArguments.filter((argument) => argument !== '--headless'),
    });
});

after(async () => {
    await browser?.close();
    await server?.close();
});

async function openPage(query = '', viewport = { width: 1100, height: 900 }) {
    const context = await browser.newContext({ viewport });
    const page = await context.newPage();
    const errors = [];
    page.on('pageerror', (error) => errors.push(error.message));
    await page.goto(server.url + query);
    await page.waitForSelector('body[data-ready=true]', { timeout: 30000 });
    return { context, page, errors };
}

async function shot(page, name) {
    await page.screenshot({ path: join(artifactDirectory, `${name}.png`), fullPage: true });
}

/** The fret texts of the diagrams shown, best first. */
function shownFrets(page) {
    return page.$$eval('#diagrams .chord-card', (buttons) => buttons.map((button) => button.dataset.frets));
}

async function waitForFirst(page, frets) {
    await page.waitForFunction((expected) => document.querySelector('#diagrams .chord-card')?.dataset.frets === expected,
        frets, { timeout: 10000 });
}

async function typeChord(page, symbol) {
    await page.fill('#chord', '');
    await page.type('#chord', symbol);
    await page.waitForFunction((value) => new URL(location.href).searchParams.get('chord') === value, symbol);
}

/** The horizontal centre of the marks of class `name` in the first diagram, from 0 to 1. */
function markPosition(page, name) {
    return page.$eval('#diagrams .chord-card > svg', (svg, markName) => {
        const box = svg.getBoundingClientRect();
        const marks = [...svg.querySelectorAll(`.${markName}, [class~="${markName}"]`)];
        if (marks.length === 0) return null;
        const centres = marks.map((mark) => {
            const rect = mark.getBoundingClientRect();
            return (rect.left + rect.width / 2 - box.left) / box.width;
        });
        return centres.reduce((sum, value) => sum + value, 0) / centres.length;
    }, name);
}

describe('chord-diagram page', () => {
    test('typing Cmaj7 shows its diagrams, x,3,2,0,0,0 first', async () => {
        const { context, page, errors } = await openPage();
        await typeChord(page, 'Cmaj7');
        await waitForFirst(page, 'x,3,2,0,0,0');
        const frets = await shownFrets(page);
        assert.ok(frets.length > 1, 'more than one shape is shown');
        assert.equal(frets[0], 'x,3,2,0,0,0');
        assert.match(await page.$eval('#diagrams .chord-card', (button) => button.innerHTML), /<svg/);
        assert.equal(await page.isHidden('#message'), true);
        await shot(page, '1-cmaj7');
        assert.deepEqual(errors, []);
        await context.close();
    });

    test('switching to the ukulele shows C as the native tool answers it', async () => {
        const { context, page, errors } = await openPage('?chord=C');
        await page.selectOption('#instrument', 'Ukulele');
        await page.waitForFunction(() => new URL(location.href).searchParams.get('instrument') === 'Ukulele');
        await page.waitForSelector('#diagrams .chord-card');
        const tool = nativeTool();
        const first = (await shownFrets(page))[0];
        if (tool && toolRanks(tool)) {
            const native = runTool(tool, ['shapes', 'C', '--tuning', 'G4 C4 E4 A4', '--frets', '18', '--rank', 'playable',
                '--limit', '1', '--format', 'json']);
            assert.equal(native.status, 0, native.stderr);
            assert.equal(first, native.lines[0].shapes[0].frets);
        } else {
            // The playable ranking's answer for C on a ukulele in standard tuning.
            assert.equal(first, '0,0,0,3');
        }
        await shot(page, '2-ukulele-c');
        assert.deepEqual(errors, []);
        await context.close();
    });

    test('a bad chord symbol shows an inline message and no diagrams', async () => {
        const { context, page, errors } = await openPage();
        await typeChord(page, 'Hmaj99');
        await page.waitForSelector('#message:not([hidden])');
        assert.match(await page.textContent('#message'), /Cannot read the chord symbol "Hmaj99"/);
        assert.equal(await page.getAttribute('#chord', 'aria-invalid'), 'true');
        assert.equal((await shownFrets(page)).length, 0);
        await shot(page, '3-bad-symbol');
        // A readable symbol again clears the message.
        await typeChord(page, 'G');
        await page.waitForSelector('#message', { state: 'hidden' });
        assert.ok((await shownFrets(page)).length > 0);
        assert.deepEqual(errors, []);
        await context.close();
    });

    test('a bad custom tuning shows an inline message', async () => {
        const { context, page, errors } = await openPage('?chord=C');
        await page.selectOption('#tuning', '__custom__');
        await page.fill('#custom', 'E2 A2 Q3');
        await page.waitForFunction(() => /Q3/.test(document.querySelector('#message').textContent));
        assert.match(await page.textContent('#message'), /cannot read the pitch "Q3"/);
        await shot(page, '4-bad-tuning');
        await page.fill('#custom', 'D2 A2 D3 G3 A3 D4');
        await page.waitForSelector('#message', { state: 'hidden' });
        assert.ok((await shownFrets(page)).length > 0);
        assert.deepEqual(errors, []);
        await context.close();
    });

    test('the URL restores the state', async () => {
        const { context, page } = await openPage();
        await typeChord(page, 'Am7');
        await page.selectOption('#instrument', 'Ukulele');
        await page.fill('#capo', '2');
        await page.dispatchEvent('#capo', 'change');
        await page.fill('#count', '3');
        await page.dispatchEvent('#count', 'change');
        await page.check('#left');
        await page.waitForFunction(() => new URL(location.href).searchParams.get('left') === '1');
        const url = page.url();
        const frets = await shownFrets(page);
        assert.equal(frets.length, 3);
        const svg = await page.$eval('#diagrams .chord-card > svg', (element) => element.outerHTML);
        await context.close();

        const restored = await openPage(url.slice(server.url.length));
        const { page: again } = restored;
        await again.waitForSelector('#diagrams .chord-card');
        assert.equal(await again.inputValue('#chord'), 'Am7');
        assert.equal(await again.inputValue('#instrument'), 'Ukulele');
        assert.equal(await again.inputValue('#capo'), '2');
        assert.equal(await again.inputValue('#count'), '3');
        assert.equal(await again.isChecked('#left'), true);
        assert.deepEqual(await shownFrets(again), frets);
        assert.equal(await again.$eval('#diagrams .chord-card > svg', (element) => element.outerHTML), svg);
        await shot(again, '5-restored-from-url');
        await restored.context.close();
    });

    test('the left-handed switch mirrors the diagrams', async () => {
        const { context, page } = await openPage('?chord=Cmaj7');
        await waitForFirst(page, 'x,3,2,0,0,0');
        const right = await page.$eval('#diagrams .chord-card > svg', (element) => element.outerHTML);
        const mutedRight = await markPosition(page, 'muted');
        await page.check('#left');
        await page.waitForFunction((before) => document.querySelector('#diagrams .chord-card > svg')?.outerHTML !== before, right,
            { timeout: 10000 });
        const mutedLeft = await markPosition(page, 'muted');
        // The muted lowest string is drawn on the left for a right-handed player, on the right
        // for a left-handed one.
        assert.ok(mutedRight !== null && mutedLeft !== null, 'the diagram marks its muted string');
        assert.ok(mutedRight < 0.5, `muted mark at ${mutedRight} of the width, right-handed`);
        assert.ok(mutedLeft > 0.5, `muted mark at ${mutedLeft} of the width, left-handed`);
        assert.ok(Math.abs(mutedRight + mutedLeft - 1) < 0.15, 'the marks are mirror images');
        assert.equal((await shownFrets(page))[0], 'x,3,2,0,0,0');
        await shot(page, '6-left-handed');
        await context.close();
    });

    test('the neck-across switch draws the neck across, and the URL keeps it', async () => {
        const { context, page } = await openPage('?chord=G&across=1&capo=2');
        await page.waitForSelector('#diagrams .chord-card > svg');
        assert.equal(await page.isChecked('#across'), true);
        // The nut runs across the strings: upright when the neck lies across.
        const nut = await page.$eval('#diagrams .chord-card > svg .nut',
            (element) => ['x1', 'y1', 'x2', 'y2'].map((name) => Number(element.getAttribute(name))));
        assert.ok(nut[0] === nut[2] && nut[1] !== nut[3], `the nut runs from ${nut[0]},${nut[1]} to ${nut[2]},${nut[3]}`);
        assert.match(await page.$eval('#diagrams .chord-card > svg', (element) => element.outerHTML),
            />capo 2</);
        await shot(page, '10-neck-across');
        await context.close();
    });

    test('keyboard only: tab to a diagram and play it with Enter', async () => {
        const { context, page } = await openPage('?chord=G');
        await page.waitForSelector('#diagrams .chord-card');
        // The last control before the diagrams.
        await page.focus('#across');
        await page.keyboard.press('Tab');
        const focused = await page.evaluate(() => document.activeElement?.className);
        assert.match(focused, /chord-card/);
        await page.keyboard.press('Enter');
        await page.waitForSelector('#diagrams .chord-card.playing');
        await shot(page, '7-keyboard-focus');
        await context.close();
    });

    test('usable at phone width', async () => {
        const { context, page } = await openPage('?chord=D7', { width: 375, height: 800 });
        await page.waitForSelector('#diagrams .chord-card');
        const overflow = await page.evaluate(() => document.documentElement.scrollWidth - window.innerWidth);
        assert.ok(overflow <= 0, `the page is ${overflow}px wider than the phone`);
        const width = await page.$eval('#diagrams .chord-card', (element) => element.getBoundingClientRect().width);
        assert.ok(width >= 120, `a diagram is ${width}px wide`);
        await shot(page, '8-phone');
        await context.close();
    });

    test('works offline once loaded', async () => {
        const { context, page } = await openPage('?chord=Em');
        await page.waitForSelector('#diagrams .chord-card');
        await page.waitForFunction(async () => {
            const registration = await navigator.serviceWorker.getRegistration();
            return Boolean(registration?.active) && Boolean(navigator.serviceWorker.controller);
        }, null, { timeout: 20000 }).catch(async () => {
            // The first load is not controlled until the worker claims it; load once more.
            await page.reload();
        });
        await page.waitForFunction(() => Boolean(navigator.serviceWorker.controller), null, { timeout: 20000 });
        await context.setOffline(true);
        await page.goto(`${server.url}?chord=Dm7`);
        await page.waitForSelector('body[data-ready=true]', { timeout: 20000 });
        await page.waitForSelector('#diagrams .chord-card');
        assert.ok((await shownFrets(page)).length > 0);
        await shot(page, '9-offline');
        await context.close();
    });
});
