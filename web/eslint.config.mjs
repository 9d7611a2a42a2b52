// ESLint's recommended rules, for the page's modules (browser) and the build
// scripts and tests (node).
import js from '@eslint/js';
import globals from 'globals';

export default [
  js.configs.recommended,
  {
    files: ['src/**/*.js'],
    languageOptions: { sourceType: 'module', globals: globals.browser },
  },
  {
    files: ['*.mjs', 'test/**/*.mjs'],
    languageOptions: { sourceType: 'module', globals: globals.node },
  },
];
