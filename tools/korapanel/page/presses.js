// The life of a press: pending, then done, refused with its words, or unknown. One whose answer is lost is sent again under
// its key, so that nothing is ever done a second time.

import {api, newKey, NoAnswer} from "./api.js";
import {ending, routedInput} from "./words.js";

const KEPT = 6;
const PAUSES_MS = [250, 1000]; // before a press is sent again
const SIGN_MS = 2000;
const SHOWN_WITHIN_MS = 3000; // a router that follows shows a take sooner

export class Presses extends EventTarget {
  list = []; // newest first: {title, levels, state, text, entries, results}

  constructor(store) {
    super();
    this.store = store;
  }

  isPending(level, output) {
    return this.list.some(({state, entries}) => state === "pending" &&
      entries.some((entry) => entry.level === level && entry.output === output));
  }

  take(title, takes) {
    return this.#press(title, takes, (key) => api.take(takes, key), (press) => this.#watchRouter(press));
  }

  lock(title, locks) {
    return this.#press(title, locks, (key) => api.lock(locks, key));
  }

  /** What the panel will set is only known to the panel, so there are no entries yet. */
  applySalvo(name) {
    return this.#press("Salvo " + name, [], (key) => api.applySalvo(name, key));
  }

  /** Null when the same output already waits for an answer. */
  async #press(title, entries, send, afterwards) {
    if (entries.some(({level, output}) => this.isPending(level, output))) {
      return null;
    }
    const press = {title, entries, levels: entries.map(({level}) => level), state: "pending", text: "sent, no answer yet", results: []};
    const waiting = this.list.filter(({state}) => state === "pending");
    this.list = [press, ...this.list.filter((each) => waiting.includes(each) || this.list.indexOf(each) < KEPT - 1)];
    this.#tell(press);
    try {
      press.results = (await this.#deliver(send)).results;
      this.#judge(press);
    } catch (error) {
      press.state = error instanceof NoAnswer ? "unknown" : "refused";
      press.text = error instanceof NoAnswer ? error.message + "; it may have been done or not" : error.message;
    }
    this.#tell(press);
    if (press.state === "done") {
      afterwards?.(press);
    }
    return press;
  }

  /** Sends it, and again when no answer comes, to the same run of the panel: another does not know the key. */
  async #deliver(send) {
    const key = newKey();
    const run = this.store.state?.run;
    try {
      return await send(key);
    } catch (error) {
      for (const pause of error instanceof NoAnswer ? PAUSES_MS : []) {
        await new Promise((resolve) => setTimeout(resolve, pause));
        try {
          if ((await api.state(SIGN_MS)).run !== run) {
            break;
          }
          return await send(key);
        } catch {
          // A refusal of the second says nothing of the first.
        }
      }
      throw error;
    }
  }

  #judge(press) {
    const states = press.results.map(ending);
    press.state = ["refused", "unknown"].find((state) => states.includes(state)) ?? "done";
    const words = [...new Set(press.results.filter((_, index) => states[index] !== "done").map(({text}) => text))];
    const done = states.filter((state) => state === "done").length;
    press.text = words.length === 0 ? "done" : words.slice(0, 3).join("; ") + (words.length > 3 ? "; ..." : "") +
      (states.length > 1 ? " (" + done + " of " + states.length + " done)" : "");
  }

  /** "Done" means that the router was told; whether it follows shows in its status. */
  #watchRouter(press) {
    const isShown = () => press.entries.every(({level, output, input}) => routedInput(this.store.row(level, output)) === input);
    const finish = (text) => {
      clearTimeout(timer);
      this.store.removeEventListener("change", look);
      press.text = text;
      this.#tell(press);
    };
    const look = () => isShown() && finish("the router shows it");
    const timer = setTimeout(() => finish("accepted, but the router does not show it"), SHOWN_WITHIN_MS);
    this.store.addEventListener("change", look);
    look();
  }

  #tell(press) {
    this.dispatchEvent(new CustomEvent("change", {detail: press}));
  }
}
