// Headless Chromium, and the three sizes of screen that the page is laid out for.
import { chromium } from 'playwright-core';
import { Program, temporaryFolder } from './process.mjs';
import { kLimitMs } from './wait.mjs';

const executablePath = process.env.CHROMIUM ?? '/usr/bin/chromium';
// Tests run as root in containers, where Chromium's own sandbox cannot be made.
const kArguments = ['--no-sandbox', '--disable-gpu'];

export const kSizes = {
  phone: { viewport: { width: 390, height: 844 }, hasTouch: true, isMobile: true },
  tablet: { viewport: { width: 820, height: 1180 }, hasTouch: true, isMobile: true },
  desk: { viewport: { width: 1440, height: 900 } },
};

export async function openBrowser() {
  return chromium.launch({ executablePath, args: kArguments });
}

export async function newContext(browser, options = {}) {
  const context = await browser.newContext({ ...kSizes.desk, ...options });
  context.setDefaultTimeout(kLimitMs);
  return context;
}

// The processes of a browser, as it tells them itself: [{type: 'browser'|'renderer'|..., id: pid}].
export async function processesOf(browser) {
  const session = await browser.newBrowserCDPSession();
  const { processInfo } = await session.send('SystemInfo.getProcessInfo');
  await session.detach();
  return processInfo;
}

// A browser with a real window and tabs, of which only the one in front is shown. Those of openBrowser() are all made
// to think that they are shown and have the focus.
export class WindowedBrowser {
  static async open() {
    const windowed = new WindowedBrowser();
    windowed.program = new Program(executablePath, [
      ...kArguments, '--headless', '--remote-debugging-port=0', '--no-first-run',
      `--user-data-dir=${temporaryFolder('hark-chromium')}`, 'about:blank',
    ]);
    const at = await windowed.program.see('DevTools listening on ');
    const place = /ws:\S+/.exec(windowed.program.out.all[at])[0];
    windowed.browser = await chromium.connectOverCDP(place, { noDefaults: true });
    windowed.context = windowed.browser.contexts()[0];
    windowed.context.setDefaultTimeout(kLimitMs);
    return windowed;
  }

  async close() {
    const session = await this.browser.newBrowserCDPSession();
    await session.send('Browser.close').catch(() => {});
    await this.program.end();
  }
}
