// The one way the page talks to the application. The native side defines
// `window.vorda` through Qt WebChannel; a page opened without it (a browser,
// a test harness) posts nowhere.
export function postToNative(body) {
  const bridge = window.vorda;
  if (bridge && typeof bridge.postMessage === 'function') {
    bridge.postMessage(body);
  }
}
