// The steps as commands of the program, to be pasted into a shell.
import {asked} from "./steps.js";

// Plain words as they are, the rest in single quotes.
export const quoted = (text) => (/^\w[\w.,:=@%+/-]*$/.test(text) ? text : `'${text.replaceAll("'", "'\\''")}'`);

// A value that looks like an option is tied to its own.
const option = (name, value) => `--${name}${value.startsWith("-") ? "=" : " "}${quoted(value)}`;

export function commandsOf(steps) {
    const {fail = [], replan, protection, ...lists} = asked(steps);
    const options = Object.entries(lists).flatMap(([name, values]) => values.map((value) => option(name, value)));
    if (protection) options.push(option("protection", protection));
    const fails = fail.map((value) => option("fail", value));
    if (replan) options.push(...fails);
    const line = (...words) => words.flat().join(" ");
    const after = replan ? [] : fails;
    if (!options.length) return line("kavril report plan.json", after, "-o report.html");
    return [
        line("kavril change plan.json", options, "-o changed.json"),
        line("kavril report changed.json --before plan.json", after, "-o report.html"),
    ].join("\n");
}
