// Keeps the keyboard where it is when what it is on is drawn anew.

const FOCUSABLE = "a[href], button, input, select, textarea, summary, [tabindex]";
const labelOf = (element) => element.getAttribute("aria-label") ?? element.labels?.[0]?.textContent ?? element.textContent;

// The element of the same label in the same part of the page; or else, where there are as
// many as before, the one in its place; or else the part itself.
export function keepFocus(work) {
    const held = document.activeElement;
    const home = held?.parentElement?.closest("[id]")?.id;
    const within = (box) => [...box.querySelectorAll(FOCUSABLE)];
    const before = home ? within(document.getElementById(home)) : [];
    const [at, label, count] = [before.indexOf(held), home && labelOf(held), before.length];
    const done = work();
    if (!home || held.isConnected || document.activeElement !== document.body) return done;
    const box = document.getElementById(home);
    if (!box) return done;
    const now = within(box);
    const next = document.getElementById(held.id) ?? now.find((one) => labelOf(one) === label && one.tagName === held.tagName)
        ?? (now.length === count ? now[at] : null);
    if (!next && box.tabIndex < 0) box.tabIndex = -1;
    (next ?? box).focus({preventScroll: true});
    return done;
}
