import pierreDark from '@pierre/theme/pierre-dark';
import pierreLight from '@pierre/theme/pierre-light';

// Extra styles for engines older than the libraries' CSS: without relative
// colours (Chromium 119), color-mix() (111), the lh unit (109) or container
// units (105), such as Qt WebEngine 6.4 (Chromium 102). @pierre/diffs mixes
// the backgrounds of added and removed lines from its theme's colours in CSS;
// where color-mix() is unknown those rules drop out and a diff shows no
// colours at all. Here the same mixes are worked out once in script, from
// the two themes the page draws with (in sRGB rather than Lab: close enough
// for these tints), and given to the libraries as extra style sheets for
// their shadow roots. Like the rewritten light-dark() colours, each value
// follows the page's --vorda-light/--vorda-dark switch.
export const legacyEngine =
  typeof CSS !== 'undefined' && !CSS.supports('color', 'rgb(from red r g b / 50%)');

// The tree's labels are one line tall by their "1lh" height. (For the diffs,
// the text between hunks is as wide as the column by a "100cqi" width: here
// it is as wide as the text.)
export const LEGACY_TREE_CSS = `[data-truncate-container] {
  --truncate-internal-single-line-height: var(--trees-row-height);
}`;

// Per scheme: the theme, the colour the library mixes towards for neutral
// shades, and the share of the background in a changed line and its gutter.
const SCHEMES = {
  light: { theme: pierreLight, mixer: '#000000', line: 0.88, gutter: 0.91 },
  dark: { theme: pierreDark, mixer: '#ffffff', line: 0.8, gutter: 0.85 },
};

function palette({ theme, mixer, line, gutter }) {
  const colors = theme.colors;
  const bg = colors['editor.background'];
  const fg = colors['editor.foreground'];
  const added = colors['gitDecoration.addedResourceForeground'];
  const deleted = colors['gitDecoration.deletedResourceForeground'];
  const dark = theme.type === 'dark';
  const context = mix(bg, mixer, dark ? 0.925 : 0.985);
  const emphasis = dark ? 0.2 : 0.15;
  return {
    bgBuffer: mix(bg, mixer, 0.92),
    bgContext: context,
    bgContextGutter: mix(context, bg, dark ? 0.45 : 0.9),
    bgSeparator: mix(bg, mixer, dark ? 0.85 : 0.96),
    fgNumber: mix(fg, bg, 0.65),
    bgAddition: mix(bg, added, line),
    bgDeletion: mix(bg, deleted, line),
    bgAdditionEmphasis: withAlpha(added, emphasis),
    bgDeletionEmphasis: withAlpha(deleted, emphasis),
    addedGutter: mix(bg, added, gutter),
    deletedGutter: mix(bg, deleted, gutter),
  };
}

let diffCss = null;

export function legacyDiffCss() {
  if (diffCss !== null) return diffCss;
  const light = palette(SCHEMES.light);
  const dark = palette(SCHEMES.dark);
  const pick = (key) => `var(--vorda-light,${light[key]}) var(--vorda-dark,${dark[key]})`;
  diffCss = `:host {
  --diffs-bg-buffer: ${pick('bgBuffer')};
  --diffs-bg-context: ${pick('bgContext')};
  --diffs-bg-context-gutter: ${pick('bgContextGutter')};
  --diffs-bg-separator: ${pick('bgSeparator')};
  --diffs-fg-number: ${pick('fgNumber')};
  --diffs-bg-addition: ${pick('bgAddition')};
  --diffs-bg-deletion: ${pick('bgDeletion')};
  --diffs-bg-addition-emphasis: ${pick('bgAdditionEmphasis')};
  --diffs-bg-deletion-emphasis: ${pick('bgDeletionEmphasis')};
}
[data-line-type='change-addition']:is([data-line], [data-no-newline]) {
  --diffs-computed-diff-line-bg: var(--diffs-bg-addition);
}
[data-line-type='change-deletion']:is([data-line], [data-no-newline]) {
  --diffs-computed-diff-line-bg: var(--diffs-bg-deletion);
}
[data-line-type='change-addition']:is([data-gutter-buffer], [data-column-number]) {
  --diffs-computed-diff-line-bg: ${pick('addedGutter')};
}
[data-line-type='change-deletion']:is([data-gutter-buffer], [data-column-number]) {
  --diffs-computed-diff-line-bg: ${pick('deletedGutter')};
}
[data-hovered] {
  --diffs-computed-hovered-line-bg: var(--diffs-computed-editor-active-line-bg);
}
[data-gutter] [data-separator='line-info'] [data-separator-wrapper] {
  min-width: max-content;
}`;
  return diffCss;
}

// color-mix(in srgb, a share, b) of two "#rrggbb" colours.
function mix(a, b, share) {
  const [ra, ga, ba] = channels(a);
  const [rb, gb, bb] = channels(b);
  const blend = (x, y) => Math.round(x * share + y * (1 - share));
  return `rgb(${blend(ra, rb)}, ${blend(ga, gb)}, ${blend(ba, bb)})`;
}

function withAlpha(color, alpha) {
  return `rgba(${channels(color).join(', ')}, ${alpha})`;
}

function channels(color) {
  if (color.startsWith('rgb(')) return color.slice(4, -1).split(',').map(Number);
  return [1, 3, 5].map((at) => parseInt(color.slice(at, at + 2), 16));
}
