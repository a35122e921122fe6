// SPDX-License-Identifier: Apache-2.0
// Some of many points, evenly spread.

/** @param {number} number */
function isPrime(number) {
  for (let factor = 2; factor * factor <= number; ++factor) if (number % factor === 0) return false;
  return true;
}

/**
 * The step from one to the next when about `wanted` of `points` are taken. It is a prime number: with one that
 * divides the rows of a sensor, whole rows would never be taken.
 * @param {number} points @param {number} wanted
 */
export function spreadStep(points, wanted) {
  let step = Math.ceil(points / wanted);
  while (step > 1 && !isPrime(step)) ++step;
  return Math.max(1, step);
}
