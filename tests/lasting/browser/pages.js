// A visitor's page in a real browser: what is seen, every click, accessibility, size, and that nothing else is asked.
import assert from 'node:assert/strict';
import { createServer } from 'node:http';
import { createRequire } from 'node:module';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { chromium } from 'playwright-core';
import { Server } from './server.js';

const [build, gallery, pictures] = process.argv.slice(2);
const axe = readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');
const RULES = ['wcag2a', 'wcag2aa', 'wcag21a', 'wcag21aa', 'wcag22aa', 'best-practice'];
const LARGEST_PAGE = 30 * 1024;

const server = await Server.start(build, gallery);
const browser = await chromium.launch({ executablePath: '/usr/bin/chromium', args: ['--no-sandbox'] });
let tessel = 1000;

/** A window; `asked` has every address that was asked for. */
async function open(address, { width = 1280, asked = [], ...options } = {}) {
  const context = await browser.newContext({ viewport: { width, height: 800 }, locale: 'en-GB', ...options });
  const page = await context.newPage();
  page.on('request', (request) => asked.push(request.url()));
  page.on('console', (message) => assert.notEqual(message.type(), 'error', message.text()));
  await page.goto(address);
  return page;
}

async function judge(page, what) {
  const result = await page.evaluate(`${axe}; axe.run(document, { runOnly: ${JSON.stringify(RULES)} })`);
  assert.deepEqual(result.violations.map((one) => `${one.id}: ${one.nodes.map((node) => node.html).join(' ')}`), [], what);
  assert.ok(result.passes.length > 10, `${what}: axe has looked at something`);
}

async function noSidewaysScrolling(page, what) {
  const width = await page.evaluate('document.documentElement.scrollWidth - document.documentElement.clientWidth');
  assert.equal(width, 0, `${what} scrolls sideways by ${width} px`);
}

const tests = {
  async 'the page is seen on a phone and on a desk, in the light and in the dark, and asks only this server'() {
    const address = await server.fill(++tessel);
    for (const width of [320, 360, 1280]) {
      for (const colorScheme of ['light', 'dark']) {
        const asked = [];
        const page = await open(address, { width, colorScheme, asked });
        await page.evaluate('document.querySelectorAll("img").forEach((one) => { one.loading = "eager"; })');
        await page.waitForFunction(() => [...document.images].every((one) => one.complete && one.naturalWidth > 0));
        assert.equal(await page.title(), 'Your collection – The Small Museum');
        assert.equal(await page.locator('h1').innerText(), 'Thank you for your visit');
        assert.equal(await page.locator('.item').count(), 5);
        assert.ok((await page.locator('.coming').innerText()).includes('on its way from the table'));
        assert.match(await page.locator('footer').innerText(), /This page is kept until \d+ \w+ \d{4}/);
        await noSidewaysScrolling(page, `the page at ${width} px`);
        await judge(page, `the page at ${width} px, ${colorScheme}`);
        await page.screenshot({ path: join(pictures, `page-${width}-${colorScheme}.png`), fullPage: true });
        for (const each of asked) assert.ok(each.startsWith(server.pages) || each.startsWith('data:'), each);
        assert.equal((await page.context().cookies()).length, 0);
        await page.context().close();
      }
    }
  },

  async 'the page has less than 30 KB without its pictures'() {
    const answer = await fetch(await server.page(tessel));
    const bytes = (await answer.arrayBuffer()).byteLength;
    console.log(`  ${bytes} bytes with five items`);
    assert.ok(bytes < LARGEST_PAGE, `${bytes} bytes`);
  },

  async 'the page speaks the languages of its visitors'() {
    const address = await server.page(tessel);
    const greetings = { 'de-AT': 'Danke für Ihren Besuch', 'fi-FI': 'Kiitos käynnistä', 'fr-FR': 'Merci de votre visite', 'sv-SE': 'Thank you for your visit' };
    for (const [locale, greeting] of Object.entries(greetings)) {
      const page = await open(address, { locale });
      assert.equal(await page.locator('h1').innerText(), greeting);
      await judge(page, `the page in ${locale}`);
      await page.getByRole('link', { name: 'Deutsch' }).click();
      assert.equal(await page.locator('html').getAttribute('lang'), 'de');
      await page.getByRole('link', { name: 'Entfernen Basalt' }).click();
      assert.equal(await page.locator('h1').innerText(), 'Dies entfernen?');
      await page.getByRole('link', { name: 'Nein, zurück' }).click();
      assert.equal(await page.locator('h1').innerText(), greetings['de-AT']);
      await page.context().close();
    }
  },

  async 'what is collected appears without a reload, and so does what goes'() {
    const address = await server.page(++tessel);
    const page = await open(address);
    assert.equal(await page.locator('.empty').count(), 1);
    await judge(page, 'the empty page');
    await page.screenshot({ path: join(pictures, 'empty-1280.png') });
    await page.evaluate('window.isTheSame = true');
    await server.add(tessel, { filename: 'basalt.png', displayname: 'Basalt' });
    await page.getByRole('heading', { name: 'Basalt' }).waitFor();
    assert.ok((await page.locator('.lead').innerText()).startsWith('One thing'));
    await server.command({ command: 'deleteitem', tessel, filename: 'basalt.png' });
    await page.locator('.empty').waitFor();
    assert.equal(await page.evaluate('window.isTheSame'), true);
    await page.context().close();
  },

  async 'one thing is downloaded, opened and removed, after a second question'() {
    for (const javaScriptEnabled of [true, false]) {
      const address = await server.fill(++tessel);
      const page = await open(address, { javaScriptEnabled, width: 360 });
      const [download] = await Promise.all([page.waitForEvent('download'), page.getByRole('link', { name: 'Download Basalt' }).click()]);
      assert.equal(download.suggestedFilename(), 'basalt.png');
      assert.deepEqual(readFileSync(await download.path()), readFileSync(join(gallery, 'media', 'basalt.png')));
      await page.getByRole('link', { name: 'Basalt', exact: true }).click();
      assert.match(page.url(), /\/file\/\d+$/);
      await page.goBack();

      await page.getByRole('link', { name: 'Remove Basalt' }).click();
      assert.match(await page.locator('.lead').innerText(), /“Basalt” goes from your page/);
      await noSidewaysScrolling(page, 'the question');
      if (javaScriptEnabled) {
        await judge(page, 'the question');
        await page.screenshot({ path: join(pictures, 'question-360.png') });
      }
      await page.getByRole('link', { name: 'No, go back' }).click();
      assert.equal(await page.locator('.item').count(), 5);
      await page.getByRole('link', { name: 'Remove Basalt' }).click();
      await page.getByRole('button', { name: 'Yes, remove' }).click();
      assert.equal(page.url().split('?')[0], address);
      assert.equal(await page.locator('.item').count(), 4);
      assert.equal(await page.getByRole('heading', { name: 'Basalt' }).count(), 0);

      const [all] = await Promise.all([page.waitForEvent('download'), page.getByRole('link', { name: 'Download everything' }).click()]);
      assert.equal(all.suggestedFilename(), 'collection.zip');
      assert.ok(readFileSync(await all.path()).includes(readFileSync(join(gallery, 'media', 'terraces.png'))));
      await page.getByRole('link', { name: 'Remove everything' }).click();
      await page.getByRole('button', { name: 'Yes, remove' }).click();
      assert.equal(await page.locator('.empty').count(), 1);
      await page.context().close();
    }
  },

  async 'the address can be renewed, and the old one opens nothing'() {
    const address = await server.fill(++tessel);
    const other = await open(address);
    const page = await open(address);
    await page.getByRole('link', { name: 'Give this page a new address' }).click();
    await judge(page, 'the question about the address');
    await page.getByRole('button', { name: 'Yes, make a new address' }).click();
    assert.notEqual(page.url().split('?')[0], address);
    assert.equal(page.url().split('?')[0], await server.page(tessel));
    assert.equal(await page.locator('.item').count(), 5);
    // An open page notices by itself.
    other.removeAllListeners('console');
    await other.getByRole('heading', { name: 'There is nothing here' }).waitFor();
    await judge(other, 'the page of an address that opens nothing');
    assert.equal((await fetch(address)).status, 404);
    await page.context().close();
    await other.context().close();
  },

  async 'another web site cannot remove anything, even with the address of the page'() {
    const address = await server.fill(++tessel);
    const key = /name="key" value="([0-9a-f]+)"/.exec(await (await fetch(`${address}/remove-all`)).text())[1];
    const evil = createServer((request, response) => response.setHeader('Content-Type', 'text/html').end(
      `<form method="post" action="${address}/remove-all"><input name="key" value="${key}"></form><script>document.forms[0].submit()</script>`));
    await new Promise((resolve) => evil.listen(0, 'localhost', resolve));
    const context = await browser.newContext();
    const page = await context.newPage();
    const [answer] = await Promise.all([page.waitForResponse(`${address}/remove-all`), page.goto(`http://localhost:${evil.address().port}/`)]);
    assert.equal(answer.status(), 403);
    assert.equal((await (await fetch(address)).text()).match(/class="item /g).length, 5);
    await context.close();
    evil.close();
  },

  async 'the page is fit for paper'() {
    const page = await open(await server.fill(++tessel));
    await page.emulateMedia({ media: 'print' });
    assert.equal(await page.locator('.acts:visible').count(), 0);
    assert.equal(await page.locator('.share img:visible').count(), 1);
    assert.equal(await page.locator('.item:visible').count(), 5);
    await page.screenshot({ path: join(pictures, 'paper.png'), fullPage: true });
    await page.context().close();
  },

  async 'every link of the page can be reached by the keyboard and has a name'() {
    const page = await open(await server.fill(++tessel));
    const links = await page.locator('a').count();
    const seen = new Set();
    for (let i = 0; i < links; ++i) {
      await page.keyboard.press('Tab');
      seen.add(await page.evaluate('document.activeElement.textContent.trim() && document.activeElement.getAttribute("href")'));
    }
    assert.equal(seen.size, links);
    assert.ok(!seen.has(null) && !seen.has(''));
    await page.context().close();
  },
};

let failed = 0;
for (const [name, test] of Object.entries(tests)) {
  try {
    await test();
    console.log(`ok   ${name}`);
  } catch (error) {
    ++failed;
    console.log(`FAIL ${name}\n${error.stack}`);
  }
}
await browser.close();
server.stop();
console.log(`${Object.keys(tests).length - failed} passed, ${failed} failed`);
process.exit(failed ? 1 : 0);
