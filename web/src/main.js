import { initDiffs, setDiffThemeType } from './diffs.js';
import { postToNative } from './native.js';
import { initTree } from './tree.js';
import { observeWidth } from './widthObserver.js';

// The page's entry: installs the globals through which the application
// drives the page, then shows any data that arrived before this script ran.
//
//   window.__vordaCombined.setData(fileList, patch)  replace tree and diffs
//   window.__vordaReflow()                           render the diffs again
//   window.__vordaSetColorScheme('light' | 'dark')   colours of the page
//   window.__vordaPost(body)                         message to the application
//   window.__vordaRenders                            finished renders of all diffs

let lastPatch = null;

function renderDiffs() {
  initDiffs(lastPatch).then((finished) => {
    if (finished) window.__vordaRenders += 1;
  });
}

function setData(fileList, patch) {
  lastPatch = typeof patch === 'string' ? patch : '';
  initTree(fileList);
  renderDiffs();
}

function reflow() {
  if (lastPatch !== null) renderDiffs();
}

// Anything but 'light' or 'dark' follows the system again.
function setColorScheme(scheme) {
  const fixed = scheme === 'light' || scheme === 'dark';
  const root = document.documentElement;
  root.style.colorScheme = fixed ? scheme : '';
  if (fixed) root.dataset.colorScheme = scheme;
  else delete root.dataset.colorScheme;
  setDiffThemeType(fixed ? scheme : 'system');
}

function takePendingData() {
  const files = window.__vordaPendingCombinedFiles;
  const patch = window.__vordaPendingCombinedPatch;
  delete window.__vordaPendingCombinedFiles;
  delete window.__vordaPendingCombinedPatch;
  if (files !== undefined || patch !== undefined) setData(files ?? [], patch ?? '');
}

window.__vordaRenders = 0;
window.__vordaPost = postToNative;
window.__vordaCombined = { setData };
window.__vordaReflow = reflow;
window.__vordaSetColorScheme = setColorScheme;
observeWidth(document.getElementById('diffs'), reflow);
takePendingData();
