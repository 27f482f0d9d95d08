// The words for what is shown: the same in every view, and for those who listen.

const CLOCK = new Intl.DateTimeFormat(undefined, {hour: "2-digit", minute: "2-digit", second: "2-digit", hourCycle: "h23"});

export function clock(seconds) {
  return CLOCK.format(new Date(seconds * 1000));
}

export function dateAndClock(seconds) {
  return new Date(seconds * 1000).toLocaleDateString(undefined, {year: "numeric", month: "short", day: "numeric"}) + ", " +
    clock(seconds);
}

export function count(number, one, many = one + "s") {
  return number + " " + (number === 1 ? one : many);
}

/** "7 CAM 7", or "7" without a name. */
export function label(store, level, kind, number) {
  const name = store.name(level, kind, number);
  return name ? number + " " + name : String(number);
}

export function levelLabel(level) {
  return level.name ? level.level + " " + level.name : "level " + level.level;
}

/** What is routed to an output: "7 CAM 7", "no route", or why that is not known. */
export function sourceWords(store, level, row) {
  if (!row) {
    return "not known";
  }
  if (row.result === 25) {
    return "crosspoints disagree";
  }
  if (row.result === 3 || !row.input) {
    return "no route";
  }
  return row.result ? "result " + row.result : label(store, level, "inputs", row.input);
}

/** "locked by 12", "protected by 12", or nothing. */
export function lockWords(row) {
  return row && row.lock !== "none" ? row.lock + " by " + row.holder : "";
}

/** The input that an output certainly shows, or 0. */
export function routedInput(row) {
  return row && !row.result ? row.input : 0;
}

/** A whole sentence about one crosspoint. */
export function crosspointWords(store, level, output, input) {
  const row = store.row(level, output);
  const source = routedInput(row) === input ? "routed" : "not routed; now " + sourceWords(store, level, row);
  return ["output " + label(store, level, "outputs", output), "input " + label(store, level, "inputs", input), source,
    lockWords(row)].filter(Boolean).join(", ");
}

const DEEDS = {take: "took", "coherent take": "took together", lock: "locked", protect: "protected", release: "released"};

/** "took", "locked", ... for what a press asked for. */
export function deed(what) {
  return DEEDS[what] ?? what.replace(/^salvo /, "applied ");
}

/** How an entry ended: "done", "refused", or "unknown" where it was sent and no answer came. */
export function ending({code, text}) {
  return code === 0 ? "done" : (code ?? null) === null && text.startsWith("no answer") ? "unknown" : "refused";
}
