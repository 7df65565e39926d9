// The window's page: draws each band as the program paints it, keeps the
// controls in step with the parameters, and sends the user's clicks and
// Enter keys back as commands. The program decides everything; a checkbox
// does not check itself, the next picture of its band does.
'use strict';

const token = document.querySelector('meta[name="tavo-token"]').content;
const instance = document.querySelector('meta[name="tavo-instance"]').content;
const heights = { check: 12, box: 16, button: 20 };

function place(el, x, y, w, h) {
  el.style.left = x + 'px';
  el.style.top = y + 'px';
  if (w !== undefined) el.style.width = w + 'px';
  if (h !== undefined) el.style.height = h + 'px';
}

function paintLayer(band, top) {
  const layer = document.createElement('div');
  layer.className = 'paint';
  for (const f of band.fills) {
    const el = document.createElement('div');
    el.className = 'fill';
    place(el, f.x0, f.y0 - top, f.x1 - f.x0, f.y1 - f.y0);
    el.style.background = f.c;
    el.dataset.colour = f.c;
    if (f.name) el.dataset.name = f.name;
    layer.append(el);
  }
  for (const l of band.lines) {
    const el = document.createElement('div');
    el.className = 'line';
    place(el, l.x0, l.y0 - top, Math.max(1, l.x1 - l.x0), Math.max(1, l.y1 - l.y0));
    el.style.background = l.c;
    layer.append(el);
  }
  for (const t of band.texts) {
    const el = document.createElement('span');
    el.className = 'text';
    place(el, t.x, t.y - top);
    el.style.color = t.c;
    el.dataset.colour = t.c;
    el.textContent = t.t;
    layer.append(el);
  }
  return layer;
}

async function send(command) {
  try {
    const answer = await fetch('/api/command', {
      method: 'POST',
      headers: { 'Content-Type': 'application/json', 'X-Tavo-Token': token },
      body: JSON.stringify(command),
      cache: 'no-store',
    });
    return await answer.json();
  } catch (e) {
    return null;
  }
}

async function enter(el) {
  const answer = await send({ command: 'enter', id: el.dataset.id, text: el.value });
  delete el.dataset.dirty;
  el.value = answer && typeof answer.shown === 'string' ? answer.shown : el.dataset.shown || '';
}

function makeControl(c, layer, top) {
  let el;
  if (c.kind === 'check') {
    el = document.createElement('input');
    el.type = 'checkbox';
    el.addEventListener('click', (ev) => {
      ev.preventDefault();
      send({ command: 'click', id: c.id });
    });
  } else if (c.kind === 'button') {
    el = document.createElement('button');
    el.type = 'button';
    el.textContent = c.caption;
    el.addEventListener('click', () => send({ command: 'click', id: c.id }));
  } else {
    el = document.createElement('input');
    el.type = 'text';
    el.spellcheck = false;
    el.addEventListener('input', () => { el.dataset.dirty = '1'; });
    el.addEventListener('keydown', (ev) => {
      if (ev.key === 'Enter') enter(el);
    });
  }
  el.id = 'c-' + c.id;
  el.dataset.id = c.id;
  el.setAttribute('aria-label', c.id);
  place(el, c.x, c.y - top, c.w, heights[c.kind]);
  layer.append(el);
  return el;
}

function updateControls(root, list, top) {
  let layer = root.querySelector(':scope > .controls');
  if (!layer) {
    layer = document.createElement('div');
    layer.className = 'controls';
    root.append(layer);
  }
  for (const c of list) {
    const el = document.getElementById('c-' + c.id) || makeControl(c, layer, top);
    el.disabled = !c.enabled;
    if (c.kind === 'check') el.checked = c.checked;
    if (c.kind === 'box') {
      // What the user is typing stays until Enter.
      if (!el.dataset.dirty) el.value = c.text;
      el.dataset.shown = c.text;
    }
  }
}

function drawBand(band) {
  const root = document.getElementById('band-' + band.band);
  const top = band.fills.length ? band.fills[0].y0 : 0;
  const bottom = band.fills.length ? band.fills[0].y1 : 0;
  place(root, 0, top, undefined, bottom - top);
  const old = root.querySelector(':scope > .paint');
  const layer = paintLayer(band, top);
  if (old) old.replaceWith(layer); else root.prepend(layer);
  if (band.controls) updateControls(root, band.controls, top);
  root.dataset.draws = String(Number(root.dataset.draws || 0) + 1);
}

function setWaiting(waiting) {
  document.getElementById('waiting').hidden = !waiting;
}

function connect() {
  const source = new EventSource('/events');
  source.addEventListener('hello', (ev) => {
    // Another process answers: its page carries its own token.
    if (JSON.parse(ev.data).instance !== instance) location.reload();
    else setWaiting(false);
  });
  source.addEventListener('band', (ev) => drawBand(JSON.parse(ev.data)));
  source.addEventListener('error', () => {
    setWaiting(true);
    if (source.readyState === EventSource.CLOSED) {
      source.close();
      setTimeout(connect, 1000);
    }
  });
}

document.getElementById('close').addEventListener('click', () => send({ command: 'close' }));
connect();
