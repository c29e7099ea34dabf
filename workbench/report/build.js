// Bundles the page into one file and writes it as a C++ source.
//
//     node build.js OUT_DIR    writes OUT_DIR/page.html and OUT_DIR/page.cpp
//
// Run it where the packages are installed, so that the source folder stays clean.
import {mkdirSync, readFileSync, writeFileSync} from "node:fs";
import {createRequire} from "node:module";
import {dirname, join, resolve} from "node:path";
import {fileURLToPath} from "node:url";

const out = process.argv[2];
const page = join(dirname(fileURLToPath(import.meta.url)), "page");
const {buildSync} = createRequire(resolve("package.json"))("esbuild");

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
    });
    return result.outputFiles[0].text.trim();
}

// The replacements are functions, for a bundle may hold "$&".
const script = bundle("main.js").replaceAll("</script", "<\\/script");
const html = readFileSync(join(page, "index.html"), "utf8")
    .replace("/*STYLE*/", () => bundle("style.css"))
    .replace("/*SCRIPT*/", () => script);

// In pieces, for editors that open the source. No piece may hold the end of a literal.
const chunks = html.match(/[^]{1,8000}/g).map((chunk) => `R"page(${chunk})page"`);
if (html.includes(')page"')) throw new Error("the page holds the end of its own literal");

mkdirSync(out, {recursive: true});
writeFileSync(join(out, "page.html"), html);
writeFileSync(
    join(out, "page.cpp"),
    `#include "report/page.h"\n\nconst std::string_view workbench::kReportPage =\n${chunks.join("\n")};\n`,
);
