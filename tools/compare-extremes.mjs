// How far two lists of highs and lows ({ time: seconds, level: metres, high }) are apart.

const matchWithin = 90 * 60; // seconds

// A pair is a high with a high (a low with a low) that are each other's nearest.
export function match(ours, theirs) {
  const nearest = (event, list) =>
    list.reduce((best, e) => (e.high === event.high &&
      (!best || Math.abs(e.time - event.time) < Math.abs(best.time - event.time)) ? e : best), undefined);
  return ours.flatMap((event) => {
    const other = nearest(event, theirs);
    return other && Math.abs(other.time - event.time) <= matchWithin && nearest(other, ours) === event
      ? [{ minutes: (event.time - other.time) / 60, centimetres: (event.level - other.level) * 100 }] : [];
  });
}

export function spread(values) {
  const sizes = values.map(Math.abs).sort((a, b) => a - b);
  const at = (q) => sizes[Math.min(sizes.length - 1, Math.floor(q * sizes.length))];
  const mean = values.reduce((a, b) => a + b, 0) / values.length;
  return [at(0.5), at(0.95), sizes.at(-1), mean].map((x) => x.toFixed(2)).join(" ");
}

export const percentile95 = (values) => values.map(Math.abs).sort((a, b) => a - b)[Math.floor(0.95 * values.length)];
