// The page, as an operator sees and uses it.
import assert from 'node:assert/strict';
import { kLimitMs, until } from './wait.mjs';

export class Panel {
  problems = []; // what the page complained of by itself

  constructor(page) {
    this.page = page;
    page.on('pageerror', (error) => this.problems.push(`${error}`));
    page.on('console', (message) => {
      // A gateway that is gone is what some tests are about.
      if (message.type() === 'error' && !/WebSocket connection|ERR_CONNECTION/.test(message.text())) {
        this.problems.push(message.text());
      }
    });
  }

  // A new page of the context, at work.
  static async open(context, gateway) {
    const panel = new Panel(await context.newPage());
    await panel.page.goto(gateway.url);
    await panel.link('up');
    return panel;
  }

  key(name) {
    return this.page.locator(`button[data-key="${name}"]`);
  }

  channel(number) {
    return this.page.locator(`section.channel[data-channel="${number}"]`);
  }

  fader(name) {
    return this.page.locator(`input[type=range][data-fader="${name}"]`);
  }

  async sees(selector) {
    await this.page.locator(selector).first().waitFor({ state: 'attached', timeout: kLimitMs });
  }

  async link(state) {
    await this.sees(`body[data-link="${state}"]`);
  }

  async lamp(name, state) {
    await this.sees(`button[data-key="${name}"][data-lamp="${state}"]`);
  }

  async label(number, text) {
    await until(`label ${text} of channel ${number}`, async () => (await this.labelOf(number)) === text);
  }

  async labelOf(number) {
    return (await this.channel(number).locator('.label').textContent()).trim();
  }

  async level(name, value) {
    await until(`level ${value} of ${name}`, async () => (await this.fader(name).inputValue()) === `${value}`);
  }

  // The keys that this page holds.
  async held() {
    return this.page.$$eval('button[data-held]', (keys) => keys.map((key) => key.dataset.key).sort());
  }

  async holds(...names) {
    await until(`held: ${names}`, async () => `${await this.held()}` === `${names.sort()}`);
  }

  // To the middle of the screen, where nothing that stays in its place covers it.
  async scrollTo(name) {
    await this.key(name).evaluate((key) => key.scrollIntoView({ block: 'center', behavior: 'instant' }));
  }

  // ---- the mouse ----

  async over(name) {
    await this.scrollTo(name);
    const box = await this.key(name).boundingBox();
    await this.page.mouse.move(box.x + box.width / 2, box.y + box.height / 2);
  }

  async press(name) {
    await this.over(name);
    await this.page.mouse.down();
  }

  async release() {
    await this.page.mouse.up();
  }

  async tap(name) {
    await this.press(name);
    await this.release();
  }

  // From here on menus() tells of each that wants to open: whether the page has kept it from that.
  async watchMenus() {
    await this.page.evaluate(() => {
      window.menus = [];
      window.addEventListener('contextmenu', (event) => window.menus.push(event.defaultPrevented));
    });
  }

  async menus() {
    return this.page.evaluate(() => window.menus);
  }

  // Waits for the menus that wanted to open, in order.
  async menusWere(...prevented) {
    let menus = [];
    await until(() => `menus ${prevented}; there were: ${menus}`, async () => {
      menus = await this.menus();
      return `${menus}` === `${prevented}`;
    });
  }

  looksHealthy() {
    assert.deepEqual(this.problems, []);
  }
}

// Fingers on a touch screen, as the browser's input gets them. Each is on one key.
export class Fingers {
  #down = new Map(); // key: point
  #next = 1;

  static async on(panel) {
    const fingers = new Fingers();
    fingers.panel = panel;
    fingers.session = await panel.page.context().newCDPSession(panel.page);
    return fingers;
  }

  async #send(type, touchPoints) {
    await this.session.send('Input.dispatchTouchEvent', { type, touchPoints });
  }

  async press(...names) {
    for (const name of names) {
      const box = await this.panel.key(name).boundingBox();
      this.#down.set(name, { x: box.x + box.width / 2, y: box.y + box.height / 2, id: this.#next++ });
    }
    await this.#send('touchStart', this.points);
  }

  async release(name) {
    const point = this.#down.get(name);
    this.#down.delete(name);
    await this.#send('touchEnd', [point]);
  }

  async tap(name) {
    await this.press(name);
    await this.release(name);
  }

  async slide(name, x, y) {
    Object.assign(this.#down.get(name), { x, y });
    await this.#send('touchMove', this.points);
  }

  get points() {
    return [...this.#down.values()];
  }

  // The screen takes all fingers away: a gesture of the system, a palm.
  async lose() {
    this.#down.clear();
    await this.#send('touchCancel', []);
  }
}
