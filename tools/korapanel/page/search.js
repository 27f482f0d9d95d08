// Finds destinations and sources of the level by number, name, holder or state, wherever the user is.

import {byId, make} from "./dom.js";
import {label, lockWords} from "./words.js";
import {matches} from "./xy.js";

const MOST = 12;

export class Search {
  #found = [];
  #cursor = 0;

  constructor({store, selection}) {
    Object.assign(this, {store, selection});
    this.input = byId("search");
    this.list = byId("found");
    this.input.addEventListener("input", () => this.#find());
    this.input.addEventListener("focus", () => this.#find());
    this.input.addEventListener("blur", () => this.#close());
    this.input.addEventListener("keydown", (event) => this.#key(event));
    // The field keeps the focus while the list is pressed.
    this.list.addEventListener("pointerdown", (event) => event.preventDefault());
    this.list.addEventListener("click", (event) => {
      const item = event.target.closest("[role=option]");
      if (item) {
        this.#choose(this.#found[Number(item.id.slice("found-".length))]);
      }
    });
    document.addEventListener("keydown", (event) => {
      if (event.key === "/" && !event.ctrlKey && !event.altKey && !event.target.matches("input, [role=option]")) {
        event.preventDefault();
        this.input.focus();
      }
    });
  }

  /** Numbers that are the query come first, then names that begin with it. */
  #find() {
    const query = this.input.value.trim().toLowerCase();
    const {level} = this.selection;
    const size = this.store.level(level) ?? {inputs: 0, outputs: 0};
    const rank = (number, name) => (String(number) === query ? 0 : name.toLowerCase().startsWith(query) ? 1 : 2);
    const found = [];
    for (const [kind, upTo] of [["outputs", size.outputs], ["inputs", size.inputs]]) {
      for (let number = 1; query && number <= upTo; number++) {
        const name = this.store.name(level, kind, number);
        const held = kind === "outputs" ? lockWords(this.store.row(level, number)) : "";
        if (matches(number + " " + name + " " + held, query)) {
          found.push({kind, number, held, rank: rank(number, name)});
        }
      }
    }
    found.sort((a, b) => a.rank - b.rank);
    this.#found = found.slice(0, MOST);
    this.#cursor = 0;
    this.#draw(query, found.length);
  }

  #draw(query, all) {
    const isOpen = query !== "";
    this.list.hidden = !isOpen;
    this.input.setAttribute("aria-expanded", String(isOpen));
    const items = this.#found.map(({kind, number, held}, index) => make("div",
      {role: "option", id: "found-" + index, "aria-selected": String(index === this.#cursor)},
      make("span", {class: "kind"}, kind === "outputs" ? "destination" : "source"),
      make("span", {class: "name"}, label(this.store, this.selection.level, kind, number)),
      ...(held ? [make("span", {class: "held " + held.split(" ")[0]}, held)] : [])));
    const rest = all > MOST ? "and " + (all - MOST) + " more" : all === 0 ? "nothing found on this level" : "";
    if (rest) {
      items.push(make("div", {class: "rest", role: "option", "aria-disabled": "true", "aria-selected": "false", id: "found-rest"}, rest));
    }
    this.list.replaceChildren(...items);
    if (isOpen && all > 0) {
      this.input.setAttribute("aria-activedescendant", "found-" + this.#cursor);
    } else {
      this.input.removeAttribute("aria-activedescendant");
    }
  }

  #key(event) {
    if (event.key === "Escape") {
      this.input.value = "";
      this.#close();
    } else if (event.key === "ArrowDown" || event.key === "ArrowUp") {
      event.preventDefault();
      const step = event.key === "ArrowDown" ? 1 : -1;
      this.#cursor = Math.max(0, Math.min(this.#cursor + step, this.#found.length - 1));
      for (const [index, item] of [...this.list.children].entries()) {
        item.setAttribute("aria-selected", String(index === this.#cursor));
      }
      this.input.setAttribute("aria-activedescendant", "found-" + this.#cursor);
    } else if (event.key === "Enter" && !event.repeat && this.#found.length > 0) {
      this.#choose(this.#found[this.#cursor]);
    }
  }

  #choose(found) {
    if (found) {
      this.input.value = "";
      this.#close();
      this.selection.choose(found.kind === "outputs" ? {output: found.number} : {input: found.number});
    }
  }

  #close() {
    this.list.hidden = true;
    this.input.setAttribute("aria-expanded", "false");
    this.input.removeAttribute("aria-activedescendant");
  }
}
