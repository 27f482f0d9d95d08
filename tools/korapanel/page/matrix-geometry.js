// Where crosspoints lie: outputs are rows, inputs are columns, both count from 1. Lengths are CSS pixels.

export class Geometry {
  constructor({inputs, outputs, cell, left, top}) {
    Object.assign(this, {inputs, outputs, cell, left, top});
  }

  get width() {
    return this.left + this.inputs * this.cell;
  }

  get height() {
    return this.top + this.outputs * this.cell;
  }

  /** The crosspoints that a window of this size shows, also those that it shows in part. */
  range({x, y, width, height}) {
    const first = (offset) => Math.floor(offset / this.cell) + 1;
    return {
      firstInput: Math.max(1, first(x)),
      lastInput: Math.min(this.inputs, first(x + width - this.left)),
      firstOutput: Math.max(1, first(y)),
      lastOutput: Math.min(this.outputs, first(y + height - this.top)),
    };
  }

  /** Where the column of an input begins in the window. */
  columnX(input, window) {
    return this.left + (input - 1) * this.cell - window.x;
  }

  rowY(output, window) {
    return this.top + (output - 1) * this.cell - window.y;
  }

  /** The crosspoint under a point of the window; output or input is 0 over the names and beside the matrix. */
  at(pointX, pointY, window) {
    const column = Math.floor((pointX - this.left + window.x) / this.cell) + 1;
    const row = Math.floor((pointY - this.top + window.y) / this.cell) + 1;
    return {
      output: pointY >= this.top && row <= this.outputs ? row : 0,
      input: pointX >= this.left && column <= this.inputs ? column : 0,
    };
  }

  /** How far to scroll so that a crosspoint is wholly seen; a number of 0 leaves that direction alone. */
  scrollTo({output, input}, window) {
    const into = (number, from, room) => {
      const begin = (number - 1) * this.cell;
      return Math.max(begin + this.cell - room, Math.min(begin, from));
    };
    return {
      x: input ? into(input, window.x, window.width - this.left) : window.x,
      y: output ? into(output, window.y, window.height - this.top) : window.y,
    };
  }

  /** How many crosspoints a page holds in each direction, at least one. */
  page(window) {
    return {
      outputs: Math.max(1, Math.floor((window.height - this.top) / this.cell) - 1),
      inputs: Math.max(1, Math.floor((window.width - this.left) / this.cell) - 1),
    };
  }
}
