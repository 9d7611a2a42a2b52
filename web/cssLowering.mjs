// Rewrites the style sheets of @pierre/diffs and @pierre/trees for older
// browser engines. Qt WebEngine 6.4 is Chromium 102, which knows neither CSS
// nesting (Chromium 112) nor light-dark() (Chromium 123); a sheet that uses
// them loses whole rules there, and the tree and the diffs fall apart.
//
// Nesting is flattened by esbuild. light-dark(A, B) becomes
//   var(--vorda-light, A) var(--vorda-dark, B)
// and the page defines exactly one of the two switches, as an empty value:
// the other is undefined, so its fallback is what remains. See the rules for
// --vorda-light and --vorda-dark in src/page.html.
const LIGHT_DARK = 'light-dark(';

export async function lowerCss(css, esbuild) {
  const { code } = await esbuild.transform(css, {
    loader: 'css',
    target: 'chrome102',
    minify: true,
  });
  return lowerLightDark(code.trimEnd());
}

export function lowerLightDark(css) {
  let lowered = '';
  let from = 0;
  for (;;) {
    const start = css.indexOf(LIGHT_DARK, from);
    if (start < 0) return lowered + css.slice(from);
    const { args, end } = readArguments(css, start + LIGHT_DARK.length);
    if (args.length !== 2) {
      throw new Error(`light-dark() takes two colours: ${css.slice(start, end)}`);
    }
    const [light, dark] = args.map((arg) => lowerLightDark(arg.trim()));
    lowered += `${css.slice(from, start)}var(--vorda-light,${light}) var(--vorda-dark,${dark})`;
    from = end;
  }
}

// The comma-separated arguments of the function whose "(" ends just before
// index, and the index after its ")".
function readArguments(css, index) {
  const args = [];
  let depth = 0;
  let argStart = index;
  for (let i = index; i < css.length; i++) {
    const c = css[i];
    if (c === '(') depth++;
    else if (c === ')' && depth > 0) depth--;
    else if (c === ')') {
      args.push(css.slice(argStart, i));
      return { args, end: i + 1 };
    } else if (c === ',' && depth === 0) {
      args.push(css.slice(argStart, i));
      argStart = i + 1;
    }
  }
  throw new Error(`unclosed function in CSS at ${index}`);
}
