// @pierre/diffs lays out its split columns once, so a diff container that
// changes width needs a fresh render. Changes under two pixels are jitter;
// a drag of the column is followed only after it has rested for 120 ms, so
// one drag costs one render.
const MIN_CHANGE_PX = 2;
const QUIET_MS = 120;

// Calls onSettled after the width of element has changed and held still.
// The border box is measured: a scroll bar that appears when the diffs
// overflow narrows the content box but must not cause another render.
export function observeWidth(element, onSettled) {
  let width = element.getBoundingClientRect().width;
  let timer = 0;
  const observer = new ResizeObserver((entries) => {
    const entry = entries[entries.length - 1];
    const next = entry.borderBoxSize?.[0]?.inlineSize ?? entry.target.getBoundingClientRect().width;
    if (Math.abs(next - width) < MIN_CHANGE_PX) return;
    width = next;
    clearTimeout(timer);
    timer = setTimeout(onSettled, QUIET_MS);
  });
  observer.observe(element);
  return observer;
}
