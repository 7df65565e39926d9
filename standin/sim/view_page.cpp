// The live map page of the stand-in simulator: one self-contained HTML file
// with a canvas that polls /api/state and draws every aircraft around the
// user with its label, heading and altitude.
#include "standin/sim/view.h"

namespace orv::simstandin {

const char* gf_viewPage()
{
    return R"HTML(<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>tavo-sim</title>
<style>
 body{margin:0;background:#10161c;color:#cfd8dc;font:13px sans-serif}
 #bar{padding:6px 10px;background:#1c262f;display:flex;gap:12px;align-items:center}
 button{background:#2e3d49;color:#e0e0e0;border:1px solid #455a64;padding:3px 10px;cursor:pointer}
 canvas{display:block}
</style></head>
<body>
<div id="bar">
 <b>tavo-sim</b><span id="info">connecting...</span>
 <button onclick="post('/api/pause')">Pause</button><button onclick="post('/api/run')">Run</button>
 <span>zoom: wheel &middot; <label><input type="checkbox" id="labels" checked> labels</label></span>
</div>
<canvas id="map"></canvas>
<script>
const cv = document.getElementById('map'), ctx = cv.getContext('2d');
let nmPerPx = 0.02, state = null;
function size(){ cv.width = innerWidth; cv.height = innerHeight - document.getElementById('bar').offsetHeight; draw(); }
addEventListener('resize', size);
cv.addEventListener('wheel', e => { e.preventDefault(); nmPerPx *= e.deltaY > 0 ? 1.25 : 0.8; draw(); });
function post(p){ fetch(p, {method:'POST'}).then(poll); }
function project(o){
  const u = state.user, k = Math.cos(u.lat * Math.PI / 180);
  const x = (o.lon - u.lon) * 60 * k / nmPerPx, y = (o.lat - u.lat) * 60 / nmPerPx;
  return [cv.width / 2 + x, cv.height / 2 - y];
}
function plane(o, colour){
  const [x, y] = project(o);
  if (x < -50 || y < -50 || x > cv.width + 50 || y > cv.height + 50) return;
  ctx.save(); ctx.translate(x, y); ctx.rotate(o.heading);
  ctx.fillStyle = colour; ctx.beginPath();
  ctx.moveTo(0, -9); ctx.lineTo(6, 7); ctx.lineTo(0, 3); ctx.lineTo(-6, 7); ctx.closePath(); ctx.fill();
  ctx.restore();
  if (document.getElementById('labels').checked) {
    ctx.fillStyle = '#cfd8dc';
    ctx.fillText((o.tail || o.id) + ' ' + Math.round(o.alt) + 'ft' + (o.onGround ? ' gnd' : ''), x + 9, y - 4);
  }
}
function draw(){
  ctx.fillStyle = '#10161c'; ctx.fillRect(0, 0, cv.width, cv.height);
  if (!state) return;
  ctx.strokeStyle = '#263238';
  for (const r of [0.5, 1, 2, 5, 10, 20, 50]) {
    const px = r / nmPerPx; if (px < 20 || px > cv.width) continue;
    ctx.beginPath(); ctx.arc(cv.width / 2, cv.height / 2, px, 0, 2 * Math.PI); ctx.stroke();
    ctx.fillStyle = '#455a64'; ctx.fillText(r + ' nm', cv.width / 2 + px + 3, cv.height / 2);
  }
  for (const o of state.objects)
    plane(o, o.onGround ? '#9e9e9e' : (o.frozen ? '#66bb6a' : '#ffa726'));
  plane(state.user, '#42a5f5');
}
function poll(){
  fetch('/api/state').then(r => r.json()).then(s => {
    state = s;
    const when = new Date(s.t * 1000).toISOString().substring(11, 19);
    document.getElementById('info').textContent =
      `${s.appName} ${s.running ? 'running' : 'paused'} · ${when}Z · ${s.measuredFps.toFixed(0)} fps · ` +
      `${s.objects.length} AI · ${s.clients} client(s) · user ${s.user.lat.toFixed(4)}, ${s.user.lon.toFixed(4)}`;
    draw();
  }).catch(() => { document.getElementById('info').textContent = 'simulator gone'; });
}
size(); poll(); setInterval(poll, 500);
</script>
</body></html>
)HTML";
}

} // namespace orv::simstandin
