// The what-if: steps are gathered, the engine is asked after each, and all of the page shows
// its answer. The last answer stays on show until there is a new one.
import {download} from "../download.js";
import {Engine, hasEngine, obstacle} from "../engine.js";
import {inSlices} from "../slices.js";
import {carried} from "../state.js";
import {modelOf, summaryOf} from "./answer.js";
import {makeAsking} from "./asking.js";
import {makeHistory} from "./history.js";
import {makeApology, makePanel} from "./panel.js";
import {asked, fitsAddress, isFail, REPLAN, split, tidied} from "./steps.js";

// Why there are no answers here, "" where there are.
function lackOf() {
    if (!hasEngine()) return "This page was made without the engine that answers what-ifs.";
    return obstacle() && `${obstacle()} What-ifs need it; the rest of the report is complete without.`;
}

// The step that a complaint is about, null if there is no telling: the new one if there is
// just one, or the one that it quotes.
function culpritOf(message, steps, answered) {
    const fresh = steps.filter((step) => !answered.includes(step));
    if (fresh.length === 1) return fresh[0];
    const isQuoted = (step) => message.includes(`'${split(step).value}'`);
    return fresh.find(isQuoted) ?? steps.find(isQuoted) ?? null;
}

// The plan's model and the text of the page's data, the places for the panel and the way in;
// `change` and `prepare` are those of main.js.
export function makeWhatif({plan, text, box, button, change, prepare}) {
    const lack = lackOf();
    const steps = makeHistory();
    let answered = [];     // the steps of what is on show
    let isOpen = false;
    let panel = null;
    let picked = null;     // the state of the page
    let outcome = {status: "", isWorking: false, error: null};

    const asking = makeAsking(() => new Engine(text), {
        progress: (...how) => panel.showProgress(...how),
        failed: (error) => tell({status: answered.length ? "The page still shows the answer before." : "The page still shows the plan.",
            error: {message: error.message, step: culpritOf(error.message, steps.current, answered)}}),
        async answer(answer, isWanted) {
            const question = steps.current;
            panel.showProgress("drawing", 0, 0);
            let model;
            const show = await inSlices(function* () {
                model = yield* modelOf(answer, plan);
                return yield* prepare(model);
            }(), isWanted);
            if (!show) return;
            answered = question;
            show();
            tell({status: summaryOf(model)});
        },
    });

    function tell(next) {
        outcome = {status: "", isWorking: false, error: null, ...next};
        draw();
    }

    // For what is picked, as it is in the plan; of what the steps have brought, for links alone.
    function showOffers() {
        if (!isOpen || lack || !picked) return;
        const known = carried(picked, plan);
        panel.offer({...known, link: known.link ?? picked.link, isNewLink: !known.link});
    }

    function draw() {
        if (!isOpen || lack) return;
        const isAnswered = answered.join("\n") === steps.current.join("\n");
        panel.show({
            ...outcome, steps: steps.current, canUndo: steps.canUndo, canRedo: steps.canRedo, fits: fitsAddress(steps.current),
            canSave: isAnswered && steps.current.some((step) => !isFail(step)), canAsk: !isAnswered && !outcome.isWorking && !outcome.error,
        });
    }

    async function ask() {
        if (steps.current.length) {
            panel.showProgress("starting", 0, 0);
            asking.ask(asked(steps.current));
            tell({status: "Working\u2026", isWorking: true});
            return;
        }
        asking.stop();
        tell({});
        if (!answered.length) return;
        const show = await inSlices(prepare(plan), () => !steps.current.length);
        if (!show) return;
        answered = [];
        show();
        draw();
    }

    const go = (next) => change({steps: tidied(next)});

    function travel(next) {
        go(next);
        ask();
    }

    function fill() {
        if (lack) {
            makeApology(box, lack);
            return;
        }
        panel = makePanel(box, plan, {
            change: go,
            add: (step) => go([...steps.current, step]),
            protect: (kind) => go([...steps.current.filter((step) => split(step).kind !== "protection"), ...(kind ? [`protection:${kind}`] : [])]),
            replan: (isOn) => go(isOn ? [...steps.current, REPLAN] : steps.current.filter((step) => step !== REPLAN)),
            undo: () => travel(steps.undo()),
            redo: () => travel(steps.redo()),
            reset: () => go([]),
            leave, again: ask,
            cancel() {
                asking.stop();
                tell({status: "Cancelled."});
            },
            async save() {
                try {
                    download(`${plan.title} what-if.json`, await asking.plan(), "application/json");
                } catch (error) {
                    tell({error: {message: error.message, step: null}});
                }
            },
        });
    }

    function open() {
        if (isOpen) return;
        isOpen = true;
        if (!box.firstChild) fill();
        showOffers();
        box.hidden = false;
        button.setAttribute("aria-expanded", true);
        draw();
    }

    function leave() {
        go([]);
        isOpen = false;
        box.hidden = true;
        button.setAttribute("aria-expanded", false);
        button.focus();
    }

    plan.file = "the plan";
    button.hidden = !hasEngine();
    button.addEventListener("click", () => {
        if (isOpen) return leave();
        open();
        box.querySelector("h2").focus();
    });
    addEventListener("keydown", (event) => {
        if (!isOpen || lack || !(event.ctrlKey || event.metaKey) || event.target.closest?.("input, select, textarea")) return;
        const key = event.key.toLowerCase();
        const isRedo = (key === "z" && event.shiftKey) || key === "y";
        if (!isRedo && key !== "z") return;
        event.preventDefault();
        if (isRedo ? steps.canRedo : steps.canUndo) travel(isRedo ? steps.redo() : steps.undo());
    });

    return {
        // The page's state is what counts: it may come from the address.
        follow(next) {
            if (!steps.go(next)) return;
            open();
            if (!lack) ask();
        },
        offer(state) {
            picked = state;
            showOffers();
        },
    };
}
