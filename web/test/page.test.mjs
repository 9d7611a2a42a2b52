import assert from 'node:assert/strict';
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import os from 'node:os';
import path from 'node:path';
import { after, before, describe, test } from 'node:test';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { buildPage, esbuild, nodeModules } from '../build.mjs';

const webDir = path.dirname(path.dirname(fileURLToPath(import.meta.url)));
let dir;

before(async () => {
  dir = await mkdtemp(path.join(os.tmpdir(), 'diff-page-'));
});
after(() => rm(dir, { recursive: true, force: true }));

describe('the built page', () => {
  let bytes;
  let html;
  before(async () => {
    const file = path.join(dir, 'diff.html');
    bytes = await buildPage(file);
    html = await readFile(file, 'utf8');
  });

  test('is one file under 4 MB whose only script is inline', () => {
    assert.ok(bytes < 4 * 1024 * 1024, `${bytes} bytes`);
    assert.deepEqual(html.match(/<script\b[^>]*>/gi), ['<script>']);
    const markup = html.slice(0, html.indexOf('<script>')) + html.slice(html.indexOf('</script>'));
    assert.equal(markup.match(/<link\b|\bsrc=|@import|https?:/gi), null);
  });

  test('installs the globals the application uses', () => {
    for (const name of [
      '__vordaCombined',
      '__vordaReflow',
      '__vordaSetColorScheme',
      '__vordaPost',
      '__vordaRenders',
      '__vordaPendingCombinedFiles',
      '__vordaPendingCombinedPatch',
    ]) {
      assert.ok(html.includes(`.${name}`), name);
    }
  });

  test('carries the chosen grammars and themes only', () => {
    const scope = (name) => new RegExp(`scopeName\\\\?":\\\\?"${name}\\\\?"`);
    assert.match(html, scope('source\\.cpp'));
    assert.match(html, scope('source\\.rust'));
    assert.doesNotMatch(html, scope('source\\.cobol'));
    assert.match(html, /pierre-dark/);
    assert.doesNotMatch(html, /\\?"name\\?":\\?"dracula/);
    assert.doesNotMatch(html, /AGFzbQ/, 'no WebAssembly module inline');
  });
});

describe('the grammars', () => {
  let probe;
  before(async () => {
    const file = path.join(dir, 'probe.mjs');
    await esbuild.build({
      stdin: {
        contents: [
          "export { bundledLanguages } from './src/grammars.js';",
          "export { languageForFile } from './src/languages.js';",
          "export * from './src/highlightBudget.js';",
          "export { parsePatchFiles } from '@pierre/diffs';",
          "export { createHighlighterCore } from 'shiki/core';",
          "export { createJavaScriptRegexEngine } from 'shiki/engine/javascript';",
          "export { default as theme } from '@pierre/theme/pierre-light';",
        ].join('\n'),
        resolveDir: webDir,
      },
      bundle: true,
      format: 'esm',
      platform: 'node',
      outfile: file,
      nodePaths: [nodeModules],
      logLevel: 'error',
    });
    probe = await import(pathToFileURL(file).href);
  });

  test('each name loads a grammar that answers to it under the JavaScript regex engine', async () => {
    const { bundledLanguages, createHighlighterCore, createJavaScriptRegexEngine, theme } = probe;
    const highlighter = await createHighlighterCore({
      themes: [theme],
      langs: [],
      engine: createJavaScriptRegexEngine(),
    });
    for (const [name, load] of Object.entries(bundledLanguages)) {
      const { default: grammars } = await load();
      highlighter.loadLanguageSync(grammars);
      assert.equal(highlighter.getLanguage(name).name, grammars.at(-1).name, name);
      const { tokens } = highlighter.codeToTokens('x = "a" + 1 // b\n', {
        lang: name,
        theme: theme.name,
      });
      assert.ok(tokens[0].length > 0, name);
    }
  });

  test('common files get a bundled grammar, the rest plain text', () => {
    const expected = {
      'src/app/Window.h': 'cpp',
      'main.cpp': 'cpp',
      'View.m': 'objective-c',
      'scripts/run.sh': 'zsh',
      'CMakeLists.txt': 'cmake',
      Makefile: 'makefile',
      Dockerfile: 'dockerfile',
      '.github/ci.yml': 'yml',
      'lib.rs': 'rust',
      'web/src/main.js': 'javascript',
      'App.tsx': 'tsx',
      'notes.txt': 'text',
      'legacy.cbl': 'text',
      README: 'text',
    };
    for (const [file, language] of Object.entries(expected)) {
      assert.equal(probe.languageForFile(file), language, file);
    }
  });

  test('large patches and files are drawn as plain text', () => {
    const { languagesForPatch, parsePatchFiles, PATCH_CHANGED_LINES, FILE_CHANGED_LINES } = probe;
    // Per file, its changed lines, half removed and half added, in one hunk between context.
    const languages = (changes) =>
      languagesForPatch(parsePatchFiles(Object.entries(changes).map(fileDiff).join(''))[0].files);
    const fileDiff = ([name, changed]) => {
      const lines = Array.from({ length: changed }, (_, i) => `${i % 2 ? '+' : '-'}x${i}\n`);
      const hunk = `@@ -1,${Math.ceil(changed / 2) + 2} +1,${Math.floor(changed / 2) + 2} @@\n`;
      return `diff --git a/${name} b/${name}\n--- a/${name}\n+++ b/${name}\n${hunk} a\n${lines.join('')} b\n`;
    };
    const quarters = (count) =>
      Object.fromEntries(
        [...'abcde'].slice(0, count).map((c) => [`${c}.rs`, PATCH_CHANGED_LINES / 4]),
      );
    assert.deepEqual(languages({ 'a.cpp': 300, 'b.txt': 40 }), ['cpp', 'text']);
    assert.deepEqual(languages(quarters(4)), Array(4).fill('rust'));
    assert.deepEqual(languages(quarters(5)), Array(5).fill('text'));
    assert.deepEqual(languages({ 'big.cpp': FILE_CHANGED_LINES + 2, 'a.py': 50 }), [
      'text',
      'python',
    ]);
  });
});
