// Waiting for a condition, bounded: a machine may be slow, but what never comes true fails the test with its name.

export const kLimitMs = 30_000;
const kLookMs = 20;

// Looks until `holds` returns something true, and returns that. `what` names it in the failure; a function is asked
// then.
export async function until(what, holds) {
  const end = performance.now() + kLimitMs;
  for (;;) {
    const value = await holds();
    if (value) return value;
    if (performance.now() > end) throw new Error(`waited in vain for: ${typeof what === 'function' ? what() : what}`);
    await new Promise((resolve) => setTimeout(resolve, kLookMs));
  }
}
