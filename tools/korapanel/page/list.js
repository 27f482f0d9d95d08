// A list of thousands of items to choose one from: only the items in sight are elements.

import {make, oncePerFrame} from "./dom.js";

const SPARE = 4; // items drawn above and below what is seen

export class VirtualList {
  #items = [];
  #cursor = 0;
  #shown = new Map(); // item's number -> element

  /** render(number) gives an item's children, isChosen(number) whether it is the chosen one; onChoose(number, withKeyboard). */
  constructor(element, {render, isChosen, onChoose}) {
    Object.assign(this, {element, render, isChosen, onChoose});
    this.spacer = make("div", {role: "presentation", class: "list-spacer"});
    element.replaceChildren(this.spacer);
    this.draw = oncePerFrame(() => this.#draw());
    element.addEventListener("scroll", this.draw, {passive: true});
    element.addEventListener("keydown", (event) => this.#key(event));
    element.addEventListener("focus", this.draw);
    element.addEventListener("blur", this.draw);
    element.addEventListener("click", (event) => this.#click(event));
    new ResizeObserver(this.draw).observe(element);
  }

  /** The numbers that are listed. */
  set items(numbers) {
    this.#items = numbers;
    this.#cursor = Math.max(0, Math.min(this.#cursor, numbers.length - 1));
    this.draw();
  }

  get items() {
    return this.#items;
  }

  get itemHeight() {
    return parseFloat(getComputedStyle(this.element).getPropertyValue("--item-height")) || 30;
  }

  /** Shows a number, and begins there when the list gets the focus. */
  show(number) {
    const index = this.#items.indexOf(number);
    if (index >= 0) {
      this.#moveTo(index);
    }
  }

  #moveTo(index) {
    const height = this.itemHeight;
    const room = this.element.clientHeight;
    this.#cursor = Math.max(0, Math.min(index, this.#items.length - 1));
    const begin = this.#cursor * height;
    this.element.scrollTop = Math.max(begin + height - room, Math.min(begin, this.element.scrollTop));
    this.draw();
  }

  #draw() {
    const height = this.itemHeight;
    const {scrollTop, clientHeight} = this.element;
    this.spacer.style.height = Math.max(1, this.#items.length * height) + "px";
    const first = Math.max(0, Math.floor(scrollTop / height) - SPARE);
    const last = Math.min(this.#items.length, Math.ceil((scrollTop + clientHeight) / height) + SPARE);
    const wanted = new Set(this.#items.slice(first, last));
    if (this.#items.length > 0) {
      wanted.add(this.#items[this.#cursor]);
    }
    for (const [number, element] of this.#shown) {
      if (!wanted.has(number)) {
        element.remove();
        this.#shown.delete(number);
      }
    }
    for (let index = first; index < last; index++) {
      this.#drawItem(index, height);
    }
    if (this.#items.length > 0) {
      this.#drawItem(this.#cursor, height);
      this.element.setAttribute("aria-activedescendant", this.#id(this.#items[this.#cursor]));
    } else {
      this.element.removeAttribute("aria-activedescendant");
    }
  }

  #id(number) {
    return this.element.id + "-" + number;
  }

  #drawItem(index, height) {
    const number = this.#items[index];
    let item = this.#shown.get(number);
    if (!item) {
      item = make("div", {role: "option", id: this.#id(number), class: "list-item"});
      this.#shown.set(number, item);
      this.spacer.append(item);
    }
    item.style.transform = "translateY(" + index * height + "px)";
    item.setAttribute("aria-posinset", index + 1);
    item.setAttribute("aria-setsize", this.#items.length);
    item.setAttribute("aria-selected", this.isChosen(number));
    item.classList.toggle("at-cursor", index === this.#cursor);
    item.replaceChildren(...this.render(number));
  }

  #click(event) {
    const item = event.target.closest("[role=option]");
    if (item) {
      const number = Number(item.id.slice(this.element.id.length + 1));
      this.#cursor = this.#items.indexOf(number);
      this.onChoose(number, false);
    }
  }

  #key(event) {
    const page = Math.max(1, Math.floor(this.element.clientHeight / this.itemHeight) - 1);
    const steps = {ArrowUp: -1, ArrowDown: 1, PageUp: -page, PageDown: page, Home: -Infinity, End: Infinity};
    if (event.ctrlKey || event.altKey || event.metaKey) {
      return;
    }
    if (event.key in steps) {
      event.preventDefault();
      this.#moveTo(this.#cursor + steps[event.key]);
    } else if ((event.key === "Enter" || event.key === " ") && this.#items.length > 0 && !event.repeat) {
      event.preventDefault();
      this.onChoose(this.#items[this.#cursor], true);
    }
  }
}
