// The live page: pictures come as one endless answer, figures are asked for five times a second.
"use strict";

const statusInterval = 200; // milliseconds
const courseSeconds = 60;
const sendInterval = 100; // while a slider moves

const element = (id) => document.getElementById(id);
const colourOf = (name) => getComputedStyle(document.documentElement).getPropertyValue("--" + name).trim();

let frame = null; // size and depth of the camera's frames
let region = null; // that is magnified: x, y, width, height in pixels of the frame
let pixelsDue = 0; // the timer that asks for its pictures
let course = []; // of the focus figure: [time, figure]
const held = new Set(); // controls that somebody holds: what the camera says of them is not shown

// ---------------------------------------------------------------------------------------------- pictures

function show(image, path) {
    // A new number makes the browser ask again after an answer has ended.
    image.src = path + (path.includes("?") ? "&" : "?") + "n=" + Date.now();
}

function hide(image) {
    image.removeAttribute("src");
}

function showPixels() {
    if (region)
        show(element("pixels"), "pictures?region=" + [region.x, region.y, region.width, region.height].join(","));
}

function showAll() {
    show(element("picture"), "pictures");
    showPixels();
}

/// Says over the picture why it does not move; with an empty text it does.
function showState(text) {
    element("state").textContent = text;
    element("state").hidden = text === "";
    element("whole").classList.toggle("old", text !== "");
}

for (const id of ["picture", "pixels"])
    element(id).addEventListener("error", () => {
        if (element(id).hasAttribute("src") && !document.hidden)
            setTimeout(showAll, 1000);
    });

// A page that nobody sees asks for nothing.
document.addEventListener("visibilitychange", () => {
    if (document.hidden) {
        hide(element("picture"));
        hide(element("pixels"));
    } else {
        showAll();
    }
});

// ------------------------------------------------------------------------------------------------ loupe

/// Where the picture lies inside its element, which may be wider or higher.
function placeOfPicture() {
    const image = element("picture");
    const scale = Math.min(image.clientWidth / frame.width, image.clientHeight / frame.height);
    const width = frame.width * scale;
    const height = frame.height * scale;
    return {scale, left: (image.clientWidth - width) / 2, top: (image.clientHeight - height) / 2};
}

function showLoupe() {
    const loupe = element("loupe");
    loupe.style.display = region ? "block" : "none";
    element("close").hidden = !region;
    if (!region)
        return;
    const place = placeOfPicture();
    loupe.style.left = place.left + region.x * place.scale + "px";
    loupe.style.top = place.top + region.y * place.scale + "px";
    loupe.style.width = region.width * place.scale + "px";
    loupe.style.height = region.height * place.scale + "px";
    element("place").textContent = `${region.width} × ${region.height} at ${region.x}, ${region.y}`;
}

/// Magnifies around a point of the frame.
function magnify(x, y) {
    const scale = Number(element("scale").value);
    const shown = element("whole").clientWidth * Math.min(window.devicePixelRatio, 2);
    const even = (number) => 2 * Math.round(number / 2);
    const width = Math.min(frame.width, Math.max(8, even(Math.min(shown / scale, 640))));
    const height = Math.min(frame.height, Math.max(8, even(width / 2)));
    const inside = (from, size, all) => Math.max(0, Math.min(even(from - size / 2), all - size));
    region = {x: inside(x, width, frame.width), y: inside(y, height, frame.height), width, height};
    showLoupe();
    // While a key is held down, the region moves faster than pictures of it come.
    clearTimeout(pixelsDue);
    pixelsDue = setTimeout(showPixels, sendInterval);
}

/// Moves what is magnified.
function move(x, y) {
    magnify(region.x + region.width / 2 + x, region.y + region.height / 2 + y);
}

function leave() {
    region = null;
    clearTimeout(pixelsDue);
    hide(element("pixels"));
    showLoupe();
}

/// Takes the next larger or smaller scale, where there is one.
function changeScale(step) {
    const scale = element("scale");
    scale.selectedIndex = Math.max(0, Math.min(scale.length - 1, scale.selectedIndex + step));
    move(0, 0);
}

element("whole").addEventListener("click", (event) => {
    if (!frame)
        return;
    const box = element("picture").getBoundingClientRect();
    const place = placeOfPicture();
    magnify((event.clientX - box.left - place.left) / place.scale, (event.clientY - box.top - place.top) / place.scale);
});

element("whole").addEventListener("keydown", (event) => {
    if (!frame || event.ctrlKey || event.altKey || event.metaKey)
        return;
    const step = (size) => event.shiftKey ? 2 : 2 * Math.ceil(size / 8); // of a mosaic, whole cells
    const actions = region ? {
        ArrowLeft: () => move(-step(region.width), 0), ArrowRight: () => move(step(region.width), 0),
        ArrowUp: () => move(0, -step(region.height)), ArrowDown: () => move(0, step(region.height)),
        "+": () => changeScale(1), "=": () => changeScale(1), "-": () => changeScale(-1), Escape: leave,
    } : {
        Enter: () => magnify(frame.width / 2, frame.height / 2), " ": () => magnify(frame.width / 2, frame.height / 2),
    };
    if (!actions[event.key])
        return;
    event.preventDefault(); // arrows scroll
    actions[event.key]();
});

element("scale").addEventListener("change", () => region && move(0, 0));

element("leave").addEventListener("click", () => {
    leave();
    element("whole").focus(); // the button is gone
});

window.addEventListener("resize", () => frame && showLoupe());

// ---------------------------------------------------------------------------------------------- figures

function context(id) {
    const canvas = element(id);
    const drawing = canvas.getContext("2d");
    drawing.clearRect(0, 0, canvas.width, canvas.height);
    return [drawing, canvas.width, canvas.height];
}

const names = (count) => (count === 3 ? ["red", "green", "blue"] : ["gray"]);

function drawHistogram(histograms) {
    const [drawing, width, height] = context("histogram");
    // The ends may hold the clipped samples, which would flatten all the rest.
    const inner = histograms.flatMap((counts) => counts.slice(1, -1));
    const top = Math.max(1, ...inner) * 1.05;
    histograms.forEach((counts, i) => {
        const colour = colourOf(names(histograms.length)[i]);
        drawing.beginPath();
        drawing.moveTo(0, height);
        counts.forEach((count, level) => {
            const y = height - Math.min(1, count / top) * height;
            drawing.lineTo((level / counts.length) * width, y);
            drawing.lineTo(((level + 1) / counts.length) * width, y);
        });
        drawing.lineTo(width, height);
        drawing.closePath();
        drawing.globalAlpha = 0.25;
        drawing.fillStyle = colour;
        drawing.fill();
        drawing.globalAlpha = 1;
        drawing.strokeStyle = colour;
        drawing.lineWidth = 1.5;
        drawing.stroke();
    });
}

function showClipped(shares) {
    const box = element("clipped");
    box.replaceChildren(...shares.map((share, i) => {
        const text = document.createElement("span");
        text.style.color = colourOf(names(shares.length)[i]);
        text.textContent = (100 * share).toFixed(share > 0 && share < 0.01 ? 2 : 1) + " % clipped";
        if (shares.length === 3)
            text.textContent = text.textContent.replace(" clipped", "");
        return text;
    }));
    if (shares.length === 3)
        box.append("clipped");
}

function drawCourse(figure) {
    const now = Date.now() / 1000;
    course.push([now, figure]);
    course = course.filter(([time]) => now - time <= courseSeconds);
    const best = Math.max(...course.map(([, value]) => value));
    const [drawing, width, height] = context("course");
    drawing.strokeStyle = colourOf("accent");
    drawing.lineWidth = 2;
    drawing.beginPath();
    course.forEach(([time, value], i) => {
        const x = width * (1 - (now - time) / courseSeconds);
        const y = height - 4 - (best > 0 ? value / best : 0) * (height - 8);
        if (i === 0)
            drawing.moveTo(x, y);
        else
            drawing.lineTo(x, y);
    });
    drawing.stroke();
    element("focus").textContent = figure.toPrecision(3);
    element("best").textContent = best.toPrecision(3);
}

function showFrame(now) {
    const changed = !frame || frame.width !== now.width || frame.height !== now.height;
    frame = now;
    const pattern = now.pattern ? ", " + now.pattern : "";
    element("format").textContent = `${now.width} × ${now.height}, ${now.bits} bits${pattern}`;
    element("white").textContent = 2 ** now.bits - 1;
    if (changed)
        showLoupe();
}

function showStatus(status) {
    element("camera").textContent = status.camera;
    element("trouble").textContent = status.trouble;
    element("trouble").hidden = status.trouble === "";
    element("lamp").classList.toggle("on", status.rate > 0);
    element("rate").textContent = status.rate.toFixed(1);
    element("frames").textContent = status.frames.toLocaleString("en");
    const missing = status.dropped + status.incomplete + status.lost;
    element("dropped").textContent = missing.toLocaleString("en");
    element("dropped").classList.toggle("bad", missing > 0);
    element("delay").textContent = status.frame ? (1000 * status.delay).toFixed(1) + " ms" : "–";
    // Cameras that are triggered rest without trouble.
    showState(status.rate > 0 ? "" : status.trouble ? "Camera lost" : status.frames > 0 ? "" : "No picture yet");
    for (const box of document.querySelectorAll(".disk"))
        box.hidden = status.written === undefined;
    if (status.written !== undefined) {
        element("written").textContent = status.written.toLocaleString("en");
        element("disk").textContent = (status.bytesPerSecond / 1e6).toFixed(1);
    }
    if (status.frame) {
        showFrame(status.frame);
        drawHistogram(status.histogram);
        showClipped(status.clipped);
        drawCourse(status.focus);
        for (const box of document.querySelectorAll(".colour"))
            box.hidden = status.histogram.length !== 3;
    }
    exposure.show(status.exposure);
    gain.show(status.gain);
    element("settings").hidden = !status.exposure && !status.gain;
    showLook(status.look);
}

// --------------------------------------------------------------------------------------------- controls

let waiting = null; // what is to be sent next
let lastSent = 0;

/// Sends the last of several wishes that follow each other closely.
function wish(fields) {
    waiting = {...waiting, ...fields};
    setTimeout(send, Math.max(0, lastSent + sendInterval - Date.now()));
}

async function send() {
    if (!waiting || Date.now() - lastSent < sendInterval / 2)
        return;
    const body = JSON.stringify(waiting);
    waiting = null;
    lastSent = Date.now();
    try {
        const answer = await fetch("control", {method: "POST", body});
        if (!answer.ok)
            throw new Error((await answer.text()).trim());
    } catch (error) {
        element("trouble").textContent = error.message;
        element("trouble").hidden = false;
    }
}

function hold(input, key) {
    for (const event of ["pointerdown", "focus"])
        input.addEventListener(event, () => held.add(key));
    for (const event of ["pointerup", "blur", "change"])
        input.addEventListener(event, () => setTimeout(() => held.delete(key), 500));
}

/// A number of the camera, with a slider from the least to the most, in equal factors where both are above 0.
function cameraControl(name) {
    const slider = element(name + "-slider");
    const number = element(name + "-number");
    let bounds = null;
    const isLogarithmic = () => bounds.minimum > 0;
    const fromShare = (share) => isLogarithmic() ? bounds.minimum * (bounds.maximum / bounds.minimum) ** share
        : bounds.minimum + share * (bounds.maximum - bounds.minimum);
    const toShare = (value) => isLogarithmic()
        ? Math.log(value / bounds.minimum) / Math.log(bounds.maximum / bounds.minimum)
        : (value - bounds.minimum) / (bounds.maximum - bounds.minimum);
    const set = (value) => wish({[name]: Math.max(bounds.minimum, Math.min(bounds.maximum, value))});
    slider.addEventListener("input", () => {
        const value = Number(fromShare(slider.value / 1000).toPrecision(4));
        number.value = value;
        set(value);
    });
    number.addEventListener("change", () => {
        if (number.value !== "")
            set(Number(number.value));
    });
    hold(slider, name);
    hold(number, name);
    return {
        show(control) {
            element(name).hidden = !control;
            if (!control || held.has(name))
                return;
            bounds = control;
            slider.value = 1000 * toShare(control.value);
            number.value = Number(control.value.toPrecision(6));
        },
    };
}

const exposure = cameraControl("exposure");
const gain = cameraControl("gain");

function showLook(look) {
    if (!held.has("look")) {
        element("red-slider").value = look.gains[0] / look.gains[1];
        element("blue-slider").value = look.gains[2] / look.gains[1];
        element("linear").checked = look.linear;
    }
    showColourNumbers();
}

function showColourNumbers() {
    for (const colour of ["red", "blue"])
        element(colour + "-number").textContent = Number(element(colour + "-slider").value).toFixed(2);
}

for (const id of ["red-slider", "blue-slider"]) {
    hold(element(id), "look");
    element(id).addEventListener("input", () => {
        showColourNumbers();
        wish({gains: [Number(element("red-slider").value), 1, Number(element("blue-slider").value)]});
    });
}
element("balance").addEventListener("click", () => wish({balance: "gray"}));
element("neutral").addEventListener("click", () => wish({gains: [1, 1, 1]}));
element("linear").addEventListener("change", () => wish({linear: element("linear").checked}));

// ----------------------------------------------------------------------------------------------- status

async function poll() {
    if (!document.hidden) {
        try {
            const answer = await fetch("status");
            if (!answer.ok)
                throw new Error((await answer.text()).trim());
            showStatus(await answer.json());
        } catch (error) {
            element("lamp").classList.remove("on");
            element("trouble").textContent = "No answer from ko live" + (error instanceof TypeError
                ? ". It has ended or cannot be reached; the page goes on when it is back." : ": " + error.message);
            element("trouble").hidden = false;
            showState("No answer");
        }
    }
    setTimeout(poll, statusInterval);
}

showAll();
poll();
