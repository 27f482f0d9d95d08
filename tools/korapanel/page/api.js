// The panel's HTTP interface. A request ends in one of three ways: an answer, a refusal with its words, or no answer.

/** The panel says no, and nothing was done. */
export class Refusal extends Error {
  constructor(status, code, text) {
    super(text);
    this.status = status;
    this.code = code;
  }
}

/** No answer came: what was asked for may have been done or not. */
export class NoAnswer extends Error {}

const ANSWER_MS = 10000;
// The panel may have passed the request on before it failed.
const UNCERTAIN = new Set([500, 502, 504]);

let tellSessionEnded = () => {};

/** Called with the reason whenever the panel does not know the session. */
export function onSessionEnded(callback) {
  tellSessionEnded = callback;
}

async function explain(response) {
  try {
    const {error} = await response.json();
    return {code: String(error.code), text: String(error.text)};
  } catch {
    return {code: "status-" + response.status, text: "The panel answered with status " + response.status + "."};
  }
}

async function ask(method, path, body, {milliseconds = ANSWER_MS, headers = {}} = {}) {
  const options = {method, headers, cache: "no-store", redirect: "error", signal: AbortSignal.timeout(milliseconds)};
  if (body !== undefined) {
    options.headers = {"Content-Type": "application/json", ...headers};
    options.body = JSON.stringify(body);
  }
  let response;
  try {
    response = await fetch("/api/" + path, options);
  } catch (error) {
    throw new NoAnswer(error.name === "TimeoutError" ? "no answer in " + milliseconds / 1000 + " s" : "the connection broke");
  }
  if (!response.ok) {
    const {code, text} = await explain(response);
    if (response.status === 401 && path !== "session") {
      tellSessionEnded(text);
    }
    throw UNCERTAIN.has(response.status) ? new NoAnswer(text) : new Refusal(response.status, code, text);
  }
  if (response.status === 204) {
    return null;
  }
  try {
    return await response.json();
  } catch {
    throw new NoAnswer("the answer broke off");
  }
}

const part = encodeURIComponent;

/** A press has a key, under which the panel does it once, however often it is sent. */
function press(path, body, key) {
  return ask("POST", path, body, {headers: {"Idempotency-Key": key}});
}

/** No two are alike. (crypto.randomUUID is missing where there is no TLS.) */
export function newKey() {
  return [...crypto.getRandomValues(new Uint32Array(4))].map((word) => word.toString(16).padStart(8, "0")).join("");
}

export const api = {
  session: () => ask("GET", "session"),
  open: (token) => ask("POST", "session", {token}),
  close: () => ask("DELETE", "session"),
  state: (milliseconds) => ask("GET", "state", undefined, {milliseconds}),
  levels: () => ask("GET", "levels"),
  outputs: (level) => ask("GET", "levels/" + part(level) + "/outputs"),
  names: () => ask("GET", "names"),
  history: () => ask("GET", "history"),
  take: (takes, key) => press("takes", {coherent: takes.length > 1, takes}, key),
  lock: (locks, key) => press("locks", {locks}, key),
  salvos: () => ask("GET", "salvos"),
  salvo: (name) => ask("GET", "salvos/" + part(name)),
  applySalvo: (name, key) => press("salvos/" + part(name) + "/takes", {}, key),
};
