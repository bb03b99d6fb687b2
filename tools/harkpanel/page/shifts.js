// The choice of shift: the one in use, the names that are known, and any other that an operator types.

import { cutText } from './labels.js';

const LONGEST = 10; // bytes of a name

export class Shifts {
  #input = document.getElementById('shift');
  #names = document.getElementById('shift-names');
  #chosen = document.getElementById('shift-chosen');
  #shown = null;

  /** @param {(name: string) => boolean} select  false: it could not be told */
  constructor(select) {
    document.getElementById('shift-form').addEventListener('submit', (event) => {
      event.preventDefault();
      const name = cutText(this.#input.value.trim(), LONGEST);
      if (name && select(name)) this.#input.value = '';
    });
  }

  /** @param {{names: string[], chosen: string}} shifts */
  show(shifts) {
    if (shifts === this.#shown) return; // an open list of names would close
    this.#shown = shifts;
    const { names, chosen } = shifts;
    this.#names.replaceChildren(...names.map((name) => this.#option(name, name === chosen)));
    this.#chosen.textContent = chosen || 'not known';
    this.#chosen.toggleAttribute('data-known', chosen !== '');
  }

  #option(name, isChosen) {
    const option = document.createElement('option');
    option.value = name;
    if (isChosen) {
      option.label = `${name} (now)`;
      option.dataset.chosen = '';
    }
    return option;
  }
}
