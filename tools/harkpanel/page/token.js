// The token that a gateway may ask for: kept for this tab only, and never left in the address bar.

const STORED = 'harkpanel-token';

/** Takes the token out of an address that ends in #token=... False: there is none. */
export function takeTokenFromAddress() {
  const match = /^#token=(.+)$/.exec(location.hash);
  if (!match) return false;
  storeToken(decode(match[1]));
  history.replaceState(null, '', location.pathname + location.search);
  return true;
}

let kept = ''; // where the browser lets pages store nothing

export function storedToken() {
  try {
    return sessionStorage.getItem(STORED) ?? kept;
  } catch {
    return kept;
  }
}

function storeToken(token) {
  kept = token;
  try {
    sessionStorage.setItem(STORED, token);
  } catch {
    // then it lasts until the page is loaded anew
  }
}

function decode(text) {
  try {
    return decodeURIComponent(text);
  } catch {
    return text; // a percent sign of its own
  }
}

export class TokenForm {
  #page = document.getElementById('token-page'); // in place of the panel
  #form = document.getElementById('token');
  #input = document.getElementById('token-text');
  #why = document.getElementById('token-why');

  /** @param {() => void} given  a token was typed and is stored */
  constructor(given) {
    this.#form.addEventListener('submit', (event) => {
      event.preventDefault();
      storeToken(this.#input.value.trim());
      this.#input.value = '';
      given();
    });
  }

  ask() {
    this.#why.textContent = storedToken() ? 'The gateway does not know the token that was given.' : '';
    this.#show(true);
    this.#input.focus();
  }

  hide() {
    this.#show(false);
  }

  #show(shown) {
    this.#page.hidden = !shown;
    this.#form.hidden = !shown;
  }
}
