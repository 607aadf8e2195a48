// The search box: an index of all sections, made when the box is first used, and a list of what it finds.
"use strict";

const mostResults = 12;
const snippetLength = 150;

function makeIndex() {
    return lunr(function () {
        this.ref("number");
        this.field("names", { boost: 20 });
        this.field("heading", { boost: 8 });
        this.field("page", { boost: 4 });
        this.field("text");
        const plain = (text) => text.replace(/['’]s\b/g, "");
        searchSections.forEach(({ names, heading, page, text }, number) =>
            this.add({ number, names, heading: plain(heading), page, text: plain(text) }));
    });
}

// Words as the index has them: without namespace or package, parentheses and other marks around them.
function wordsOf(text) {
    return lunr.tokenizer(text.replace(/\bko::|\bk[os]\./g, "")).map((word) => String(word).replace(/^\W+|\W+$/g, ""))
        .filter((word) => word !== "");
}

const titleOf = ({ heading, page }) => heading || page;

function putFirst(preferred, found) {
    const refs = preferred.map(({ ref }) => ref);
    return [...preferred, ...found.filter(({ ref }) => !refs.includes(ref))];
}

// The section that is called just so comes first, of an option the commands that have it. Whole words count most,
// beginnings of words less, and words with one wrong letter only where nothing else is found.
function find(index, text) {
    const words = wordsOf(text);
    if (words.length === 0) return [];
    const ask = (options) => index.query((query) => words.forEach((word) => query.term(word, options)));
    const found = index.query((query) => {
        words.forEach((word) => {
            query.term(word, { boost: 10 });
            query.term(word, { wildcard: lunr.Query.wildcard.TRAILING, usePipeline: false });
        });
    });
    if (found.length === 0) return ask({ editDistance: 1, usePipeline: false });
    const isCalledSo = ({ ref }) => titleOf(searchSections[Number(ref)]).toLowerCase() === text.toLowerCase();
    return putFirst(text.startsWith("--") ? ask({ fields: ["names"] }) : found.filter(isCalledSo), found);
}

// The text around the first word that was asked for.
function snippet(text, words) {
    const places = words.map((word) => text.toLowerCase().indexOf(word)).filter((place) => place >= 0);
    const start = Math.max(0, Math.min(...places, text.length) - 40);
    const from = places.length > 0 ? start : 0;
    const part = text.slice(from, from + snippetLength);
    return (from > 0 ? "… " : "") + part + (from + snippetLength < text.length ? " …" : "");
}

function entry(section, words) {
    const link = document.createElement("a");
    link.href = section.address;
    const heading = document.createElement("strong");
    heading.textContent = titleOf(section);
    const page = document.createElement("em");
    page.textContent = section.heading ? section.page : "";
    const text = document.createElement("span");
    text.textContent = snippet(section.text, words);
    link.append(heading, page, text);
    return link;
}

document.addEventListener("DOMContentLoaded", () => {
    const box = document.getElementById("search-box");
    const list = document.getElementById("search-results");
    let index = null;

    const show = () => {
        list.replaceChildren();
        const text = box.value.trim();
        list.hidden = text === "";
        if (list.hidden) return;
        index = index || makeIndex();
        const words = text.toLowerCase().split(/\s+/);
        const found = find(index, text).slice(0, mostResults);
        found.forEach((result) => list.append(entry(searchSections[Number(result.ref)], words)));
        if (found.length === 0) list.textContent = `Nothing found for “${text}”.`;
    };
    const move = (step) => {
        const links = [...list.querySelectorAll("a")];
        const next = links.indexOf(document.activeElement) + step;
        (links[next] || box).focus();
    };

    box.addEventListener("input", show);
    document.addEventListener("keydown", (event) => {
        const isInside = event.target === box || list.contains(event.target);
        if (event.key === "/" && !isInside) {
            event.preventDefault();
            box.focus();
        } else if (event.key === "Escape") {
            list.hidden = true;
        } else if (isInside && (event.key === "ArrowDown" || event.key === "ArrowUp")) {
            event.preventDefault();
            move(event.key === "ArrowDown" ? 1 : -1);
        } else if (event.target === box && event.key === "Enter" && list.querySelector("a")) {
            list.querySelector("a").click();
        }
    });
    document.addEventListener("click", (event) => {
        if (event.target !== box && !list.contains(event.target)) list.hidden = true;
    });
});
