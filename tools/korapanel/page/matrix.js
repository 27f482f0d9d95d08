// The live matrix of a level: a canvas of the size of the window on a scroller of the size of the matrix.

import {oncePerFrame, write} from "./dom.js";
import {announce} from "./announce.js";
import {Geometry} from "./matrix-geometry.js";
import {drawMatrix} from "./matrix-draw.js";
import {onPaletteChange, palette} from "./palette.js";
import {crosspointWords, label} from "./words.js";

const NARROW = 640;

export class MatrixView {
  #cursor = {output: 1, input: 1};
  #hover = {output: 0, input: 0};

  /** onReady is called when a crosspoint was chosen with the keyboard. */
  constructor({scroller, spacer, canvas, where, store, selection, presses, onReady}) {
    Object.assign(this, {scroller, spacer, canvas, where, store, selection, presses, onReady});
    this.context = canvas.getContext("2d", {alpha: false});
    this.draw = oncePerFrame(() => this.#draw());
    this.coarse = matchMedia("(pointer: coarse)");
    new ResizeObserver(() => this.layOut()).observe(scroller);
    onPaletteChange(this.draw);
    this.coarse.addEventListener("change", () => this.layOut());
    store.on(["levels"], () => this.layOut());
    store.on(["outputs", "names", "state"], this.draw);
    selection.addEventListener("change", () => this.#followSelection());
    presses.addEventListener("change", this.draw);
    scroller.addEventListener("scroll", this.draw, {passive: true});
    scroller.addEventListener("pointermove", (event) => this.#pointAt(this.#crosspoint(event)));
    scroller.addEventListener("pointerleave", () => this.#pointAt({output: 0, input: 0}));
    scroller.addEventListener("click", (event) => this.#press(this.#crosspoint(event)));
    scroller.addEventListener("keydown", (event) => this.#key(event));
    scroller.addEventListener("focus", this.draw);
    this.layOut();
  }

  get window() {
    const {scrollLeft: x, scrollTop: y, clientWidth: width, clientHeight: height} = this.scroller;
    return {x, y, width, height};
  }

  layOut() {
    const {inputs = 0, outputs = 0} = this.store.level(this.selection.level) ?? {};
    const {width, height} = this.window;
    this.isNarrow = width < NARROW;
    const cell = this.coarse.matches ? 32 : 24;
    this.geometry = new Geometry({inputs, outputs, cell, left: this.isNarrow ? 150 : 360, top: 128});
    this.spacer.style.width = this.geometry.width + "px";
    this.spacer.style.height = this.geometry.height + "px";
    this.canvas.style.width = width + "px";
    this.canvas.style.height = height + "px";
    this.canvas.width = Math.round(width * devicePixelRatio);
    this.canvas.height = Math.round(height * devicePixelRatio);
    this.#cursor = {output: Math.max(1, Math.min(this.#cursor.output, outputs)), input: Math.max(1, Math.min(this.#cursor.input, inputs))};
    this.draw();
  }

  #draw() {
    const window = this.window;
    if (!window.width) {
      return;
    }
    this.context.setTransform(devicePixelRatio, 0, 0, devicePixelRatio, 0, 0);
    if (!this.geometry.outputs) { // a level that is gone, or not yet known
      this.context.fillStyle = palette().ground;
      this.context.fillRect(0, 0, window.width, window.height);
      write(this.where, "");
      return;
    }
    const {level, output, input} = this.selection;
    const pending = this.presses.list.filter(({state}) => state === "pending")
      .flatMap(({entries}) => entries).filter((entry) => entry.level === level);
    drawMatrix({
      context: this.context, geometry: this.geometry, window, range: this.geometry.range(window), colours: palette(),
      store: this.store, level, cursor: this.#cursor, hover: this.#hover, chosen: {output, input}, pending,
      isNarrow: this.isNarrow,
    });
    write(this.where, this.#words(this.#hover.output || this.#hover.input ? this.#hover : this.#cursor));
  }

  #words({output, input}) {
    const {level} = this.selection;
    if (output && input) {
      return crosspointWords(this.store, level, output, input);
    }
    return output ? "output " + label(this.store, level, "outputs", output)
      : input ? "input " + label(this.store, level, "inputs", input) : "";
  }

  #crosspoint(event) {
    const box = this.scroller.getBoundingClientRect();
    return this.geometry.at(event.clientX - box.left - this.scroller.clientLeft, event.clientY - box.top - this.scroller.clientTop,
      this.window);
  }

  #pointAt(crosspoint) {
    if (crosspoint.output !== this.#hover.output || crosspoint.input !== this.#hover.input) {
      this.#hover = crosspoint;
      this.draw();
    }
  }

  /** A press on a crosspoint chooses both, on a name one of them. It never takes. */
  #press({output, input}) {
    if (output || input) {
      this.#cursor = {output: output || this.#cursor.output, input: input || this.#cursor.input};
      this.selection.choose({...(output && {output}), ...(input && {input})});
    }
  }

  #followSelection() {
    const {level, output, input} = this.selection;
    if (level !== this.shownLevel) {
      this.shownLevel = level;
      this.#cursor = {output: 1, input: 1};
      this.layOut();
      this.scroller.scrollTo(0, 0);
    }
    if ((output && output !== this.#cursor.output) || (input && input !== this.#cursor.input)) {
      this.#cursor = {output: output || this.#cursor.output, input: input || this.#cursor.input};
      this.#show({output, input});
    }
    this.draw();
  }

  #show(crosspoint) {
    const {x, y} = this.geometry.scrollTo(crosspoint, this.window);
    this.scroller.scrollTo(x, y);
  }

  #key(event) {
    if (event.ctrlKey && !["Home", "End"].includes(event.key) || event.altKey || event.metaKey) {
      return;
    }
    const {outputs, inputs} = this.geometry;
    const page = this.geometry.page(this.window);
    const steps = {
      ArrowUp: [-1, 0], ArrowDown: [1, 0], ArrowLeft: [0, -1], ArrowRight: [0, 1],
      PageUp: event.shiftKey ? [0, -page.inputs] : [-page.outputs, 0],
      PageDown: event.shiftKey ? [0, page.inputs] : [page.outputs, 0],
      Home: event.ctrlKey ? [-outputs, -inputs] : [0, -inputs],
      End: event.ctrlKey ? [outputs, inputs] : [0, inputs],
    };
    if (steps[event.key]) {
      event.preventDefault();
      this.#move(...steps[event.key]);
    } else if ((event.key === "Enter" || event.key === " ") && !event.repeat) {
      event.preventDefault();
      this.selection.choose({...this.#cursor});
      this.onReady(this.scroller);
    } else if (event.key.toLowerCase() === "r" && !event.shiftKey && !event.ctrlKey) {
      this.#toRoute();
    }
  }

  #move(outputs, inputs) {
    const within = (value, last) => Math.max(1, Math.min(value, last));
    this.#cursor = {
      output: within(this.#cursor.output + outputs, this.geometry.outputs),
      input: within(this.#cursor.input + inputs, this.geometry.inputs),
    };
    this.#hover = {output: 0, input: 0};
    this.#show(this.#cursor);
    announce(this.#words(this.#cursor));
    this.draw();
  }

  /** To the input that the output of this row shows. */
  #toRoute() {
    const input = this.store.row(this.selection.level, this.#cursor.output)?.input;
    if (input) {
      this.#move(0, input - this.#cursor.input);
    }
  }
}
