// The comparison of tools/check-predictions for the world's table: a year of stations drawn from it evenly,
// ours from the table, theirs from the package's own constants, all of them, with its own definitions. Fails
// when the typical station is further apart than rounding, left-out constituents and the drift of node
// factors within a year explain.
import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { stationsById } from "@neaps/tide-database";
import { createTidePredictor } from "@neaps/tide-predictor";
import { match, percentile95, spread } from "./compare-extremes.mjs";

const [program, yearText, table, countText] = process.argv.slice(2);
const start = new Date(Date.UTC(+yearText, 0, 1));
const end = new Date(Date.UTC(+yearText + 1, 0, 1));

function theirsOf(station) {
  const mean = station.datums.MSL - station.datums[station.chart_datum];
  return createTidePredictor(station.harmonic_constituents, { offset: Number.isFinite(mean) ? mean : 0, prominenceThreshold: 0 })
    .getExtremesPrediction({ start, end, offsets: station.offsets })
    .map((e) => ({ time: e.time.getTime() / 1000, level: e.level, high: e.high }));
}

const keys = readFileSync(table, "utf8").split("\n").filter((line) => /^[po]~/.test(line)).map((line) => line.split("~")[1]);
const step = Math.floor(keys.length / +countText);
const all = [];
for (let i = Math.floor(step / 2); i < keys.length; i += step) {
  const data = JSON.parse(execFileSync(program, [keys[i], yearText, table], { maxBuffer: 1 << 26 }));
  const ours = data.extremes.map(([time, level, high]) => ({ time, level, high }));
  const theirs = theirsOf(stationsById.get(keys[i]));
  const pairs = match(ours, theirs);
  const minutes = pairs.map((p) => p.minutes);
  const centimetres = pairs.map((p) => p.centimetres);
  all.push({ matched: pairs.length / ours.length, minutes: percentile95(minutes), centimetres: percentile95(centimetres) });
  console.log(`${keys[i]} | ${ours.length} ${theirs.length} ${pairs.length} | ${spread(minutes)} | ${spread(centimetres)}`);
}
const median = (key) => all.map((one) => one[key]).sort((a, b) => a - b)[Math.floor(all.length / 2)];
console.log(`${all.length} stations, medians: ${(100 * median("matched")).toFixed(1)} % matched, 95 % within ` +
  `${median("minutes").toFixed(1)} minutes and ${median("centimetres").toFixed(1)} cm`);
if (median("matched") < 0.95 || median("minutes") > 20 || median("centimetres") > 10) {
  console.log("  too far apart: wanted 95 % matched, 20 minutes and 10 cm");
  process.exit(1);
}
