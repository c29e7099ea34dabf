// kavril report in a real browser: what the page shows is what kavril audit says.
//
// KAVRIL is the program, CHROMIUM the browser, MODULES the folder of the npm packages.
import assert from "node:assert/strict";
import {spawnSync} from "node:child_process";
import {mkdtempSync, readFileSync, rmSync, statSync, writeFileSync} from "node:fs";
import {createRequire} from "node:module";
import {tmpdir} from "node:os";
import {join} from "node:path";
import {after, afterEach, before, beforeEach, describe, test} from "node:test";
import {pathToFileURL} from "node:url";
import {commandsOf} from "../../../workbench/report/page/whatif/commands.js";
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
    const outside = requests.filter((url) => !/^(file|data|blob):/.test(url));
    assert.deepEqual(outside, []);
});

// What a failure leaves on every link, [link][class], hop by hop from the plan's paths.
function loadsAfter(plan, failure) {
    const loads = plan.network.links.map(() => plan.configuration.classes.map(() => 0));
    const linkAt = new Map(plan.network.links.map((link, ind) => [`${link.src} ${link.dst}`, ind]));
    const lspById = new Map(plan.lsps.map((lsp) => [lsp.id, lsp]));
    const lost = new Set(failure?.lost.map((one) => one.lsp));
    const backups = new Map(failure?.restored.map((one) => [one.lsp, one.backups]));
    for (const lsp of plan.lsps) {
        if (lsp.kind !== "primary" || lost.has(lsp.id)) continue;
        let path = lsp.path;
        for (const id of backups.get(lsp.id) ?? []) {
            const over = lspById.get(id).path;
            path = [...path.slice(0, path.indexOf(over[0])), ...over, ...path.slice(path.indexOf(over.at(-1)) + 1)];
        }
        path.slice(1).forEach((to, hop) => {
            loads[linkAt.get(`${path[hop]} ${to}`)][lsp.trafficClass] += lsp.bandwidth;
        });
    }
    return loads;
}

// Controls that a screen reader has no words for.
const nameless = () => page.evaluate(() =>
    [...document.querySelectorAll("button, select, input, [tabindex='0']")]
        .filter((element) => !element.textContent.trim() && !element.ariaLabel && !element.labels?.length)
        .map((element) => element.outerHTML));

const keyOf = (failure) => `${failure.kind}:${failure.name}`;
const goTo = (hash) => page.evaluate((hash) => { location.hash = hash; }, hash);

describe("a ring of twelve nodes with local protection in two classes", () => {
    let plan, audit, primaries;

    before(() => {
        const network = ringNetwork(12);
        network.nodes[3].name = "</script><b>&amp; K\u00f6ln";
        plan = makeReport("ring", network, demandsOf(network, 150, 40), "--protection", "local",
            "--class", "data:3:0.7", "--class", "voice:0:0.3");
        const duct = {name: "duct", kind: "group", elements: ["node 0 - node 1", "node 6 - node 7"]};
        writeFileSync(join(folder, "sets.json"), JSON.stringify({format: "kavril-failures", failures: [duct]}));
        kavril("report", "ring.json", "--sets", "sets.json", "-o", "ring.html", "--quiet");
        audit = JSON.parse(kavril("audit", "ring.json", "--sets", "sets.json", "--json"));
        primaries = plan.lsps.filter((lsp) => lsp.kind === "primary");
    });

    beforeEach(() => openReport("ring"));

    test("every failure shows the audit's figures", async () => {
        for (const failure of audit.failures) {
            await goTo(`fail=${encodeURIComponent(keyOf(failure))}`);
            await page.waitForFunction((name) =>
                document.querySelector("#detail h2 .name")?.textContent === name, failure.name);
            const shown = await page.evaluate(() => Object.fromEntries(
                [...document.querySelectorAll("#detail [data-figure]")]
                    .map((element) => [element.dataset.figure, Number(element.dataset.value)])));
            assert.deepEqual(shown, {
                hit: failure.hit.length,
                restored: failure.restored.length,
                lost: failure.lost.length,
                overloads: failure.overloads.length,
                ...(failure.fullest && {share: failure.fullest.share}),
            }, keyOf(failure));
        }
        await page.fill("#pickFailure", "duct");
        await page.keyboard.press("Enter");
        assert.equal(await text("#detail h2 .name"), "duct");
    });

    test("the headline is the audit's verdict", async () => {
        const {bandwidthCarried, bandwidthProtected, worstLost} = audit.verdict.all;
        const tile = (name) => page.locator(`.figure:has-text('${name}') b`).innerText();
        const percent = (share) => `${(100 * share).toFixed(1)}\u00a0%`;
        assert.equal(await tile("Survives any failure"), percent(bandwidthProtected / bandwidthCarried));
        assert.equal(await tile("Lost at worst"), percent(worstLost / bandwidthCarried));
    });

    test("the worst load of every link is that of a recomputation", async () => {
        const shares = (loads) => loads.map((classes, link) =>
            Math.max(...classes.map((load, c) => load / plan.links[link].capacity[c])));
        const after = [null, ...audit.failures].map((failure) => ({failure, shares: shares(loadsAfter(plan, failure))}));
        await page.click("#links th:has-text('From') button");
        for (;;) {
            for (const cells of await page.locator("#links tbody tr").evaluateAll((rows) =>
                rows.map((row) => [...row.cells].map((cell) => cell.textContent)))) {
                const link = plan.network.links.findIndex(({src, dst}) =>
                    plan.network.nodes[src].name === cells[0] && plan.network.nodes[dst].name === cells[1]);
                const worst = Math.max(...after.map((one) => one.shares[link]));
                assert.equal(cells[7], `${(100 * worst).toFixed(1)}\u00a0%`, cells.join());
                const cause = after.find((one) => (one.failure?.name ?? "") === cells[8]);
                assert.ok(Math.abs(cause.shares[link] - worst) < 1e-9, cells.join());
            }
            if (!await page.isEnabled("#links [aria-label='Next page']")) break;
            await page.click("#links [aria-label='Next page']");
        }
    });

    test("an LSP shows its primary, its backups and its way after a failure", async () => {
        const backupsOf = (lsp) => plan.lsps.filter((one) => one.primary === lsp.id);
        const lsp = primaries.find((one) => one.path.length > 3 && backupsOf(one).length > 1);
        const names = (path) => path.map((node) => plan.network.nodes[node].name).join(" \u203a ");
        await page.fill("#pickThing", `${lsp.id}:`);
        await page.keyboard.press("Enter");
        assert.equal(await text("#detail p.hops"), names(lsp.path));
        assert.deepEqual(await page.locator("#detail .backups tbody td:first-child").allInnerTexts(),
            backupsOf(lsp).map((backup) => names(backup.path)));
        const drawn = (kind) => page.locator(`#map .overlay .${kind}`).count();
        const hops = backupsOf(lsp).map((backup) => backup.path.length - 1);
        assert.equal(await drawn("primary"), lsp.path.length - 1);
        assert.equal(await drawn("backup"), hops.reduce((sum, n) => sum + n));
        await page.locator("#detail .backups tbody button").nth(1).focus();
        assert.equal(await drawn("backup"), hops[1]);
        const failure = audit.failures.find((one) => one.lost.some((lost) => lost.lsp === lsp.id));
        await goTo(`fail=${encodeURIComponent(keyOf(failure))}&lsp=${lsp.id}`);
        await page.waitForSelector("#detail .now.note");
        assert.match(await text("#detail .now"), /lost: /);
    });

    test("tables sort, filter, turn pages, lead on and are saved", async () => {
        const reserved = plan.links.map((link) => Math.max(...link.capacity.map((capacity, c) =>
            link.reserved[c].reduce((sum, bandwidth) => sum + bandwidth) / capacity)));
        assert.equal(await page.locator("#links tbody tr:first-child td").nth(6).innerText(),
            `${(100 * Math.max(...reserved)).toFixed(1)}\u00a0%`);
        const limit = 100 * [...reserved].sort()[20];
        await page.locator("#links input.percent").first().fill(String(limit));
        assert.match(await text("#links .range"), new RegExp(` of ${reserved.filter((share) => 100 * share > limit).length}$`));
        await page.locator("[role=tab]").first().focus();
        await page.keyboard.press("ArrowRight");
        const ids = () => page.locator("#lsps tbody td:first-child").allInnerTexts();
        assert.deepEqual((await ids()).map(Number), primaries.slice(0, 15).map((lsp) => lsp.id));
        await page.click("#lsps [aria-label='Next page']");
        assert.deepEqual((await ids()).map(Number), primaries.slice(15, 30).map((lsp) => lsp.id));
        const guarded = new Set(plan.lsps.map((lsp) => lsp.primary));
        await page.selectOption("#lsps [aria-label='All classes']", "voice");
        await page.selectOption("#lsps [aria-label='Protected or not']", "unprotected");
        const bare = primaries.filter((lsp) => lsp.trafficClass === 1 && !guarded.has(lsp.id));
        assert.match(await text("#lsps .range"), new RegExp(`(of |^)${bare.length || "none"}$`));
        await page.selectOption("#lsps [aria-label='Protected or not']", "protected");
        const [file] = await Promise.all([page.waitForEvent("download"), page.click("#lsps [aria-label='Download LSPs as CSV']")]);
        const [head, ...lines] = readFileSync(await file.path(), "utf8").split("\r\n").filter(Boolean);
        assert.ok(head.startsWith("\ufeffLSP,"), head);
        assert.deepEqual(lines.map((line) => parseInt(line, 10)),
            primaries.filter((lsp) => lsp.trafficClass === 1 && guarded.has(lsp.id)).map((lsp) => lsp.id));
        await page.click("#lsps tbody tr:first-child button");
        assert.match(page.url(), /#lsp=\d+$/);
    });

    test("the keyboard reaches everything, and everything has a name", async () => {
        assert.deepEqual(await nameless(), []);
        await page.focus("#map");
        const x = () => page.locator("#map circle").first().getAttribute("cx").then(Number);
        const before = await x();
        await page.keyboard.press("ArrowLeft");
        assert.ok(Math.abs(await x() - before - 40) < 1e-6);
        await page.keyboard.press("0");
        assert.equal(await x(), before);
        await page.focus("#nextFailure");
        await page.keyboard.press("Enter");
        assert.match(await text("#detail h2"), /^Failure of /);
        await page.keyboard.press("Escape");
        assert.match(await text("#detail h2"), /What to look at first/);
    });

    test("names are text and never markup", async () => {
        assert.equal(await page.locator("main b:text-is('& K\u00f6ln')").count(), 0);
        assert.ok((await page.locator("#map text").allTextContents()).includes("</script><b>&amp; K\u00f6ln"));
    });

    test("a class of its own has its own shares, and the important ones come first", async () => {
        assert.deepEqual(await page.locator("#fullest .classname").allInnerTexts(), ["voice", "data"]);
        await page.selectOption("#class", {label: "voice"});
        const most = Math.max(...plan.links.map((link) =>
            link.reserved[1].reduce((sum, bandwidth) => sum + bandwidth) / link.capacity[1]));
        const figures = await page.locator("#distribution .charttitle").allInnerTexts();
        assert.ok(figures.at(-1).includes(`maximum ${(100 * most).toFixed(1)}\u00a0%`), figures.join());
    });
});

test("an earlier plan is compared with, LSP by LSP", async () => {
    const network = ringNetwork(9);
    const demands = demandsOf(network, 72, 30);
    const endsOf = ({src, dst}) => `${src} ${dst}`;
    demands.demands = [...new Map(demands.demands.map((demand) => [endsOf(demand), demand])).values()];
    const before = makeReport("before", network, demands, "--protection", "global");
    const after = makeReport("after", network, demands, "--order", "largest");
    kavril("report", "after.json", "--before", "before.json", "-o", "diff.html", "--quiet");
    await openReport("diff");
    const guarded = new Set(before.lsps.map((lsp) => lsp.primary));
    const ways = (plan) => new Map(plan.demands.map((demand) =>
        [endsOf(demand), plan.lsps.find((lsp) => lsp.id === demand.lsp)]));
    const [then, now] = [ways(before), ways(after)];
    const moved = [...then].filter(([ends, lsp]) => lsp && now.get(ends) && String(lsp.path) !== String(now.get(ends).path));
    const bared = [...then].filter(([ends, lsp]) => lsp && now.get(ends) && guarded.has(lsp.id));
    const line = await page.locator("#detail h3:has-text('Since before.json') + p").innerText();
    assert.ok(bared.length > 0 && line.includes(`${bared.length} newly unprotected`), line);
    assert.equal(Number(/(\d+) moved/.exec(line)?.[1] ?? 0), moved.length, line);
    await page.selectOption("#show", "change");
    assert.match(await text("#legend .what"), /Reserved, against before.json/);
});

test("what is out of service, available and exposed is told", async () => {
    const network = ringNetwork(9);
    for (const [src, dst] of [[2, 5], [5, 2], [3, 6], [6, 3]]) network.links.push({src, dst, capacity: 1000});
    for (const link of network.links.slice(0, 4)) link.groups = ["duct"];
    makeReport("whole", network, demandsOf(network, 72, 30), "--protection", "global", "--survive", "cables,groups",
        "--class", "gold:0:0.4,best:4:0.6");
    kavril("change", "whole.json", "--drain", "node 4", "-o", "drained.json", "--quiet");
    const options = ["--mtbf", "cable=900,node=9000", "--mttr", "cable=9,node=2"];
    kavril("report", "drained.json", "-o", "drained.html", "--quiet", ...options);
    const plan = JSON.parse(readFileSync(join(folder, "drained.json"), "utf8"));
    const audit = JSON.parse(kavril("audit", "drained.json", "--json", ...options));
    await openReport("drained");
    assert.match(await text("#subtitle"), /1 node out of service/);
    assert.equal(await page.locator("#map .nodes .drained").count(), 1);
    const precise = (share) => `${(100 * share).toFixed(4)}\u00a0%`;
    assert.equal(await text(".figure:has-text('Available') b"), precise(audit.verdict.all.meanAvailability));
    await page.click("#tab-classes");
    const rows = await page.locator("#classes tbody tr").evaluateAll((all) => all.map((row) => [...row.cells].map((cell) => cell.textContent)));
    assert.deepEqual(rows.map((cells) => [cells[0], cells[8], cells[9], cells[11]]), audit.verdict.levels.map((level) =>
        [level.trafficClass, `${(100 * level.reserved / level.booked).toFixed(1)}\u00a0%`, level.stretchMean.toFixed(2), precise(level.meanAvailability)]));
    const exposed = plan.demands.find((demand) => demand.exposed?.length);
    await goTo(`lsp=${exposed.lsp}`);
    await page.waitForSelector(`#detail .note:has-text('${exposed.exposed[0]}')`);
    const {availability} = audit.availability.find((one) => one.lsp === exposed.lsp);
    assert.equal(await text("#detail dd:below(dt:has-text('Available'))"), precise(availability));
});

// The end of the ring hangs on one link: nobody can protect it, and nobody should try.
test("a bridge is cut off, not preventable", async () => {
    const network = ringNetwork(6);
    network.nodes.push({name: "end", x: 2, y: 0});
    network.links.push({src: 0, dst: 6, capacity: 1000}, {src: 6, dst: 0, capacity: 1000});
    makeReport("bridge", network, demandsOf(network, 42, 10), "--protection", "global");
    await openReport("bridge");
    await page.click("#tab-failures");
    await page.fill("#failures [type=search]", "node 0 end");
    const cells = await page.locator("#failures tbody tr:has-text('end')").first().locator("td").allInnerTexts();
    assert.ok(Number(cells[4]) > 0 && Number(cells[5]) === 0 && Number(cells[6]) > 0, cells.join());
});

test("a sweep shows what is in its results", async () => {
    writeFileSync(join(folder, "network.json"), JSON.stringify(ringNetwork(8)));
    writeFileSync(join(folder, "demands.json"), JSON.stringify(demandsOf(ringNetwork(8), 40, 30)));
    const said = JSON.parse(kavril("sweep", "--network", "network.json", "--matrix", "demands.json", "--scales", "1:5:1",
        "--protections", "none,local", "--failures", "none,cables,nodes", "-o", "sweep.db", "--json"));
    kavril("report", "sweep.db", "-o", "sweep.html", "--quiet");
    await openReport("sweep");
    const losing = said.plans.filter((plan) => plan.worst_lost > 0);
    assert.match(await text("#subtitle"), new RegExp(`^${said.cases} cases of 10 plans`));
    assert.equal(await page.locator("#heat svg[aria-label] rect").count(), 10);
    assert.equal(await text("#tab-plans"), "Plans (10)");
    const [worst] = said.worst;
    const percent = `${(100 * worst.lost_share).toFixed(1)}\u00a0%`;
    assert.ok((await text("#figures")).includes(percent));
    assert.ok(losing.some((plan) => plan.worst_lost / plan.carried >= worst.lost_share - 1e-12));
    await page.locator("#worst-cases tbody button").first().click();
    const command = (await text("#case code")).split(" && ")[0].split(" ");
    kavril(...command.slice(1));
    const failure = JSON.parse(kavril("audit", "plan.json", "--json")).failures.find((one) => one.name === worst.failure);
    assert.equal(failure.bandwidthLost, worst.lost);
    await page.locator("#across").selectOption("failure");
    assert.ok(await page.locator("#heat svg[aria-label] rect").count() > 20);
    await page.locator("#measure").selectOption("carried");
    assert.match(await text("#heat .plot"), /figure of whole plans/);
    assert.deepEqual([errors, requests.filter((url) => !/^(file|data):/.test(url))], [[], []]);
});

test("a shell takes the commands of a what-if apart into the words that went in", () => {
    const words = ["Koeln", "it's", "-x > y", "$(id) \"`\\", "=cat=2G", "~", "two\nlines"];
    const lines = commandsOf([...words.map((word) => `drain:${word}`), "protection:local", ...words.map((word) => `fail:${word}`), "replan"]);
    const said = spawnSync("sh", ["-c", `kavril() { printf '%s\\0' "$@"; }; ${lines}`], {encoding: "utf8"}).stdout.split("\0");
    const options = (name) => words.flatMap((word) => (word.startsWith("-") ? [`--${name}=${word}`] : [`--${name}`, word]));
    assert.deepEqual(said.slice(0, said.indexOf("-o")),
        ["change", "plan.json", ...options("drain"), "--protection", "local", ...options("fail")]);
    assert.equal(commandsOf(["fail:A - B", "fail:C"]), "kavril report plan.json --fail 'A - B' --fail C -o report.html");
});

describe("what if", () => {
    const html = () => readFileSync(join(folder, "if.html"), "utf8");
    const answered = (pattern) => page.waitForFunction((text) =>
        new RegExp(text).test(document.querySelector("#whatif .status")?.textContent), pattern.source);
    const stepsShown = () => page.locator("#steps li > span").allInnerTexts();
    const hashOf = (...steps) => "#" + steps.map((step) => `do=${encodeURIComponent(step)}`).join("&");
    const NAME = "<b>it's \u00d6</b>";
    let hasEngine, plan;

    before(() => {
        const network = ringNetwork(9);
        network.nodes[2].name = NAME;
        plan = makeReport("if", network, demandsOf(network, 60, 30), "--protection", "local");
        hasEngine = /id="engine"[^>]*>[^<]/.test(html());
    });

    test("is asked, taken back and done again with the keyboard alone", async (t) => {
        if (!hasEngine) return t.skip("built without the engine");
        await openReport("if");
        const press = async (...keys) => { for (const key of keys) await page.keyboard.press(key); };
        const before = await text("#figures");
        await page.focus("#ask");
        await press("Enter");
        assert.equal(await page.evaluate(() => document.activeElement.id), "whatifTitle");
        assert.deepEqual(await nameless(), []);
        await page.focus("#pickThing");
        await page.keyboard.type(NAME);
        await press("Enter");
        while (await page.evaluate(() => document.activeElement.textContent) !== "Drain") await press("Tab");
        await press("Enter");
        await answered(/lost/);
        assert.equal(await page.evaluate(() => document.activeElement.textContent), "Drain");
        assert.deepEqual(await stepsShown(), [`${NAME} is drained`]);
        assert.equal(await page.locator("#map .nodes .drained").count(), 1);
        assert.notEqual(await text("#figures"), before);
        assert.ok(page.url().includes(hashOf(`drain:${NAME}`).replaceAll("'", "%27")) || page.url().includes(hashOf(`drain:${NAME}`)));
        await press("Shift+Tab", "Enter");
        await answered(/hits no LSP/);
        assert.deepEqual(await stepsShown(), [`${NAME} is drained`, `${NAME} fails`]);
        await press("Control+z", "Control+z");
        await page.waitForSelector("#sign", {state: "hidden"});
        assert.equal(await text("#figures"), before);
        await press("Control+Shift+z");
        await answered(/lost/);
        const [file] = await Promise.all([page.waitForEvent("download"), page.click("text=Download the changed plan")]);
        kavril("change", "if.json", "--drain", NAME, "-o", "changed.json", "--quiet");
        assert.equal(readFileSync(await file.path(), "utf8"), readFileSync(join(folder, "changed.json"), "utf8"));
        await page.click("#whatif button:text-is('Leave')");
        await page.waitForSelector("#sign", {state: "hidden"});
        assert.equal(await page.evaluate(() => document.activeElement.id), "ask");
    });

    test("an address asks again; one that anybody wrote does no harm", async (t) => {
        if (!hasEngine) return t.skip("built without the engine");
        const address = hashOf("fail:node 0 - node 1", "add:node 3 > node 5=20", "replan");
        await openReport("if");
        await goTo(address);
        await answered(/gained/);
        const shown = await text("main");
        await page.reload();
        await answered(/gained/);
        assert.equal(await text("main"), shown);
        for (const hash of ["do=drain:<img src=x onerror=alert(1)>", "do=capacity:=", "do=%E0%A4%A&do=__proto__:1&do=scale:1e999", "do=add:%00%FF>=:", `do=fail:${"x".repeat(3000)}`]) {
            await goTo(hash);
            await page.waitForFunction(() => [...document.querySelectorAll("#whatif [role=alert]")].some((one) => one.textContent));
            assert.equal(await page.locator("#whatif img").count(), 0);
        }
        await goTo(`do=drain:${"x".repeat(5000)}&do=constructor:1&do=&do=replan`);
        await page.waitForSelector("#sign", {state: "hidden"});
        assert.deepEqual(await stepsShown(), []);
        await goTo("do=drain:nowhere&do=drain:node 4");
        await page.locator("#steps [role=alert]").waitFor();
        await page.click("#steps li:has([role=alert]) [aria-label^=Change]");
        await page.locator("#steps input").fill("node 5");
        await page.keyboard.press("Enter");
        await answered(/moved/);
        assert.deepEqual(await stepsShown(), ["node 5 is drained", "node 4 is drained"]);
    });

    test("a page without an engine is the report, and says so when asked", async () => {
        writeFileSync(join(folder, "plain.html"), html().replace(/(id="engine"[^>]*>)[^<]*/, "$1"));
        await openReport("plain");
        assert.ok(await page.isHidden("#ask"));
        assert.ok(await page.isHidden("#whatif"));
        await goTo("do=drain:node 4");
        await page.waitForSelector("#whatif:has-text('without the engine')");
        assert.equal(await text("#tab-lsps"), `LSPs (${plan.lsps.filter((lsp) => lsp.kind === "primary").length})`);
        if (!hasEngine) return;
        await page.addInitScript(() => { delete globalThis.DecompressionStream; });
        await page.goto(pathToFileURL(join(folder, "if.html")).href);
        await page.click("#ask");
        assert.match(await text("#whatif"), /This browser has no decompression/);
    });
});

describe("other plans", () => {
    test("paper is light in a dark room, and shows every table", async () => {
        const network = ringNetwork(6);
        const plan = makeReport("small", network, demandsOf(network, 20, 10), "--protection", "global");
        await openReport("small", {colorScheme: "dark"});
        const colour = (name) => page.evaluate((name) =>
            getComputedStyle(document.documentElement).getPropertyValue(name).trim(), name);
        const dark = await colour("--text");
        await page.emulateMedia({media: "print"});
        assert.notEqual(await colour("--text"), dark);
        assert.ok(await page.locator("#links").isVisible() && await page.locator("#failures").isVisible());
        assert.ok(!(await page.locator("#pickFailure").isVisible()));
        await page.evaluate(() => dispatchEvent(new Event("beforeprint")));
        assert.equal(await page.locator("#lsps tbody tr").count(), plan.lsps.filter((lsp) => lsp.kind === "primary").length);
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
            location.hash = "fail=node:node 0";
            await changed;
            return performance.now() - begin;
        });
        assert.equal(await text("#tab-lsps"), "LSPs (5,000)");
        const size = statSync(join(folder, "large.html")).size;
        assert.ok(size < 8e6, `${size} bytes`);
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
