// What is chosen to be taken: a level, a destination, a source, and further levels that go along.

export class Selection extends EventTarget {
  level = 1;
  output = 0; // 0: none is chosen
  input = 0;
  others = new Set(); // levels that are taken together with the level

  get levels() {
    return [this.level, ...[...this.others].sort((a, b) => a - b)];
  }

  choose(parts) {
    Object.assign(this, parts);
    this.#tell();
  }

  chooseLevel(level) {
    if (level !== this.level) {
      this.others.clear();
      this.choose({level, output: 0, input: 0});
    }
  }

  toggleOther(level, isOn) {
    this.others[isOn ? "add" : "delete"](level);
    this.#tell();
  }

  #tell() {
    this.dispatchEvent(new Event("change"));
  }
}
