// The style sheet's colours for the canvas, read anew when light turns to dark.

const NAMES = ["ground", "raised", "line", "line-strong", "text", "muted", "route", "locked", "protected", "choice", "band", "take"];

const darkness = matchMedia("(prefers-color-scheme: dark)");
let colours = null;

export function palette() {
  if (!colours) {
    const probe = document.createElement("span");
    probe.hidden = true;
    document.body.append(probe);
    colours = {};
    for (const name of NAMES) {
      probe.style.color = "var(--" + name + ")";
      colours[name] = getComputedStyle(probe).color;
    }
    colours.font = getComputedStyle(document.body).fontFamily;
    probe.remove();
  }
  return colours;
}

export function onPaletteChange(callback) {
  darkness.addEventListener("change", () => {
    colours = null;
    callback();
  });
}
