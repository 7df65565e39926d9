// The window in headless Chromium against TAVO as a process: lamps and
// captions, commands that reach parameters.xml, refused values and refused
// requests, the traffic page against the simulator's own picture, the
// update latency, reconnection over a restart, and the close command.
import { describe, it, before, after } from 'node:test';
import assert from 'node:assert/strict';
import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';
import { World, build, launchBrowser, lampColour, rawRequest, textColour, until } from './world.mjs';

const green = '#32cd32', red = '#ff0000', yellow = '#ffff00', grey = '#a0a0a0', black = '#000000';

async function typeInto(page, id, text, timeout = 30000) {
  const box = `#c-${id}`;
  await page.waitForSelector(`${box}:not([disabled])`, { timeout });
  await page.fill(box, text);
  await page.press(box, 'Enter');
}

async function message(page) {
  return page.evaluate(() => document.querySelector('#band-message .text')?.textContent ?? '');
}

describe('the window', () => {
  let world, browser, page;
  let inSim = null; // an aircraft that the simulator shows, seen on the traffic page

  before(async () => {
    world = await new World().make();
    await world.startService({ traffic: true });
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
    await until(async () => (await message(page)) === 'The new CUSTOM_MAX_PARK is 500', 'the new value on the message line');
    await until(async () => (await page.inputValue('#c-CUSTOM_MAX_PARK')) === '500', 'the box showing 500');
  });

  it('a bad value is refused with the message, the old value stays and the file is unchanged', async () => {
    const before = world.parametersText();
    await typeInto(page, 'CUSTOM_MAX_PARK', 'many');
    await until(async () => (await message(page)) === 'invalid input: many', 'the refusal on the message line');
    await until(async () => (await page.inputValue('#c-CUSTOM_MAX_PARK')) === '500', 'the old value back in the box');
    assert.equal(world.parametersText(), before);
  });

  it('the days box is clamped, with a singular caption for 1 and a plural for 0', async () => {
    for (const [typed, shown, caption] of [['29', '28', 'days'], ['1', '1', 'day'], ['0', '0', 'days']]) {
      await typeInto(page, 'TIME_SHIFT_DAYS', typed);
      await until(() => world.parameter('TIME_SHIFT_DAYS') === shown, `TIME_SHIFT_DAYS=${shown}`);
      await until(async () => (await textColour(page, 'controls', caption)) === black, `the caption "${caption}"`);
      // The band may be drawn before the command's answer puts the value in force into the box.
      await until(async () => (await page.inputValue('#c-TIME_SHIFT_DAYS')) === shown, `the box showing ${shown}`);
    }
  });

  it('with the simulator and the service: yellow without a flight, then green lamps and the readers', async () => {
    world.startSim({ paused: true });
    await until(async () => (await lampColour(page, 'simLamp')) === yellow, 'a yellow lamp: connected, no flight', 60000);
    assert.equal(await lampColour(page, 'rtLamp'), black, 'the service lamp stays dark until a flight runs');
    await world.simControl('run');
    await until(async () => (await lampColour(page, 'simLamp')) === green, 'a green simulator lamp', 60000);
    await until(async () => (await lampColour(page, 'rtLamp')) === green, 'a green service lamp', 60000);
    await until(async () => (await textColour(page, 'status', 'Weather')) !== null, 'the weather reader', 60000);
    const title = await textColour(page, 'status', 'Stand-in Airliner');
    assert.equal(title, green, 'the user aircraft in the lamp\'s colour');
    const shots = path.join(build, 'browser-test');
    fs.mkdirSync(shots, { recursive: true });
    await page.locator('#window').screenshot({ path: path.join(shots, 'window.png') });
  });

  it('the traffic page shows the aircraft where the simulator has them, and the story of one', async () => {
    const traffic = await browser.newPage();
    await traffic.setViewportSize({ width: 1180, height: 1000 });
    await page.waitForSelector('#traffic-link');
    await traffic.goto(world.url + 'traffic');
    const shown = async () => traffic.evaluate(() => [...document.querySelectorAll('#aircraft tbody tr')]
      .filter((r) => r.dataset.oid !== '0').length);
    await until(async () => (await shown()) >= 1, 'an aircraft in the simulator on the traffic page', 150000);
    // The page's picture and the simulator's, taken one right after the other.
    const seen = await traffic.evaluate(() => ({
      centre: window.tavoMap.centre, pxPerNm: window.tavoMap.pxPerNm, drawn: window.tavoMap.drawn,
      rows: [...document.querySelectorAll('#aircraft tbody tr')].map((r) => ({ hex: r.dataset.hex, oid: Number(r.dataset.oid),
        lat: Number(r.dataset.lat), lon: Number(r.dataset.lon), callsign: r.cells[0].textContent })),
    }));
    const sim = await world.simState();
    const objects = new Map(sim.objects.map((o) => [o.id, o]));
    let compared = 0;
    for (const row of seen.rows.filter((r) => r.oid !== 0)) {
      const o = objects.get(row.oid);
      if (!o) continue; // removed in between
      const north = (o.lat - row.lat) * 60;
      const east = (o.lon - row.lon) * 60 * Math.cos(o.lat * Math.PI / 180);
      assert.ok(Math.hypot(north, east) < 0.2, `${row.callsign} within 0.2 nm of the simulator's object ${o.id}`);
      const mark = seen.drawn.find((d) => d.hex === row.hex);
      const x = 320 + (o.lon - seen.centre.lon) * 60 * Math.cos(seen.centre.lat * Math.PI / 180) * seen.pxPerNm;
      const y = 320 - (o.lat - seen.centre.lat) * 60 * seen.pxPerNm;
      assert.ok(Math.hypot(mark.x - x, mark.y - y) <= 0.2 * seen.pxPerNm + 2, `${row.callsign} drawn where the simulator has it`);
      const turn = Math.abs(((mark.hdg - o.heading * 180 / Math.PI) % 360 + 540) % 360 - 180);
      assert.ok(turn < 20, `${row.callsign} points along its heading (${mark.hdg} against ${o.heading})`);
      ++compared;
      if (row.callsign) inSim = row;
    }
    assert.ok(compared >= 1, `${compared} aircraft compared`);
    assert.ok(Math.abs(seen.centre.lat - 52.3117) < 1e-3 && Math.abs(seen.centre.lon - 4.7588) < 1e-3, 'the user at the centre');

    // A click on a symbol tells its story.
    const target = seen.drawn.find((d) => d.x > 20 && d.x < 620 && d.y > 20 && d.y < 620);
    await traffic.click('#map', { position: { x: target.x, y: target.y } });
    await until(async () => (await traffic.textContent('#story-title')).includes(target.hex), 'the story of the clicked aircraft');
    await until(async () => (await traffic.$$('#story li')).length > 0, 'the lines of its story');
    const shots = path.join(build, 'browser-test');
    fs.mkdirSync(shots, { recursive: true });
    await traffic.screenshot({ path: path.join(shots, 'traffic.png') });
    await traffic.close();
  });

  it('blocks and unblocks a callsign, sets a destination and looks an object up from the page', async () => {
    await typeInto(page, 'BLOCK_CALLSIGN', 'ab');
    await until(async () => (await message(page)) === 'callsign "ab" is not valid', 'a short callsign refused');
    await typeInto(page, 'BLOCK_CALLSIGN', 'zzz9');
    await until(() => world.parameter('BLOCK_CALLSIGN') === 'ZZZ9', 'BLOCK_CALLSIGN=ZZZ9');
    await until(async () => (await message(page)) === 'live aircraft with callsign "ZZZ9" will be blocked', 'the block message');
    await page.click('#c-Unblock:not([disabled])');
    await until(() => world.parameter('BLOCK_CALLSIGN') === '', 'the block lifted by the button');
    await until(async () => (await message(page)) === 'no more blocking of live aircraft "ZZZ9"', 'the unblock message');

    await page.click('#c-Re-read:not([disabled])');
    // The park airports are read again at the next quarter minute of the main loop.
    await typeInto(page, 'DESTINATION', 'lfpg', 60000);
    await until(async () => (await message(page)) === 'destination "LFPG" is unknown ...', 'an unknown airport refused');
    assert.equal(world.parameter('DESTINATION') ?? '', '');
    await typeInto(page, 'DESTINATION', 'ehrd');
    await until(() => world.parameter('DESTINATION') === 'EHRD', 'DESTINATION=EHRD');
    await until(async () => (await message(page)) === 'New destination: EHRD', 'the new destination');

    assert.ok(inSim, 'an aircraft in the simulator');
    await typeInto(page, 'CALLSIGN_2_OBJECTID', inSim.callsign.toLowerCase());
    await until(async () => (await textColour(page, 'controls', `= ${inSim.oid}`)) === black, `its object id ${inSim.oid}`);
    await typeInto(page, 'CALLSIGN_2_OBJECTID', 'nobody1');
    await until(async () => (await message(page)) === 'callsign "NOBODY1" is unknown', 'an unknown callsign');
  });

  it('measures the update latency and the processor time of two open pages', async () => {
    const traffic = await browser.newPage();
    await traffic.goto(world.url + 'traffic');
    const aircraft = await traffic.evaluate(() => document.querySelectorAll('#aircraft tbody tr').length);
    const cpuStart = world.tavoCpuSeconds();
    const wallStart = Date.now();
    // A status message is a display field: the time from the click that sets it to its band drawn in the page.
    const times = await page.evaluate(async () => {
      const warning = 'Be aware, no collision avoidance with user aircraft in the air';
      const shown = () => document.querySelector('#band-message .text')?.textContent ?? '';
      const list = [];
      for (let k = 0; k < 40; ++k) {
        const want = shown() === warning ? '' : warning;
        const drawn = new Promise((resolve) => {
          const watch = new MutationObserver(() => {
            if (shown() === want) { watch.disconnect(); resolve(performance.now()); }
          });
          watch.observe(document.getElementById('band-message'), { childList: true, subtree: true });
        });
        const start = performance.now();
        send({ command: 'click', id: 'COLLISION_USER_AIR' });
        list.push((await drawn) - start);
        await new Promise((resolve) => setTimeout(resolve, 30 + Math.random() * 40));
      }
      return list;
    });
    await new Promise((resolve) => setTimeout(resolve, 5000)); // both pages open and quiet
    const cpu = (world.tavoCpuSeconds() - cpuStart) / ((Date.now() - wallStart) / 1000);
    await traffic.close();
    const sorted = [...times].sort((a, b) => a - b);
    const figures = {
      what: 'window page: from a command that sets a display field to its band drawn in Chromium (ms); TAVO processor share',
      samples: sorted.length, medianMs: sorted[Math.floor(sorted.length / 2)],
      p95Ms: sorted[Math.ceil(sorted.length * 0.95) - 1], maxMs: sorted[sorted.length - 1],
      tavoCpuPercentTwoPages: Math.round(cpu * 1000) / 10, aircraftOnTheMap: aircraft,
    };
    fs.mkdirSync(path.join(build, 'browser-test'), { recursive: true });
    fs.writeFileSync(path.join(build, 'browser-test', 'latency.json'), JSON.stringify(figures, null, 2) + '\n');
    assert.equal(sorted.length, 40);
    assert.equal(world.parameter('COLLISION_USER_AIR'), 'true', 'an even number of clicks leaves it as it was');
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
