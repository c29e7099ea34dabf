// kavril report in a real browser: what the page shows is what kavril audit says.
//
// KAVRIL is the program, CHROMIUM the browser, MODULES the folder of the npm packages.
import assert from "node:assert/strict";
import {spawnSync} from "node:child_process";
import {mkdtempSync, readFileSync, rmSync, writeFileSync} from "node:fs";
import {createRequire} from "node:module";
import {tmpdir} from "node:os";
import {join} from "node:path";
import {after, afterEach, before, beforeEach, describe, test} from "node:test";
import {pathToFileURL} from "node:url";
import {demandsOf, ringNetwork} from "./networks.mjs";

const {KAVRIL, CHROMIUM, MODULES} = process.env;
const {chromium} = createRequire(join(MODULES, "package.json"))("playwright-core");

const folder = mkdtempSync(join(tmpdir(), "kavril-report-"));
let browser, page, errors, requests;

function kavril(...args) {
    const result = spawnSync(KAVRIL, args, {cwd: folder, encoding: "utf8", maxBuffer: 1 << 28});
    assert.ok(result.status === 0 || result.status === 1, `${args.join(" ")}: ${result.stderr}`);
    return result.stdout;
}

// Places the demands and writes NAME.json and NAME.html.
function makeReport(name, network, demands, ...options) {
    writeFileSync(join(folder, "network.json"), JSON.stringify(network));
    writeFileSync(join(folder, "demands.json"), JSON.stringify(demands));
    kavril("place", "network.json", "demands.json", "-o", `${name}.json`, "--quiet", ...options);
    kavril("report", `${name}.json`, "-o", `${name}.html`, "--quiet");
    return JSON.parse(readFileSync(join(folder, `${name}.json`), "utf8"));
}

async function openReport(name, media = {}) {
    page = await browser.newPage({viewport: {width: 1366, height: 768}, ...media});
    page.on("console", (message) => errors.push(message.text()));
    page.on("pageerror", (error) => errors.push(String(error)));
    page.on("request", (request) => requests.push(request.url()));
    await page.goto(pathToFileURL(join(folder, `${name}.html`)).href);
}

const text = (selector) => page.locator(selector).first().innerText();

before(async () => {
    browser = await chromium.launch({executablePath: CHROMIUM, args: ["--no-sandbox"]});
});

after(async () => {
    await browser.close();
    rmSync(folder, {recursive: true});
});

beforeEach(() => {
    errors = [];
    requests = [];
});

afterEach(async () => {
    await page?.close();
    page = undefined;
    assert.deepEqual(errors, []);
    const outside = requests.filter((url) => !url.startsWith("file:") && !url.startsWith("data:"));
    assert.deepEqual(outside, []);
});

describe("a ring of twelve nodes with local protection in two classes", () => {
    let plan, audit, primaries;

    before(() => {
        const network = ringNetwork(12);
        network.nodes[3].name = "</script><b>&amp; K\u00f6ln";
        plan = makeReport("ring", network, demandsOf(network, 150, 40), "--protection", "local",
            "--class", "voice:0:0.3", "--class", "data:3:0.7");
        audit = JSON.parse(kavril("audit", "ring.json", "--json"));
        primaries = plan.lsps.filter((lsp) => lsp.kind === "primary");
    });

    beforeEach(() => openReport("ring"));

    test("every failure shows the audit's figures", async () => {
        assert.equal(audit.failures.length, plan.network.links.length + plan.network.nodes.length);
        for (const failure of audit.failures) {
            await page.selectOption("#pickFailure", `${failure.kind}-${failure.id}`);
            await page.waitForFunction((key) => location.hash === key, `#${failure.kind}-${failure.id}`);
            const shown = await page.evaluate(() => Object.fromEntries(
                [...document.querySelectorAll("#detail [data-figure]")]
                    .map((element) => [element.dataset.figure, Number(element.dataset.value)])));
            assert.deepEqual(shown, {
                hit: failure.hit.length,
                restored: failure.restored.length,
                lost: failure.lost.length,
                overloads: failure.overloads.length,
                ...(failure.fullest && {share: failure.fullest.share}),
            }, `${failure.kind} ${failure.name}`);
            assert.equal(await text("#detail [data-figure=hit]"), String(failure.hit.length));
        }
    });

    // The page adds the loads up for its colours: an independent sum of the same paths.
    test("the map's fullest link after a failure is the audit's", async () => {
        const failure = audit.failures.find((one) => one.kind === "link" && one.restored.length > 0);
        await page.goto(`${page.url()}#link-${failure.id}`);
        const widths = await page.locator("#map .links path").evaluateAll((paths) =>
            paths.map((path) => Number(path.getAttribute("stroke-width"))));
        const widest = widths.indexOf(Math.max(...widths));
        assert.equal(widest, failure.fullest.link);
        assert.ok(Math.abs((widths[widest] - 1.1) / 3.6 - failure.fullest.share) < 1e-9);
    });

    test("an LSP shows its primary and its backups", async () => {
        const backupsOf = (lsp) => plan.lsps.filter((one) => one.primary === lsp.id);
        const lsp = primaries.find((one) => one.path.length > 3 && backupsOf(one).length > 1);
        const names = (path) => path.map((node) => plan.network.nodes[node].name).join(" \u203a ");
        await page.fill("#pickLsp", String(lsp.id));
        await page.waitForFunction((key) => location.hash === key, `#lsp-${lsp.id}`);
        assert.equal(await text("#detail p.hops"), names(lsp.path));
        assert.deepEqual(await page.locator("#detail .backups .hops").allInnerTexts(),
            backupsOf(lsp).map((backup) => names(backup.path)));
        const drawn = (kind) => page.locator(`#map .overlay .${kind}`).count();
        const hops = backupsOf(lsp).map((backup) => backup.path.length - 1);
        assert.equal(await drawn("primary"), lsp.path.length - 1);
        assert.equal(await drawn("backup"), hops.reduce((sum, n) => sum + n));
        await page.locator("#detail .backups li").nth(1).focus();
        assert.equal(await drawn("backup"), hops[1]);
    });

    test("tables sort, find, turn pages and lead on", async () => {
        const reserved = plan.links.flatMap((link) => link.capacity.map((capacity, c) =>
            link.reserved[c].reduce((sum, bandwidth) => sum + bandwidth) / capacity));
        assert.equal(await page.locator("#links tbody tr:first-child td").nth(6).innerText(),
            `${(100 * Math.max(...reserved)).toFixed(1)}\u00a0%`);
        await page.locator("[role=tab]").first().focus();
        await page.keyboard.press("ArrowRight");
        const ids = () => page.locator("#lsps tbody td:first-child").allInnerTexts();
        assert.deepEqual((await ids()).map(Number), primaries.slice(0, 15).map((lsp) => lsp.id));
        await page.click("#lsps [aria-label='Next page']");
        assert.deepEqual((await ids()).map(Number), primaries.slice(15, 30).map((lsp) => lsp.id));
        const widest = [...primaries].sort((a, b) => b.bandwidth - a.bandwidth)[0];
        await page.click("#lsps th:has-text('Bandwidth') button");
        assert.equal(await page.getAttribute("#lsps th:has-text('Bandwidth')", "aria-sort"), "descending");
        assert.equal(Number((await ids())[0]), widest.id);
        await page.fill("#lsps input", "K\u00f6ln");
        const koeln = primaries.filter((lsp) => lsp.path[0] === 3 || lsp.path.at(-1) === 3
            || plan.demands[lsp.demand].unprotected.includes("K\u00f6ln"));
        assert.match(await text("#lsps .range"), new RegExp(` of ${koeln.length}$`));
        await page.click("#lsps tbody tr:first-child button");
        assert.match(page.url(), /#lsp-\d+$/);
    });

    test("the keyboard reaches everything, and everything has a name", async () => {
        const nameless = await page.evaluate(() =>
            [...document.querySelectorAll("button, select, input, [tabindex='0']")]
                .filter((element) => !element.innerText?.trim() && !element.ariaLabel && !element.labels?.length)
                .map((element) => element.outerHTML));
        assert.deepEqual(nameless, []);
        await page.focus("#map");
        const x = () => page.locator("#map circle").first().getAttribute("cx").then(Number);
        const before = await x();
        await page.keyboard.press("ArrowLeft");
        assert.ok(Math.abs(await x() - before - 40) < 1e-6);
        await page.keyboard.press("0");
        assert.equal(await x(), before);
        await page.focus("#nextFailure");
        await page.keyboard.press("Enter");
        assert.match(await text("#detail h2"), /^Failure of link/);
        await page.keyboard.press("Escape");
        assert.match(await text("#detail h2"), /What to look at first/);
    });

    test("names are text and never markup", async () => {
        assert.equal(await page.locator("main b:text-is('& K\u00f6ln')").count(), 0);
        assert.ok((await page.locator("#map .names text").allTextContents())
            .some((name) => name.startsWith("</script><b>&amp;")));
    });

    test("a class of its own has its own shares", async () => {
        await page.selectOption("#class", {label: "voice"});
        const most = Math.max(...plan.links.map((link) =>
            link.reserved[0].reduce((sum, bandwidth) => sum + bandwidth) / link.capacity[0]));
        const figures = await page.locator("#distribution svg text").allTextContents();
        assert.ok(figures.some((figure) => figure.endsWith(`maximum ${(100 * most).toFixed(1)}\u00a0%`)), figures.join());
    });
});

describe("other plans", () => {
    test("paper is light in a dark room, and shows every table", async () => {
        const network = ringNetwork(6);
        makeReport("small", network, demandsOf(network, 20, 10), "--protection", "global");
        await openReport("small", {colorScheme: "dark"});
        const colour = (name) => page.evaluate((name) =>
            getComputedStyle(document.documentElement).getPropertyValue(name).trim(), name);
        const dark = await colour("--text");
        await page.emulateMedia({media: "print"});
        assert.notEqual(await colour("--text"), dark);
        assert.ok(await page.locator("#links").isVisible() && await page.locator("#failures").isVisible());
        assert.ok(!(await page.locator("#pickFailure").isVisible()));
    });

    test("a plan without positions, protection or LSPs still opens", async () => {
        const network = ringNetwork(5);
        for (const node of network.nodes) delete node.x, delete node.y;
        makeReport("bare", network, {...demandsOf(network, 1, 1e9)}, "--protection", "none");
        await openReport("bare");
        assert.equal(await page.locator("#map circle").count(), 5);
        assert.match(await text("#not-placed tbody tr"), /refused/);
        const spots = await page.locator("#map circle").evaluateAll((circles) =>
            new Set(circles.map((circle) => `${circle.getAttribute("cx")},${circle.getAttribute("cy")}`)).size);
        assert.equal(spots, 5);
    });

    test("300 nodes and 5,000 LSPs stay quick", async () => {
        const network = ringNetwork(300);
        const plan = makeReport("few", network, demandsOf(network, 40, 2), "--protection", "global");
        writeFileSync(join(folder, "large.json"), JSON.stringify(repeated(plan, 125)));
        kavril("report", "large.json", "-o", "large.html", "--quiet");
        const start = Date.now();
        await openReport("large");
        const opened = Date.now() - start;
        const picked = await page.evaluate(async () => {
            const begin = performance.now();
            const changed = new Promise((resolve) => addEventListener("hashchange", resolve));
            location.hash = "node-0";
            await changed;
            return performance.now() - begin;
        });
        assert.equal(await text("#tab-lsps"), "LSPs (5,000)");
        assert.ok(opened < 5000, `opened in ${opened} ms`);
        assert.ok(picked < 1000, `a failure shown in ${picked} ms`);
    });
});

// Every demand and its LSPs many times over. The tables stay: the audit will not agree.
function repeated(plan, times) {
    const stride = 1 + Math.max(...plan.lsps.map((lsp) => lsp.id));
    const copies = [...Array(times).keys()];
    const moved = (id, copy) => (id < 0 ? id : id + copy * stride);
    return {
        ...plan,
        demands: copies.flatMap((copy) =>
            plan.demands.map((demand) => ({...demand, lsp: moved(demand.lsp, copy)}))),
        lsps: copies.flatMap((copy) => plan.lsps.map((lsp) => ({
            ...lsp,
            id: moved(lsp.id, copy),
            primary: moved(lsp.primary, copy),
            demand: lsp.demand + copy * plan.demands.length,
        }))),
    };
}
