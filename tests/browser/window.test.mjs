// The window in headless Chromium against TAVO as a process: lamps and
// captions, commands that reach parameters.xml, refused values and refused
// requests, reconnection over a restart, and the close command.
import { describe, it, before, after } from 'node:test';
import assert from 'node:assert/strict';
import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';
import { World, build, launchBrowser, lampColour, rawRequest, textColour, until } from './world.mjs';

const green = '#32cd32', red = '#ff0000', yellow = '#ffff00', grey = '#a0a0a0', black = '#000000';

async function typeInto(page, id, text) {
  const box = `#c-${id}`;
  await page.waitForSelector(`${box}:not([disabled])`);
  await page.fill(box, text);
  await page.press(box, 'Enter');
}

async function message(page) {
  return page.evaluate(() => document.querySelector('#band-message .text')?.textContent ?? '');
}

describe('the window', () => {
  let world, browser, page;

  before(async () => {
    world = await new World().make();
    world.startService();
    await world.startTavo();
    browser = await launchBrowser(world);
    page = await browser.newPage();
    await page.goto(world.url);
  });

  after(async () => {
    await browser?.close();
    world?.stopAll();
  });

  it('without a simulator: the mode at the top left, a red lamp and a dark service lamp', async () => {
    await until(async () => (await textColour(page, 'status', 'MSFS 2020 mode')) === green, 'MSFS 2020 mode in green');
    assert.equal(await lampColour(page, 'simLamp'), red);
    assert.equal(await lampColour(page, 'rtLamp'), black);
    await until(async () => await page.evaluate(() => [...document.querySelectorAll('#band-status .text')]
      .some((el) => /^# liveries: [1-9]/.test(el.textContent) && el.dataset.colour === '#32cd32')), 'the liveries counted');
    assert.equal(await textColour(page, 'controls', 'Scan for addon airports'), black, 'no airport scan asked');
  });

  it('a checkbox is saved at once, shows its message, and redraws its bands only', async () => {
    await page.waitForSelector('#c-COLLISION_USER_GND:checked');
    const headerDraws = await page.getAttribute('#band-header', 'data-draws');
    await page.click('#c-COLLISION_USER_GND');
    await until(() => world.parameter('COLLISION_USER_GND') === 'false', 'COLLISION_USER_GND=false in parameters.xml');
    await until(async () => (await message(page)) === 'Be aware, no collision avoidance with user aircraft on the ground',
                'the warning on the message line');
    await page.waitForSelector('#c-COLLISION_USER_GND:not(:checked)');
    assert.equal(await page.getAttribute('#band-header', 'data-draws'), headerDraws, 'the header is not drawn again');
  });

  it('Enter in an edit box stores the number and lights its caption', async () => {
    assert.equal(await textColour(page, 'controls', 'generic max park:'), grey);
    await typeInto(page, 'CUSTOM_MAX_PARK', '900');
    await until(() => world.parameter('CUSTOM_MAX_PARK') === '500', 'the limit clamped to 500 in parameters.xml');
    await until(async () => (await textColour(page, 'controls', 'generic max park:')) === yellow, 'the caption in yellow');
    assert.equal(await message(page), 'The new CUSTOM_MAX_PARK is 500');
    assert.equal(await page.inputValue('#c-CUSTOM_MAX_PARK'), '500');
  });

  it('a bad value is refused with the message, the old value stays and the file is unchanged', async () => {
    const before = world.parametersText();
    await typeInto(page, 'CUSTOM_MAX_PARK', 'many');
    await until(async () => (await message(page)) === 'invalid input: many', 'the refusal on the message line');
    assert.equal(await page.inputValue('#c-CUSTOM_MAX_PARK'), '500');
    assert.equal(world.parametersText(), before);
  });

  it('the days box is clamped, with a singular caption for 1 and a plural for 0', async () => {
    for (const [typed, shown, caption] of [['29', '28', 'days'], ['1', '1', 'day'], ['0', '0', 'days']]) {
      await typeInto(page, 'TIME_SHIFT_DAYS', typed);
      await until(() => world.parameter('TIME_SHIFT_DAYS') === shown, `TIME_SHIFT_DAYS=${shown}`);
      await until(async () => (await textColour(page, 'controls', caption)) === black, `the caption "${caption}"`);
      assert.equal(await page.inputValue('#c-TIME_SHIFT_DAYS'), shown);
    }
  });

  it('with the simulator and the service: green lamps, the simulator and the readers', async () => {
    world.startSim();
    await until(async () => (await lampColour(page, 'simLamp')) === green, 'a green simulator lamp', 60000);
    await until(async () => (await lampColour(page, 'rtLamp')) === green, 'a green service lamp', 60000);
    await until(async () => (await textColour(page, 'status', 'Weather')) !== null, 'the weather reader', 60000);
    const title = await textColour(page, 'status', 'Stand-in Airliner');
    assert.equal(title, green, 'the user aircraft in the lamp\'s colour');
    const shots = path.join(build, 'browser-test');
    fs.mkdirSync(shots, { recursive: true });
    await page.locator('#window').screenshot({ path: path.join(shots, 'window.png') });
  });

  it('refuses commands without the token, from another origin, with another host, as GET or as a form', async () => {
    const token = await page.getAttribute('meta[name="tavo-token"]', 'content');
    const host = `127.0.0.1:${world.windowPort}`;
    const json = { Host: host, 'Content-Type': 'application/json' };
    const click = JSON.stringify({ command: 'click', id: 'LOG' });
    const before = world.parametersText();
    assert.equal(await rawRequest(world.windowPort, 'POST', '/api/command', json, click), 403, 'no token');
    assert.equal(await rawRequest(world.windowPort, 'POST', '/api/command', { ...json, 'X-Tavo-Token': token,
      Origin: 'http://tavo.example' }, click), 403, 'another origin');
    assert.equal(await rawRequest(world.windowPort, 'POST', '/api/command', { ...json, 'X-Tavo-Token': token,
      Host: `tavo.example:${world.windowPort}` }, click), 403, 'a rebound host name');
    assert.equal(await rawRequest(world.windowPort, 'GET', '/api/command?command=click&id=LOG', { Host: host }), 405);
    assert.equal(await rawRequest(world.windowPort, 'GET', '/', { Host: 'tavo.example' }), 403, 'no page, no token');

    // A page of another site posts a form that reads as JSON.
    const site = http.createServer((req, res) => {
      res.setHeader('Content-Type', 'text/html');
      res.end(`<form id="f" method="POST" action="${world.url}api/command" enctype="text/plain">
        <input name='{"command":"click","id":"LOG","x":"' value='"}'></form><script>f.submit()</script>`);
    });
    await new Promise((resolve) => site.listen(0, '127.0.0.1', resolve));
    const other = await browser.newPage();
    const answer = other.waitForResponse((r) => r.url().endsWith('/api/command'));
    await other.goto(`http://127.0.0.1:${site.address().port}/`);
    assert.ok([403, 415].includes((await answer).status()), 'the form is refused');
    await other.close();
    site.close();
    assert.equal(world.parametersText(), before, 'parameters.xml untouched');
  });

  it('closing the page leaves TAVO running; a page open over a restart reconnects by itself', async () => {
    const spare = await browser.newPage();
    await spare.goto(world.url);
    await spare.close();
    assert.equal(world.tavo.exitCode, null, 'TAVO still runs');

    const oldToken = await page.getAttribute('meta[name="tavo-token"]', 'content');
    world.tavo.kill('SIGTERM');
    assert.equal(await world.tavo.exited, 0);
    await page.waitForSelector('#waiting:not([hidden])');
    await world.startTavo();
    await until(async () => {
      const token = await page.getAttribute('meta[name="tavo-token"]', 'content').catch(() => null);
      return token && token !== oldToken;
    }, 'the page of the new process');
    await page.waitForSelector('#c-LOG:checked');
    await page.click('#c-LOG');
    await until(() => world.parameter('LOG') === 'false', 'a command with the new token');
  });

  it('the close command ends TAVO with reason 4', async () => {
    await page.waitForSelector('#band-status .text');
    await page.click('#close');
    assert.equal(await world.tavo.exited, 0);
    assert.match(world.log(), /Exiting: USER CLOSED SIM/);
  });
});
