// The one way to make elements: what comes from the bus, from files or from people is text, never markup.

/** make("button", {class: "take", onclick: f}, "Take"): attributes that are false or missing are left out. */
export function make(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith("on")) {
      element.addEventListener(name.slice(2), value);
    } else if (value !== false && value !== undefined && value !== null) {
      element.setAttribute(name, value === true ? "" : String(value));
    }
  }
  element.append(...children);
  return element;
}

export function byId(id) {
  return document.getElementById(id);
}

/** Writes a text only when it differs, so that nothing is announced twice. */
export function write(element, text) {
  if (element.textContent !== text) {
    element.textContent = text;
  }
}

/** Calls a function at most once a frame, however often it is asked for. */
export function oncePerFrame(draw) {
  let isAsked = false;
  return () => {
    if (!isAsked) {
      isAsked = true;
      requestAnimationFrame(() => {
        isAsked = false;
        draw();
      });
    }
  };
}
