// The lists of steps that were and, after going back, those that were to come.
export function makeHistory() {
    let [current, past, future] = [[], [], []];

    function travel(from, to) {
        to.push(current);
        current = from.pop();
        return current;
    }

    return {
        get current() { return current; },
        get canUndo() { return past.length > 0; },
        get canRedo() { return future.length > 0; },
        // Whether that is anything new.
        go(steps) {
            if (steps.join("\n") === current.join("\n")) return false;
            past.push(current);
            current = steps;
            future = [];
            return true;
        },
        undo: () => travel(past, future),
        redo: () => travel(future, past),
    };
}
