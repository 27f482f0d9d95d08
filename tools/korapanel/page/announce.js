// Tells those who listen instead of look.

import {byId, write} from "./dom.js";

/** Said when the reader has a pause; the last text wins. */
export function announce(text) {
  write(byId("said"), text);
}

/** Said at once. */
export function alarm(text) {
  write(byId("alarmed"), text);
}
