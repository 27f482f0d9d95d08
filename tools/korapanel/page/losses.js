// What is lost is shown over everything, at once: the panel, the bridge, or the router.

import {alarm, announce} from "./announce.js";
import {byId, write} from "./dom.js";
import {clock} from "./words.js";

/** The loss that hides the others: {title, text}, or null. */
function loss(store) {
  if (store.loss) {
    return {title: "The panel is gone", text: "Its events no longer arrive: " + store.loss + "."};
  }
  if (!store.state) {
    return null;
  }
  const {bridge, router} = store.state;
  if (!bridge.connected) {
    return {title: "The bridge is gone", text: bridge.host + ": " + (bridge.text || "no connection") + "."};
  }
  // Null: no router has shown anything yet, which need not be a loss.
  return router.present === false ? {title: "The router is gone", text: "The bridge is there, but no output shows anything any more."} : null;
}

export class Losses {
  #since = 0;
  #title = "";
  #wasSeen = false; // whether this page ever saw everything there

  constructor({store}) {
    this.store = store;
    store.on(["state"], () => this.draw());
  }

  draw() {
    const lost = byId("app").hidden ? null : loss(this.store); // the token page has its own words
    const isFirst = !this.store.state && this.store.loss === "connecting";
    const title = lost && !isFirst ? lost.title : "";
    if (title !== this.#title) {
      this.#since = Date.now() / 1000;
      if (title) {
        alarm(title + ". " + lost.text);
      } else if (this.#title) {
        announce("Everything is there again.");
      }
      this.#title = title;
    }
    this.#wasSeen ||= Boolean(this.store.state) && !title;
    byId("lost").hidden = !title;
    byId("main").inert = Boolean(title);
    document.body.classList.toggle("stale", Boolean(title));
    if (title) {
      write(byId("lost-title"), title);
      write(byId("lost-text"), lost.text.replace("..", "."));
      write(byId("lost-since"), (this.#wasSeen ? "Since " + clock(this.#since) + "; what you see is as it was then."
        : "Since before " + clock(this.#since) + ", when this page was opened; what you see is as it was before.") +
        " Nothing can be pressed. It is tried again by itself.");
    }
    this.#lamps();
  }

  #lamps() {
    const {state, loss: panel} = this.store;
    const known = !panel && state;
    this.#lamp("panel", !panel, panel ? "panel gone" : "panel live");
    this.#lamp("bridge", known && state.bridge.connected, known ? (state.bridge.connected ? "bridge " + state.bridge.host : "bridge gone")
      : "bridge not known");
    const present = known && state.bridge.connected ? state.router.present : undefined;
    this.#lamp("router", present, present === undefined ? "router not known" : present === null ? "router not seen yet"
      : present ? "router" : "router gone");
  }

  #lamp(id, isLit, text) {
    const lamp = byId("lamp-" + id);
    lamp.classList.toggle("lit", Boolean(isLit));
    write(lamp, text);
  }
}
