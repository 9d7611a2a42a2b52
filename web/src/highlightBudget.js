import { languageForFile } from './languages.js';

// Syntax highlighting is by far the dearest part of drawing a diff: shiki's
// JavaScript regex engine takes some 3 ms per changed line of C++ in Qt
// WebEngine 6.4 on a small machine, so a patch of thousands of lines would
// keep the panel empty for many seconds. Past these limits files are drawn
// as plain text, which still has the split columns, the line colours and the
// changed words: a patch over PATCH_CHANGED_LINES throughout, and any file
// over FILE_CHANGED_LINES (most often generated or moved code) in a smaller
// one. The limits count added and removed lines, by which a reader judges
// the size of a patch; lines over 1,000 characters are never highlighted.
export const PATCH_CHANGED_LINES = 1000;
export const FILE_CHANGED_LINES = 600;

// The language to draw each file of the patch with, in order: its usual one
// or 'text'. files are the parsed files of @pierre/diffs.
export function languagesForPatch(files) {
  const changed = files.map(changedLines);
  const total = changed.reduce((sum, count) => sum + count, 0);
  return files.map((file, index) =>
    total > PATCH_CHANGED_LINES || changed[index] > FILE_CHANGED_LINES
      ? 'text'
      : languageForFile(file.name),
  );
}

function changedLines(file) {
  return file.hunks.reduce((sum, hunk) => sum + hunk.additionLines + hunk.deletionLines, 0);
}
