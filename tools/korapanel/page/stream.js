// The stream of events. It is read with fetch, not with EventSource: that would hide the signs of life between events,
// and with them that a panel whose machine lost its power says nothing any more.

const SILENCE_MS = 5000; // then the panel is asked for a sign of life
const SIGN_MS = 4000; // which must come in this time
const FIRST_PAUSE_MS = 250;
const LONGEST_PAUSE_MS = 5000;

/** Cuts a text/event-stream into events; feed() takes pieces as they come. */
export class EventCutter {
  #rest = "";
  #event = {type: "message", data: [], id: undefined};

  constructor(onEvent) {
    this.onEvent = onEvent;
  }

  feed(text) {
    const lines = (this.#rest + text).split("\n");
    this.#rest = lines.pop();
    for (const line of lines) {
      this.#line(line.endsWith("\r") ? line.slice(0, -1) : line);
    }
  }

  #line(line) {
    if (line === "") {
      const {type, data, id} = this.#event;
      this.#event = {type: "message", data: [], id: undefined};
      if (data.length > 0 || type !== "message") {
        this.onEvent(type, data.join("\n"), id);
      }
      return;
    }
    const colon = line.indexOf(":");
    const field = colon < 0 ? line : line.slice(0, colon);
    const value = colon < 0 ? "" : line.slice(colon + 1).replace(/^ /, "");
    if (field === "event") {
      this.#event.type = value;
    } else if (field === "data") {
      this.#event.data.push(value);
    } else if (field === "id") {
      this.#event.id = value;
    }
  }
}

/** Follows /api/events until stopped; connects again by itself. handlers: onOpen(), onEvent(type, object),
 * onLoss(reason), onEnd() when the session is not known, and signOfLife(milliseconds), a request of the panel. */
export class Stream {
  #run = null; // which start() is the running one
  #lastId;
  #heard = 0;
  #pause = FIRST_PAUSE_MS;

  constructor(handlers) {
    this.handlers = handlers;
  }

  async start() {
    if (this.#run) {
      return;
    }
    const run = {};
    this.#run = run;
    while (this.#run === run) {
      const reason = await this.#read();
      if (this.#run !== run) {
        return;
      }
      this.handlers.onLoss(reason);
      await new Promise((resolve) => setTimeout(resolve, this.#pause));
      this.#pause = Math.min(this.#pause * 2, LONGEST_PAUSE_MS);
    }
  }

  stop() {
    this.#run = null;
    this.connection?.abort();
  }

  /** The next connection is told everything. */
  forget() {
    this.#lastId = undefined;
  }

  async #read() {
    const connection = new AbortController();
    this.connection = connection;
    this.#heard = performance.now();
    const watch = setInterval(() => this.#watch(connection), 1000);
    try {
      const headers = this.#lastId === undefined ? {} : {"Last-Event-ID": this.#lastId};
      const response = await fetch("/api/events", {headers, cache: "no-store", signal: connection.signal});
      if (response.status === 401) {
        this.stop();
        this.handlers.onEnd();
        return "the session has ended";
      }
      if (!response.ok) {
        return "the panel refuses its events with status " + response.status;
      }
      this.handlers.onOpen();
      await this.#cut(response.body);
      return "the panel ended the connection";
    } catch {
      // What is read while it is given up fails with the reason or with an error of the reader's own.
      const {aborted, reason} = connection.signal;
      return aborted && typeof reason === "string" ? reason : "the connection to the panel broke";
    } finally {
      clearInterval(watch);
      connection.abort();
    }
  }

  async #cut(body) {
    const cutter = new EventCutter((type, data, id) => {
      this.#pause = FIRST_PAUSE_MS;
      this.handlers.onEvent(type, data === "" ? {} : JSON.parse(data));
      this.#lastId = id ?? this.#lastId;
    });
    const reader = body.pipeThrough(new TextDecoderStream()).getReader();
    for (let piece = await reader.read(); !piece.done; piece = await reader.read()) {
      this.#heard = performance.now();
      cutter.feed(piece.value);
    }
  }

  async #watch(connection) {
    if (performance.now() - this.#heard < SILENCE_MS || connection.isAsked) {
      return;
    }
    connection.isAsked = true;
    try {
      await this.handlers.signOfLife(SIGN_MS);
      this.#heard = performance.now();
    } catch {
      connection.abort("the panel does not answer");
    }
    connection.isAsked = false;
  }
}
