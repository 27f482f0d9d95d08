// Draws what stands beside the matrix: a destination with its source and its lock in words, a source upright, the corner.

import {lockWords, routedInput, sourceWords} from "./words.js";

const PADDING = 8;
const fitted = new Map(); // font, width and text -> what fits

/** A text cut to a width. Measuring is dear, so what was found is kept. */
function fit(context, text, width) {
  const key = context.font + "\0" + Math.round(width) + "\0" + text;
  let found = fitted.get(key);
  if (found === undefined) {
    found = text;
    while (found && context.measureText(found).width > width) {
      found = found.length > 1 ? [...found.replace(/…$/, "")].slice(0, -1).join("") + "…" : "";
      found = found === "…" ? "" : found;
    }
    if (fitted.size > 20000) {
      fitted.clear();
    }
    fitted.set(key, found);
  }
  return found;
}

/** Beside the row of an output. */
export function drawRowHead(picture, output, row) {
  const {context, geometry, window, colours, store, level, isNarrow} = picture;
  const y = geometry.rowY(output, window);
  const middle = y + geometry.cell / 2 + 0.5;
  const room = geometry.left - 2 * PADDING;
  const lock = lockWords(row);
  const lockRoom = lock ? (isNarrow ? 16 : 96) : 0;
  const nameRoom = isNarrow ? room - lockRoom : room * 0.42;
  context.font = "12px " + colours.font;
  context.textAlign = "right";
  context.fillStyle = colours.muted;
  context.fillText(output, PADDING + 28, middle);
  context.textAlign = "left";
  context.fillStyle = colours.text;
  context.fillText(fit(context, store.name(level, "outputs", output), nameRoom - 36), PADDING + 36, middle);
  if (!isNarrow) {
    context.fillStyle = routedInput(row) ? colours.route : colours.muted;
    const text = fit(context, "← " + sourceWords(store, level, row), room - nameRoom - lockRoom);
    context.fillText(text, PADDING + nameRoom + 4, middle);
  }
  if (lock) {
    context.textAlign = "right";
    context.font = "bold 11px " + colours.font;
    context.fillStyle = row.lock === "locked" ? colours.locked : colours.protected;
    context.fillText(isNarrow ? lock[0].toUpperCase() : lock, geometry.left - PADDING, middle, lockRoom + 12);
  }
}

/** Above the column of an input, read from below. */
export function drawColumnHead({context, geometry, window, colours, store, level}, input) {
  context.save();
  context.translate(geometry.columnX(input, window) + geometry.cell / 2 + 0.5, geometry.top - 6);
  context.rotate(-Math.PI / 2);
  context.font = "12px " + colours.font;
  context.textAlign = "left";
  context.fillStyle = colours.muted;
  context.fillText(input, 0, 0);
  const begin = context.measureText(input).width + 6;
  context.fillStyle = colours.text;
  context.fillText(fit(context, store.name(level, "inputs", input), geometry.top - begin - 14), begin, 0);
  context.restore();
}

/** Says which way is which. */
export function drawCorner({context, geometry, colours}) {
  context.fillStyle = colours.raised;
  context.fillRect(0, 0, geometry.left, geometry.top);
  context.font = "bold 11px " + colours.font;
  context.fillStyle = colours.muted;
  context.textAlign = "right";
  context.fillText("SOURCES →", geometry.left - PADDING, geometry.top - 30);
  context.textAlign = "left";
  context.fillText("DESTINATIONS ↓", PADDING, geometry.top - 14);
}
