// What is known of the router: one picture that all views read. Views are told once a frame what kinds of things changed.

const HISTORY_S = 600;
const HISTORY_ROWS = 500;

export class Store extends EventTarget {
  state = null;
  loss = "connecting"; // why the panel itself cannot be heard, or ""
  session = null;
  levels = [];
  presses = []; // newest first
  #outputs = new Map(); // level -> rows by output
  #names = new Map(); // level -> {inputs, outputs}
  #revisions = {}; // of the state and the levels
  #changed = new Set();

  /** Tells of a change of "state", "session", "levels", "names", "outputs" or "presses". */
  #tell(kind) {
    if (this.#changed.size === 0) {
      requestAnimationFrame(() => {
        const kinds = this.#changed;
        this.#changed = new Set();
        this.dispatchEvent(new CustomEvent("change", {detail: kinds}));
      });
    }
    this.#changed.add(kind);
  }

  /** Calls back with each change of one of these kinds. */
  on(kinds, callback) {
    this.addEventListener("change", ({detail}) => {
      if (kinds.some((kind) => detail.has(kind))) {
        callback(detail);
      }
    });
  }

  set(kind, value) {
    this[kind] = value;
    this.#tell(kind === "loss" ? "state" : kind);
  }

  setState(state) {
    if (this.#isNews("state", state.revision)) {
      this.set("state", state);
    }
  }

  setLevels({levels, revision}) {
    if (this.#isNews("levels", revision)) {
      this.set("levels", levels);
    }
  }

  /** What was fetched may be older than an event that came meanwhile. */
  #isNews(kind, revision) {
    const isNews = revision >= (this.#revisions[kind] ?? 0);
    if (isNews) {
      this.#revisions[kind] = revision;
    }
    return isNews;
  }

  setNames(levels) {
    this.#names = new Map(levels.map((names) => [names.level, names]));
    this.#tell("names");
  }

  /** Rows of a level, all or those that changed; what is known from a later revision stays. */
  setOutputs({level, revision, outputs}) {
    const rows = this.#outputs.get(level) ?? new Map();
    for (const row of outputs) {
      if (revision >= (rows.get(row.output)?.revision ?? 0)) {
        rows.set(row.output, {...row, revision});
      }
    }
    this.#outputs.set(level, rows);
    this.#tell("outputs");
  }

  /** The panel counts anew, perhaps from the start: whatever comes now is later. */
  forgetRevisions() {
    this.#revisions = {};
    this.#outputs.forEach((rows) => rows.forEach((row) => (row.revision = 0)));
  }

  setPresses(presses) {
    this.presses = [...presses].reverse().sort((a, b) => b.time - a.time).slice(0, HISTORY_ROWS);
    this.#tell("presses");
  }

  addPress(press) {
    const oldest = press.time - HISTORY_S;
    this.presses = [press, ...this.presses].filter(({time}) => time > oldest).slice(0, HISTORY_ROWS);
    this.#tell("presses");
  }

  level(number) {
    return this.levels.find(({level}) => level === number);
  }

  row(level, output) {
    return this.#outputs.get(level)?.get(output);
  }

  name(level, kind, number) {
    return this.#names.get(level)?.[kind]?.[number] ?? "";
  }

  /** Why nothing may be pressed now, in words; empty when it may. */
  get whyNot() {
    if (this.loss) {
      return "The panel cannot be reached.";
    }
    if (!this.state?.bridge.connected) {
      return "The bridge cannot be reached.";
    }
    if (this.state.router.present === false) {
      return "The router is gone.";
    }
    return this.session?.control ? "" : "This panel, or this session, may only look.";
  }
}
