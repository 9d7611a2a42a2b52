// The syntax grammars the page can highlight with. The build puts this table
// in place of shiki's full list (some 8 MB of grammars); each entry loads
// lazily, so the bundle carries only the grammars named here. Keys are the
// names @pierre/diffs asks for, which include some aliases (its table maps
// ".sh" to "zsh" and ".yml" to "yml"); the grammar must declare the alias.
const c = () => import('@shikijs/langs/c');
const cmake = () => import('@shikijs/langs/cmake');
const cpp = () => import('@shikijs/langs/cpp');
const csharp = () => import('@shikijs/langs/csharp');
const css = () => import('@shikijs/langs/css');
const dart = () => import('@shikijs/langs/dart');
const diff = () => import('@shikijs/langs/diff');
const docker = () => import('@shikijs/langs/docker');
const go = () => import('@shikijs/langs/go');
const graphql = () => import('@shikijs/langs/graphql');
const haskell = () => import('@shikijs/langs/haskell');
const html = () => import('@shikijs/langs/html');
const ini = () => import('@shikijs/langs/ini');
const java = () => import('@shikijs/langs/java');
const javascript = () => import('@shikijs/langs/javascript');
const json = () => import('@shikijs/langs/json');
const jsonc = () => import('@shikijs/langs/jsonc');
const jsx = () => import('@shikijs/langs/jsx');
const kotlin = () => import('@shikijs/langs/kotlin');
const lua = () => import('@shikijs/langs/lua');
const make = () => import('@shikijs/langs/make');
const markdown = () => import('@shikijs/langs/markdown');
const nix = () => import('@shikijs/langs/nix');
const objectiveC = () => import('@shikijs/langs/objective-c');
const perl = () => import('@shikijs/langs/perl');
const php = () => import('@shikijs/langs/php');
const powershell = () => import('@shikijs/langs/powershell');
const proto = () => import('@shikijs/langs/proto');
const python = () => import('@shikijs/langs/python');
const ruby = () => import('@shikijs/langs/ruby');
const rust = () => import('@shikijs/langs/rust');
const scala = () => import('@shikijs/langs/scala');
const scss = () => import('@shikijs/langs/scss');
const shellscript = () => import('@shikijs/langs/shellscript');
const sql = () => import('@shikijs/langs/sql');
const swift = () => import('@shikijs/langs/swift');
const toml = () => import('@shikijs/langs/toml');
const tsx = () => import('@shikijs/langs/tsx');
const typescript = () => import('@shikijs/langs/typescript');
const xml = () => import('@shikijs/langs/xml');
const yaml = () => import('@shikijs/langs/yaml');
const zig = () => import('@shikijs/langs/zig');

export const bundledLanguages = {
  c,
  cmake,
  cpp,
  csharp,
  css,
  dart,
  diff,
  docker,
  dockerfile: docker,
  go,
  graphql,
  haskell,
  html,
  ini,
  properties: ini,
  java,
  javascript,
  json,
  jsonc,
  jsx,
  kotlin,
  kts: kotlin,
  lua,
  make,
  makefile: make,
  markdown,
  nix,
  'objective-c': objectiveC,
  perl,
  php,
  powershell,
  proto,
  protobuf: proto,
  python,
  ruby,
  rust,
  scala,
  scss,
  shellscript,
  bash: shellscript,
  sh: shellscript,
  zsh: shellscript,
  sql,
  swift,
  toml,
  tsx,
  typescript,
  xml,
  yaml,
  yml: yaml,
  zig,
};
