// Bundles each page into one file and writes them as a C++ source.
//
//     node build.js OUT_DIR [MODULE]    writes OUT_DIR/page.html, OUT_DIR/sweep.html and OUT_DIR/page.cpp
//
// MODULE is the engine as WebAssembly; without it reports have none.
//
// Each page ends with the notices of the packages in it, as their licences ask for. They are
// in OUT_DIR/notices.txt, too, and the packages' names in OUT_DIR/bundled.json.
//
// Run it where the packages are installed, so that the source folder stays clean.
import {createHash} from "node:crypto";
import {mkdirSync, readdirSync, readFileSync, writeFileSync} from "node:fs";
import {createRequire} from "node:module";
import {dirname, join, resolve} from "node:path";
import {fileURLToPath} from "node:url";
import {gzipSync} from "node:zlib";

const [out, engine] = process.argv.slice(2);
const page = join(dirname(fileURLToPath(import.meta.url)), "page");
const {buildSync} = createRequire(resolve("package.json"))("esbuild");

const packages = new Set();

function bundle(entry) {
    const result = buildSync({
        entryPoints: [join(page, entry)],
        nodePaths: [resolve("node_modules")],
        bundle: true,
        minify: true,
        write: false,
        format: "iife",
        target: "es2022",
        charset: "ascii",
        legalComments: "inline",
        metafile: true,
    });
    for (const {inputs} of Object.values(result.metafile.outputs))
        for (const [input, {bytesInOutput}] of Object.entries(inputs)) {
            const module = input.match(/node_modules\/((@[^/]+\/)?[^/]+)/);
            if (module && bytesInOutput > 0) packages.add(module[1]);
        }
    return result.outputFiles[0].text.trim();
}

// One notice for each text of a licence, under the packages that have it.
function notices(bundled) {
    const texts = new Map();
    for (const {name, version} of bundled) {
        const folder = resolve("node_modules", name);
        const file = readdirSync(folder).find((file) => /^licen[cs]e/i.test(file));
        if (!file) throw new Error(`${name} has no licence`);
        const text = readFileSync(join(folder, file), "utf8").trim();
        texts.set(text, [...(texts.get(text) ?? []), `${name} ${version}`]);
    }
    return [...texts].map(([text, names]) => `${names.join(", ")}:\n\n${text}\n`).join("\n\n");
}

const PAGES = [
    {name: "kReportPage", file: "page.html", body: "index.html", script: "main.js"},
    {name: "kSweepPage", file: "sweep.html", body: "sweep.html", script: "sweep.js"},
];

const scriptOf = (entry) => bundle(entry).replaceAll("</script", "<\/script");

// The replacements are functions, for a bundle may hold "$&". The page's policy lets the
// bundle run and no other script: it is named by its hash.
function bodyOf({body, script}) {
    const code = scriptOf(script);
    const hash = createHash("sha256").update(code).digest("base64");
    return readFileSync(join(page, body), "utf8")
        .replace("SCRIPT-HASH", `sha256-${hash}`)
        .replace("/*STYLE*/", () => bundle("style.css"))
        .replace("/*SCRIPT*/", () => code)
        .replace("/*REST*/", (mark) => (engine ? mark : ""))
        .replace("/*WORKER*/", () => (engine ? scriptOf("worker.js") : ""))
        .replace("/*ENGINE*/", () => (engine ? gzipSync(readFileSync(engine), {level: 9}).toString("base64") : ""));
}
const bodies = PAGES.map(bodyOf);

const bundled = [...packages].sort().map((name) => {
    const {version, license} = JSON.parse(
        readFileSync(resolve("node_modules", name, "package.json"), "utf8"),
    );
    return {name, version, license};
});
const notice = `This page contains these packages.\n\n${notices(bundled)}`;
if (/--!?>/.test(notice)) throw new Error("a licence holds the end of a comment");

// In pieces, for editors that open the source. No piece may hold the end of a literal.
function literal(html) {
    if (html.includes(')page"')) throw new Error("a page holds the end of its own literal");
    return html.match(/[^]{1,8000}/g).map((chunk) => `R"page(${chunk})page"`).join("\n");
}

mkdirSync(out, {recursive: true});
const literals = PAGES.map(({name, file}, ind) => {
    const html = `${bodies[ind].trimEnd()}\n<!--\n${notice}-->\n`;
    writeFileSync(join(out, file), html);
    return `const std::string_view workbench::${name} =\n${literal(html)};\n`;
});
writeFileSync(join(out, "notices.txt"), notice);
writeFileSync(join(out, "bundled.json"), JSON.stringify(bundled, null, 2) + "\n");
writeFileSync(join(out, "page.cpp"), `#include "report/page.h"\n\n${literals.join("\n")}`);
