"use strict";
(() => {
  const data = JSON.parse(document.getElementById("data").textContent);
  const byId = (id) => document.getElementById(id);
  const firings = data.firings.map(([timer, callback, state, due, dispatched, started, ended, missed, firstDue, text], index) =>
    ({ index, timer, callback, state, due, dispatched, started, ended, missed, firstDue, text,
      begin: Math.min(due ?? started, firstDue ?? Infinity, started ?? Infinity),
      end: Math.max(ended ?? 0, started ?? 0, due ?? 0) }));
  const late = (firing) => Math.max(0, firing.started - firing.due);
  const ms = (span) => (span / 1000).toFixed(3);
  const seconds = (moment) => (moment / 1e6).toFixed(3);

  // ---- Words and tables

  byId("program").textContent = data.program || "a program";
  document.title = "Timers of " + (data.program || "a program");
  const ran = firings.filter((firing) => firing.started !== null);
  const missed = data.timers.reduce((sum, timer) => sum + timer.missed, 0);
  const plural = (number, what) => `${number.toLocaleString("en")} ${what}${number === 1 ? "" : "s"}`;
  byId("summary").textContent =
    `${plural(data.timers.length, "timer")}, ${plural(ran.length, "callback")}, ${plural(missed, "firing")} missed.`;

  const cell = (row, text) => { row.insertCell().textContent = text; };
  for (const timer of data.timers) {
    const row = byId("timers").tBodies[0].insertRow();
    cell(row, timer.name);
    cell(row, timer.settings);
    for (const number of [timer.runs, timer.missed, timer.failed]) cell(row, number);
    cell(row, timer.busy.toFixed(3));
    for (const lateness of [...timer.measured, ...timer.withMissed]) cell(row, ms(lateness));
  }
  const mostWorst = 20;
  for (const firing of [...ran].sort((a, b) => late(b) - late(a)).slice(0, mostWorst)) {
    const row = byId("worst").tBodies[0].insertRow();
    const button = document.createElement("button");
    button.type = "button";
    button.textContent = `${data.timers[firing.timer].name} ${firing.callback}`;
    button.addEventListener("click", () => { choose(firing); reveal(firing); });
    row.insertCell().append(button);
    cell(row, seconds(firing.due));
    cell(row, ms(late(firing)));
    cell(row, firing.ended === null ? "" : ms(firing.ended - firing.started));
  }

  // ---- The time line

  const canvas = byId("lanes");
  const brush = canvas.getContext("2d");
  const laneHeight = 26, axisHeight = 24, labelWidth = 150, mostLanes = 200, mostCrosses = 1000;
  const first = firings.reduce((least, firing) => Math.min(least, firing.begin), Infinity);
  const last = Math.max(first + 1, firings.reduce((most, firing) => Math.max(most, firing.end), 0));
  const margin = (last - first) * 0.02;
  const all = { from: first - margin, to: last + margin };
  let view = { ...all };
  let chosen = null;
  let lanes = []; // the timers that are shown
  let firingsOf = []; // of each timer, in the order of time

  const group = () => {
    firingsOf = data.timers.map(() => []);
    for (const firing of firings) firingsOf[firing.timer].push(firing);
  };
  const chooseLanes = () => {
    const wanted = byId("filter").value.trim().toLowerCase();
    const named = data.timers.map((_, timer) => timer).filter((timer) => data.timers[timer].name.toLowerCase().includes(wanted));
    lanes = named.slice(0, mostLanes);
    byId("hidden-lanes").hidden = named.length === lanes.length;
    byId("hidden-lanes").textContent = `${plural(named.length - lanes.length, "more timer")} not shown: name those that you want to see.`;
  };

  const width = () => canvas.clientWidth - labelWidth;
  const x = (moment) => labelWidth + (moment - view.from) / (view.to - view.from) * width();
  const momentAt = (at) => view.from + (at - labelWidth) / width() * (view.to - view.from);
  const top = (lane) => axisHeight + lane * laneHeight;

  const step = () => {
    const wanted = (view.to - view.from) / Math.max(2, width() / 110);
    const power = 10 ** Math.floor(Math.log10(wanted));
    return [1, 2, 5, 10].map((factor) => factor * power).find((size) => size >= wanted);
  };
  const label = (moment, size) => (moment / 1e6).toFixed(Math.min(6, Math.max(0, Math.ceil(6 - Math.log10(size))))) + " s";

  const draw = () => {
    const height = axisHeight + Math.max(1, lanes.length) * laneHeight + 4;
    const ratio = window.devicePixelRatio || 1;
    canvas.style.height = height + "px";
    canvas.width = Math.round(canvas.clientWidth * ratio);
    canvas.height = Math.round(height * ratio);
    brush.setTransform(ratio, 0, 0, ratio, 0, 0);
    const style = getComputedStyle(document.documentElement);
    const colour = (name) => style.getPropertyValue("--" + name).trim();
    const colours = Object.fromEntries(["text", "faint", "line", "panel", "waiting", "running", "failed", "missed", "chosen"].map((name) => [name, colour(name)]));
    brush.font = "12px system-ui, sans-serif";
    brush.textBaseline = "middle";

    const size = step();
    for (let moment = Math.ceil(view.from / size) * size; moment <= view.to; moment += size) {
      brush.fillStyle = colours.line;
      brush.fillRect(Math.round(x(moment)), axisHeight - 4, 1, height);
      brush.fillStyle = colours.faint;
      brush.fillText(label(moment, size), x(moment) + 3, axisHeight / 2);
    }

    lanes.forEach((timer, lane) => {
      const middle = top(lane) + laneHeight / 2;
      brush.fillStyle = colours.line;
      brush.fillRect(0, top(lane) + laneHeight - 1, canvas.clientWidth, 1);
      brush.save();
      brush.beginPath();
      brush.rect(labelWidth, top(lane), width(), laneHeight);
      brush.clip();
      for (const firing of firingsOf[timer]) {
        if (firing.end < view.from || firing.begin > view.to) continue;
        drawFiring(firing, middle, colours);
      }
      brush.restore();
    });
    brush.fillStyle = colours.panel;
    brush.fillRect(0, 0, labelWidth - 4, height);
    brush.fillStyle = colours.text;
    lanes.forEach((timer, lane) => brush.fillText(data.timers[timer].name, 6, top(lane) + laneHeight / 2, labelWidth - 14));
  };

  const drawFiring = (firing, middle, colours) => {
    const bar = (from, to, name, tall) => {
      brush.fillStyle = colours[name];
      brush.fillRect(x(from), middle - tall / 2, Math.max(1.5, x(to) - x(from)), tall);
    };
    const cross = (moment) => {
      brush.strokeStyle = colours.missed;
      brush.lineWidth = 2;
      brush.beginPath();
      brush.moveTo(x(moment) - 4, middle - 4);
      brush.lineTo(x(moment) + 4, middle + 4);
      brush.moveTo(x(moment) - 4, middle + 4);
      brush.lineTo(x(moment) + 4, middle - 4);
      brush.stroke();
    };
    if (firing.started === null) {
      cross(firing.due);
    } else {
      if (firing.started > firing.due) bar(firing.due, firing.started, "waiting", 5);
      bar(firing.started, firing.ended ?? last, firing.state === "failed" ? "failed" : "running", 14);
      for (let i = 0; i < Math.min(firing.missed, mostCrosses); ++i) cross(firing.firstDue + i * data.timers[firing.timer].period);
    }
    if (firing === chosen) {
      brush.strokeStyle = colours.chosen;
      brush.lineWidth = 2;
      brush.strokeRect(x(firing.begin) - 4, middle - 11, Math.max(8, x(firing.end) - x(firing.begin) + 8), 22);
    }
  };

  let isDue = false;
  const redraw = () => {
    if (isDue) return;
    isDue = true;
    requestAnimationFrame(() => { isDue = false; draw(); });
  };

  // ---- What the reader does

  const choose = (firing) => {
    chosen = firing;
    byId("explanation").textContent = firing.text;
    redraw();
  };
  const look = (from, to) => {
    const least = 20; // microseconds
    const span = Math.min(all.to - all.from, Math.max(least, to - from));
    const begin = Math.min(all.to - span, Math.max(all.from, (from + to - span) / 2));
    view = { from: begin, to: begin + span };
    redraw();
  };
  const zoom = (factor, around = (view.from + view.to) / 2) =>
    look(around - (around - view.from) * factor, around + (view.to - around) * factor);
  const move = (share) => {
    const by = share * (view.to - view.from);
    look(view.from + by, view.to + by);
  };
  const reveal = (firing) => {
    if (!lanes.includes(firing.timer)) {
      byId("filter").value = data.timers[firing.timer].name;
      chooseLanes();
    }
    const middle = (firing.begin + firing.end) / 2;
    if (firing.begin < view.from || firing.end > view.to) {
      const span = Math.max(view.to - view.from, 1.2 * (firing.end - firing.begin));
      look(middle - span / 2, middle + span / 2);
    }
    const lane = lanes.indexOf(firing.timer);
    const frame = byId("frame");
    if (top(lane) < frame.scrollTop || top(lane) + laneHeight > frame.scrollTop + frame.clientHeight) frame.scrollTop = top(lane) - axisHeight;
    redraw();
  };
  const neighbour = (direction) => {
    const shown = firings.filter((firing) => lanes.includes(firing.timer));
    if (shown.length === 0) return;
    const at = chosen === null ? (direction > 0 ? -1 : shown.length) : shown.indexOf(chosen);
    const firing = shown[Math.min(shown.length - 1, Math.max(0, at + direction))];
    choose(firing);
    reveal(firing);
  };
  const firingAt = (atX, atY) => {
    const lane = Math.floor((atY - axisHeight) / laneHeight);
    if (atX < labelWidth || lane < 0 || lane >= lanes.length) return null;
    const reach = 6; // pixels
    let nearest = null, least = reach;
    for (const firing of firingsOf[lanes[lane]]) {
      const distance = Math.max(x(firing.begin) - atX, atX - x(firing.end), 0);
      if (distance < least || (distance === 0 && nearest === null)) { nearest = firing; least = distance; }
    }
    return nearest;
  };

  let drag = null;
  canvas.addEventListener("pointerdown", (event) => {
    drag = { x: event.offsetX, view: { ...view }, hasMoved: false };
    canvas.setPointerCapture(event.pointerId);
  });
  canvas.addEventListener("pointermove", (event) => {
    if (drag === null) return;
    const by = event.offsetX - drag.x;
    drag.hasMoved = drag.hasMoved || Math.abs(by) > 4;
    if (drag.hasMoved) {
      const moved = by / width() * (drag.view.to - drag.view.from);
      look(drag.view.from - moved, drag.view.to - moved);
    }
  });
  canvas.addEventListener("pointerup", (event) => {
    const wasClick = drag !== null && !drag.hasMoved;
    drag = null;
    const firing = wasClick ? firingAt(event.offsetX, event.offsetY) : null;
    if (firing !== null) choose(firing);
  });
  canvas.addEventListener("pointercancel", () => { drag = null; });
  canvas.addEventListener("wheel", (event) => {
    if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
      move((event.deltaX || event.deltaY) / 1000);
    } else if (event.ctrlKey || byId("frame").scrollHeight <= byId("frame").clientHeight) {
      zoom(event.deltaY > 0 ? 1.25 : 0.8, momentAt(Math.max(labelWidth, event.offsetX)));
    } else {
      return; // many lanes: the wheel moves through them, and zooms with Ctrl
    }
    event.preventDefault();
  }, { passive: false });
  const keys = {
    ArrowLeft: () => move(-0.1), ArrowRight: () => move(0.1), Home: () => look(all.from, all.to),
    "+": () => zoom(0.8), "=": () => zoom(0.8), "-": () => zoom(1.25), n: () => neighbour(1), p: () => neighbour(-1),
  };
  canvas.addEventListener("keydown", (event) => {
    const act = keys[event.key.length === 1 ? event.key.toLowerCase() : event.key];
    if (act === undefined || event.ctrlKey || event.metaKey || event.altKey) return;
    act();
    event.preventDefault();
  });
  byId("zoom-in").addEventListener("click", () => zoom(0.5));
  byId("zoom-out").addEventListener("click", () => zoom(2));
  byId("fit").addEventListener("click", () => look(all.from, all.to));
  byId("next").addEventListener("click", () => neighbour(1));
  byId("previous").addEventListener("click", () => neighbour(-1));
  byId("filter").addEventListener("input", () => { chooseLanes(); redraw(); });
  new ResizeObserver(redraw).observe(byId("frame"));
  window.matchMedia("(prefers-color-scheme: dark)").addEventListener("change", redraw);

  // For whoever looks at the page by a program: where a firing is drawn.
  window.placeOf = (index) => {
    const firing = firings[index];
    const box = canvas.getBoundingClientRect();
    return { x: box.left + (x(firing.started ?? firing.due) + x(firing.end)) / 2, y: box.top + top(lanes.indexOf(firing.timer)) + laneHeight / 2 };
  };

  group();
  chooseLanes();
  draw();
})();
