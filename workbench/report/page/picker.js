// A field to type into that lists what matches, for lists too long to scroll: the pattern of
// a combobox. `search(words)` gives [{name, items: [{text, note, value}], more}].
import {select} from "d3";
import {add, count} from "./format.js";

export function makePicker(box, {id, label, placeholder, search, onPick}) {
    const field = select(box).attr("class", "picker");
    const input = add(field, "input").attr("id", id).attr("type", "text").attr("role", "combobox")
        .attr("placeholder", placeholder).attr("autocomplete", "off").attr("spellcheck", "false").attr("aria-label", label)
        .attr("aria-expanded", false).attr("aria-controls", `${id}List`).attr("aria-autocomplete", "list");
    const list = add(field, "div", "options").attr("id", `${id}List`).attr("role", "listbox")
        .attr("aria-label", label).attr("hidden", true);
    let items = [];
    let active = -1;
    let chosen = "";

    function close() {
        list.attr("hidden", true);
        input.attr("aria-expanded", false).attr("aria-activedescendant", null).property("value", chosen);
    }

    function take(item) {
        close();
        onPick(item.value);
    }

    function mark(ind) {
        active = ind;
        list.selectAll("[role=option]").attr("aria-selected", (d, at) => at === active);
        input.attr("aria-activedescendant", active < 0 ? null : `${id}-${active}`);
        list.select("[aria-selected=true]").node()?.scrollIntoView({block: "nearest"});
    }

    function open(text) {
        const groups = search(text.toLowerCase().split(/\s+/).filter(Boolean));
        list.html("").attr("hidden", null);
        input.attr("aria-expanded", true);
        items = [];
        for (const {name, items: group, more} of groups) {
            const part = add(list, "div").attr("role", "group").attr("aria-label", name);
            add(part, "div", "groupname", name);
            for (const item of group) {
                const option = add(part, "div").attr("role", "option").attr("id", `${id}-${items.length}`)
                    .on("pointerdown", (event) => { event.preventDefault(); take(item); });
                add(option, "span", null, item.text);
                if (item.note) add(option, "span", "note", item.note);
                items.push(item);
            }
            if (more) add(part, "div", "groupname", `${count(more)} more: type to narrow`);
        }
        if (!items.length) add(list, "div", "groupname", "no match");
        mark(text && items.length ? 0 : -1);
    }

    input.on("focus", () => { input.node().select(); open(""); })
        .on("input", () => open(input.property("value")))
        .on("blur", close)
        .on("keydown", (event) => {
            const step = {ArrowDown: 1, ArrowUp: -1}[event.key];
            if (step) {
                if (list.attr("hidden") !== null) open("");
                mark(Math.max(0, Math.min(items.length - 1, active + step)));
                event.preventDefault();
            } else if (event.key === "Enter" && items[active]) {
                take(items[active]);
            } else if (event.key === "Escape" && list.attr("hidden") === null) {
                close();
                event.stopPropagation();
            }
        });

    return {set(text) { chosen = text; input.property("value", text); }};
}

const MOST = 40;  // of a group: a list is to be read

// A search over groups of {name, items}, each item with a `text`.
export function searchIn(groups) {
    return (words) => {
        const found = groups.map(({name, items}) => ({
            name, items: items.filter(({text}) => {
                const lower = text.toLowerCase();
                return words.every((word) => lower.includes(word));
            }),
        })).filter(({items}) => items.length);
        return found.map(({name, items}) => ({name, items: items.slice(0, MOST), more: Math.max(0, items.length - MOST)}));
    };
}
