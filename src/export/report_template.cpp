// The page of --report around its data: style, frame and script.  They are text of this program and
// no files beside it, so that a page is one file, made by one file, and an installed program cannot
// meet a template of another version.
//
// The page asks nothing of any network (its policy forbids the browser to), and what comes from
// outside reaches it as JSON alone: the script shows it as text, never as markup.  It needs a
// browser of 2020 or later and no library; tests/viewers opens pages in one and looks at what is
// shown.
//
// The literals are cut where something is to be said of the script that a page need not carry. What
// `data` holds is described in report_data.h.
//
// More than 400 lines: style, frame and script are one page, and name each other's classes and
// keys.
#include "export/report_template.h"

namespace tervolanda {

const std::string_view kReportHead = R"page(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; img-src data:">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="referrer" content="no-referrer">
<link rel="icon" href="data:,">
<title>tervolanda report</title>
<style>
:root { color-scheme: light dark; --page: #fff; --ink: #1a1a1a; --soft: #5a5a5a; --line: #c8c8c8; --band: #f5f6f7; --bar: #d6e6f2; --link: #0b57a4;
  --c0: #0072b2; --c1: #c14f00; --c2: #007a56; --c3: #a84b80; --c4: #8f5e00; --c5: #5a3fb0; --grey: #707070; }
@media (prefers-color-scheme: dark) {
  :root { --page: #16181b; --ink: #e8e8e8; --soft: #a9a9a9; --line: #45494e; --band: #1e2125; --bar: #203a50; --link: #8cc4ff;
    --c0: #4fa8e0; --c1: #f08a4b; --c2: #2cc79a; --c3: #dfa0c4; --c4: #e6b04d; --c5: #8ccbee; --grey: #9a9a9a; }
}
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1rem 1.25rem 3rem; max-width: 78rem; background: var(--page); color: var(--ink); font: 16px/1.45 system-ui, sans-serif; }
h1 { font-size: 1.7rem; line-height: 1.2; margin: .8rem 0 .6rem; overflow-wrap: anywhere; }
h2 { font-size: 1.2rem; margin: 2.2rem 0 .5rem; }
h3 { font-size: 1rem; margin: 1.5rem 0 .3rem; }
p { max-width: 46rem; margin: .3rem 0 .8rem; }
.soft, figcaption { color: var(--soft); font-size: .9rem; max-width: 46rem; }
.command { font: 13px/1.45 ui-monospace, monospace; background: var(--band); padding: .5rem .8rem; border-radius: .4rem; max-width: none; overflow-wrap: anywhere; }
.command.long { max-height: 9rem; overflow: auto; }
.facts { display: flex; flex-wrap: wrap; gap: .15rem 1.6rem; margin: .6rem 0; font-size: .9rem; }
.facts dt { color: var(--soft); display: inline; }
.facts dd { margin: 0; display: inline; overflow-wrap: anywhere; }
.cards { display: flex; flex-wrap: wrap; gap: .8rem; margin: 1.2rem 0 0; padding: 0; list-style: none; }
.cards li { background: var(--band); border-radius: .4rem; padding: .5rem 1rem .6rem; min-width: 8rem; max-width: 100%; }
.cards b { display: block; font-size: 1.35rem; line-height: 1.3; font-variant-numeric: tabular-nums; overflow-wrap: anywhere; }
.cards span { color: var(--soft); font-size: .9rem; }
.side { display: flex; flex-wrap: wrap; gap: 0 2.5rem; align-items: flex-start; }
.side > * { flex: 1 1 20rem; min-width: min(100%, 18rem); }
.side > .table { flex: 0 1 auto; }
.side > .texts { flex-basis: 38rem; }
.wide { overflow: auto; max-width: 100%; }
.tall { max-height: 46rem; width: max-content; }
table { border-collapse: collapse; font-variant-numeric: tabular-nums; font-size: .9rem; }
th, td { padding: .2rem .55rem; text-align: right; border-bottom: 1px solid var(--line); white-space: nowrap; }
th.text, td.text { text-align: left; }
tbody th { font-weight: normal; }
td.bar { background: linear-gradient(var(--bar), var(--bar)) no-repeat left center; print-color-adjust: exact; }
td.text, tbody th { white-space: normal; overflow-wrap: anywhere; min-width: 8rem; }
tbody th.long { min-width: 16rem; word-break: break-all; }
thead th { position: sticky; top: 0; background: var(--band); padding: 0; }
thead button { all: unset; cursor: pointer; padding: .3rem .55rem; font-weight: 600; }
thead button::after { content: "\2195"; color: var(--soft); padding-left: .35em; font-size: .85em; }
th[aria-sort=ascending] button::after { content: "\2191"; color: inherit; }
th[aria-sort=descending] button::after { content: "\2193"; color: inherit; }
tbody tr:nth-child(even) { background: var(--band); }
:focus-visible { outline: 3px solid var(--link); outline-offset: 1px; }
.wide :focus-visible, .wide:focus-visible { outline-offset: -3px; }
figure { margin: .5rem 0; }
svg { display: block; font: 12px system-ui, sans-serif; max-width: 100%; height: auto; }
.map svg { max-width: none; }
svg text { fill: var(--ink); }
.axis { stroke: var(--soft); fill: none; }
.plain { fill: var(--soft); }
.map { display: flex; align-items: flex-start; }
.cells { position: relative; flex: none; touch-action: pan-x pan-y; }
.cells canvas { display: block; width: 100%; height: 100%; }
.cells div { position: absolute; border: 2px solid #fff; outline: 1px solid #000; pointer-events: none; }
output { display: block; min-height: 1.5em; overflow-wrap: anywhere; }
canvas.trace { width: 100%; max-width: 46rem; height: 26rem; border: 1px solid var(--line); border-radius: .4rem; touch-action: none; cursor: grab; }
.mark { stroke: var(--ink); stroke-width: 1.5; fill: none; }
pre { font: 13px/1.35 ui-monospace, monospace; margin: .4rem 0; }
.chip { display: inline-block; width: .75em; height: .75em; margin-right: .4em; }
.scale { display: inline-block; width: 10em; height: .8em; vertical-align: middle; margin: 0 .5em; print-color-adjust: exact; }
@media (max-width: 40rem) {
  body { padding: .5rem .7rem 2rem; }
  h1 { font-size: 1.3rem; }
  .cards li { min-width: 0; }
  td.text, tbody th { min-width: 5rem; }
  tbody th.long { min-width: 9rem; }
}
@media print {
  :root { color-scheme: light; --page: #fff; --ink: #000; --soft: #444; --line: #bbb; --band: #fff; --bar: #dde9f2; --link: #000;
    --c0: #0072b2; --c1: #c14f00; --c2: #007a56; --c3: #a84b80; --c4: #8f5e00; --c5: #5a3fb0; --grey: #707070; }
  body { font-size: 10pt; max-width: none; padding: 0; }
  .tall, .command.long { max-height: none; }
  .wide { overflow: visible; }
  .map { zoom: .6; }
  table { font-size: 8pt; }
  th, td, thead button { padding: .1rem .3rem; }
  canvas.trace { height: 18rem; }
  thead th { position: static; }
  thead button::after, .screen { content: none; display: none; }
  figure, tr, .cards li { break-inside: avoid; }
  h2, h3, thead, section > p { break-after: avoid; }
  canvas, svg, .chip { print-color-adjust: exact; }
}
</style>
</head>
<body>
<noscript><p>The tables and pictures of this page are made by its script, which is switched off here.</p></noscript>
<main></main>
<script type="application/json" id="data">
)page";

const std::string_view kReportTail =
    R"page(
</script>
<script>
"use strict";
const data = JSON.parse(document.getElementById("data").textContent);
const page = document.querySelector("main");
const COLOURS = [0, 1, 2, 3, 4, 5].map((i) => `var(--c${i})`); // after Okabe and Ito, readable as text
const GREY = "var(--grey)";

)page"
    // Elements are made by make(), those of pictures by draw(); children are elements or texts.
    // Nothing is ever parsed as markup.
    R"page(function fill(element, attributes, children) {
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...children);
  return element;
}
const make = (tag, attributes = {}, ...children) => fill(document.createElement(tag), attributes, children);
const draw = (tag, attributes = {}, ...children) =>
  fill(document.createElementNS("http://www.w3.org/2000/svg", tag), attributes, children);
// Long names are shown by their ends, where names differ.
const short = (name, most) => [...name].length > most ? "…" + [...name].slice(1 - most).join("") : name;
// A folder that all models share is said once, above the tables, and left out of their names.
const modelNames = data.pair && !data.scores ? [] : data.tables[0].rows.map((row) => row[1]);
const folder = modelNames.length < 2 ? "" : modelNames.reduce((a, b) => {
  let alike = 0;
  while (alike < a.length && a[alike] === b[alike]) ++alike;
  return a.slice(0, alike);
}).replace(/[^/]*$/, "");
const bare = (name) => name.startsWith(folder) ? name.slice(folder.length) : name;
const fixed = (value, digits) => value === null ? "" : value.toFixed(digits);
const rounded = (value) => Math.round(value * 10) / 10;

function section(title, note, parent = page) {
  const part = make("section", {}, make("h2", {}, title));
  if (note) part.append(make("p", {}, note));
  parent.append(part);
  return part;
}
// What is put into it stands side by side where there is room.
function sideBySide(parent = page) {
  const row = make("div", {class: "side"});
  parent.append(row);
  return row;
}

)page"
    // The same colour stands for a cluster in the table, in the tree and beside the matrix.  There
    // are six, and then they come again: more would not be told apart.
    R"page(// --- Clusters have colours, the largest first; what stands alone is grey ---
const sizes = new Map();
for (const cluster of data.clusterOf ?? []) sizes.set(cluster, (sizes.get(cluster) ?? 0) + 1);
const coloured = new Map([...sizes].filter(([cluster, size]) => size > 1 && cluster !== data.unassigned)
  .sort((a, b) => b[1] - a[1] || a[0] - b[0]).map(([cluster], i) => [cluster, COLOURS[i % COLOURS.length]]));
const colourOf = (cluster) => coloured.get(cluster) ?? GREY;

)page"
    // A column says what it is (report_data.h): the number of decimals makes its values numbers,
    // and without it they are texts.  Sorting moves the rows that are there, so that nothing is
    // made twice; what is missing comes last either way.
    R"page(// --- Tables, sorted by the buttons of their headings ---
function cellOf(column, value) {
  const isText = column.digits === undefined;
  const cell = make(column.header ? "th" : "td", column.header ? {scope: "row"} : {});
  if (isText) cell.className = "text";
  const name = column.header && bare(String(value));
  if (column.header && name.length <= 32) cell.style.whiteSpace = "nowrap";
  else if (column.header) cell.classList.add("long");
  if (column.cluster && value !== null) cell.append(make("span", {class: "chip", style: "background:" + colourOf(value)}));
  const shown = value === null ? "" : Array.isArray(value) ? value.map((one) => short(bare(one), 40)).join(", ")
    : isText ? short(column.header ? name : String(value), 90) : fixed(value, column.digits);
  if (typeof value === "string" && shown !== value) cell.title = value;
  cell.append(shown);
  return cell;
}

// Bars behind the figures show where a ranking falls.
function addBars(column, values, cells) {
  const most = Math.max(...values.filter((value) => value !== null));
  if (!column.bar || !(most > 0)) return;
  values.forEach((value, i) => {
    cells[i].className = "bar";
    cells[i].style.backgroundSize = `${rounded(97 * Math.max(value ?? 0, 0) / most)}% 72%`;
  });
}

function addTable(part, {title, columns: allColumns, rows: allRows}) {
  // A column in which nothing is known says nothing.
  const isKnown = allColumns.map((column, i) => column.header || allRows.some((row) => row[i] !== null));
  const columns = allColumns.filter((_, i) => isKnown[i]), rows = allRows.map((row) => row.filter((_, i) => isKnown[i]));
  const body = make("tbody");
  const head = make("tr");
  const lines = rows.map((row) => ({row, line: make("tr", {}, ...columns.map((column, i) => cellOf(column, row[i])))}));
  columns.forEach((column, i) => addBars(column, rows.map((row) => row[i]), lines.map(({line}) => line.children[i])));
  const compare = (a, b) => typeof a === "number" ? a - b : a < b ? -1 : a > b ? 1 : 0;
  columns.forEach((column, i) => {
    const button = make("button", {type: "button"}, column.name);
    const cell = make("th", {scope: "col", class: column.digits === undefined ? "text" : ""}, button);
    if (column.about) button.title = column.about;
    button.addEventListener("click", () => {
      const direction = cell.getAttribute("aria-sort") === "ascending" ? -1 : 1;
      for (const other of head.children) other.removeAttribute("aria-sort");
      cell.setAttribute("aria-sort", direction > 0 ? "ascending" : "descending");
      lines.sort(({row: a}, {row: b}) => a[i] === null || b[i] === null
        ? (a[i] === null) - (b[i] === null) : direction * compare(a[i], b[i]));
      body.append(...lines.map(({line}) => line));
    });
    head.append(cell);
  });
  body.append(...lines.map(({line}) => line));
  const box = make("div", {class: "wide tall", tabindex: "0", role: "region", "aria-label": title},
    make("table", {"aria-label": title}, make("thead", {}, head), body));
  part.append(box);
  const isBroad = box.scrollWidth > box.clientWidth;
  if (rows.length > 24) part.append(make("p", {class: "soft screen"}, `${rows.length} rows: the table scrolls.`));
  else if (isBroad) part.append(make("p", {class: "soft screen"}, "The table scrolls sideways."));
}

)page"
    // Ticks are multiples of a round step, 1, 2 or 5 times a power of ten, and not sums of it: a
    // sum of tenths would show as 0.30000000000000004.
    R"page(// --- Axes ---
function steps(low, high, most) {
  const raw = (high - low || 1) / most, power = 10 ** Math.floor(Math.log10(raw));
  const step = power * [1, 2, 5, 10].find((factor) => factor * power >= raw);
  const ticks = [];
  for (let k = Math.ceil(low / step - 1e-9); k * step <= high + step * 1e-9; ++k) ticks.push(Number((k * step).toPrecision(6)));
  return ticks;
}

)page"
    // Items of the tree are as `Join` has them (cluster.h): a model from 0, or -(k + 1) for join k.
    // The order of the leaves, by which the matrix is drawn as well, is depth first with the first
    // child on top, so that joined models stand beside each other; without a tree it is cluster by
    // cluster.  Neither walk is recursive, as a tree of 2,000 models may be 2,000 deep.
    //
    // Lines of one colour are one path: two thousand elements of their own would make the page
    // slow.  A join without a distance is drawn at the root's end.
    R"page(// --- The tree: leaves from top to bottom, the root on the left ---
function leafOrder() {
  if (!data.tree?.length) {
    return data.names.map((_, i) => i).sort((a, b) => (data.clusterOf?.[a] ?? 0) - (data.clusterOf?.[b] ?? 0) || a - b);
  }
  const order = [], waiting = [-data.tree.length];
  while (waiting.length) {
    const item = waiting.pop();
    if (item >= 0) order.push(item);
    else waiting.push(data.tree[-item - 1][1], data.tree[-item - 1][0]);
  }
  return order;
}

// A threshold far beyond the last join would squeeze the tree.
const isCutShown = () => data.threshold !== undefined && data.threshold <= 1.3 * Math.max(...data.tree.map((join) => join[2] ?? 0));
function treePicture(order, row, width) {
  const bottom = row * order.length, margin = 8;
  const heights = data.tree.map((join) => join[2]).filter((height) => height !== null);
  const deepest = Math.max(...heights, isCutShown() ? data.threshold : 0) * 1.04 || 1;
  const across = (height) => rounded(margin + (width - margin) * (1 - (height ?? deepest) / deepest));
  const places = new Map(order.map((model, i) => [model, {x: width, y: row * (i + .5), cluster: data.clusterOf?.[model]}]));
  const paths = new Map();
  const line = (cluster, path) => paths.set(colourOf(cluster), (paths.get(colourOf(cluster)) ?? "") + path);
  data.tree.forEach(([first, second, height], k) => {
    const a = places.get(first), b = places.get(second), x = across(height);
    const cluster = a.cluster === b.cluster ? a.cluster : undefined;
    line(a.cluster, `M${a.x} ${rounded(a.y)}H${x}`);
    line(b.cluster, `M${b.x} ${rounded(b.y)}H${x}`);
    line(cluster, `M${x} ${rounded(a.y)}V${rounded(b.y)}`);
    places.set(-k - 1, {x, y: (a.y + b.y) / 2, cluster});
  });
  const svg = draw("svg", {width, height: bottom + 40, role: "img", style: "flex:none",
    "aria-label": `Tree of ${order.length} models. The joins have distances from ${fixed(Math.min(...heights), 3)} to ${fixed(Math.max(...heights), 3)}.`});
  for (const [colour, path] of paths) {
    svg.append(draw("path", {d: path, style: "fill:none;stroke:" + colour, "stroke-width": row < 4 ? 1 : 2, "stroke-linecap": "square"}));
  }
  if (isCutShown()) {
    svg.append(draw("path", {d: `M${across(data.threshold)} 0V${bottom}`, class: "axis", "stroke-dasharray": "5 4"}));
  }
  svg.append(draw("path", {d: `M${margin} ${bottom + 4}H${width}`, class: "axis"}));
  for (const tick of steps(0, deepest, 5)) {
    svg.append(draw("path", {d: `M${across(tick)} ${bottom + 4}v5`, class: "axis"}),
      draw("text", {x: Math.min(across(tick), width - 8), y: bottom + 22, "text-anchor": "middle"}, String(tick)));
  }
  svg.append(draw("text", {x: (margin + width) / 2, y: bottom + 37, "text-anchor": "middle"}, "distance of a join"));
  return svg;
}

)page"
    // A canvas with a pixel a cell, which the browser enlarges: four million rectangles would not
    // be shown at all.  The colours are five stops of viridis, which rises evenly in lightness and
    // so reads in grey as well.  Whoever cannot see the picture goes from cell to cell by arrow
    // keys, and has each read out.
    R"page(// --- The heat map ---
const DIGITS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
function readCells({cells, width}) { // thousandths in base 64, all digits set for none
  const place = new Uint8Array(128);
  [...DIGITS].forEach((digit, i) => { place[digit.charCodeAt(0)] = i; });
  const values = new Float64Array(cells.length / width);
  for (let i = 0, at = 0; i < values.length; ++i) {
    let number = 0;
    for (let k = 0; k < width; ++k) number = number * 64 + place[cells.charCodeAt(at++)];
    values[i] = number === 64 ** width - 1 ? NaN : number / 1000;
  }
  return values;
}
const STOPS = [[68, 1, 84], [59, 82, 139], [33, 145, 140], [94, 201, 98], [253, 231, 37]];
function shade(part) { // 0 to 1
  const at = Math.min(Math.max(part, 0), 1) * (STOPS.length - 1), k = Math.min(Math.floor(at), STOPS.length - 2);
  return STOPS[k].map((from, i) => Math.round(from + (at - k) * (STOPS[k + 1][i] - from)));
}

function heatMap(values, order, row, low, high, say) {
  const count = order.length, size = row * count;
  const canvas = make("canvas", {width: count, height: count, tabindex: "0", role: "application",
    style: count <= size ? "image-rendering:pixelated" : "",
    "aria-label": `Heat map of ${data.matrix.of}, ${count} by ${count} models. Arrow keys go from cell to cell; each is read out.`});
  const context = canvas.getContext("2d"), image = context.createImageData(count, count);
  for (let y = 0, at = 0; y < count; ++y) {
    for (let x = 0; x < count; ++x, at += 4) {
      const value = values[order[y] * count + order[x]];
      const worth = data.matrix.high ? (value - low) / (high - low || 1) : (high - value) / (high - low || 1);
      image.data.set(x === y ? [...shade(1), 255] : Number.isNaN(value) ? [128, 128, 128, 255] : [...shade(worth), 255], at);
    }
  }
  context.putImageData(image, 0, 0);
  const mark = make("div", {hidden: ""}), cell = {x: 0, y: 0};
  const show = () => {
    mark.hidden = false;
    const edge = Math.max(row, 6);
    mark.style.cssText = `left:${(cell.x + .5) * row - edge / 2}px;top:${(cell.y + .5) * row - edge / 2}px;width:${edge}px;height:${edge}px`;
    const value = values[order[cell.y] * count + order[cell.x]];
    const [first, second] = [cell.y, cell.x].map((place) => short(bare(data.names[order[place]]), 90));
    say(cell.x === cell.y ? `${first} itself` : `${first} and ${second}: ${Number.isNaN(value) ? "no value" : data.matrix.of + " " + value.toFixed(3)}`);
  };
  const limit = (place) => Math.min(Math.max(place, 0), count - 1);
  const point = (event) => {
    const box = canvas.getBoundingClientRect();
    cell.x = limit(Math.floor((event.clientX - box.left) / box.width * count));
    cell.y = limit(Math.floor((event.clientY - box.top) / box.height * count));
    show();
  };
  canvas.addEventListener("pointermove", point);
  canvas.addEventListener("pointerdown", point);
  canvas.addEventListener("focus", show);
  canvas.addEventListener("keydown", (event) => {
    const step = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1], Home: [-count, 0], End: [count, 0]}[event.key];
    if (!step) return;
    event.preventDefault();
    cell.x = limit(cell.x + step[0]);
    cell.y = limit(cell.y + step[1]);
    show();
  });
  return make("div", {class: "cells", style: `width:${size}px;height:${size}px`}, canvas, mark);
}

function addMap(values) {
  const order = leafOrder(), count = order.length, row = Math.min(24, count <= 66 ? 660 / count : 800 / count); // with names up to 66
  const known = values.filter((value, i) => !Number.isNaN(value) && i % (count + 1) !== 0);
  const low = known.reduce((a, b) => Math.min(a, b), Infinity), high = known.reduce((a, b) => Math.max(a, b), -Infinity);
  const hasTree = data.tree?.length > 0;
  const part = section(hasTree ? "Tree and matrix" : "Matrix", data.mapNote);
  const output = make("output", {"aria-live": "polite", class: "screen"}, "Point at a cell, or move with the arrow keys, to see its pair.");
  const map = make("div", {class: "map"});
  if (hasTree) map.append(treePicture(order, row, innerWidth < 640 ? 140 : 280));
  map.append(heatMap(values, order, row, low, high, (text) => { output.textContent = text; }));
  if (row >= 10) {
    map.append(draw("svg", {width: 260, height: row * count, style: "flex:none;overflow:visible", "aria-hidden": "true"}, ...order.map((model, i) =>
      draw("text", {x: 6, y: row * (i + .5) + 4, style: "fill:" + colourOf(data.clusterOf?.[model])}, short(bare(data.names[model]), 34)))));
  }
  const ends = data.matrix.high ? [low, high] : [high, low];
  part.append(make("figure", {}, make("div", {class: "wide"}, map), output,
    make("figcaption", {}, `${data.matrix.of} from ${fixed(ends[0], 3)}`,
      make("span", {class: "scale", style: `background:linear-gradient(90deg,${STOPS.map((c) => `rgb(${c})`).join()})`}),
      `to ${fixed(ends[1], 3)}${known.length < count * (count - 1) ? ", no value grey" : ""}; rows and columns ${hasTree ? "in the order of the tree" : "cluster by cluster"}.`
      + (hasTree && isCutShown() ? " The dashed line cuts the tree into clusters; a model that stands alone is grey." : ""))));
}

)page"
    // Bins are as wide as the steps of the axis, so that a value at a tick is in the bar to its
    // right; the small number added makes up for divisions that end just below a whole number.
    R"page(// --- Histogram, with bars that begin at round numbers ---
const median = (values) => Float64Array.from(values).sort()[values.length >> 1];
function addHistogram(values, of, what, parent) {
  if (values.length < 5) return; // the table says all
  const low = values.reduce((a, b) => Math.min(a, b)), high = values.reduce((a, b) => Math.max(a, b));
  const round = steps(low, high, Math.max(8, Math.min(32, Math.sqrt(values.length))));
  const step = round.length > 1 ? round[1] - round[0] : 1, from = Math.floor(low / step + 1e-9) * step;
  const bins = Math.max(1, Math.ceil((high - from) / step - 1e-9)), counts = new Array(bins).fill(0);
  for (const value of values) ++counts[Math.min(bins - 1, Math.max(0, Math.floor((value - from) / step + 1e-9)))];
  const width = 440, height = 200, left = 52, top = Math.max(...counts), reach = (width - left - 12) / bins;
  const across = (value) => rounded(left + (value - from) / step * reach);
  const up = (count) => rounded(height - (height - 22) * count / top);
  const summary = `${values.length} ${what}, from ${fixed(low, 3)} to ${fixed(high, 3)}, median ${fixed(median(values), 3)}.`;
  const svg = draw("svg", {width, height: height + 42, viewBox: `0 0 ${width} ${height + 42}`, role: "img", "aria-label": `Histogram of ${of}: ${summary}`});
  svg.append(draw("path", {style: "fill:" + COLOURS[0], d: counts.map((count, i) =>
    count ? `M${rounded(left + reach * i + .5)} ${height}V${up(count)}H${rounded(left + reach * (i + 1) - .5)}V${height}Z` : "").join("")}));
  svg.append(draw("path", {class: "axis", d: `M${left} 22V${height}H${width - 12}`}));
  for (const tick of steps(from, from + step * bins, 8)) {
    svg.append(draw("path", {d: `M${across(tick)} ${height}v5`, class: "axis"}),
      draw("text", {x: across(tick), y: height + 19, "text-anchor": "middle"}, String(tick)));
  }
  for (const tick of steps(0, top, 4)) {
    if (Number.isInteger(tick)) svg.append(draw("text", {x: left - 8, y: up(tick) + 4, "text-anchor": "end"}, String(tick)));
  }
  svg.append(draw("text", {x: (left + width) / 2, y: height + 37, "text-anchor": "middle"}, of), draw("text", {x: 8, y: 11}, what));
  section("Histogram", "", parent).append(make("figure", {}, svg, make("figcaption", {}, summary)));
}

)page"
    // One bar for each residue of the experiment, in chain order, and pointing at one marks its
    // place in the traces beside it (`mark`).
    R"page(// --- Distances along the chain ---
// A residue: [name 1, name 2, distance or null, in the subset, domain]; names are "" in gaps.
// Of complexes names begin with their chain, "A:GLY 17".
const chainOf = (name) => name.slice(0, Math.max(0, name.lastIndexOf(":")));
function addDistances(part, pair, mark) {
  const shown = pair.residues.filter((residue) => residue[0] !== "");
  const known = shown.filter((residue) => residue[2] !== null);
  if (!known.length) return;
  // What is drawn wider than the screen is shown smaller, with its letters.
  const [least, most] = innerWidth < 640 ? [360, 600] : [560, 1150];
  const width = Math.max(least, Math.min(most, shown.length * 5)), height = 240, left = 48;
  const top = Math.max(...known.map((residue) => residue[2]), 1, (pair.cutoff ?? 0) * 1.04);
  const step = (width - left - 12) / shown.length;
  const up = (distance) => rounded(height - (height - 22) * distance / top);
  const matched = shown.filter((residue) => residue[3]).length;
  const farthest = Math.max(...known.map((residue) => residue[2]));
  const summary = `${known.length} residue pairs of ${shown.length} residues, ${matched} of them in the superposition; distances up to ${fixed(farthest, 2)} Å.`;
  const svg = draw("svg", {width, height: height + 56, viewBox: `0 0 ${width} ${height + 56}`, tabindex: "0", role: "application",
    "aria-label": `Distances along the chain. ${summary} Arrow keys go from residue to residue; each is read out.`});
  const bars = new Map();
  shown.forEach(([, , distance, isMatched, domain], i) => {
    if (distance === null) return;
    const colour = isMatched ? COLOURS[(domain - 1) % COLOURS.length] : GREY, x = left + step * i;
    let path = `M${rounded(x)} ${height}V${up(distance)}H${rounded(x + step * .8)}V${height}Z`;
    if (isMatched) path += `M${rounded(x)} ${height + 3}h${rounded(step) + .2}v7h${-rounded(step) - .2}Z`;
    bars.set(colour, (bars.get(colour) ?? "") + path);
  });
  for (const [colour, path] of bars) svg.append(draw("path", {d: path, style: "fill:" + colour}));
  svg.append(draw("path", {class: "axis", d: `M${left} 22V${height}H${width - 12}`}));
  for (const tick of steps(0, top, 5)) svg.append(draw("text", {x: left - 8, y: up(tick) + 4, "text-anchor": "end"}, String(tick)));
  if (pair.cutoff) svg.append(draw("path", {class: "axis", "stroke-dasharray": "5 4", d: `M${left} ${up(pair.cutoff)}H${width - 12}`}));
  shown.forEach(([name], i) => {
    const chain = chainOf(name), x = rounded(left + step * (i - .1));
    if (i > 0 && chain === chainOf(shown[i - 1][0]) || chain === "") return;
    if (i > 0) svg.append(draw("path", {class: "axis", d: `M${x} 14V${height + 12}`}));
    svg.append(draw("text", {x: x + 4, y: 25}, short(chain, 8)));
  });
  const every = Math.ceil(shown.length / (width < 500 ? 9 : 14));
  shown.forEach((residue, i) => {
    if (i % every === 0) svg.append(draw("text", {x: rounded(left + step * (i + .5)), y: height + 28, "text-anchor": "middle"}, residue[0].slice(residue[0].lastIndexOf(" ") + 1)));
  });
  svg.append(draw("text", {x: (left + width) / 2, y: height + 48, "text-anchor": "middle"}, "residue of the experiment"),
    draw("text", {x: 8, y: 11}, "distance, Å"));
  const output = make("output", {"aria-live": "polite", class: "screen"}, "Point at a residue, or move with the arrow keys.");
  const line = draw("path", {class: "mark"});
  svg.append(line);
  let at = 0;
  const show = (to) => {
    at = Math.min(Math.max(to, 0), shown.length - 1);
    const [first, second, distance] = shown[at];
    output.textContent = distance === null ? `${first}: no partner` : `${first} and ${second}: ${fixed(distance, 3)} Å`;
    line.setAttribute("d", `M${rounded(left + step * (at + .4))} 22V${height + 12}`);
    mark(at, second ? pair.residues.indexOf(shown[at]) : null);
  };
  svg.addEventListener("pointermove", (event) => {
    const box = svg.getBoundingClientRect();
    show(Math.floor(((event.clientX - box.left) / box.width * width - left) / step));
  });
  svg.addEventListener("focus", () => show(at));
  svg.addEventListener("keydown", (event) => {
    const by = {ArrowLeft: -1, ArrowRight: 1, Home: -shown.length, End: shown.length}[event.key];
    if (by) { event.preventDefault(); show(at + by); }
  });
  const grey = shown.some((residue) => residue[2] !== null && !residue[3]);
  part.append(make("figure", {}, svg, output, make("figcaption", {}, summary +
    ` Colours are domains${grey ? ", grey is outside of them" : ""}; the strip below shows the matched stretches${pair.cutoff ? ", the dashed line the cut-off." : "."}`)));
}

)page"
    // A projection without perspective onto the plane of the two longest directions of the
    // experiment, which is how most of a protein is seen at once.  Segments are painted from back
    // to front; there is no depth buffer, and none is needed for lines.  Atoms more than 4.2 Å
    // apart are no neighbours, and the line between them is dashed.
    R"page(// --- Both traces, laid over each other, on a canvas that turns ---
function addTrace(part, traces) { // each a list of [x, y, z, highlighted, ends a chain]; the middle is the origin
  const canvas = make("canvas", {class: "trace", tabindex: "0", role: "application",
    "aria-label": "C-alpha traces of experiment (blue) and prediction (green), laid over each other. Arrow keys turn, plus and minus zoom, 0 begins anew."});
  const middle = [0, 1, 2].map((k) => traces[0].reduce((sum, atom) => sum + atom[k], 0) / (traces[0].length || 1));
  const reach = Math.max(1, ...traces.flat().map((atom) => Math.hypot(...middle.map((m, k) => atom[k] - m))));
  const colours = [["#79aede", "#3b7be0"], ["#8cc66e", "#27a83c"]], ends = ["N", "C"];
  const dot = (a, b) => a.reduce((sum, x, k) => sum + x * b[k], 0);
  const unit = (a) => { const length = Math.sqrt(dot(a, a)) || 1; return a.map((x) => x / length); };
  // The longest direction of the experiment (power iteration on its covariance), across `without`.
  const longest = (start, without) => {
    let axis = start;
    for (let i = 0; i < 50; ++i) {
      const sum = [0, 0, 0];
      for (const atom of traces[0]) {
        const place = middle.map((m, k) => atom[k] - m), along = dot(place, axis);
        place.forEach((x, k) => { sum[k] += along * x; });
      }
      const back = without ? dot(sum, without) : 0;
      axis = unit(sum.map((x, k) => x - back * (without ? without[k] : 0)));
    }
    return axis;
  };
  const across = longest([1, .9, .8]), up = longest([.3, -.7, .9], across);
  const toward = [0, 1, 2].map((k) => across[(k + 1) % 3] * up[(k + 2) % 3] - across[(k + 2) % 3] * up[(k + 1) % 3]);
  let axes = Math.abs(dot(toward, toward) - 1) < .01 ? [across, up, toward] : [[1, 0, 0], [0, 1, 0], [0, 0, 1]];
  // As large as fits in the beginning.
  const extents = [0, 1].map((k) => Math.max(1, ...traces.flat().map((atom) => Math.abs(dot(axes[k], middle.map((m, c) => atom[c] - m))))));
  let zoom = 1, spread = 0, marked = [];
  const home = axes;
  const held = new Map();
  const turn = (x, y) => {
    const [cx, sx, cy, sy] = [Math.cos(x), Math.sin(x), Math.cos(y), Math.sin(y)];
    const [right, above, near] = axes;
    const turned = near.map((z, k) => cx * z - sx * right[k]);
    axes = [right.map((r, k) => cx * r + sx * near[k]), above.map((a, k) => cy * a - sy * turned[k]),
      turned.map((z, k) => cy * z + sy * above[k])];
  };
  const paint = () => {
    const ratio = devicePixelRatio || 1, wide = canvas.clientWidth || 640, high = canvas.clientHeight || 440;
    canvas.width = wide * ratio; canvas.height = high * ratio;
    const context = canvas.getContext("2d"), segments = [];
    const scale = zoom * Math.min((wide / 2 - 24) / extents[0], (high / 2 - 24) / extents[1]);
    const onCanvas = (place) => [wide / 2 + scale * place[0], high / 2 - scale * place[1]];
    const places = traces.map((trace) => trace.map((atom) => axes.map((axis) => dot(axis, middle.map((m, k) => atom[k] - m)))));
    context.scale(ratio, ratio); context.lineCap = "round";
    traces.forEach((trace, which) => {
      for (let i = 1; i < trace.length; ++i) {
        if (trace[i - 1][4]) continue; // the end of a chain
        const isBreak = Math.hypot(...[0, 1, 2].map((k) => trace[i][k] - trace[i - 1][k])) > 4.2;
        const [a, b] = [places[which][i - 1], places[which][i]];
        segments.push({a, b, which, thick: trace[i - 1][3] && trace[i][3], isBreak, depth: a[2] + b[2]});
      }
    });
    segments.sort((a, b) => a.depth - b.depth);
    for (const {a, b, which, thick, isBreak, depth} of segments) {
      context.globalAlpha = .5 + .5 * Math.min(Math.max(.5 + depth / reach / 4, 0), 1);
      context.strokeStyle = colours[which][thick ? 1 : 0];
      context.lineWidth = (thick ? 5 : 2) * (isBreak ? .4 : 1);
      context.setLineDash(isBreak ? [3, 5] : []);
      context.beginPath();
      context.moveTo(...onCanvas(a));
      context.lineTo(...onCanvas(b));
      context.stroke();
    }
    context.globalAlpha = 1; context.setLineDash([]);
    context.font = "bold 13px system-ui, sans-serif"; context.fillStyle = colours[0][1];
    context.strokeStyle = getComputedStyle(document.body).backgroundColor; context.lineWidth = 4; // around the letters
    [places[0][0], places[0].at(-1)].forEach((place, i) => {
      if (!place) return;
      const at = onCanvas(place).map((x, k) => x + (k ? -6 : 6));
      context.strokeText(ends[i], ...at);
      context.fillText(ends[i], ...at);
    });
    context.strokeStyle = "#d55e00"; context.lineWidth = 2.5;
    for (const place of marked.map((residue, which) => places[which][residue])) {
      if (!place) continue;
      context.beginPath();
      context.arc(...onCanvas(place), 7, 0, 7);
      context.stroke();
    }
  };
  const enlarge = (factor) => { zoom = Math.min(20, Math.max(.2, zoom * factor)); paint(); };
  const apart = () => { const [a, b] = [...held.values()]; return Math.hypot(a.x - b.x, a.y - b.y); };
  canvas.addEventListener("pointerdown", (event) => {
    canvas.setPointerCapture(event.pointerId);
    held.set(event.pointerId, {x: event.clientX, y: event.clientY});
    if (held.size === 2) spread = apart();
  });
  canvas.addEventListener("pointermove", (event) => {
    const last = held.get(event.pointerId);
    if (!last) return;
    held.set(event.pointerId, {x: event.clientX, y: event.clientY});
    if (held.size === 2) { const now = apart(); enlarge(now / (spread || 1)); spread = now; return; }
    turn((event.clientX - last.x) * .01, (event.clientY - last.y) * .01);
    paint();
  });
  for (const end of ["pointerup", "pointercancel"]) canvas.addEventListener(end, (event) => held.delete(event.pointerId));
  canvas.addEventListener("wheel", (event) => { event.preventDefault(); enlarge(Math.exp(-event.deltaY * .001)); }, {passive: false});
  canvas.addEventListener("keydown", (event) => {
    const by = {ArrowLeft: [-.1, 0], ArrowRight: [.1, 0], ArrowUp: [0, -.1], ArrowDown: [0, .1]}[event.key];
    const factor = {"+": 1.1, "=": 1.1, "-": 1 / 1.1}[event.key];
    if (event.key === "0") { axes = home; zoom = 1; paint(); }
    if (by) { event.preventDefault(); turn(...by); paint(); } else if (factor) enlarge(factor);
  });
  part.append(make("figure", {}, canvas, make("figcaption", {},
    "Experiment blue, prediction green; thick and dark where the superposition rests on it.", make("span", {class: "screen"}, " Drag or use the arrow keys to turn, the wheel, two fingers, + or - to zoom, 0 to begin anew."))));
  new ResizeObserver(paint).observe(canvas);
  paint();
  return (residues) => { marked = residues; paint(); };
}

)page"
    // In groups of ten and lines of sixty, as the program prints it.
    R"page(function chainBlocks(residues) { // [first column, chain of the experiment, chain of the prediction]
  const blocks = [];
  residues.forEach(([first, second], column) => {
    const last = blocks.at(-1);
    const differs = (name, chain) => name !== "" && chain !== null && chainOf(name) !== chain;
    if (!last || differs(first, last[1]) || differs(second, last[2])) blocks.push([column, null, null]);
    if (first !== "") blocks.at(-1)[1] = chainOf(first);
    if (second !== "") blocks.at(-1)[2] = chainOf(second);
  });
  return blocks;
}
function addAlignment(part, rows, residues) {
  const lines = [], blocks = chainBlocks(residues);
  blocks.forEach(([from, experiment, prediction], i) => {
    const end = blocks[i + 1]?.[0] ?? rows[0].length;
    if (experiment || prediction) lines.push(`Chains      prediction ${prediction ?? "-"}, experiment ${experiment ?? "-"}`, "");
    for (let at = from; at < end; at += 60) {
      const [first, marks, second] = rows.map((row) => row.slice(at, Math.min(at + 60, end)).replace(/.{10}(?=.)/g, "$& "));
      lines.push(`Prediction  ${first}`, `            ${marks}`, `Experiment  ${second}`, "");
    }
  });
  part.append(make("h3", {}, "Alignment"), make("p", {class: "soft"}, "| in the superposition, ' paired outside of it"),
    make("div", {class: "wide"}, make("pre", {tabindex: "0"}, lines.join("\n"))));
}

function addMotion(part, pair) {
  part.append(make("h3", {}, "How the prediction is moved"), make("p", {class: "soft"},
    "R, c1 and c2 as below: this moves the prediction onto the experiment: p' = R (p - c2) + c1, in Å."));
  const row = (name, numbers, digits) => make("tr", {}, make("th", {scope: "row", class: "text"}, name), ...numbers.map((number) => make("td", {}, number.toFixed(digits))));
  const domains = pair.motions.flatMap(({rotation, from, to}, i) => [
    ...pair.motions.length > 1 ? [make("tr", {}, make("th", {colspan: "4", class: "text"}, make("b", {}, `Domain ${i + 1}`)))] : [],
    ...[0, 1, 2].map((k) => row("R, row " + (k + 1), rotation.slice(3 * k, 3 * k + 3), 6)),
    row("c2 (prediction)", from, 3), row("c1 (experiment)", to, 3)]);
  part.append(make("div", {class: "wide"}, make("table", {"aria-label": "Superposition"}, make("tbody", {}, ...domains))));
}

function addPair(pair, figures) {
  const part = section(short(folder ? pair.title.replace(folder, "") : pair.title, 120), pair.note);
  const row = sideBySide(part), pictures = make("div"), marks = [];
  let showMarks = () => {};
  if (pair.traces) {
    // The traces have an atom for each residue, unless some have no C-alpha atom.
    const counts = [0, 1].map((which) => pair.residues.filter((residue) => residue[which] !== "").length);
    const setMarks = addTrace(row, pair.traces);
    if (counts.every((count, which) => count === pair.traces[which].length)) showMarks = setMarks;
  }
  addDistances(pictures, pair, (first, column) => {
    const second = column === null ? -1 : pair.residues.slice(0, column).filter((residue) => residue[1] !== "").length;
    showMarks([first, second]);
  });
  row.append(pictures);
  const below = sideBySide(part);
  if (figures) { const table = make("div", {class: "table"}, make("h3", {}, figures.title)); addTable(table, figures); below.append(table); }
  const texts = make("div", {class: "texts"});
  if (pair.alignment?.[0] && /\S/.test(pair.alignment[1])) addAlignment(texts, pair.alignment, pair.residues);
  if (pair.motions?.length) addMotion(texts, pair);
  below.append(texts);
  const details = make("details", {}, make("summary", {}, "Residue by residue"));
  addTable(details, {title: "Residue by residue", columns: [{name: "Experiment", header: true}, {name: "Prediction"},
    {name: "Distance, Å", digits: 3}, {name: "In the superposition"}, {name: "Domain", digits: 0}],
    rows: pair.residues.map(([first, second, distance, isMatched, domain]) => [first, second, distance, isMatched ? "yes" : "no", domain || null])});
  part.append(details);
}

)page"
    // A few figures above all else, for readers who look for one number.  They are taken out of the
    // tables by the names of their columns, so that they cannot differ from these.
    R"page(// --- In short: the answers that a reader looks for first ---
const FAILURES = {no_pairs: "No residues could be paired, so that nothing was superposed. Are the residues numbered alike?",
  no_fit: "No superposition was found.", not_significant: "What was superposed is too little to count."};
function cards(tables, values) {
  const found = [], [first] = tables, best = first?.rows[0];
  const card = (value, about) => { if (value !== null && value !== undefined && value !== "") found.push([value, about]); };
  const column = (name) => first.columns.findIndex((one) => one.name === name);
  if (data.matrix || data.scores) {
    if (best) card(short(bare(best[1]), 40), data.scores ? `best by ${data.scores.of}` : column("Jury") < 0 ? "closest to the others" : "shares most with the others");
    if (best && data.scores) card(fixed(best[column(data.scores.of.replace(", Å", ""))] ?? null, 3), `its ${data.scores.of}`);
    if (data.clusterOf) card(coloured.size ? `${Math.max(...[...coloured.keys()].map((one) => sizes.get(one)))} of ${data.names.length}` : "", "models in the largest cluster");
    const clusters = [...sizes.keys()].filter((one) => one !== data.unassigned).length;
    if (data.clusterOf) card(clusters, `${clusters === 1 ? "cluster" : "clusters"} at threshold ${data.threshold}`);
    const [of, unit] = (data.scores ?? data.matrix).of.split(", ");
    if (values.length) card(fixed(median(values), 3), `${unit ? unit + ", " : ""}median ${of} of ${data.scores ? "the" : "two"} models`);
  } else if (data.pair) {
    const rows = new Map(first.rows.map((row) => [row[0], row]));
    const domains = Number(rows.get("Domains")?.[1] ?? 1);
    const about = {RMSD: domains > 1 ? "Å RMSD of the first domain" : "Å RMSD", Pairs: "residues superposed" + (domains > 1 ? `, in ${domains} domains` : "")};
    for (const name of ["GDT", "GDT_TS", "TM-score", "lDDT", "MaxSub", "RMSD", "Pairs"]) if (rows.has(name)) card(rows.get(name)[1], about[name] ?? name);
  }
  const failure = FAILURES[data.pair && !data.scores ? first.rows.find((row) => row[0] === "Status")?.[1] : ""];
  if (failure) return make("p", {}, make("b", {}, failure));
  return make("ul", {class: "cards"}, ...found.map(([value, about]) => make("li", {}, make("b", {}, String(value)), make("span", {}, about))));
}

)page"
    // From above: title, command and facts, figures; ranking and histogram beside each other; the
    // map; the other tables; the superposition; what was skipped comes last.
    R"page(// --- The page ---
document.title = short(data.title, 120);
const tables = data.tables.filter((one) => !one.last), [main, ...others] = tables;
const scores = data.matrix ? readCells(data.matrix) : null, count = data.names?.length;
const values = scores ? [...scores.filter((value, i) => i % count < Math.floor(i / count) && !Number.isNaN(value))]
  : (data.scores?.values ?? []).filter((value) => value !== null);
const [[, command], ...facts] = data.facts;
if (folder) facts.splice(facts.findIndex(([name]) => name === "Models") + 1, 0, ["In the folder", folder]);
page.append(make("h1", {}, short(data.title, 200)),
  make("p", command.length < 800 ? {class: "command"} : {class: "command long", tabindex: "0", role: "region", "aria-label": "Command"}, command),
  make("dl", {class: "facts"}, ...facts.map(([name, value]) =>
    make("div", {}, make("dt", {}, name + " "), make("dd", {title: value}, short(value === folder ? value : bare(value), 120))))),
  cards(tables, values));
const ranks = data.matrix || data.scores;
if (ranks || !data.pair) {
  const row = sideBySide(), part = section(main.title, main.note, row);
  part.className = "table";
  addTable(part, main);
  if (data.matrix) addHistogram(values, data.matrix.of, "pairs of models", row);
  else if (data.scores) addHistogram(values, data.scores.of, "models", row);
}
if (scores) addMap(scores);
for (const table of others) addTable(section(table.title, table.note), table);
if (data.pair) addPair(data.pair, ranks ? null : main);
for (const table of data.tables.filter((one) => one.last)) addTable(section(table.title, table.note), table);
</script>
</body>
</html>
)page";

}  // namespace tervolanda
