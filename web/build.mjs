// Builds the diff page: bundles src/main.js and everything it imports into
// one minified script and writes src/page.html with that script inline, so
// the page loads nothing at run time, from a file: or qrc: address alike.
//
//   node build.mjs <output.html>
//
// The packages come from node_modules in the working directory: the source
// folder during development, the build folder when CMake runs this. The
// tests import nodeModules, esbuild and buildPage from here.
import { createRequire } from 'node:module';
import { mkdir, readFile, writeFile } from 'node:fs/promises';
import path from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { lowerCss } from './cssLowering.mjs';

const here = path.dirname(fileURLToPath(import.meta.url));
export const nodeModules = path.join(process.cwd(), 'node_modules');
export const esbuild = createRequire(path.join(nodeModules, 'noop.js'))('esbuild');

const SCRIPT_MARKER = '/* page script */';

// What the page never uses. @pierre/diffs highlights with shiki and its
// JavaScript regular-expression engine, colours with the Pierre themes, and
// loads the rest only when asked to by options this page does not set.
const UNUSED = [
  // The oniguruma engine and its WebAssembly (the 'shiki-wasm' highlighter).
  { filter: /^shiki\/(engine\/oniguruma|wasm)$/, exports: ['createOnigurumaEngine', 'default'] },
  // The @pierre/highlights backend (the 'highlights' highlighter) and its themes.
  { filter: /\/backends\/highlights\.js$/, exports: ['HighlightsHighlighter'] },
  { filter: /^@pierre\/highlights\/themes\/loader$/, exports: ['themes'] },
  // Shiki's own themes, listed beside the Pierre themes in the theme catalog,
  // and the Pierre variants other than the two the page draws with.
  { filter: /^@shikijs\/themes\//, exports: ['default'] },
  { filter: /^@pierre\/theme\/pierre-(light|dark)-/, exports: ['default'] },
];

// The style sheets that the libraries put into their shadow roots.
const LIBRARY_STYLES = /[\\/]@pierre[\\/](diffs|trees)[\\/]dist[\\/]style\.js$/;

// Stands in the curated grammar table for shiki's full one, and a module
// that fails when called for everything in UNUSED. Lowers the libraries'
// style sheets for older engines.
const trimPlugin = {
  name: 'trim',
  setup(build) {
    build.onLoad({ filter: LIBRARY_STYLES }, async (args) => {
      const { default: css } = await import(pathToFileURL(args.path).href);
      return { contents: `export default ${JSON.stringify(await lowerCss(css, esbuild))};` };
    });
    build.onResolve({ filter: /^shiki\/langs$/ }, () => ({
      path: path.join(here, 'src', 'grammars.js'),
    }));
    for (const { filter, exports } of UNUSED) {
      build.onResolve({ filter }, (args) => ({
        path: args.path,
        namespace: 'unused',
        pluginData: exports,
      }));
    }
    build.onLoad({ filter: /.*/, namespace: 'unused' }, (args) => ({
      contents: unusedModule(args.path, args.pluginData),
      loader: 'js',
    }));
  },
};

function unusedModule(name, exports) {
  const fail = `() => { throw new Error(${JSON.stringify(`${name} is not part of the diff page`)}); }`;
  return exports
    .map((key) =>
      key === 'default' ? `export default ${fail};` : `export const ${key} = ${fail};`,
    )
    .join('\n');
}

async function bundle() {
  const result = await esbuild.build({
    entryPoints: [path.join(here, 'src', 'main.js')],
    bundle: true,
    format: 'iife',
    platform: 'browser',
    minify: true,
    legalComments: 'none',
    write: false,
    nodePaths: [nodeModules],
    plugins: [trimPlugin],
    logLevel: 'warning',
  });
  return result.outputFiles[0].text;
}

// An inline script ends at the first "</script", and after a "<!--" a
// "<script" changes how the HTML parser finds that end. esbuild already
// escapes the first; the "s" of the second becomes a unicode escape, which
// means the same in the strings and regular expressions where it occurs.
function escapeForInlineScript(script) {
  return script.replace(/(?<=<)s(?=cript)/gi, (s) => `\\u00${s.charCodeAt(0).toString(16)}`);
}

// Fails on what would break the inline script or fetch from the network.
function checkScript(script) {
  const problems = [];
  if (/<\/?script/i.test(script)) problems.push('the script contains "<script" or "</script"');
  const remote = script.match(/\b(import|importScripts|fetch)\s*\(\s*["'`]https?:/);
  if (remote) problems.push(`the script loads from the network: ${remote[0]}`);
  return problems;
}

// Writes the page to output and returns its size in bytes.
export async function buildPage(output) {
  const bundled = bundle();
  const page = await readFile(path.join(here, 'src', 'page.html'), 'utf8');
  if (!page.includes(SCRIPT_MARKER)) throw new Error(`src/page.html lacks ${SCRIPT_MARKER}`);
  const script = escapeForInlineScript(await bundled);
  const problems = checkScript(script);
  if (problems.length > 0) throw new Error(problems.join('\n'));
  const html = page.replace(SCRIPT_MARKER, () => script);
  await mkdir(path.dirname(path.resolve(output)), { recursive: true });
  await writeFile(output, html);
  return Buffer.byteLength(html);
}

async function main(output) {
  if (!output) {
    console.error('usage: node build.mjs <output.html>');
    process.exit(2);
  }
  const bytes = await buildPage(output);
  console.log(`diff page: ${output} (${(bytes / (1024 * 1024)).toFixed(2)} MB)`);
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  main(process.argv[2]).catch((error) => {
    console.error(error.message ?? error);
    process.exit(1);
  });
}
