// Asks the engine one question at a time, the newest: what another one overtakes is
// cancelled, and no answer of it arrives.

const DELAY = 50;  // ms, for steps that come in quick succession

// on: {progress(text, done, of), answer(answer, isWanted), failed(error)}; `answer` may take
// its time, in slices, while `isWanted()`.
export function makeAsking(makeEngine, on) {
    let engine = null;
    let turn = 0;
    let timer = 0;
    let isRunning = false;

    async function ask(question, isWanted) {
        isRunning = true;
        try {
            engine ??= makeEngine();
            engine.onprogress = (...how) => { if (isWanted()) on.progress(...how); };
            const answer = await engine.ask(question);
            if (!isWanted()) return;
            isRunning = false;
            await on.answer(answer, isWanted);
        } catch (error) {
            if (!isWanted()) return;
            isRunning = false;
            on.failed(error);
        }
    }

    function stop() {
        turn++;
        clearTimeout(timer);
        if (isRunning) engine?.cancel();
        isRunning = false;
    }

    return {
        stop,
        ask(question) {
            stop();
            const mine = turn;
            timer = setTimeout(() => ask(question, () => mine === turn), DELAY);
        },
        plan: () => engine.plan(),
    };
}
