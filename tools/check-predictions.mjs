// The comparison of tools/check-predictions, for one year and some station numbers. Three runs each:
//
//   shared  our constants on both sides, only the constituents that both sides define alike, around the
//           middle of the year: there our yearly node factors and their daily ones are the same, so
//           what is left is the arithmetic
//   ours    our constants on both sides, all of them, the whole year
//   newest  our constants against those of the other side's database, the whole year
//
// Fails when the first is further apart than rounding explains, or the others than node factors,
// definitions and newer constants do.
import { execFileSync } from "node:child_process";
import { stationsById } from "@neaps/tide-database";
import { astro, constituents as models, createTidePredictor } from "@neaps/tide-predictor";
import { match, percentile95, spread } from "./compare-extremes.mjs";

const [program, yearText, ...numbers] = process.argv.slice(2);
const year = +yearText;
const start = new Date(Date.UTC(year, 0, 1));
const end = new Date(Date.UTC(year + 1, 0, 1));
const middle = new Date(Date.UTC(year, 6, 2));

const ask = (...args) => JSON.parse(execFileSync(program, args, { maxBuffer: 1 << 26 }));
const eventsOf = (data) => data.extremes.map(([time, level, high]) => ({ time, level, high }));

// With nothing filtered away, so that every turn of the curve is compared.
function predict(constituents, meanLevel, offsets) {
  return createTidePredictor(constituents, { offset: meanLevel, prominenceThreshold: 0 })
    .getExtremesPrediction({ start, end, offsets })
    .map((e) => ({ time: e.time.getTime() / 1000, level: e.level, high: e.high }));
}

const offsetsOf = (data) => ({
  time: { high: data.high[0] / 60, low: data.low[0] / 60 },
  height: { high: data.high[1], low: data.low[1], type: "ratio" },
});

// Same speed, same argument at the year's start, same node factor at its middle.
function definedAlike(ours) {
  const model = models[ours.name];
  if (!model) return false;
  const { f, u } = model.correction(astro(middle));
  const turn = (((model.value(astro(start)) + u - ours.argument + 180) % 360) + 360) % 360 - 180;
  return Math.abs(turn) < 0.5 && Math.abs(f - ours.factor) < 0.005 && Math.abs(model.speed - ours.speed) < 1e-5;
}

const nearMiddle = (e) => Math.abs(e.time - middle / 1000) < 10 * 86400;
let failed = false;
console.log("station run | ours theirs matched | minutes: median 95% max mean | cm: median 95% max mean");
for (const number of numbers) {
  const data = ask(number, yearText);
  const alike = data.constituents.filter(definedAlike);
  const shared = ask(number, yearText, alike.map((c) => c.name).join(","));
  const left = data.constituents.filter((c) => !alike.includes(c));
  const cm = (list) => (100 * list.reduce((sum, c) => sum + c.amplitude, 0)).toFixed(1);
  console.log(`${number}: ${alike.length} constituents of ${cm(alike)} cm defined alike; ` +
    `${left.length} of ${cm(left)} cm differently or by us alone`);
  const station = stationsById.get(`noaa/${number}`);
  const newestMean = station.datums.MSL - station.datums[station.chart_datum];
  const offsets = offsetsOf(data);
  const runs = [
    ["shared", eventsOf(shared).filter(nearMiddle),
      predict(shared.constituents, shared.datumOffset, offsets).filter(nearMiddle), 1, 0.5, 0.95],
    ["ours", eventsOf(data), predict(data.constituents, data.datumOffset, offsets), 20, 35, 0.95],
    ["newest", eventsOf(data), predict(station.harmonic_constituents, newestMean, station.offsets), 60, 35, 0.9],
  ];
  for (const [label, ours, theirs, minutesBound, centimetresBound, matchedBound] of runs) {
    const pairs = match(ours, theirs);
    const minutes = pairs.map((p) => p.minutes);
    const centimetres = pairs.map((p) => p.centimetres);
    console.log(`${number} ${label} | ${ours.length} ${theirs.length} ${pairs.length} | ` +
      `${spread(minutes)} | ${spread(centimetres)}`);
    if (pairs.length < matchedBound * ours.length || percentile95(minutes) > minutesBound ||
        percentile95(centimetres) > centimetresBound) {
      console.log(`  too far apart: wanted ${matchedBound} matched, 95 % within ${minutesBound} minutes and ` +
        `${centimetresBound} cm`);
      failed = true;
    }
  }
}
process.exit(failed ? 1 : 0);
