// Test support for the window in a real browser: a ready program folder
// (demo reference data and liveries), TAVO, the simulator and the traffic
// service as processes, headless Chromium, and waits for state.
import { spawn, execFileSync } from 'node:child_process';
import fs from 'node:fs';
import net from 'node:net';
import os from 'node:os';
import path from 'node:path';
import { chromium } from 'playwright-core';

export const top = path.resolve(path.dirname(new URL(import.meta.url).pathname), '../..');
export const build = process.env.TAVO_BUILD_DIR || path.join(top, 'build');

/// Waits for CONDITION (sync or async) to answer a truthy value; fails with WHAT after MS.
export async function until(condition, what, ms = 30000) {
  const end = Date.now() + ms;
  for (;;) {
    const value = await condition();
    if (value) return value;
    if (Date.now() > end) throw new Error(`waited ${ms} ms for ${what}`);
    await new Promise((resolve) => setTimeout(resolve, 50));
  }
}

export function freePort() {
  return new Promise((resolve, reject) => {
    const server = net.createServer();
    server.listen(0, '127.0.0.1', () => {
      const { port } = server.address();
      server.close(() => resolve(port));
    });
    server.on('error', reject);
  });
}

function readText(file) {
  try {
    return fs.readFileSync(file, 'utf8');
  } catch {
    return '';
  }
}

/// The program folder, its user folder and the ports of the three processes.
export class World {
  async make() {
    this.dir = fs.mkdtempSync(path.join(os.tmpdir(), 'tavo-window-'));
    for (const sub of ['docs', 'sim/Community', 'sim/Official', 'downloads', 'home/config/TAVO', 'home/data', 'home/run'])
      fs.mkdirSync(path.join(this.dir, sub), { recursive: true });
    // A small airport database; the demo's data maker brings the rest.
    fs.mkdirSync(path.join(this.dir, 'input'));
    fs.writeFileSync(path.join(this.dir, 'input/airports_msfs.xml'), `<?xml version="1.0" encoding="UTF-8"?>
<airports>
  <airport alt="-11" lat="52.308601" lon="4.76389" iata="AMS" code="EHAM"/>
  <airport alt="-15" lat="51.956902" lon="4.43722" iata="RTM" code="EHRD"/>
</airports>
`);
    execFileSync(path.join(top, 'demo/make-data'), [build, this.dir], { stdio: 'ignore' });
    [this.windowPort, this.servicePort, this.simPort, this.viewPort] =
      [await freePort(), await freePort(), await freePort(), await freePort()];
    this.parameters = path.join(this.dir, 'home/config/TAVO/parameters.xml');
    fs.writeFileSync(this.parameters, `<?xml version="1.0"?>
<parameters>
  <parameter name="MSFS_INSTALL_PATH" value="${this.dir}/sim"/>
  <parameter name="RT_API_URL" value="http://127.0.0.1:${this.servicePort}"/>
  <parameter name="RT_LICENSE" value="window-test"/>
  <parameter name="DOWNLOAD_URL" value="http://127.0.0.1:${this.servicePort}/downloads/"/>
  <parameter name="SCAN_AIRPORTS" value="false"/>
  <parameter name="WINDOW_PORT" value="${this.windowPort}"/>
</parameters>
`);
    fs.writeFileSync(path.join(this.dir, 'SimConnect.cfg'), `[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=${this.simPort}\n`);
    this.env = { ...process.env, XDG_CONFIG_HOME: path.join(this.dir, 'home/config'),
                 XDG_DATA_HOME: path.join(this.dir, 'home/data'), XDG_RUNTIME_DIR: path.join(this.dir, 'home/run') };
    this.children = [];
    this.url = `http://127.0.0.1:${this.windowPort}/`;
    return this;
  }

  start(program, args) {
    const child = spawn(path.join(build, program), args, { cwd: this.dir, env: this.env, stdio: 'ignore' });
    child.exited = new Promise((resolve) => child.on('exit', (code) => resolve(code)));
    this.children.push(child);
    return child;
  }

  /// The traffic service, answering when it listens; with TRAFFIC, the demo's generated traffic
  /// round Schiphol, twelve minutes in.
  async startService({ traffic = false } = {}) {
    const args = ['--port', String(this.servicePort), '--downloads', path.join(this.dir, 'downloads')];
    if (traffic) {
      const file = path.join(this.dir, 'traffic.jsonl');
      const now = Math.floor(Date.now() / 1000);
      execFileSync(path.join(build, 'tavo-service'), ['--generate', file, '--airport', 'EHAM',
        '--runway', '52.3626,4.7118,52.3288,4.7112', '--elevation', '-11',
        '--stand', 'D2,52.3093,4.7628,230', '--stand', 'D4,52.3099,4.7618,230', '--stand', 'E2,52.3078,4.7663,140',
        '--start', String(now), '--minutes', '30', '--seed', '7'], { stdio: 'ignore' });
      args.push('--traffic', file, '--replay-start', String(now - 720));
    }
    this.service = this.start('tavo-service', args);
    // TAVO fetches its reference data from the service at once: it must listen first.
    await until(() => new Promise((resolve) => {
      const probe = net.connect(this.servicePort, '127.0.0.1', () => { probe.end(); resolve(true); });
      probe.on('error', () => resolve(false));
    }), 'the traffic service listening');
  }

  startSim({ paused = false } = {}) {
    this.sim = this.start('tavo-sim', ['--port', String(this.simPort), '--view-port', String(this.viewPort),
                                       '--user', '52.3117,4.7588,0,230', ...(paused ? ['--paused'] : [])]);
  }

  /// A control action of the simulator (pause, run, teleport ...); answers its state.
  async simControl(action, params = {}) {
    const query = new URLSearchParams(params).toString();
    const answer = await fetch(`http://127.0.0.1:${this.viewPort}/api/${action}${query ? '?' + query : ''}`, { method: 'POST' });
    return answer.json();
  }

  /// The simulator's state: the user and every AI object (GET /api/state).
  async simState() {
    return (await fetch(`http://127.0.0.1:${this.viewPort}/api/state`)).json();
  }

  /// TAVO's processor time so far, seconds (user and system).
  tavoCpuSeconds() {
    const fields = fs.readFileSync(`/proc/${this.tavo.pid}/stat`, 'utf8').split(') ')[1].split(' ');
    return (Number(fields[11]) + Number(fields[12])) / 100; // clock ticks of 10 ms
  }

  /// TAVO in its folder; answers when its window's address is in the log.
  async startTavo() {
    const log = path.join(this.dir, 'Log.txt');
    fs.rmSync(log, { force: true });
    this.tavo = this.start('tavo', []);
    await until(() => this.log().includes(`Window: ${this.url}`), 'the window address in the log');
  }

  log() { return readText(path.join(this.dir, 'Log.txt')) + readText(path.join(this.dir, 'Log0.txt')); }
  parametersText() { return readText(this.parameters); }

  /// A parameter's value as parameters.xml holds it; undefined when it is not there.
  parameter(name) {
    const found = this.parametersText().match(new RegExp(`name="${name}" value="([^"]*)"`));
    return found ? found[1] : undefined;
  }

  stopAll() {
    for (const child of this.children) if (child.exitCode === null) child.kill('SIGKILL');
    fs.rmSync(this.dir, { recursive: true, force: true });
  }
}

/// Headless Chromium with a profile of its own.
export async function launchBrowser(world) {
  return chromium.launchPersistentContext(path.join(world.dir, 'chromium'), {
    executablePath: process.env.TAVO_CHROMIUM || '/usr/bin/chromium',
    headless: true,
    viewport: { width: 900, height: 520 },
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
           '--disable-component-update', '--disable-sync'],
  });
}

/// The colour of the text that reads TEXT in BAND; null while none is drawn.
export async function textColour(page, band, text) {
  return page.evaluate(([b, t]) => {
    for (const el of document.querySelectorAll(`#band-${b} .text`)) if (el.textContent === t) return el.dataset.colour;
    return null;
  }, [band, text]);
}

export async function lampColour(page, name) {
  return page.evaluate((n) => document.querySelector(`[data-name="${n}"]`)?.dataset.colour ?? null, name);
}

/// A request as a plain client makes it, every header in the caller's hands.
export function rawRequest(port, method, target, headers, body = '') {
  return new Promise((resolve, reject) => {
    const request = net.connect(port, '127.0.0.1', () => {
      const lines = [`${method} ${target} HTTP/1.1`, 'Connection: close', `Content-Length: ${Buffer.byteLength(body)}`];
      for (const [name, value] of Object.entries(headers)) lines.push(`${name}: ${value}`);
      // No half close: the server reads a closed side as a client gone.
      request.write(lines.join('\r\n') + '\r\n\r\n' + body);
    });
    let answer = '';
    request.on('data', (chunk) => { answer += chunk; });
    request.on('end', () => {
      request.end();
      resolve(Number(answer.split(' ')[1]));
    });
    request.on('error', reject);
  });
}
