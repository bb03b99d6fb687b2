// Texts: labels of stations shown whole, whatever their width, and cut to what the station takes.

const SMALLEST = 9; // px; ten of the widest letters need less on no layout

const encoder = new TextEncoder();

/** Sets a text only if it changes: those who hear the page are told of every set. */
export function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

/** Sets a text, and lets the element's letters shrink until it is seen whole. */
export function showLabel(element, text) {
  if (element.textContent === text) return;
  element.textContent = text;
  fitLabel(element);
}

/** Makes the letters as large as the style sheet has them, or as small as the width demands. */
export function fitLabel(element) {
  element.style.fontSize = '';
  const { scrollWidth, clientWidth } = element;
  if (clientWidth === 0 || scrollWidth <= clientWidth) return;
  const size = parseFloat(getComputedStyle(element).fontSize) * clientWidth / scrollWidth;
  element.style.fontSize = `${Math.max(SMALLEST, Math.floor(size * 2 - 0.5) / 2)}px`;
}

const widths = new WeakMap();
const observer = new ResizeObserver((entries) => {
  for (const { target, contentRect } of entries) {
    if (widths.get(target) === contentRect.width) continue; // its own shrinking changes the height only
    widths.set(target, contentRect.width);
    fitLabel(target);
  }
});

/** Fits this label again whenever the layout changes its width. */
export function watchLabel(element) {
  observer.observe(element);
}

/** The text without what the station does not take: control characters, and all beyond so many bytes. */
export function cutText(text, bytes) {
  let cut = '';
  let left = bytes;
  for (const letter of text.replace(/[\x00-\x1f\x7f]/g, '')) {
    left -= encoder.encode(letter).length;
    if (left < 0) break;
    cut += letter;
  }
  return cut;
}
