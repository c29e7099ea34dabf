// The panel of the what-if: its steps, how the answer is coming along, and what can be taken
// away from it. It shows what it is given and hands on what is pressed.
import {add, count} from "../format.js";
import {keepFocus} from "../focus.js";
import {drawActions} from "./actions.js";
import {commandsOf} from "./commands.js";
import {makeForms} from "./forms.js";
import {isFail, REPLAN, split, wordsOf} from "./steps.js";

const HELP = "Steps are tried out on a copy of the plan, by the same engine that made it; the plan itself stays as it is. "
    + "Pick a link, node, LSP or failure anywhere on the page to see below what can happen to it, or use the fields here.";
const MORE = [
    "All of the page shows the changed plan; differences are against the plan of this report.",
    "What is drained, removed or too small now is left by its LSPs: they move, the others stay where they are.",
    "What fails, fails at once: LSPs switch to the backups that they have. Placed again, the lost ones look for new ways, the most important first; new backups are not made before the repair.",
    "Nothing leaves this page. The address holds the steps, so it can be kept or sent to somebody who has this file.",
];

function button(box, text, onClick) {
    return add(box, "button", null, text).attr("type", "button").on("click", onClick);
}

// The part of a step that can be mended, in a field in place of its words.
function drawMending(item, step, {done, mend}) {
    const {kind, value} = split(step);
    const form = add(item, "form", "value").on("submit", (event) => {
        event.preventDefault();
        const next = `${kind}:${field.property("value").trim()}`;
        if (next === step) done();
        else mend(next);
    }).on("keydown", (event) => {
        if (event.key !== "Escape") return;
        event.stopPropagation();
        done();
    });
    const field = add(form, "input").attr("type", "text").attr("aria-label", `Value of ${kind}`).attr("required", true).property("value", value);
    add(form, "button", null, "OK").attr("type", "submit");
    button(form, "Cancel", done);
    field.node().focus();
}

function makeSteps(list, plan, change) {
    let mending = -1;  // the position of a step
    let drawn = "";

    function draw(view) {
        const {steps, error} = view;
        const mend = (ind) => { mending = ind; keepFocus(() => draw(view)); };
        list.html("");
        steps.forEach((step, ind) => {
            if (step === REPLAN) return;
            const item = add(list, "li");
            const words = wordsOf(step, plan);
            if (ind === mending) {
                const replaced = (next) => steps.map((one, at) => (at === ind ? next : one));
                drawMending(item, step, {done: () => mend(-1), mend: (next) => change(replaced(next))});
            } else {
                add(item, "span", null, words);
                button(item, "Change", () => mend(ind)).attr("class", "text noprint").attr("aria-label", `Change: ${words}`);
            }
            button(item, "\u00d7", () => change(steps.filter((one, at) => at !== ind))).attr("class", "noprint")
                .attr("title", "Remove this step").attr("aria-label", `Remove: ${words}`);
            if (step === error?.step) add(item, "p", "note", error.message).attr("role", "alert");
        });
    }
    return (view) => {
        const next = JSON.stringify([view.steps, view.error]);
        if (next === drawn) return;  // somebody may be typing
        drawn = next;
        mending = -1;
        keepFocus(() => draw(view));
    };
}

async function copy(text, element) {
    try {
        await navigator.clipboard.writeText(text);
        return true;
    } catch {
        getSelection().selectAllChildren(element);
        return false;
    }
}

function makeCommands(box) {
    const part = add(box, "details", "noprint");
    add(part, "summary", null, "The same on the command line");
    const code = add(part, "pre").attr("tabindex", 0).attr("aria-label", "Commands");
    button(part, "Copy", async () =>
        copied.text(await copy(code.text(), code.node()) ? " Copied." : " Selected: copy it with the keyboard."));
    const copied = add(part, "span", "range").attr("role", "status");
    return (steps) => {
        part.attr("hidden", steps.length ? null : true);
        copied.text("");
        code.text(commandsOf(steps));
    };
}

const makeTitle = (box) => add(box, "h2", null, "What if\u2026").attr("id", "whatifTitle").attr("tabindex", -1);

// In place of the panel where there are no answers.
export function makeApology(box, why) {
    makeTitle(box);
    add(box, "p", null, why).attr("role", "status");
}

// on: {change(steps), add(step), protect(kind), replan(isOn), undo, redo, reset, leave, cancel, again, save}
export function makePanel(box, plan, on) {
    makeTitle(box);
    const help = add(box, "p", "help noprint", HELP);
    const more = add(box, "details", "noprint");
    add(more, "summary", null, "What an answer is");
    const points = add(more, "ul", "help");
    for (const point of MORE) add(points, "li", null, point);

    const tools = add(box, "div", "bar noprint").attr("role", "group").attr("aria-label", "Steps");
    const undo = button(tools, "Undo", on.undo).attr("title", "Ctrl+Z");
    const redo = button(tools, "Redo", on.redo).attr("title", "Ctrl+Shift+Z");
    const reset = button(tools, "Reset", on.reset).attr("title", "Take all steps back");
    add(tools, "span", "grow");
    button(tools, "Leave", on.leave).attr("title", "Back to the plan");

    const drawSteps = makeSteps(add(box, "ol", "steps").attr("id", "steps").attr("aria-label", "Steps of the what-if"), plan, on.change);
    const replanLine = add(box, "label", "replan");
    const replan = add(replanLine, "input").attr("type", "checkbox").on("change", () => on.replan(replan.property("checked")));
    add(replanLine, "span", null, " What is lost is placed again, the most important first");

    const status = add(box, "p", "status").attr("role", "status");
    const work = add(box, "div", "bar noprint");
    const progress = add(work, "progress").attr("aria-label", "Progress");
    const stage = add(work, "span", "range");
    button(work, "Cancel", on.cancel);
    const trouble = add(box, "p", "note").attr("role", "alert");
    const again = button(box, "Ask again", on.again).attr("class", "noprint");
    const tooLong = add(box, "p", "help noprint", "These steps are too many for the address of the page: a link to it will not bring them back.");

    const picked = add(box, "div", "noprint").attr("id", "offers");
    const other = add(box, "details", "noprint").attr("open", true);
    add(other, "summary", null, "Demands, new cables, protection");
    const forms = makeForms(add(other, "div", "forms"), plan, {add: on.add, protect: on.protect});
    const showCommands = makeCommands(box);
    const save = button(add(box, "p", "noprint"), "Download the changed plan", on.save);

    return {
        show(view) {
            const {steps, status: words, isWorking, error, canUndo, canRedo, fits, canSave} = view;
            drawSteps(view);
            help.attr("hidden", steps.length ? true : null);
            undo.property("disabled", !canUndo);
            redo.property("disabled", !canRedo);
            reset.property("disabled", !steps.length);
            replan.property("checked", steps.includes(REPLAN));
            replanLine.attr("hidden", steps.some(isFail) ? null : true).classed("noprint", !steps.includes(REPLAN));
            status.text(words);
            work.attr("hidden", isWorking ? null : true);
            trouble.attr("hidden", error && !error.step ? null : true).text(error?.step ? "" : error?.message ?? "");
            again.attr("hidden", view.canAsk ? null : true);
            tooLong.attr("hidden", fits ? true : null);
            forms.showProtection(split(steps.find((step) => step.startsWith("protection:")) ?? "protection:").value);
            showCommands(steps);
            save.attr("hidden", steps.length ? null : true).property("disabled", !canSave);
        },
        showProgress(text, done, of) {
            progress.attr("max", of || null).attr("value", of ? done : null);
            stage.text(of ? `${text}: ${count(done)} of ${count(of)}` : text);
        },
        offer: (state) => keepFocus(() => drawActions(picked.node(), state, on.change)),
    };
}
