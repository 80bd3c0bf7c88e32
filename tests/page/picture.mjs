// Draws docs/page.png, the page as it plays. Usage: node tests/page/picture.mjs, after scripts/page.

import { launchChromium, open, root } from './browser.mjs';

const browser = await launchChromium();
const page = await open(browser, { viewport: { width: 1240, height: 900 }, colorScheme: 'light' });
await page.waitForTimeout(3000); // until all of the loop is drawn
await page.click('#play');
await page.waitForTimeout(5100);
await page.locator('.page').screenshot({ path: `${root}docs/page.png` });
await browser.close();
