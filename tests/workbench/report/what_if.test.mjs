// What a report answers is what the command line says, to the last digit and byte: random
// steps, asked of the page through its address, and of kavril change and kavril report.
//
// KAVRIL is the program, CHROMIUM the browser, MODULES the folder of the npm packages,
// WHAT_IFS how many to try on each network [6], SEED the first of their seeds [1].
import assert from "node:assert/strict";
import {spawnSync} from "node:child_process";
import {existsSync, mkdtempSync, readFileSync, rmSync, writeFileSync} from "node:fs";
import {createRequire} from "node:module";
import {tmpdir} from "node:os";
import {join} from "node:path";
import {after, before, describe, test} from "node:test";
import {fileURLToPath, pathToFileURL} from "node:url";

const {KAVRIL, CHROMIUM, MODULES, WHAT_IFS = 6, SEED = 1} = process.env;
const {chromium} = createRequire(join(MODULES, "package.json"))("playwright-core");
const root = fileURLToPath(new URL("../../..", import.meta.url));
const data = process.env.KAVRIL_DATA ?? join(root, "../shared/data");
const CLASSES = ["--class", "gold:1:0.3", "--class", "silver:4:0.7"];

const SETS = {format: "kavril-failures", failures: [
    {name: "Rockies", elements: ["Denver", "Seattle"], probability: 0.001}]};

// Real ones; those that are not present are left out. `shown` are options of their reports.
const NETWORKS = [
    {name: "abilene", files: ["abilene.json", "abilene-demands.json"].map((file) => join(root, "examples/data", file)),
        options: ["--scale", "0.5", "--protection", "local"], shown: ["--mtbf", "cable=8000", "--mttr", "cable=6", "--sets", "sets.json"]},
    {name: "nobel-germany", files: [join(data, "sndlib-native/nobel-germany.txt")],
        options: ["--default-capacity", "400", "--protection", "global"], shown: ["--failures", "links,nodes"]},
    {name: "geant", files: ["graph", "0000.demands"].map((end) => join(data, `repetita/Geant2012.${end}`)),
        options: ["--scale", "0.6", "--protection", "local"], shown: []},
].filter(({files}) => files.every((file) => existsSync(file)));

const folder = mkdtempSync(join(tmpdir(), "kavril-what-if-"));
const inFolder = (file) => join(folder, file);
let browser;
before(async () => { browser = await chromium.launch({executablePath: CHROMIUM, args: ["--no-sandbox"]}); });
after(async () => {
    await browser.close();
    rmSync(folder, {recursive: true});
});

function kavril(...args) {
    return spawnSync(KAVRIL, [...args, "--quiet"], {cwd: folder, encoding: "utf8", maxBuffer: 1 << 28});
}

function dataOf(file) {
    const page = readFileSync(inFolder(file), "utf8");
    return JSON.parse(page.match(/<script type="application\/json" id="data">(.*?)<\/script>/)[1]);
}

// The same numbers on every run (mulberry32).
function makeRandom(seed) {
    let state = seed;
    const next = () => {
        state = (state + 0x6d2b79f5) | 0;
        let t = Math.imul(state ^ (state >>> 15), 1 | state);
        t = (t + Math.imul(t ^ (t >>> 7), 61 | t)) ^ t;
        return ((t ^ (t >>> 14)) >>> 0) / 2 ** 32;
    };
    const below = (n) => Math.floor(next() * n);
    return {below, of: (list) => list[below(list.length)]};
}

// Steps as the address has them; some make no sense.
function randomSteps(plan, random) {
    const node = () => random.of(plan.network.nodes).name;
    const ends = (link, sign) => [link.src, link.dst].map((end) => plan.network.nodes[end].name).join(sign);
    const cable = () => ends(random.of(plan.network.links), random.of([" - ", " > "]));
    const thing = () => random.of([node, cable, cable])();
    const lsp = () => random.of(plan.lsps.filter((d) => d.kind === "primary")).id;
    const amount = () => `${random.of([0.5, 7, 40, 300])}${random.of(["", "M", "M", "G"])}`;
    const kinds = [
        () => `drain:${thing()}`, () => `capacity:${cable()}=${amount()}`, () => `without:${cable()}`,
        () => `add:${node()} > ${node()}=${amount()}${random.of(["", ":gold", ":silver:6", ":tin"])}`,
        () => `link:${node()} - ${node()}:${amount()}`, () => `remove:${lsp()}`, () => `level:${lsp()}=${random.below(9)}`,
        () => `scale:${random.of([0.8, 1.1, `${lsp()}=2.5`, `${lsp()}=0`])}`, () => `protection:${random.of(["none", "local", "global"])}`,
        () => `undrain:${thing()}`, () => `lock:${lsp()}`,
    ];
    const steps = [...Array(random.below(4))].map(() => random.of(kinds)());
    const fails = [...Array(random.of([0, 1, 1, 2, 3]))].map(() => `fail:${thing()}`);
    if (!steps.length && !fails.length) fails.push(`fail:${cable()}`);
    return [...new Set([...steps, ...fails])].concat(fails.length && random.below(2) ? ["replan"] : []);
}

const optionOf = (step) => [`--${step.split(":")[0]}`, step.slice(step.indexOf(":") + 1)];

// The page's data and the text of the plan, or what is wrong with the steps.
function toldByCommands(steps, shown) {
    const isReplanned = steps.includes("replan");
    const fails = steps.filter((step) => step.startsWith("fail:")).flatMap(optionOf);
    const changes = steps.filter((step) => !step.startsWith("fail:") && step !== "replan").flatMap(optionOf);
    const isChange = changes.length > 0 || isReplanned;
    let recovery;
    if (isChange) {
        const changed = kavril("change", "plan.json", ...changes, ...(isReplanned ? fails : []), "-o", "changed.json", "--json");
        if (changed.status !== 0) return {error: changed.stderr.trim().replace(/^kavril: /, "")};
        recovery = JSON.parse(changed.stdout).failed;
    }
    const file = isChange ? "changed.json" : "plan.json";
    const report = kavril("report", file, "--before", "plan.json", ...(isReplanned ? [] : fails), ...shown, "-o", "told.html");
    if (report.status !== 0) return {error: report.stderr.trim().replace(/^kavril: /, "")};
    return {answer: {...dataOf("told.html"), ...(recovery && {recovery})}, plan: isChange ? readFileSync(inFolder(file), "utf8") : null};
}

// Messages of the page's workers, put together to what the last question was answered with.
function listen() {
    globalThis.told = [];
    const Plain = Worker;
    globalThis.Worker = class extends Plain {
        constructor(...args) {
            super(...args);
            const lists = {};
            this.addEventListener("message", ({data}) => {
                if (data.list) (lists[data.list] ??= []).push(...data.more);
                if (data.error) told.push({error: data.error});
                if (data.answer) {
                    told.push({answer: {...data.answer, ...lists}});
                    for (const name of Object.keys(lists)) delete lists[name];
                }
            });
        }
    };
}

async function toldByPage(page, steps) {
    const nb = await page.evaluate((hash) => {
        const before = told.length;
        location.hash = hash;
        return before;
    }, `#${steps.map((step) => `do=${encodeURIComponent(step)}`).join("&")}`);
    await page.waitForFunction((nb) => told.length > nb, nb);
    const last = await page.evaluate(() => told.at(-1));
    const save = page.getByRole("button", {name: "Download the changed plan"});
    if (last.error || steps.every((step) => step.startsWith("fail:"))) return last;
    const [file] = await Promise.all([page.waitForEvent("download"), save.click()]);
    return {...last, plan: readFileSync(await file.path(), "utf8")};
}

// Where nodes are drawn is the page's own matter, and it has the plan before.
function comparable({before, ...answer}) {
    return {...answer, nodes: answer.nodes.map(({spot, computed, ...node}) => node)};
}

function place({name, files, options, shown}) {
    const placed = kavril("place", ...files, ...CLASSES, ...options, "-o", "plan.json");
    assert.equal(placed.status, 0, `${name}: ${placed.stderr}`);
    writeFileSync(inFolder("sets.json"), JSON.stringify(SETS));
    assert.equal(kavril("report", "plan.json", ...shown, "-o", "plan.html").status, 0);
    return JSON.parse(readFileSync(inFolder("plan.json"), "utf8"));
}

async function open(on) {
    const page = await on.newPage();
    await page.addInitScript(listen);
    await page.goto(pathToFileURL(inFolder("plan.html")).href);
    return page;
}

for (const network of NETWORKS)
    describe(network.name, () => {
        test(`${WHAT_IFS} what-ifs`, async () => {
            const plan = place(network);
            const page = await open(browser);
            const wrong = [];
            page.on("console", (message) => wrong.push(message.text()));
            page.on("pageerror", (error) => wrong.push(String(error)));
            page.on("request", (request) => /^(file|blob|data):/.test(request.url()) || wrong.push(request.url()));
            const counts = {answers: 0, plans: 0, errors: 0};
            for (let i = 0; i < WHAT_IFS; i++) {
                const steps = randomSteps(plan, makeRandom(Number(SEED) + i));
                const [page_, commands] = [await toldByPage(page, steps), toldByCommands(steps, network.shown)];
                const what = `seed ${Number(SEED) + i}: ${steps.join("; ")}`;
                assert.equal(page_.error, commands.error, what);
                counts[commands.error ? "errors" : "answers"]++;
                if (commands.error) continue;
                assert.deepEqual(comparable(page_.answer), comparable(commands.answer), what);
                if (commands.plan !== null) assert.ok(page_.plan === commands.plan, `${what}: another plan`);
                counts.plans += commands.plan !== null;
            }
            assert.deepEqual(wrong, []);
            console.log(`${network.name}: ${JSON.stringify(counts)}`);
            assert.ok(counts.answers > 0);
            await page.close();
        });
    });

test("the engine costs a page at most 400 KB", () => {
    place(NETWORKS[0]);
    const page = readFileSync(inFolder("plan.html"), "utf8");
    const parts = ["engine", "worker", "rest"].map((id) => page.match(`id="${id}">([^<]*)<`)[1].length);
    assert.ok(Math.min(...parts) > 1000 && Math.max(...parts) < 350e3, String(parts));
    assert.ok(parts[0] + parts[1] + parts[2] < 400e3, String(parts));
});

test("a browser with little memory says so", async () => {
    place(NETWORKS[0]);
    for (const pages of [30, 40]) {
        const small = await chromium.launch({
            executablePath: CHROMIUM, args: ["--no-sandbox", `--js-flags=--wasm-max-mem-pages=${pages}`],
        });
        const page = await open(small);
        assert.deepEqual(await toldByPage(page, ["fail:Denver"]), {error: "There is not enough memory"}, `${pages} pages`);
        await small.close();
    }
});
