import { FileTree, prepareFileTreeInput } from '@pierre/trees';
import { focusDiffFile } from './diffs.js';
import { LEGACY_TREE_CSS, legacyEngine } from './legacyStyles.js';

// The left-hand side of the page: the changed files as a tree, each marked
// with its status. Choosing a file scrolls its diff into view.
const STATUS_NAMES = { M: 'modified', A: 'added', D: 'deleted', R: 'renamed', C: 'copied' };
const COLLAPSED = '[aria-expanded="false"], [data-expanded="false"], [data-state="closed"]';
const MAX_EXPAND_PASSES = 12;

let tree = null;
let unsubscribe = null;

// Replaces the tree with one of fileList, an array of { path, status }.
export function initTree(fileList) {
  const container = document.getElementById('tree');
  cleanUpTree();
  container.replaceChildren();
  const files = Array.isArray(fileList) ? fileList : [];
  if (files.length === 0) {
    const empty = document.createElement('div');
    empty.className = 'tree-empty';
    empty.textContent = 'No files';
    container.append(empty);
    return;
  }
  const paths = files.map((file) => file.path);
  const instance = new FileTree({
    preparedInput: prepareFileTreeInput(paths, { flattenEmptyDirectories: true }),
    gitStatus: files.map((file) => ({
      path: file.path,
      status: STATUS_NAMES[file.status] ?? 'modified',
    })),
    search: true,
    fileTreeSearchMode: 'hide-non-matches',
    icons: 'standard',
    density: 'compact',
    expandAll: true,
    defaultExpanded: true,
    initialExpansion: 'open',
    unsafeCSS: legacyEngine ? LEGACY_TREE_CSS : undefined,
  });
  instance.render({ containerWrapper: container });
  tree = instance;
  expandEverything(instance, container);
  unsubscribe = instance.subscribe(followSelection(instance));
}

function cleanUpTree() {
  unsubscribe?.();
  tree?.cleanUp();
  unsubscribe = null;
  tree = null;
}

// The tree notifies every change (focus, expansion, search); only a change
// of the selection moves the diffs.
function followSelection(instance) {
  let selected;
  return () => {
    const path = instance.getSelectedPaths()[0];
    if (path === selected) return;
    selected = path;
    if (path !== undefined) focusDiffFile(path);
  };
}

// Opens every folder with whatever this version of the tree offers. The
// last resort clicks the closed folders, one pass per frame, since a folder
// shows its own closed subfolders only after the tree has drawn again.
function expandEverything(instance, container) {
  if (attempt(() => instance.expandAll())) return;
  if (attempt(() => instance.setAllExpanded(true))) return;
  clickClosedFolders(container, MAX_EXPAND_PASSES);
}

function clickClosedFolders(container, passes) {
  attempt(() => {
    const closed = queryAllDeep(container, COLLAPSED);
    if (closed.length === 0 || passes === 0) return;
    closed.forEach((element) => element.click());
    requestAnimationFrame(() => clickClosedFolders(container, passes - 1));
  });
}

function attempt(step) {
  try {
    step();
    return true;
  } catch {
    return false;
  }
}

// querySelectorAll that also looks inside open shadow roots.
function queryAllDeep(root, selector) {
  const found = [...root.querySelectorAll(selector)];
  for (const element of root.querySelectorAll('*')) {
    if (element.shadowRoot) found.push(...queryAllDeep(element.shadowRoot, selector));
  }
  return found;
}
