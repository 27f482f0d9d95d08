// The strip of levels: which there are, which is shown, which is gone.

import {byId, make, oncePerFrame} from "./dom.js";
import {levelLabel} from "./words.js";

export class LevelStrip {
  constructor({store, selection}) {
    Object.assign(this, {store, selection});
    this.draw = oncePerFrame(() => this.#draw());
    store.on(["levels"], this.draw);
    selection.addEventListener("change", this.draw);
  }

  #draw() {
    const {levels} = this.store;
    const key = JSON.stringify([levels, this.selection.level]);
    if (key === this.drawn) {
      return;
    }
    this.drawn = key;
    const focused = document.activeElement?.dataset.level;
    const buttons = levels.map((each) => make("button", {type: "button", class: "level" + (each.present ? "" : " gone"),
      "data-level": each.level, "aria-pressed": String(each.level === this.selection.level),
      onclick: () => this.selection.chooseLevel(each.level)},
      make("b", {}, levelLabel(each)),
      make("span", {class: "size"}, each.present ? each.inputs + " × " + each.outputs : "gone")));
    byId("levels").replaceChildren(...buttons);
    buttons.find((button) => button.dataset.level === focused)?.focus();
  }
}
