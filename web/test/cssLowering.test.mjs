import assert from 'node:assert/strict';
import path from 'node:path';
import { describe, test } from 'node:test';
import { pathToFileURL } from 'node:url';
import { esbuild, nodeModules } from '../build.mjs';
import { lowerCss, lowerLightDark } from '../cssLowering.mjs';

const sw = (light, dark) => `var(--vorda-light,${light}) var(--vorda-dark,${dark})`;

describe('lowering CSS for Chromium 102', () => {
  test('light-dark() turns into the scheme switches, wherever it sits', () => {
    const cases = [
      ['a{color:light-dark(#fff,#000)}', `a{color:${sw('#fff', '#000')}}`],
      ['a{b:light-dark(red, blue) light-dark(x,y)}', `a{b:${sw('red', 'blue')} ${sw('x', 'y')}}`],
      [
        '--x:light-dark(color-mix(in lab, var(--a, red) 50%, blue),light-dark(#1,#2))',
        `--x:${sw('color-mix(in lab, var(--a, red) 50%, blue)', sw('#1', '#2'))}`,
      ],
      ['a{color:red}', 'a{color:red}'],
    ];
    for (const [css, lowered] of cases) assert.equal(lowerLightDark(css), lowered);
  });

  test('a light-dark() that is not a pair of colours stops the build', () => {
    assert.throws(() => lowerLightDark('a{color:light-dark(red)}'), /two colours/);
    assert.throws(() => lowerLightDark('a{color:light-dark(red,blue'), /unclosed/);
  });

  test('nesting is flattened inside layers', async () => {
    const css = '@layer base{:host{color:light-dark(red,blue);& [data-x]{color:red}}}';
    assert.equal(
      await lowerCss(css, esbuild),
      `@layer base{:host{color:${sw('red', 'blue')}}:host [data-x]{color:red}}`,
    );
  });

  test("the libraries' own sheets keep no nesting and no light-dark()", async () => {
    for (const library of ['diffs', 'trees']) {
      const file = path.join(nodeModules, '@pierre', library, 'dist', 'style.js');
      const { default: css } = await import(pathToFileURL(file).href);
      const lowered = await lowerCss(css, esbuild);
      assert.doesNotMatch(lowered, /light-dark\(/, library);
      assert.doesNotMatch(lowered, /[{;]\s*&/, library);
      assert.match(lowered, /var\(--vorda-light,/, library);
    }
  });
});
