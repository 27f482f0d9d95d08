// Draws the part of the matrix that its window shows. Nothing outside of the range costs anything.

import {drawColumnHead, drawCorner, drawRowHead} from "./matrix-heads.js";
import {routedInput} from "./words.js";

function clip(context, x, y, width, height, draw) {
  context.save();
  context.beginPath();
  context.rect(x, y, width, height);
  context.clip();
  draw();
  context.restore();
}

function drawLines({context, geometry, window, range, colours}) {
  const right = geometry.columnX(range.lastInput + 1, window);
  const bottom = geometry.rowY(range.lastOutput + 1, window);
  for (const strong of [false, true]) {
    context.beginPath();
    for (let input = range.firstInput; input <= range.lastInput + 1; input++) {
      if ((input % 10 === 1) === strong) {
        const x = Math.round(geometry.columnX(input, window)) + 0.5;
        context.moveTo(x, 0);
        context.lineTo(x, bottom);
      }
    }
    for (let output = range.firstOutput; output <= range.lastOutput + 1; output++) {
      if ((output % 10 === 1) === strong) {
        const y = Math.round(geometry.rowY(output, window)) + 0.5;
        context.moveTo(0, y);
        context.lineTo(right, y);
      }
    }
    context.strokeStyle = strong ? colours["line-strong"] : colours.line;
    context.stroke();
  }
}

/** The row and the column of a crosspoint, as bands; a number of 0 has none. */
function drawBands({context, geometry, window, colours}, {output, input}, colour) {
  context.fillStyle = colours[colour];
  if (output) {
    context.fillRect(0, geometry.rowY(output, window), window.width, geometry.cell);
  }
  if (input) {
    context.fillRect(geometry.columnX(input, window), 0, geometry.cell, window.height);
  }
}

/** A route is a disc, a protected one a diamond with P, a locked one a square with L: shape and letter, not colour alone. */
function drawMark({context, geometry, colours}, x, y, lock) {
  const middle = geometry.cell / 2;
  const size = geometry.cell * 0.34;
  context.fillStyle = lock === "locked" ? colours.locked : lock === "protected" ? colours.protected : colours.route;
  context.beginPath();
  if (lock === "locked") {
    context.rect(x + middle - size, y + middle - size, 2 * size, 2 * size);
  } else if (lock === "protected") {
    const tip = size * 1.35;
    context.moveTo(x + middle, y + middle - tip);
    context.lineTo(x + middle + tip, y + middle);
    context.lineTo(x + middle, y + middle + tip);
    context.lineTo(x + middle - tip, y + middle);
  } else {
    context.arc(x + middle, y + middle, size, 0, 2 * Math.PI);
  }
  context.fill();
  if (lock !== "none") {
    context.fillStyle = colours.ground;
    context.font = "bold " + Math.round(geometry.cell * 0.46) + "px " + colours.font;
    context.textAlign = "center";
    context.fillText(lock === "locked" ? "L" : "P", x + middle, y + middle + 0.5);
  }
}

function drawRing({context, geometry, window, colours}, {output, input}, colour, dash) {
  if (output && input) {
    context.strokeStyle = colours[colour];
    context.lineWidth = 2;
    context.setLineDash(dash);
    context.strokeRect(geometry.columnX(input, window) + 1.5, geometry.rowY(output, window) + 1.5, geometry.cell - 2, geometry.cell - 2);
    context.setLineDash([]);
    context.lineWidth = 1;
  }
}

/** picture: context, geometry, window {x, y, width, height}, range, colours, store, level, cursor, chosen, hover, pending. */
export function drawMatrix(picture) {
  const {context, geometry, window, range, colours, store, level} = picture;
  const rows = [];
  for (let output = range.firstOutput; output <= range.lastOutput; output++) {
    rows.push([output, store.row(level, output)]);
  }
  context.textBaseline = "middle";
  context.lineWidth = 1;
  context.fillStyle = colours.ground;
  context.fillRect(0, 0, window.width, window.height);
  clip(context, geometry.left, geometry.top, window.width, window.height, () => {
    drawBands(picture, picture.hover, "raised");
    drawBands(picture, picture.cursor, "band");
    drawLines(picture);
    for (const [output, row] of rows) {
      const input = routedInput(row);
      if (input >= range.firstInput && input <= range.lastInput) {
        drawMark(picture, geometry.columnX(input, window), geometry.rowY(output, window), row.lock);
      }
    }
    drawRing(picture, picture.cursor, "choice", []);
    drawRing(picture, picture.chosen, "take", []);
    picture.pending.forEach((each) => drawRing(picture, each, "take", [3, 3]));
  });
  context.fillStyle = colours.raised;
  context.fillRect(0, 0, window.width, geometry.top);
  context.fillRect(0, 0, geometry.left, window.height);
  clip(context, 0, geometry.top, geometry.left, window.height, () => {
    drawBands(picture, {output: picture.cursor.output}, "band");
    rows.forEach(([output, row]) => drawRowHead(picture, output, row));
  });
  clip(context, geometry.left, 0, window.width, geometry.top, () => {
    drawBands(picture, {input: picture.cursor.input}, "band");
    for (let input = range.firstInput; input <= range.lastInput; input++) {
      drawColumnHead(picture, input);
    }
  });
  drawCorner(picture);
  context.strokeStyle = colours["line-strong"];
  context.strokeRect(-0.5, -0.5, geometry.left, geometry.top);
  context.beginPath();
  context.moveTo(geometry.left - 0.5, 0);
  context.lineTo(geometry.left - 0.5, window.height);
  context.moveTo(0, geometry.top - 0.5);
  context.lineTo(window.width, geometry.top - 0.5);
  context.stroke();
}
