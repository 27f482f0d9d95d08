// Brings the page to life: the session first, then the stream of events, which says when to fetch everything.

import {api, onSessionEnded, Refusal} from "./api.js";
import {byId, write} from "./dom.js";
import {Dock} from "./dock.js";
import {HistoryView} from "./history.js";
import {LevelStrip} from "./levels.js";
import {Losses} from "./losses.js";
import {MatrixView} from "./matrix.js";
import {Presses} from "./presses.js";
import {SalvosView} from "./salvos.js";
import {Search} from "./search.js";
import {Selection} from "./selection.js";
import {Store} from "./store.js";
import {Stream} from "./stream.js";
import {TokenPage} from "./token.js";
import {XyView} from "./xy.js";

const LONGEST_TIMER_MS = 2 ** 31 - 1; // a longer one would be over at once
const AFTER_EXPIRY_MS = 500;

const store = new Store();
const selection = new Selection();
const presses = new Presses(store);
const dock = new Dock({store, selection, presses});
const onReady = (from) => dock.ready(from);
const matrix = new MatrixView({scroller: byId("matrix"), spacer: byId("matrix-spacer"), canvas: byId("matrix-canvas"),
  where: byId("where"), store, selection, presses, onReady});
new XyView({store, selection, onReady});
new LevelStrip({store, selection});
new HistoryView({store});
new Search({store, selection});
const salvos = new SalvosView({store, presses});
const losses = new Losses({store});
const tokenPage = new TokenPage({onSession: begin});
let expiry = 0;

const stream = new Stream({
  onOpen: () => store.set("loss", ""),
  onEvent: hear,
  onLoss: (reason) => store.set("loss", reason),
  onEnd: () => endSession("The session has ended."),
  signOfLife: api.state,
});

function hear(type, data) {
  const listeners = {
    state: () => store.setState(data),
    levels: () => takeLevels(data),
    outputs: () => store.setOutputs(data),
    press: () => store.addPress(data),
    resync: () => fetchAll(),
  };
  listeners[type]?.();
}

function takeLevels(answer) {
  const before = new Set(store.levels.filter(({present}) => present).map(({level}) => level));
  store.setLevels(answer);
  if (store.levels.length > 0 && !store.level(selection.level)) {
    selection.chooseLevel(store.levels[0].level);
  }
  return Promise.all(store.levels.filter(({level, present}) => present && !before.has(level)).map(({level}) => fetchOutputs(level)));
}

async function fetchOutputs(level) {
  try {
    store.setOutputs(await api.outputs(level));
  } catch (error) {
    // A level that has just gone has no outputs; a panel that does not answer is shown as lost by its stream.
    console.info("level " + level + ": " + error.message);
  }
}

/** Everything again. Events that come meanwhile are later than what is fetched, or the same. */
async function fetchAll() {
  store.forgetRevisions();
  try {
    const [state, levels, names, history] = await Promise.all([api.state(), api.levels(), api.names(), api.history()]);
    store.setState(state);
    store.setNames(names.levels);
    store.setPresses(history.presses);
    const before = store.levels;
    await takeLevels(levels);
    await Promise.all(before.map(({level}) => fetchOutputs(level)));
  } catch (error) {
    // Half a picture is worse than none: begin again.
    stream.forget();
    stream.connection?.abort("what it knows cannot be fetched: " + error.message);
  }
}

function begin(session) {
  store.set("session", session);
  write(byId("who"), session.name);
  write(byId("right"), session.control ? "may press" : "may only look");
  byId("close-session").hidden = session.name === "local";
  clearTimeout(expiry);
  if (session.expires) {
    const left = session.expires * 1000 - Date.now() + AFTER_EXPIRY_MS;
    expiry = setTimeout(checkSession, Math.max(AFTER_EXPIRY_MS, Math.min(left, LONGEST_TIMER_MS)));
  }
  stream.forget();
  followWhileSeen();
}

/** A page that nobody sees leaves its connection to others: browsers have six for all pages of a panel. */
function followWhileSeen() {
  if (document.hidden || !store.session) {
    stream.stop();
  } else {
    stream.start();
  }
}

async function checkSession() {
  try {
    begin(await api.session());
  } catch (error) {
    if (error instanceof Refusal) {
      endSession(error.status === 401 && !store.session ? "" : error.message);
    } else {
      store.set("loss", error.message);
      setTimeout(checkSession, 1000);
    }
  }
}

function endSession(reason) {
  stream.stop();
  clearTimeout(expiry);
  store.set("session", null);
  tokenPage.show(reason);
}

function showView() {
  const views = ["matrix", "xy", "salvos", "history"];
  const shown = views.find((view) => location.hash === "#/" + view) ?? "matrix";
  for (const view of views) {
    byId("view-" + view).hidden = view !== shown;
    byId("to-" + view).toggleAttribute("aria-current", false);
  }
  byId("to-" + shown).setAttribute("aria-current", "page");
  document.body.dataset.view = shown;
  salvos[shown === "salvos" ? "open" : "close"]();
  store.set("presses", store.presses);
  matrix.layOut();
}

byId("close-session").addEventListener("click", async () => {
  try {
    await api.close();
  } finally {
    endSession("You have left.");
  }
});
onSessionEnded(endSession);
document.addEventListener("visibilitychange", followWhileSeen);
addEventListener("hashchange", showView);
showView();
losses.draw();
checkSession();
