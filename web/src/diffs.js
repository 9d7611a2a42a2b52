import { FileDiff, parsePatchFiles } from '@pierre/diffs';
import { estimatedBlockHeight } from './blockHeight.js';
import { languagesForPatch } from './highlightBudget.js';
import { legacyDiffCss, legacyEngine } from './legacyStyles.js';
import { postToNative } from './native.js';

// The right-hand side of the page: one block per file of the patch, each a
// sticky header with the file's path over a split diff drawn by FileDiff.
const THEME = { dark: 'pierre-dark', light: 'pierre-light' };
const FOCUS_RING_MS = 900;

// Path of each shown file -> { block, instance, ringTimer }.
const shown = new Map();
let themeType = 'system';
let pass = 0;
let shownPatch = null;
let allDrawn = false;

function diffsContainer() {
  return document.getElementById('diffs');
}

// Replaces the shown diffs with those of patch. The promise resolves true
// once every file's lines are in the document, or false when a newer call
// replaced this one first or the patch could not be shown. FileDiff draws
// after its highlighter has loaded the file's grammar, which may take a
// while the first time; its onPostRender callback reports the drawing.
export function initDiffs(patch) {
  const container = diffsContainer();
  const current = ++pass;
  const again = patch === shownPatch;
  const scrollTop = again ? container.scrollTop : 0;
  const heights = again && allDrawn ? blockHeights() : new Map();
  removeDiffs(container);
  shownPatch = patch;
  allDrawn = false;
  try {
    const options = { cacheKeyPrefix: 'vorda-combined', throwOnError: true };
    const files = parsePatchFiles(patch, options)[0]?.files ?? [];
    const languages = languagesForPatch(files);
    const drawn = files.map((file, index) =>
      showFile(container, file, languages[index], heights.get(file.name)),
    );
    return Promise.all(drawn).then(() => {
      if (current !== pass) return false;
      allDrawn = true;
      container.scrollTop = scrollTop;
      return true;
    });
  } catch (error) {
    showError(container, error);
    return Promise.resolve(false);
  }
}

// height: the block's height in the last render of the same patch, if any.
function showFile(container, file, lang, height) {
  const block = document.createElement('div');
  block.className = 'diff-block';
  block.dataset.path = file.name;
  block.style.containIntrinsicSize = `auto ${height ?? estimatedBlockHeight(file)}px`;
  const header = document.createElement('div');
  header.className = 'diff-header';
  header.textContent = file.name;
  block.append(header);
  container.append(block);
  return new Promise((resolve) => {
    const instance = new FileDiff({
      theme: THEME,
      themeType,
      diffStyle: 'split',
      hunkSeparators: 'line-info',
      lineDiffType: 'word-alt',
      unsafeCSS: legacyEngine ? legacyDiffCss() : undefined,
      onPostRender: (node, diff, phase) => {
        if (phase !== 'unmount') resolve();
      },
    });
    shown.set(file.name, { block, instance, ringTimer: 0 });
    instance.render({
      fileDiff: { ...file, lang },
      containerWrapper: block,
    });
  });
}

// Path -> height of each shown block. A render of the same patch gives its
// blocks these heights until they are laid out again, so that blocks laid
// out before keep their size and the scroll position stays on the same
// lines: the height of a split diff does not depend on the width.
function blockHeights() {
  const heights = new Map();
  for (const [path, { block }] of shown) heights.set(path, block.getBoundingClientRect().height);
  return heights;
}

function removeDiffs(container) {
  for (const { instance, ringTimer } of shown.values()) {
    clearTimeout(ringTimer);
    instance.cleanUp();
  }
  shown.clear();
  container.replaceChildren();
}

function showError(container, error) {
  console.error(error);
  const text = error instanceof Error ? error.message : String(error);
  postToNative({ type: 'log', message: `Rendering the diffs failed: ${text}` });
  removeDiffs(container);
  const message = document.createElement('pre');
  message.className = 'render-error';
  message.textContent = text;
  container.append(message);
}

// Scrolls the file's block to the top and rings it briefly.
export function focusDiffFile(path) {
  const entry = shown.get(path);
  if (!entry) return;
  entry.block.scrollIntoView({ behavior: 'smooth', block: 'start' });
  entry.block.classList.add('focus-ring');
  clearTimeout(entry.ringTimer);
  entry.ringTimer = setTimeout(() => entry.block.classList.remove('focus-ring'), FOCUS_RING_MS);
}

// 'light', 'dark' or 'system': the colours the diffs are drawn in, now and
// in later renders.
export function setDiffThemeType(type) {
  themeType = type;
  for (const { instance } of shown.values()) instance.setThemeType(type);
}
