// The dock: what is chosen, Take, the locks, and how each press ended. It is the only place that presses.

import {alarm, announce} from "./announce.js";
import {byId, make, oncePerFrame, write} from "./dom.js";
import {label, levelLabel, lockWords, sourceWords} from "./words.js";

const LOCKS = {lock: "Lock", protect: "Protect", release: "Release"};
const SIGNS = {pending: "…", done: "✓", refused: "✕", unknown: "?"};
const STATES = {pending: "Pending", done: "Done", refused: "Refused", unknown: "Unknown"};

export class Dock {
  #returnTo = null; // where the keyboard was before it came here

  constructor({store, selection, presses}) {
    Object.assign(this, {store, selection, presses});
    this.draw = oncePerFrame(() => this.#draw());
    store.on(["state", "session", "levels", "names", "outputs"], this.draw);
    selection.addEventListener("change", this.draw);
    presses.addEventListener("change", ({detail}) => {
      this.#tell(detail);
      this.draw();
    });
    byId("dock").addEventListener("keydown", (event) => this.#key(event));
    this.#onPress("take", () => this.#take());
    for (const action of Object.keys(LOCKS)) {
      this.#onPress(action, () => this.#lock(action));
    }
    this.#draw();
  }

  /** Brings the keyboard to Take; afterwards it goes back. */
  ready(from) {
    this.#returnTo = from;
    this.#draw(); // the button must be ready for the focus
    byId("take").focus();
  }

  /** One press is one click: neither the second of a double click nor a key held down is another. */
  #onPress(id, act) {
    const button = byId(id);
    button.addEventListener("keydown", (event) => event.repeat && event.preventDefault());
    button.addEventListener("click", (event) => {
      if (event.detail <= 1 && button.getAttribute("aria-disabled") !== "true") {
        act();
      }
    });
  }

  #key(event) {
    if (event.key === "Escape") {
      this.#giveBack();
    }
  }

  #giveBack() {
    this.#returnTo?.focus();
    this.#returnTo = null;
  }

  async #take() {
    const {level, levels, output, input} = this.selection;
    const title = label(this.store, level, "inputs", input) + " → " + label(this.store, level, "outputs", output);
    const answer = this.presses.take(title, levels.map((each) => ({level: each, output, input})));
    this.#giveBack();
    // What was taken needs a new choice, so that a hasty second press takes nothing. What was refused stays chosen.
    const press = await answer;
    if (press?.state === "done" && this.selection.input === input && this.selection.output === output) {
      this.selection.choose({input: 0});
    }
  }

  #lock(action) {
    const {level, levels, output} = this.selection;
    const title = LOCKS[action] + " " + label(this.store, level, "outputs", output);
    this.presses.lock(title, levels.map((each) => ({level: each, output, action})));
  }

  #tell({title, state, text}) {
    if (state === "done") {
      announce(title + ": " + text);
    } else if (state !== "pending") {
      alarm(STATES[state] + ": " + title + ": " + text);
    }
  }

  #draw() {
    const {store, selection} = this;
    const {level, output, input} = selection;
    const row = store.row(level, output);
    write(byId("chosen-output"), output ? label(store, level, "outputs", output) : "choose a destination");
    write(byId("chosen-input"), input ? label(store, level, "inputs", input) : "choose a source");
    byId("chosen-output").classList.toggle("open", !output);
    byId("chosen-input").classList.toggle("open", !input);
    write(byId("chosen-now"), output ? "now ← " + sourceWords(store, level, row) : "");
    const held = byId("chosen-held");
    write(held, lockWords(row));
    held.className = "held " + (row?.lock ?? "none");
    this.#drawLevels();
    this.#drawButtons(output, input);
    byId("answers-section").hidden = this.presses.list.length === 0;
    byId("answers").replaceChildren(...this.presses.list.map((press) => this.#answer(press)));
  }

  #drawButtons(output, input) {
    const waiting = this.selection.levels.some((level) => this.presses.isPending(level, output));
    const whyNot = this.store.whyNot || (waiting ? "Waits for the answer." : "");
    const whyNoTake = whyNot || (output && input ? "" : "Choose a destination and a source.");
    this.#enable("take", !whyNoTake);
    byId("take").classList.toggle("pending", waiting);
    write(byId("take"), waiting ? "Pending …" : "Take");
    for (const action of Object.keys(LOCKS)) {
      this.#enable(action, !whyNot && output > 0);
    }
    write(byId("why-not"), whyNoTake);
  }

  /** Buttons stay where they are and keep the focus; the reason stands below. */
  #enable(id, isEnabled) {
    byId(id).setAttribute("aria-disabled", String(!isEnabled));
  }

  /** The levels that may go along; drawn anew only when they are others. */
  #drawLevels() {
    const {level, output, input, others} = this.selection;
    const levels = this.store.levels.filter((each) => each.level !== level && each.present &&
      each.outputs >= output && each.inputs >= input);
    for (const each of others) {
      if (!levels.some((other) => other.level === each)) {
        others.delete(each);
      }
    }
    const key = levels.map(levelLabel).join("\n") + "\n" + [...others];
    byId("together").hidden = levels.length === 0;
    if (key !== this.drawnLevels) {
      this.drawnLevels = key;
      byId("together-levels").replaceChildren(...levels.map((each) => make("label", {class: "check"},
        make("input", {type: "checkbox", checked: others.has(each.level),
          onchange: ({target}) => this.selection.toggleOther(each.level, target.checked)}), levelLabel(each))));
    }
  }

  #answer({title, levels, state, text}) {
    return make("li", {class: "answer " + state},
      make("span", {class: "sign", "aria-hidden": "true"}, SIGNS[state]),
      make("span", {class: "title"}, title),
      make("span", {class: "levels"}, levels.length ? (levels.length > 1 ? "levels " : "level ") + levels.join(" + ") : ""),
      make("span", {class: "words"}, make("b", {}, STATES[state]), text === "done" ? "" : ": " + text));
  }
}
