// Who did what in the last minutes: a table, and the newest few beside the matrix.

import {byId, make, oncePerFrame, write} from "./dom.js";
import {clock, count, deed, ending, label, levelLabel} from "./words.js";

const NEWEST = 8;

export class HistoryView {
  constructor({store}) {
    this.store = store;
    this.draw = oncePerFrame(() => this.#draw());
    store.on(["presses", "names"], this.draw);
  }

  #draw() {
    const {presses} = this.store;
    const isOpen = !byId("view-history").hidden;
    write(byId("history-count"), count(presses.length, "press", "presses") + " in the last ten minutes");
    byId("no-history").hidden = byId("no-newest").hidden = presses.length > 0;
    byId("history-table").hidden = presses.length === 0;
    byId("history-rows").replaceChildren(...(isOpen ? presses : []).map((press) => this.#row(press)));
    byId("newest").replaceChildren(...presses.slice(0, NEWEST).map((press) => this.#line(press)));
  }

  #row(press) {
    const {time, who, address, what, level, output, input, text} = press;
    return make("tr", {class: ending(press)},
      make("td", {}, clock(time)),
      make("td", {}, who),
      make("td", {}, address),
      make("td", {}, deed(what)),
      make("td", {}, levelLabel(this.store.level(level) ?? {level})),
      make("td", {}, label(this.store, level, "outputs", output)),
      make("td", {}, input ? label(this.store, level, "inputs", input) : ""),
      make("td", {class: "words"}, text));
  }

  #line(press) {
    const {time, who, what, level, output, input, text} = press;
    const source = input ? label(this.store, level, "inputs", input) + " → " : "";
    return make("li", {class: ending(press)},
      make("span", {class: "time"}, clock(time)),
      make("span", {class: "deed"}, make("b", {}, who), " " + deed(what) + " " + source + label(this.store, level, "outputs", output)),
      ...(ending(press) === "done" ? [] : [make("span", {class: "words"}, text)]));
  }
}
