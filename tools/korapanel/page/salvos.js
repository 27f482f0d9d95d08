// Salvos: saved routes. What would change is shown before anything is applied.

import {api} from "./api.js";
import {byId, make, write} from "./dom.js";
import {count, dateAndClock, ending, label, levelLabel} from "./words.js";

const FIRST_ROWS = 200; // more are drawn when they are asked for
const AGAIN_MS = 1000; // at most so often is a difference asked for again when routes change

export class SalvosView {
  #name = "";
  #difference = null;
  #isAsking = false;
  #isStale = false;
  #isUnknown = false;

  constructor({store, presses}) {
    Object.assign(this, {store, presses});
    byId("apply-salvo").addEventListener("keydown", (event) => event.repeat && event.preventDefault());
    byId("apply-salvo").addEventListener("click", (event) => {
      if (event.detail <= 1 && byId("apply-salvo").getAttribute("aria-disabled") !== "true") {
        this.#apply();
      }
    });
    store.on(["outputs"], () => this.#compareAgain());
    store.on(["state", "session", "names"], () => this.#draw());
  }

  async open() {
    this.isOpen = true;
    try {
      const {salvos} = await api.salvos();
      byId("salvo-list").replaceChildren(...salvos.map((salvo) => this.#item(salvo)));
      byId("no-salvos").hidden = salvos.length > 0;
      write(byId("salvo-trouble"), "");
    } catch (error) {
      write(byId("salvo-trouble"), "The salvos cannot be listed: " + error.message);
    }
    this.#compareAgain();
  }

  close() {
    this.isOpen = false;
  }

  #item({name, entries, modified}) {
    return make("li", {}, make("button", {type: "button", class: "salvo", "aria-pressed": String(name === this.#name),
      "data-name": name, onclick: () => this.#choose(name)},
      make("span", {class: "name"}, name),
      make("span", {class: "detail"}, count(entries, "entry", "entries") + ", " + dateAndClock(modified))));
  }

  #choose(name) {
    this.#name = name;
    this.#difference = null;
    this.#isUnknown = false;
    this.isWhole = false;
    for (const button of byId("salvo-list").querySelectorAll("button")) {
      button.setAttribute("aria-pressed", String(button.dataset.name === name));
    }
    write(byId("salvo-done"), "");
    byId("salvo-results").replaceChildren();
    this.#draw();
    this.#compare();
  }

  async #compare() {
    const name = this.#name;
    this.#isAsking = true;
    this.#isStale = false;
    try {
      const answer = await api.salvo(name);
      this.#know(name, answer, "");
    } catch (error) {
      this.#know(name, null, "The difference is not known: " + error.message);
    }
    this.#draw();
    setTimeout(() => {
      this.#isAsking = false;
      if (this.#isStale) {
        this.#compareAgain();
      }
    }, AGAIN_MS);
  }

  /** What a comparison found; one of a salvo that is no longer chosen is of no interest. */
  #know(name, difference, trouble) {
    if (name === this.#name) {
      this.#difference = difference;
      this.#isUnknown = !difference;
      write(byId("salvo-trouble"), trouble);
    }
  }

  #compareAgain() {
    if (!this.isOpen || !this.#name) {
      return;
    }
    if (this.#isAsking) {
      this.#isStale = true;
    } else {
      this.#compare();
    }
  }

  async #apply() {
    this.isPending = true;
    this.#draw();
    const name = this.#name;
    const press = await this.presses.applySalvo(name);
    this.isPending = false;
    if (name === this.#name) {
      write(byId("salvo-done"), press.title + ": " + press.text);
      byId("salvo-results").replaceChildren(...press.results.filter((row) => ending(row) !== "done").map(({level, output, text}) =>
        make("li", {}, "level " + level + ", output " + label(this.store, level, "outputs", output) + ": " + text)));
    }
    this.#compareAgain();
    this.#draw();
  }

  #draw() {
    const rows = this.#difference?.difference ?? [];
    const free = rows.filter(({text}) => text === "").length;
    byId("salvo-detail").hidden = !this.#name;
    write(byId("salvo-name"), this.#name);
    write(byId("salvo-summary"), !this.#difference ? (this.#isUnknown ? "" : "comparing …") : rows.length === 0
      ? "Nothing differs: all " + count(this.#difference.entries, "entry is", "entries are") + " as saved."
      : count(rows.length, "output differs", "outputs differ") + ", of " + count(this.#difference.entries, "entry", "entries") +
        (free < rows.length ? "; something is in the way of " + (rows.length - free) : "") + ".");
    const whyNot = this.store.whyNot || (this.isPending ? "Waits for the answer." : "");
    const button = byId("apply-salvo");
    button.setAttribute("aria-disabled", String(Boolean(whyNot) || free === 0));
    write(button, this.isPending ? "Pending …" : free ? "Apply " + count(free, "change") : "Apply");
    write(byId("salvo-why-not"), whyNot);
    byId("salvo-table").hidden = rows.length === 0;
    this.#drawRows(rows);
  }

  #drawRows(rows) {
    const shown = this.isWhole ? rows : rows.slice(0, FIRST_ROWS);
    const state = (level, input, lock) => (input ? label(this.store, level, "inputs", input) : "no route") +
      (lock === "none" ? "" : ", " + lock);
    const texts = shown.map(({level, output, now, then, nowLock, thenLock, text}) => [levelLabel(this.store.level(level) ?? {level}),
      label(this.store, level, "outputs", output), state(level, now, nowLock), state(level, then, thenLock), text]);
    const key = JSON.stringify(texts);
    if (key !== this.drawnRows) { // what is being read stays
      this.drawnRows = key;
      byId("salvo-rows").replaceChildren(...texts.map((cells) => make("tr", {},
        ...cells.map((text, column) => make("td", {class: ["", "", "", "then", "obstacle"][column]}, text)))));
    }
    const more = byId("salvo-more");
    more.hidden = shown.length === rows.length;
    write(more, "Show all " + rows.length);
    more.onclick = () => {
      this.isWhole = true;
      this.#draw();
    };
  }
}
