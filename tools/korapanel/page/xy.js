// The XY panel: choose a destination, then a source; the dock beside it takes.

import {byId, make, oncePerFrame, write} from "./dom.js";
import {VirtualList} from "./list.js";
import {count, lockWords, routedInput, sourceWords} from "./words.js";

/** True for an item that a filter's words are all found in. */
export function matches(text, query) {
  const haystack = text.toLowerCase();
  return query.toLowerCase().split(/\s+/).every((word) => haystack.includes(word));
}

function numbers(upTo) {
  return Array.from({length: upTo}, (_, index) => index + 1);
}

export class XyView {
  /** onReady is called when the source was chosen with the keyboard. */
  constructor({store, selection, onReady}) {
    Object.assign(this, {store, selection, onReady});
    this.destinations = new VirtualList(byId("destinations"), {
      render: (output) => this.#destination(output),
      isChosen: (output) => output === selection.output,
      onChoose: (output, withKeyboard) => {
        selection.choose({output});
        if (withKeyboard) {
          this.sources.show(routedInput(store.row(selection.level, output)));
          byId("sources").focus();
        }
      },
    });
    this.sources = new VirtualList(byId("sources"), {
      render: (input) => this.#source(input),
      isChosen: (input) => input === selection.input,
      onChoose: (input, withKeyboard) => {
        selection.choose({input});
        if (withKeyboard) {
          onReady(byId("destinations"));
        }
      },
    });
    this.filter = oncePerFrame(() => this.#filter());
    for (const id of ["destination-filter", "source-filter"]) {
      byId(id).addEventListener("input", this.filter);
      byId(id).addEventListener("keydown", (event) => {
        if (event.key === "Enter" || event.key === "ArrowDown") {
          event.preventDefault();
          byId(id === "destination-filter" ? "destinations" : "sources").focus();
        }
      });
    }
    store.on(["levels", "names"], this.filter);
    store.on(["outputs"], this.destinations.draw);
    selection.addEventListener("change", () => this.#followSelection());
  }

  #followSelection() {
    if (this.shownLevel !== this.selection.level) {
      this.shownLevel = this.selection.level;
      this.filter();
    }
    this.destinations.draw();
    this.sources.draw();
  }

  #filter() {
    const {level} = this.selection;
    const {inputs = 0, outputs = 0} = this.store.level(level) ?? {};
    const fill = (list, kind, upTo, noun, id) => {
      const query = byId(id + "-filter").value.trim();
      list.items = numbers(upTo).filter((number) => !query || matches(number + " " + this.store.name(level, kind, number), query));
      const all = count(upTo, noun);
      write(byId(id + "-count"), query ? list.items.length + " of " + all : all);
    };
    fill(this.destinations, "outputs", outputs, "destination", "destination");
    fill(this.sources, "inputs", inputs, "source", "source");
  }

  #destination(output) {
    const row = this.store.row(this.selection.level, output);
    const lock = lockWords(row);
    return [
      make("span", {class: "number"}, String(output)),
      make("span", {class: "name"}, this.store.name(this.selection.level, "outputs", output)),
      make("span", {class: "route"}, "← " + sourceWords(this.store, this.selection.level, row)),
      make("span", {class: "held " + (row?.lock ?? "none")}, lock),
    ];
  }

  #source(input) {
    return [
      make("span", {class: "number"}, String(input)),
      make("span", {class: "name"}, this.store.name(this.selection.level, "inputs", input)),
    ];
  }
}
