// The traffic page: a map of the aircraft round the user (range rings, the
// park airport's stands, each aircraft a symbol along its heading, labelled
// and coloured by what it does), a table of the live and static aircraft,
// and the story of the one clicked. The program sends a new picture of the
// traffic a few times a second; the page only draws it.
'use strict';

const instance = document.querySelector('meta[name="tavo-instance"]').content;
const canvas = document.getElementById('map');
const ctx = canvas.getContext('2d');
const nmPerDegree = 60;
const phaseColours = {
  'at stand': '#a0a0a0', parked: '#707070', 'push-back': '#ffa500', 'pushed back': '#ffa500', taxi: '#ffff00',
  'taxi to stand': '#ffff00', rollout: '#ffd700', 'take-off': '#ff4040', air: '#32cd32', landing: '#99ccff',
};
const otherColour = '#606060'; // waiting, being created or removed: not in the simulator

let traffic = null;
let zoom = 1;
let selected = null;
let storyTimer = null;

// What the map drew last, for clicks and for tests: the projection and each symbol.
const map = { centre: { lat: 0, lon: 0 }, pxPerNm: 1, drawn: [] };
window.tavoMap = map;

/// A waiting aircraft has no position yet: it is in the table, not on the map.
function noPosition(a) {
  return a.lat >= 0 && a.lat <= 0.0009 && a.lon >= 0 && a.lon <= 0.05;
}

function colourOf(phase) {
  return phaseColours[phase] || otherColour;
}

/// Pixels of a position, east right and north up, flat round the centre.
function project(lat, lon) {
  const east = (lon - map.centre.lon) * nmPerDegree * Math.cos(map.centre.lat * Math.PI / 180);
  const north = (lat - map.centre.lat) * nmPerDegree;
  return { x: canvas.width / 2 + east * map.pxPerNm, y: canvas.height / 2 - north * map.pxPerNm };
}
map.project = project;

/// Nautical miles from the centre to the map's edge: wide enough for the farthest aircraft
/// (at least a mile, at most the range asked for), then as the user zoomed.
function viewNm() {
  const range = traffic && traffic.range > 0 ? traffic.range : 20;
  let farthest = 0;
  for (const a of traffic ? traffic.aircraft : []) {
    if (noPosition(a)) continue;
    const north = (a.lat - map.centre.lat) * nmPerDegree;
    const east = (a.lon - map.centre.lon) * nmPerDegree * Math.cos(map.centre.lat * Math.PI / 180);
    farthest = Math.max(farthest, Math.hypot(north, east));
  }
  // In steps, so that the scale does not breathe with every picture.
  const wanted = Math.max(1, farthest * 1.2);
  const fit = [1, 1.5, 2, 3, 4, 5, 7, 10, 15, 20, 25, 30, 40, 50, 70, 100, 150, 200, 300].find((nm) => nm >= wanted) || wanted;
  return Math.min(range, fit) / zoom;
}

function centreOf(t) {
  if (t.user) return { lat: t.user.lat, lon: t.user.lon };
  if (t.aircraft.some((a) => !noPosition(a))) {
    const placed = t.aircraft.filter((a) => !noPosition(a));
    const n = Math.max(1, placed.length);
    return { lat: placed.reduce((s, a) => s + a.lat, 0) / n, lon: placed.reduce((s, a) => s + a.lon, 0) / n };
  }
  return { lat: 0, lon: 0 };
}

function ringStep(nm) {
  for (const step of [0.5, 1, 2, 5, 10, 20, 25, 50, 100]) if (nm / step <= 5) return step;
  return 200;
}

function drawRings() {
  const step = ringStep(viewNm());
  ctx.strokeStyle = '#2e4a2e';
  ctx.fillStyle = '#4f7f4f';
  ctx.font = '10px sans-serif';
  for (let nm = step; nm <= viewNm() * 1.42; nm += step) {
    ctx.beginPath();
    ctx.arc(canvas.width / 2, canvas.height / 2, nm * map.pxPerNm, 0, 2 * Math.PI);
    ctx.stroke();
    ctx.fillText(`${nm} nm`, canvas.width / 2 + 3, canvas.height / 2 - nm * map.pxPerNm - 3);
  }
}

function drawStands(stands) {
  ctx.fillStyle = '#3060a0';
  ctx.font = '9px sans-serif';
  for (const s of stands) {
    const p = project(s.lat, s.lon);
    ctx.fillRect(p.x - 2, p.y - 2, 4, 4);
    if (map.pxPerNm > 400) ctx.fillText(s.name, p.x + 4, p.y + 3);
  }
}

/// A symbol pointing along the heading, with its callsign and height.
function drawAircraft(a) {
  const p = project(a.lat, a.lon);
  const colour = colourOf(a.phase);
  const turn = a.hdg * Math.PI / 180;
  ctx.save();
  ctx.translate(p.x, p.y);
  ctx.rotate(turn);
  ctx.beginPath();
  ctx.moveTo(0, -8);
  ctx.lineTo(5, 6);
  ctx.lineTo(0, 3);
  ctx.lineTo(-5, 6);
  ctx.closePath();
  ctx.fillStyle = colour;
  ctx.fill();
  if (selected === a.hex) {
    ctx.strokeStyle = '#ffffff';
    ctx.lineWidth = 2;
    ctx.stroke();
  }
  ctx.restore();
  ctx.fillStyle = colour;
  ctx.font = '10px sans-serif';
  const height = a.gnd ? '' : ` ${Math.round(a.alt / 100)}`;
  ctx.fillText(`${a.callsign || a.hex}${height}`, p.x + 8, p.y - 4);
  map.drawn.push({ hex: a.hex, x: p.x, y: p.y, hdg: a.hdg });
}

function drawUser(user) {
  const p = project(user.lat, user.lon);
  ctx.save();
  ctx.translate(p.x, p.y);
  ctx.rotate(user.hdg * Math.PI / 180);
  ctx.strokeStyle = '#ffffff';
  ctx.lineWidth = 2;
  ctx.beginPath();
  ctx.moveTo(0, -10);
  ctx.lineTo(0, 10);
  ctx.moveTo(-8, -1);
  ctx.lineTo(8, -1);
  ctx.moveTo(-4, 8);
  ctx.lineTo(4, 8);
  ctx.stroke();
  ctx.restore();
}

function drawMap() {
  if (!traffic) return;
  map.centre = centreOf(traffic);
  map.pxPerNm = (canvas.width / 2 - 10) / viewNm();
  map.drawn = [];
  ctx.fillStyle = '#000';
  ctx.fillRect(0, 0, canvas.width, canvas.height);
  drawRings();
  drawStands(traffic.stands);
  // Parked ones first, so that moving ones stay readable on top.
  const order = [...traffic.aircraft].sort((a, b) => Number(b.phase === 'parked' || b.phase === 'at stand') -
                                                     Number(a.phase === 'parked' || a.phase === 'at stand'));
  for (const a of order) if (!noPosition(a)) drawAircraft(a);
  if (traffic.user) drawUser(traffic.user);
  canvas.dataset.number = String(traffic.number);
}

function stepText(a) {
  if (!a.livery) return '';
  return a.step < 0 ? 'again' : a.step > 0 ? String(a.step) : '';
}

function cells(a) {
  return [a.callsign, a.type, a.airline, a.reg, a.phase, a.gnd ? 'gnd' : String(a.alt), String(a.kt), a.stand,
          a.livery, stepText(a)];
}

function drawTable() {
  const body = document.querySelector('#aircraft tbody');
  const rows = new Map([...body.rows].map((r) => [r.dataset.hex, r]));
  const list = [...traffic.aircraft].sort((a, b) => (a.callsign || a.hex).localeCompare(b.callsign || b.hex));
  list.forEach((a, index) => {
    let row = rows.get(a.hex);
    if (!row) {
      row = document.createElement('tr');
      row.dataset.hex = a.hex;
      for (let k = 0; k < 10; ++k) row.insertCell().className = k === 5 || k === 6 || k === 9 ? 'num' : '';
      row.addEventListener('click', () => select(a.hex));
    }
    rows.delete(a.hex);
    if (body.rows[index] !== row) body.insertBefore(row, body.rows[index] || null);
    cells(a).forEach((text, k) => {
      if (row.cells[k].textContent !== text) row.cells[k].textContent = text;
    });
    row.classList.toggle('static', !a.live);
    row.classList.toggle('selected', a.hex === selected);
    row.dataset.lat = a.lat;
    row.dataset.lon = a.lon;
    row.dataset.oid = a.oid;
  });
  for (const gone of rows.values()) gone.remove();
  const live = traffic.aircraft.filter((a) => a.live).length;
  document.getElementById('summary').textContent =
    `${live} live, ${traffic.aircraft.length - live} static` + (traffic.park ? `, park airport ${traffic.park}` : '');
}

function fact(list, name, value) {
  if (!value) return;
  const dt = document.createElement('dt');
  dt.textContent = name;
  const dd = document.createElement('dd');
  dd.textContent = value;
  list.append(dt, dd);
}

function drawStory(answer) {
  const a = answer.aircraft;
  document.getElementById('story-title').textContent = a ? `${a.callsign || a.hex} (${a.hex})` : `${answer.hex}, gone`;
  const facts = document.getElementById('story-facts');
  facts.replaceChildren();
  if (a) {
    fact(facts, 'aircraft', `${a.airline} ${a.type} ${a.reg}`.trim());
    fact(facts, 'route', a.from || a.to ? `${a.from || '?'} - ${a.to || '?'}` : '');
    fact(facts, 'now', `${a.phase}${a.stand ? ' at ' + a.stand : ''}`);
    fact(facts, 'livery', a.livery ? `${a.livery} (step ${stepText(a)})` : 'not matched yet');
    fact(facts, 'object', a.oid ? String(a.oid) : '');
  }
  const list = document.getElementById('story');
  list.replaceChildren(...answer.story.map((line) => {
    const li = document.createElement('li');
    li.textContent = line;
    return li;
  }));
}

async function loadStory() {
  if (!selected) return;
  try {
    const answer = await fetch(`/traffic/story?hex=${selected}`, { cache: 'no-store' });
    if (answer.ok) drawStory(await answer.json());
  } catch (e) {
    // TAVO is away; the stream's reconnection tells the user.
  }
}

function select(hex) {
  selected = hex;
  clearInterval(storyTimer);
  loadStory();
  storyTimer = setInterval(loadStory, 1000);
  drawMap();
  if (traffic) drawTable();
}

canvas.addEventListener('click', (ev) => {
  const box = canvas.getBoundingClientRect();
  const x = (ev.clientX - box.left) * canvas.width / box.width;
  const y = (ev.clientY - box.top) * canvas.height / box.height;
  let best = null;
  let bestDistance = 12;
  for (const d of map.drawn) {
    const distance = Math.hypot(d.x - x, d.y - y);
    if (distance < bestDistance) [best, bestDistance] = [d, distance];
  }
  if (best) select(best.hex);
});

document.getElementById('zoom-in').addEventListener('click', () => { zoom *= 2; drawMap(); });
document.getElementById('zoom-out').addEventListener('click', () => { zoom /= 2; drawMap(); });

function drawLegend() {
  const legend = document.getElementById('legend');
  for (const [phase, colour] of [...Object.entries(phaseColours), ['not in the simulator', otherColour]]) {
    const item = document.createElement('span');
    item.textContent = phase;
    item.style.setProperty('--c', colour);
    legend.append(item);
  }
}

function connect() {
  const source = new EventSource('/traffic/events');
  source.addEventListener('hello', (ev) => {
    if (JSON.parse(ev.data).instance !== instance) location.reload();
    else document.getElementById('waiting').hidden = true;
  });
  source.addEventListener('traffic', (ev) => {
    traffic = JSON.parse(ev.data);
    drawMap();
    drawTable();
  });
  source.addEventListener('error', () => {
    document.getElementById('waiting').hidden = false;
    if (source.readyState === EventSource.CLOSED) {
      source.close();
      setTimeout(connect, 1000);
    }
  });
}

drawLegend();
connect();
