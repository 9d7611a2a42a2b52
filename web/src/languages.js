import { getFiletypeFromFileName } from '@pierre/diffs';
import { bundledLanguages } from './grammars.js';

// Corrections to the file type table of @pierre/diffs: headers of C and C++
// are far more common than Objective-C++ (".h"), and ".m" is Objective-C
// more often than Wolfram.
const EXTENSION_LANGUAGES = { h: 'cpp', m: 'objective-c' };

// The language to highlight a file with: its usual one when the page carries
// that grammar, else plain text. Asking @pierre/diffs for a grammar that is
// not bundled would fail the highlighting and leave the diff empty.
export function languageForFile(path) {
  const name = path.slice(path.lastIndexOf('/') + 1);
  const dot = name.lastIndexOf('.');
  const extension = dot > 0 ? name.slice(dot + 1) : '';
  const language = EXTENSION_LANGUAGES[extension] ?? getFiletypeFromFileName(path);
  return Object.hasOwn(bundledLanguages, language) ? language : 'text';
}
