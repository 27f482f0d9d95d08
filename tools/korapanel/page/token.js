// The page that asks for a token when the panel does not know the session.

import {api, Refusal} from "./api.js";
import {byId, write} from "./dom.js";

/** Asks until a token is known; onSession(session) then. */
export class TokenPage {
  constructor({onSession}) {
    this.onSession = onSession;
    byId("token-form").addEventListener("submit", (event) => {
      event.preventDefault();
      this.#open();
    });
  }

  show(reason) {
    byId("token-page").hidden = false;
    byId("app").hidden = true;
    write(byId("token-trouble"), reason);
    byId("token").focus();
  }

  async #open() {
    const button = byId("token-open");
    if (button.disabled) {
      return;
    }
    button.disabled = true;
    write(byId("token-trouble"), "");
    try {
      const session = await api.open(byId("token").value);
      byId("token").value = "";
      byId("token-page").hidden = true;
      byId("app").hidden = false;
      this.onSession(session);
    } catch (error) {
      write(byId("token-trouble"), error instanceof Refusal ? error.message : "The panel does not answer: " + error.message + ".");
      byId("token").select();
    } finally {
      button.disabled = false;
    }
  }
}
