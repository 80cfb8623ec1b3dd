#include "ReportPage.hpp"

namespace QVLog {

const std::string_view reportHead = R"page(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>Log</title>
<style>
:root { color-scheme: light dark; --line: #8884; --dim: #888; --accent: #2a6fdb; --bar: #2a6fdb33;
  --trace: #9aa5b1; --debug: #7c8fa6; --info: #2a6fdb; --warning: #d98a00; --error: #d33; --fatal: #a0007a; }
* { box-sizing: border-box; }
html, body { height: 100%; margin: 0; }
body { display: flex; flex-direction: column; font: 13px/1.45 system-ui, sans-serif; }
header { display: flex; gap: 1em; align-items: baseline; padding: .7em 1em; border-bottom: 1px solid var(--line); flex-wrap: wrap; }
h1 { font-size: 1.15em; margin: 0; }
#about, #found { color: var(--dim); }
#search { flex: 1; min-width: 12em; padding: .35em .6em; font: inherit; border: 1px solid var(--line); border-radius: 5px; }
select, button { font: inherit; padding: .3em .5em; border: 1px solid var(--line); border-radius: 5px; }
#timeline { padding: .4em 1em 0; }
canvas { display: block; width: 100%; cursor: crosshair; }
main { flex: 1; display: flex; min-height: 0; border-top: 1px solid var(--line); margin-top: .4em; }
#sites { width: 24em; overflow: auto; border-right: 1px solid var(--line); padding: .4em 0; }
#sites div { position: relative; padding: .2em .8em; cursor: pointer; overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
#sites div.chosen { outline: 2px solid var(--accent); outline-offset: -2px; }
#sites i { position: absolute; left: 0; top: 1px; bottom: 1px; background: var(--bar); z-index: -1; }
#sites b { display: inline-block; min-width: 5.5em; text-align: right; margin-right: .7em; font-variant-numeric: tabular-nums; }
#sites small { color: var(--dim); display: block; overflow: hidden; text-overflow: ellipsis; }
#view { flex: 1; overflow: auto; position: relative; font: 12px/20px ui-monospace, monospace; }
#rows { position: sticky; top: 0; overflow: hidden; }
.row { height: 20px; display: flex; gap: 1.2em; padding: 0 1em; white-space: pre; }
.row:hover { background: var(--bar); }
.row span { flex: none; }
.time, .thread { color: var(--dim); }
.level { width: 5.2em; }
.thread { width: 9em; overflow: hidden; text-overflow: ellipsis; }
.site { color: var(--dim); }
.trace, .data { color: var(--trace); } .debug { color: var(--debug); } .info { color: var(--info); }
.warning { color: var(--warning); } .error { color: var(--error); } .fatal { color: var(--fatal); }
</style>
</head>
<body>
<header>
<h1 id="title">Log</h1><span id="about"></span>
<input id="search" type="search" placeholder="Search text, site or thread" autocomplete="off">
<select id="level"><option value="0">all levels</option><option value="2">trace and above</option>
<option value="3">debug and above</option><option value="4">info and above</option><option value="5">warning and above</option>
<option value="6">error and above</option><option value="7">fatal</option></select>
<button id="reset">Show all</button><span id="found"></span>
</header>
<div id="timeline"><canvas></canvas></div>
<main><div id="sites"></div><div id="view"><div id="rows"></div><div id="space"></div></div></main>
)page";

const std::string_view reportTail = R"page(<script>
"use strict";
const $ = id => document.getElementById(id);
const tables = JSON.parse($("tables").textContent);
const text = $("lines").textContent;
$("lines").remove();
const levels = ["", "data", "trace", "debug", "info", "warning", "error", "fatal"];
const colors = ["#8aa", "#9aa5b1", "#9aa5b1", "#7c8fa6", "#2a6fdb", "#d98a00", "#d33", "#a0007a"];
const siteLevel = Uint8Array.from(tables.sites, s => Math.max(0, levels.indexOf(s.level)));

// Where each line begins and what stands before its text.
const count = tables.count;
const start = new Uint32Array(count + 1), time = new Float64Array(count);
const thread = new Uint32Array(count), site = new Uint32Array(count);
{
  let at = 1, now = 0;
  const number = () => {
    let value = 0, sign = 1, c = text.charCodeAt(at);
    if (c === 45) { sign = -1; c = text.charCodeAt(++at); }
    while (c !== 9) { value = value * 10 + c - 48; c = text.charCodeAt(++at); }
    ++at;
    return sign * value;
  };
  for (let i = 0; i < count; ++i) {
    time[i] = now += number();
    thread[i] = number();
    site[i] = number();
    start[i] = at;
    at = text.indexOf("\n", at) + 1;
  }
  start[count] = at;
}
const lineEnd = i => text.indexOf("\n", start[i]);
const lineText = i => text.substring(start[i], lineEnd(i)).replace(/\x01/g, "<");
let first = Infinity, last = -Infinity;
for (let i = 0; i < count; ++i) { if (time[i] < first) first = time[i]; if (time[i] > last) last = time[i]; }
if (count === 0) { first = 0; last = 1; }

const pad = (n, width) => String(n).padStart(width, "0");
function stamp(micros) {
  const all = tables.first + micros, seconds = Math.floor(all / 1e6);
  return new Date((seconds + tables.zone) * 1000).toISOString().slice(0, 19).replace("T", " ") + "." +
    pad(all - seconds * 1e6, 6);
}

// What is looked for.
const wanted = { text: "", level: 0, site: -1, from: first, to: last };
let shown = null, shownCount = count, work = 0;
const line = n => shown === null ? n : shown[n];
const isUnfiltered = () => !wanted.text && !wanted.level && wanted.site < 0 && wanted.from <= first && wanted.to >= last;

function fits(i, needle, siteFits, threadFits) {
  if (time[i] < wanted.from || time[i] > wanted.to) return false;
  if (wanted.level && siteLevel[site[i]] < wanted.level) return false;
  if (wanted.site >= 0 && site[i] !== wanted.site) return false;
  if (!needle || siteFits[site[i]] || threadFits[thread[i]]) return true;
  return text.substring(start[i], lineEnd(i)).toLowerCase().includes(needle);
}

// In pieces, so that the page stays alive.
function filter() {
  const mine = ++work;
  if (isUnfiltered()) { shown = null; shownCount = count; finish(mine); return; }
  const needle = wanted.text.toLowerCase().replace(/</g, "\x01");
  const has = s => s.toLowerCase().replace(/</g, "\x01").includes(needle);
  const siteFits = tables.sites.map(s => has(s.place) || has(s.category) || has(s.function));
  const threadFits = tables.threads.map(has);
  const result = new Uint32Array(count);
  let at = 0, found = 0;
  const step = () => {
    if (mine !== work) return;
    const until = performance.now() + 30;
    while (at < count && performance.now() < until) {
      for (const end = Math.min(count, at + 2000); at < end; ++at)
        if (fits(at, needle, siteFits, threadFits)) result[found++] = at;
    }
    if (at < count) { $("found").textContent = "searching …"; setTimeout(step, 0); return; }
    shown = result.subarray(0, found);
    shownCount = found;
    finish(mine);
  };
  step();
}
function finish(mine) {
  if (mine !== work) return;
  $("found").textContent = shown === null ? "" : shownCount.toLocaleString("en") + " found";
  $("view").scrollTop = 0;
  draw(); drawSites(); layout(); // the timeline's height decides the table's
  document.body.dataset.ready = String(mine);
}

// The table shows only the rows in sight; a page cannot be as high as a million of them in every browser.
const rowHeight = 20, highest = 8e6;
let height = 0;
function layout() {
  const view = $("view");
  height = Math.min(shownCount * rowHeight, highest);
  $("rows").style.height = view.clientHeight + "px";
  $("space").style.height = Math.max(0, height - view.clientHeight) + "px";
  drawRows();
}
function drawRows() {
  const view = $("view"), fit = Math.ceil(view.clientHeight / rowHeight);
  const range = Math.max(1, height - view.clientHeight);
  const top = Math.round(Math.min(1, view.scrollTop / range) * Math.max(0, shownCount - fit + 1));
  const rows = document.createDocumentFragment();
  for (let n = top; n < Math.min(shownCount, top + fit); ++n) {
    const i = line(n), s = tables.sites[site[i]], row = document.createElement("div");
    row.className = "row";
    for (const [name, content] of [["time", stamp(time[i])], ["level " + s.level, s.level],
        ["thread", tables.threads[thread[i]]], ["text", lineText(i)], ["site", s.place]]) {
      const cell = document.createElement("span");
      cell.className = name;
      cell.textContent = content;
      row.append(cell);
    }
    rows.append(row);
  }
  $("rows").replaceChildren(rows);
}

// One lane for each thread, the busiest first; the height of a bar is the number of lines.
const canvas = document.querySelector("canvas"), lanes = 8, laneHeight = 26, axis = 16;
let busiest = [];
{
  const lines = new Float64Array(tables.threads.length);
  for (let i = 0; i < count; ++i) ++lines[thread[i]];
  busiest = [...lines.keys()].sort((a, b) => lines[b] - lines[a]).slice(0, lanes);
}
const laneOf = new Int32Array(tables.threads.length).fill(-1);
busiest.forEach((t, lane) => { laneOf[t] = lane; });
let drag = null;
function draw() {
  const width = canvas.clientWidth || 800, tall = busiest.length * laneHeight + axis, scale = devicePixelRatio || 1;
  canvas.style.height = tall + "px";
  canvas.width = width * scale;
  canvas.height = tall * scale;
  const c = canvas.getContext("2d");
  c.scale(scale, scale);
  const columns = Math.max(1, Math.floor(width / 2)), span = Math.max(1, last - first);
  const counts = new Uint32Array(columns * lanes), worst = new Uint8Array(columns * lanes);
  let most = 1;
  for (let n = 0; n < shownCount; ++n) {
    const i = line(n), lane = laneOf[thread[i]];
    if (lane < 0) continue;
    const at = lane * columns + Math.min(columns - 1, Math.floor((time[i] - first) / span * columns));
    most = Math.max(most, ++counts[at]);
    worst[at] = Math.max(worst[at], siteLevel[site[i]]);
  }
  const color = getComputedStyle(document.body).color;
  c.font = "11px system-ui, sans-serif";
  busiest.forEach((t, lane) => {
    const bottom = (lane + 1) * laneHeight;
    for (let x = 0; x < columns; ++x) {
      const n = counts[lane * columns + x];
      if (!n) continue;
      const h = 2 + (laneHeight - 6) * Math.log1p(n) / Math.log1p(most);
      c.fillStyle = colors[worst[lane * columns + x]];
      c.fillRect(x * 2, bottom - h, 2, h);
    }
    c.fillStyle = color;
    c.globalAlpha = .7;
    c.fillText(tables.threads[t], 4, bottom - laneHeight + 12);
    c.globalAlpha = .15;
    c.fillRect(0, bottom - .5, width, 1);
    c.globalAlpha = 1;
  });
  c.fillStyle = color;
  c.globalAlpha = .7;
  c.fillText(stamp(first), 4, tall - 4);
  c.textAlign = "right";
  c.fillText(stamp(last), width - 4, tall - 4);
  c.textAlign = "left";
  const mark = (from, to, alpha) => { c.globalAlpha = alpha; c.fillStyle = "#2a6fdb"; c.fillRect(from, 0, Math.max(1, to - from), tall - axis); };
  if (wanted.from > first || wanted.to < last)
    mark((wanted.from - first) / span * width, (wanted.to - first) / span * width, .18);
  if (drag) mark(Math.min(drag[0], drag[1]), Math.max(drag[0], drag[1]), .3);
  c.globalAlpha = 1;
}
canvas.addEventListener("pointerdown", e => { drag = [e.offsetX, e.offsetX]; canvas.setPointerCapture(e.pointerId); });
canvas.addEventListener("pointermove", e => { if (drag) { drag[1] = e.offsetX; draw(); } });
canvas.addEventListener("pointerup", () => {
  const [a, b] = [Math.min(...drag), Math.max(...drag)], span = last - first, width = canvas.clientWidth;
  drag = null;
  wanted.from = b - a < 3 ? first : first + a / width * span;
  wanted.to = b - a < 3 ? last : first + b / width * span;
  filter();
});

function drawSites() {
  const lines = new Float64Array(tables.sites.length);
  for (let n = 0; n < shownCount; ++n) ++lines[site[line(n)]];
  const order = [...lines.keys()].filter(s => lines[s] || s === wanted.site).sort((a, b) => lines[b] - lines[a]).slice(0, 200);
  const most = order.length ? lines[order[0]] || 1 : 1, list = document.createDocumentFragment();
  for (const s of order) {
    const entry = document.createElement("div"), bar = document.createElement("i"), number = document.createElement("b");
    const name = document.createElement("span"), place = document.createElement("small");
    bar.style.width = 100 * lines[s] / most + "%";
    number.textContent = lines[s].toLocaleString("en");
    name.textContent = tables.sites[s].format;
    name.className = tables.sites[s].level;
    place.textContent = tables.sites[s].category + "  " + tables.sites[s].place;
    entry.append(bar, number, name, place);
    entry.classList.toggle("chosen", s === wanted.site);
    entry.addEventListener("click", () => { wanted.site = wanted.site === s ? -1 : s; filter(); });
    list.append(entry);
  }
  $("sites").replaceChildren(list);
}

document.title = $("title").textContent = tables.title;
$("about").textContent = count.toLocaleString("en") + " lines, " + tables.threads.length + " threads, " + tables.sites.length + " call sites";
let typing = 0;
$("search").addEventListener("input", e => { clearTimeout(typing); typing = setTimeout(() => { wanted.text = e.target.value; filter(); }, 150); });
$("level").addEventListener("change", e => { wanted.level = Number(e.target.value); filter(); });
$("reset").addEventListener("click", () => {
  Object.assign(wanted, { text: "", level: 0, site: -1, from: first, to: last });
  $("search").value = "";
  $("level").value = "0";
  filter();
});
$("view").addEventListener("scroll", drawRows);
addEventListener("resize", () => { draw(); layout(); });
// A search may come with the address: page.html#text
if (location.hash.length > 1) $("search").value = wanted.text = decodeURIComponent(location.hash.slice(1));
filter();
</script>
</body>
</html>
)page";

} // namespace QVLog
