// Looks at reports in a browser. The folders of scenes have a report and what the verbs say about it.
// Usage: node tests/pictures/check.mjs MODULES SCENES KEPT FOUND [--update]
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';
import { pathToFileURL } from 'node:url';

const [modules, scenes, kept, found, update] = process.argv.slice(2);
const require = createRequire(path.resolve(modules, 'node_modules/'));
const { chromium } = require('playwright-core');
const { PNG } = require('pngjs');
const pixelmatch = (await import(pathToFileURL(require.resolve('pixelmatch')))).default;
const axe = fs.readFileSync(require.resolve('axe-core/axe.min.js'), 'utf8');
const largestDifference = 0.01; // of the pixels, since letters differ with the version of a library

let failures = 0;
async function check(what, work) {
    try {
        await work();
    } catch (error) {
        failures += 1;
        console.log(`${what}: ${error.message.slice(0, 3000)}`);
    }
}

const browser = await chromium.launch({
    executablePath: '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-sync',
        '--disable-background-networking', '--disable-component-update', '--hide-scrollbars',
        '--font-render-hinting=none', '--disable-lcd-text'],
});

// Opens the report of a scene; `noise` gets each message and each request but that for the page.
async function open(scene, options, noise) {
    const context = await browser.newContext({ locale: 'en', ...options });
    const page = await context.newPage();
    const url = pathToFileURL(path.resolve(scenes, scene, 'report.html')).href;
    page.on('console', message => noise.push(`console: ${message.text()}`));
    page.on('pageerror', error => noise.push(`error: ${error}`));
    page.on('dialog', dialog => { noise.push(`dialog: ${dialog.message()}`); dialog.dismiss(); });
    page.on('request', request => { if (request.url() !== url && !request.url().startsWith('data:')) noise.push(`request: ${request.url()}`); });
    await page.goto(url);
    return page;
}

async function accessible(page) {
    await page.evaluate(axe);
    const result = await page.evaluate(() => window.axe.run(document, { resultTypes: ['violations'] }));
    assert.deepEqual(result.violations.map(violation =>
        [violation.id, violation.help, violation.nodes.slice(0, 3).map(node => node.html)]), []);
}

function compare(name, picture) {
    const place = path.join(kept, name);
    if (update) {
        fs.mkdirSync(kept, { recursive: true });
        fs.writeFileSync(place, picture);
        return;
    }
    const [expected, seen] = [PNG.sync.read(fs.readFileSync(place)), PNG.sync.read(picture)];
    fs.mkdirSync(found, { recursive: true });
    fs.writeFileSync(path.join(found, name), picture);
    assert.deepEqual([seen.width, seen.height], [expected.width, expected.height]);
    const different = pixelmatch(expected.data, seen.data, null, seen.width, seen.height, { threshold: 0.15 });
    const share = different / (seen.width * seen.height);
    assert.ok(share <= largestDifference, `${(100 * share).toFixed(2)} % differ; see ${found}/${name}`);
}

// The page with what differs from day to day and from version to version replaced.
async function steady(page) {
    await page.evaluate(() => { document.getElementById('made').textContent = '2025-11-22 13:00:00 CET'; });
}

// --- looks ---------------------------------------------------------------------------------------

for (const [width, height] of [[360, 740], [800, 1000], [1400, 1000]]) {
    for (const colorScheme of ['light', 'dark']) {
        const name = `${width}-${colorScheme}`;
        const noise = [];
        const page = await open('drive', { viewport: { width, height }, colorScheme }, noise);
        await steady(page);
        await check(`${name}, picture`, async () => compare(`${name}.png`, await page.screenshot()));
        await check(`${name}, accessibility`, () => accessible(page));
        await check(`${name}, width`, async () => {
            const page_ = await page.evaluate(() => document.scrollingElement.scrollWidth);
            assert.ok(page_ <= width, `the page is ${page_} wide`);
        });
        await check(`${name}, messages and requests`, () => assert.deepEqual(noise, []));
        await page.context().close();
    }
}

await check('on paper', async () => {
    const noise = [];
    const page = await open('drive', { viewport: { width: 703, height: 1000 }, colorScheme: 'dark' }, noise);
    await page.emulateMedia({ media: 'print' });
    await steady(page);
    const [wide, background] = await page.evaluate(() => [document.scrollingElement.scrollWidth,
        getComputedStyle(document.body).backgroundColor]);
    assert.ok(wide <= 703, `the page is ${wide} wide`); // A4 less its margins
    assert.equal(background, 'rgb(255, 255, 255)');
    const pdf = await page.pdf({ preferCSSPageSize: true, format: 'A4', printBackground: true });
    fs.mkdirSync(found, { recursive: true });
    fs.writeFileSync(path.join(found, 'report.pdf'), pdf);
    assert.deepEqual(noise, []);
});

// --- contents ------------------------------------------------------------------------------------

const said = (scene, what) => JSON.parse(fs.readFileSync(path.join(scenes, scene, `${what}.json`), 'utf8'));

// The tables as the page shows them, by the id of their part: rows of texts.
const tables = page => page.evaluate(() => Object.fromEntries([...document.querySelectorAll('table')].map(table =>
    [table.caption.textContent.split(/[,:;]/)[0],
        [...table.tBodies[0].rows].map(row => [...row.cells].map(cell => cell.textContent))])));
const grouped = number => number.toLocaleString('en-US');
const plain = number => number === null ? '–' : String(number);
const two = number => String(number).padStart(2, '0');
const local = seconds => {
    if (seconds === null) return '–';
    const time = new Date(seconds * 1000);
    const zone = time.getTimezoneOffset() === -60 ? 'CET' : 'CEST';
    return `${time.getFullYear()}-${two(time.getMonth() + 1)}-${two(time.getDate())} ` +
        `${two(time.getHours())}:${two(time.getMinutes())}:${two(time.getSeconds())} ${zone}`;
};
const list = values => values.length === 0 ? '–' : values.join(', ');
// What XML cannot hold is shown as U+FFFD.
const shown = text => text === '' ? '–' : text.replace(/[\u0000-\u001f\u007f-\u009f]/g, '\ufffd');

for (const scene of ['drive', 'markup', 'many', 'empty']) {
    const noise = [];
    const page = await open(scene, { viewport: { width: 1200, height: 900 }, colorScheme: 'dark' }, noise);
    const { slots } = said(scene, 'slots');
    const { streams } = said(scene, 'streams');
    const { events } = said(scene, 'events');
    const scan = said(scene, 'scan');
    const held = slots.filter(slot => slot.bytes > 0);
    const scanned = new Map(scan.slots.map(slot => [slot.slot, slot]));
    await check(`${scene}, tables`, async () => {
        const shows = await tables(page);
        assert.deepEqual(shows['Slots with data'] ?? [], held.map(slot => [String(slot.slot), slot.stream === null ? '–' : String(slot.stream),
            slot.state, local(slot.from), local(slot.to), plain(slot.first_tick), plain(slot.last_tick),
            grouped(scanned.get(slot.slot).ticks), grouped(slot.bytes),
            (scanned.get(slot.slot).bits_per_second / 1e6).toFixed(2),
            grouped(scanned.get(slot.slot).faults.length), list(slot.events.map(shown))]));
        assert.deepEqual(shows['Streams'] ?? [], streams.map(stream => [String(stream.stream), local(stream.from), local(stream.to),
            grouped(stream.bytes), grouped(stream.gaps.length), list(stream.slots)]));
        assert.deepEqual(shows['Gaps'] ?? [], streams.flatMap(stream => stream.gaps.map(gap =>
            [String(stream.stream), local(gap.from), local(gap.to), String(gap.to - gap.from)])));
        assert.deepEqual(shows['Events'] ?? [], events.map(event => [shown(event.reid), local(event.from), local(event.to),
            list(event.streams), list(event.slots), grouped(event.bytes),
            event.tags_complete ? 'complete' : 'incomplete', shown(event.parent)]));
        assert.deepEqual(shows['Recordings'] ?? [], said(scene, 'recordings').recordings.map(recording =>
            [shown(recording.reid), String(recording.stream), local(recording.from),
                recording.to === null ? 'goes on' : local(recording.to)]));
        assert.deepEqual(shows['Faults'] ?? [], scan.slots.flatMap(slot => slot.faults.map(fault =>
            [String(slot.slot), String(slots[slot.slot - 1].stream), fault.kind, local(fault.time), plain(fault.offset),
                grouped(fault.bytes), plain(fault.pid), plain(fault.missing)])));
    });
    await check(`${scene}, picture`, async () => {
        const count = selector => page.evaluate(what => document.querySelectorAll(what).length, selector);
        assert.equal(await count('svg a > rect.slot'), held.filter(slot => slot.from !== null).length);
        assert.equal(await count('svg > rect.gap'), streams.reduce((sum, stream) => sum + stream.gaps.length, 0));
        assert.equal(await count('svg a > rect.event'), events.length);
        assert.equal(await count('svg a > path.fault') > 0, scan.faults > 0);
        const links = await page.evaluate(() => [...document.querySelectorAll('svg a')].map(link =>
            [link.getAttribute('aria-label'), document.querySelector(link.getAttribute('href')).cells[0].textContent]));
        for (const [name, row] of links) {
            assert.ok(name === `slot ${row}` || name === `event ${row}` || name.endsWith(` in slot ${row}`), `${name} leads to ${row}`);
        }
    });
    await check(`${scene}, links`, async () => {
        const broken = await page.evaluate(() => [...document.querySelectorAll('a')].map(link => link.getAttribute('href'))
            .filter(href => !href.startsWith('#') || document.getElementById(href.slice(1)) === null));
        assert.deepEqual(broken, []);
        const ids = await page.evaluate(() => [...document.querySelectorAll('[id]')].map(element => element.id));
        assert.equal(new Set(ids).size, ids.length);
    });
    await check(`${scene}, elements`, async () => {
        const foreign = await page.evaluate(() => [...document.querySelectorAll('script, img, iframe, object, embed, form, input, [onerror], [onload], [style], [src]')].map(element => element.outerHTML));
        assert.deepEqual(foreign, []);
    });
    await check(`${scene}, accessibility`, () => accessible(page));
    await check(`${scene}, messages and requests`, () => assert.deepEqual(noise, []));
    await page.context().close();
}

await check('without a pointer', async () => {
    const page = await open('drive', { viewport: { width: 1200, height: 900 } }, []);
    const focused = () => page.evaluate(() => document.activeElement.getAttribute('aria-label') ?? document.activeElement.textContent);
    for (let presses = 0; await focused() !== 'slot 14'; presses += 1) {
        assert.ok(presses < 60, 'slot 14 is not reached');
        await page.keyboard.press('Tab');
    }
    await page.keyboard.press('Enter');
    await page.waitForFunction(() => document.querySelector('tr:target')?.cells[0].textContent === '14');
});

await browser.close();
console.log(failures === 0 ? 'The reports are as they should be.' : `${failures} checks failed`);
process.exit(failures === 0 ? 0 : 1);
