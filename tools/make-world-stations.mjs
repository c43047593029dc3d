// The table of tools/make-world-stations on standard output, the report on standard error. Its form and
// every rule by which stations and constituents are chosen are written down in docs/local-services.md.
//
//   node make-world-stations.mjs PRINT-HARMONICS-PROGRAM
import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { allStations } from "@neaps/tide-database";
import { astro, constituents as models } from "@neaps/tide-predictor";

const firstYear = 2000;
const lastYear = 2040;
const agency = "US National Oceanic and Atmospheric Administration";
const largestLoss = 0.07; // share of the amplitudes of daily and faster constituents

const ours = JSON.parse(execFileSync(process.argv[2], ["--constituents", firstYear, lastYear], { maxBuffer: 1 << 26 }));
const ourNames = new Map(ours.map((c) => [c.name, c]));
const halfTurn = (degrees) => ((((degrees + 180) % 360) + 360) % 360) - 180;

// How far a model of the package and a constituent of ours drift apart over the years, and by how much
// the model's argument leads in the mean.
function difference(model, constituent) {
  const leads = [];
  let factors = 0;
  for (let year = firstYear; year <= lastYear; ++year) {
    const middle = new Date(Date.UTC(year, 6, 2, 12));
    const hours = (middle - Date.UTC(year, 0, 1)) / 3600e3;
    const { f, u } = model.correction(astro(middle));
    const argument = constituent.arguments[year - firstYear] + constituent.speed * hours;
    leads.push(halfTurn(model.value(astro(middle)) + u - argument));
    factors = Math.max(factors, Math.abs(f - constituent.factors[year - firstYear]));
  }
  const fromFirst = leads.map((lead) => halfTurn(lead - leads[0]));
  const mean = leads[0] + fromFirst.reduce((a, b) => a + b) / leads.length;
  return { turn: Math.round(halfTurn(mean)), drift: Math.max(...leads.map((l) => Math.abs(halfTurn(l - mean)))), factors };
}

// Our constituent for one of the package, and what to take from its phases. NOAA's constants go by NOAA's
// names and arguments, as ours do; others by the package's own definitions, wherever ours stay with them.
const noaaNames = { LAM2: "LDA2", RHO: "RHO1" };
const chosen = new Map();
function mapping(name, source) {
  if (source === agency) {
    const own = noaaNames[name] ?? name;
    return ourNames.has(own) ? { name: own, turn: 0 } : undefined;
  }
  if (!chosen.has(name)) {
    const model = models[name];
    const near = model ? ours.filter((c) => Math.abs(c.speed - model.speed) < 1e-4) : [];
    const [best] = near.map((c) => ({ name: c.name, ...difference(model, c) }))
      .filter((c) => c.drift <= 10 && c.factors <= 0.25).sort((a, b) => a.drift - b.drift || a.factors - b.factors);
    chosen.set(name, best);
  }
  return chosen.get(name);
}

// Slower than a day: shifts of the mean level, which move no high or low.
const isSlow = (name) => /^(SA|SSA|MM|MF|MSF|MSM|MTM|MSQM)(_|$)/i.test(name);

// Whole millimetres and degrees, tenths of a degree where they make more than half a millimetre.
function constantsOf(station, lost) {
  const parts = new Map();
  let all = 0;
  let gone = 0;
  for (const { name, amplitude, phase } of station.harmonic_constituents) {
    const target = mapping(name, station.source.name);
    const weight = isSlow(name) ? 0 : amplitude;
    all += weight;
    lost.all += amplitude;
    const part = target && (parts.get(target.name) ?? { x: 0, y: 0 });
    if (!target) {
      gone += weight;
      lost.unmapped += amplitude;
      lost.names.set(name, (lost.names.get(name) ?? 0) + amplitude);
      continue;
    }
    const angle = ((phase - target.turn) * Math.PI) / 180;
    part.x += amplitude * Math.cos(angle);
    part.y += amplitude * Math.sin(angle);
    parts.set(target.name, part);
  }
  const constants = new Map();
  for (const [name, { x, y }] of parts) {
    const millimetres = Math.round(Math.hypot(x, y) * 1000);
    if (millimetres === 0) {
      lost.small += Math.hypot(x, y);
      continue;
    }
    const unit = millimetres < 50 ? 1 : 10;
    const degrees = Math.round((Math.atan2(y, x) * 180 * unit) / Math.PI) / unit;
    constants.set(name, `${millimetres},${+(((degrees % 360) + 360) % 360).toFixed(1)}`);
  }
  return { constants, loss: all > 0 ? gone / all : 1 };
}

const isPlatform = (name) => /\bplatform\b/i.test(name);
const isNautical = (zone) => zone.startsWith("Etc/");

// The first fields of a line. What the package does not know is empty: a nautical zone, given by longitude
// alone, is no place's zone; a platform's designation is no place's name; and off every known zone and
// place the country is only that of whoever put up the gauge.
function fieldsOf(station) {
  const place = station.locality || station.region || "";
  const zone = isNautical(station.timezone) ? "" : station.timezone;
  return [station.id, +station.latitude.toFixed(5), +station.longitude.toFixed(5),
    isPlatform(station.name) ? "" : station.name, place, zone || place ? station.country : "", zone];
}

function datumOf(station) {
  const mean = station.datums.MSL - station.datums[station.chart_datum];
  return Number.isFinite(mean) ? [station.chart_datum, +mean.toFixed(3)] : ["MSL", 0];
}

const dropped = new Map();
const drop = (why) => void dropped.set(why, (dropped.get(why) ?? 0) + 1);
const lost = { all: 0, unmapped: 0, small: 0, names: new Map() };
const sources = new Map();
const references = new Map();
const subordinates = [];
const places = new Set();

function sourceOf({ source, license, attribution }) {
  const line = ["s", source.name, license.type, license.url, attribution].join("~");
  if (!sources.has(line)) sources.set(line, sources.size);
  return sources.get(line);
}

function whyNot(station) {
  if (station.quality?.accepted !== true) return `quality: ${station.quality?.reason ?? "not judged"}`;
  if (!station.license.commercial_use) return `licence: ${station.license.type}`;
  const place = `${station.latitude.toFixed(5)},${station.longitude.toFixed(5)}`;
  if (places.has(place)) return "the position of another";
  places.add(place);
  return undefined;
}

const tides = allStations.filter((s) => s.kind === "tide").sort((a, b) => (a.id < b.id ? -1 : 1));
for (const station of tides) {
  const why = whyNot(station);
  if (why) {
    drop(why);
  } else if (station.type === "subordinate") {
    subordinates.push(station);
  } else {
    const { constants, loss } = constantsOf(station, lost);
    if (loss > largestLoss) drop("constituents that have no equal here");
    else references.set(station.id, { station, constants });
  }
}

const uses = new Map();
for (const { constants } of references.values())
  for (const name of constants.keys()) uses.set(name, (uses.get(name) ?? 0) + 1);
const columns = [...uses.keys()].sort((a, b) => uses.get(b) - uses.get(a) || (a < b ? -1 : 1));

const points = [...references.values()].map(({ station, constants }) => {
  const row = columns.map((name) => constants.get(name) ?? "").join(";").replace(/;+$/, "");
  return ["p", ...fieldsOf(station), sourceOf(station), ...datumOf(station), row].join("~");
});
const offsets = [];
for (const station of subordinates) {
  const { reference, time, height } = station.offsets;
  if (!references.has(reference)) {
    drop("no reference");
    continue;
  }
  const side = (which) => (height.type === "ratio" ? [time[which], +height[which].toFixed(3), 0]
    : [time[which], 1, +height[which].toFixed(3)]).join(",");
  offsets.push(["o", ...fieldsOf(station), sourceOf(station), reference, side("high"), side("low")].join("~"));
}

const version = JSON.parse(readFileSync("node_modules/@neaps/tide-database/package.json")).version;
const lines = ["marlune world stations 1",
  `# Tide stations of the world, from the npm package @neaps/tide-database ${version}, changed: a selection,`,
  "# rounded, with phases turned to other definitions. Sources, licences and notices: the lines s, and the file",
  "# README.md beside this one. NOT FOR NAVIGATION.",
  ...sources.keys(), ["c", ...columns].join("~"), ...points, ...offsets];
const fields = lines.slice(4 + sources.size).map((line) => line.split("~").length);
const wanted = [columns.length + 1, 12, 12];
for (const [i, count] of fields.entries())
  if (count !== wanted[Math.min(i, 1)]) throw new Error(`a field holds a separator: ${lines[4 + sources.size + i]}`);
process.stdout.write(`${lines.join("\n")}\n`);

const percent = (part) => `${((100 * part) / lost.all).toFixed(2)} %`;
const count = (index) => [...points, ...offsets].filter((line) => line.split("~")[index] === "").length;
console.error(`${tides.length} tide stations of ${allStations.length} records, ${points.length + offsets.length} kept: ` +
  `${points.length} with constants, ${offsets.length} with offsets`);
for (const [why, number] of [...dropped].sort()) console.error(`  dropped ${number}: ${why}`);
console.error(`without name ${count(4)}, city ${count(5)}, country ${count(6)}, zone ${count(7)}`);
console.error(`amplitudes lost: ${percent(lost.unmapped)} without an equal here, ${percent(lost.small)} under half a millimetre`);
const largest = [...lost.names].sort((a, b) => b[1] - a[1]).slice(0, 12);
console.error(`  ${largest.map(([name, sum]) => `${name} ${sum.toFixed(1)} m`).join(", ")} in sum`);
const turned = [...chosen].filter(([, c]) => c && Math.abs(c.turn) > 1);
console.error(`turned: ${turned.map(([name, c]) => `${name} as ${c.name} by ${c.turn}`).join(", ")}`);
