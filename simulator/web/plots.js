// Motion over time: what the arm did in the last minutes, as curves with the events among them. Pointing into the past
// shows the arm as it stood then.
import { write } from './parts.js';
import { soon } from './soon.js';

const span = 60; // s of the arm's time that are seen
const kept = 6000; // states, of which a moving arm has 50 a second
const interval = 100; // ms between two drawings
const margin = { left: 44, right: 6, top: 6, bottom: 16 }; // px
const colours = ['#2b8cb0', '#d0453c', '#3d9a50', '#b97a10', '#8b6cc0', '#5a86d8', '#8a8a8a']; // seen on light and dark

const length = (from, to) => Math.hypot(...[0, 1, 2].map((i) => to.pose[i] - from.pose[i]));
const joint = (_, i) => `joint ${i + 1}`;

/** By name: its unit, the names of its curves, and their values in a state; `before` is the state before that one. */
const quantities = {
  'joint angles': { unit: '°', values: ({ joints }) => joints, name: joint },
  'joint speeds': { unit: '°/s', values: ({ speeds }) => speeds, name: joint },
  'tool speed': { unit: 'mm/s', name: () => 'tool',
                  values: (state, time, before) => [before && time - before.time < 0.5 && time > before.time
                    ? (length(before.state, state) * 1000) / (time - before.time) : 0] },
  forces: { unit: 'N', values: ({ force }) => force.slice(0, 3), name: (_, i) => 'F' + 'xyz'[i] },
  torques: { unit: 'Nm', values: ({ force }) => force.slice(3), name: (_, i) => 'M' + 'xyz'[i] },
  currents: { unit: 'A', values: ({ currents }) => currents, name: joint },
};

export class Plots {
  #past = []; // { time, state }, the state of none where nothing was seen
  #events = []; // { time, text }
  #now = 0;
  #at = null; // the moment in the past that is shown, s
  #last = ''; // what was told last about the state
  #canvas = document.getElementById('plot');
  #choice = document.getElementById('plot-of');
  #show;
  #drawSoon = soon(() => this.#draw(), interval);

  /** @param show called with a past state, or with nothing for the present one */
  constructor(show) {
    this.#show = show;
    this.#choice.append(...Object.keys(quantities).map((name) => new Option(name)));
    this.#choice.addEventListener('change', () => this.#draw());
    const point = ({ offsetX }) => this.#look(this.#timeAt(offsetX));
    this.#canvas.addEventListener('pointerdown', (event) => {
      this.#canvas.setPointerCapture(event.pointerId);
      point(event);
    });
    this.#canvas.addEventListener('pointermove', (event) => event.buttons && point(event));
    this.#canvas.addEventListener('keydown', (event) => {
      const step = { ArrowLeft: -0.1, ArrowRight: 0.1, PageUp: -5, PageDown: 5 }[event.key];
      if (!step) return;
      event.preventDefault();
      this.#look((this.#at ?? this.#now) + step);
    });
    const click = (id, handle) => document.getElementById(id).addEventListener('click', handle);
    click('plot-now', () => this.#look(null));
    click('plot-csv', () => this.#save('csv', URL.createObjectURL(new Blob([this.#table()], { type: 'text/csv' }))));
    click('plot-png', () => this.#save('png', this.#canvas.toDataURL()));
    new ResizeObserver(() => this.#draw()).observe(this.#canvas.parentElement);
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.#draw());
  }

  /** The present is not the one that is shown. */
  get looksBack() {
    return this.#at !== null;
  }

  /** Of a controller whose time begins anew. */
  restart() {
    this.#past = [];
    this.#events = [];
    document.getElementById('events').replaceChildren();
    this.#look(null);
  }

  /** What comes now does not continue what came last. */
  gap() {
    if (this.#past.length) this.#past.push({ time: this.#now, state: null });
  }

  tick(time) {
    this.#now = time;
    this.#drawSoon();
  }

  add(state) {
    this.#past.push({ time: this.#now, state });
    if (this.#past.length > kept) this.#past.shift();
    const told = state.errors.join(', ') || state.mode;
    if (told !== this.#last) this.mark(this.#now, told);
    this.#last = told;
    this.#drawSoon();
  }

  /** Something has happened. */
  mark(time, text) {
    this.#events.push({ time, text });
    const list = document.getElementById('events');
    const button = Object.assign(document.createElement('button'), { textContent: `${time.toFixed(2)} s  ${text}` });
    button.addEventListener('click', () => this.#look(time));
    list.prepend(Object.assign(document.createElement('li')));
    list.firstChild.append(button);
    if (this.#events.length <= 200) return;
    this.#events.shift();
    list.lastChild.remove();
  }

  #end() {
    return this.#at === null ? this.#now : Math.max(this.#now, this.#at);
  }

  #timeAt(x) {
    const width = this.#canvas.clientWidth - margin.left - margin.right;
    return this.#end() - span + ((x - margin.left) / width) * span;
  }

  #look(time) {
    const first = this.#past.find(({ state }) => state);
    this.#at = time === null || !first || time >= this.#now ? null : Math.max(first.time, time);
    document.getElementById('plot-now').disabled = this.#at === null;
    document.body.classList.toggle('looks-back', this.#at !== null);
    const then = this.#at === null ? null : this.#past.findLast((entry) => entry.state && entry.time <= this.#at);
    this.#show(then?.state);
    this.#draw();
  }

  /** The chosen quantity, in what is seen. */
  #values() {
    const { values } = quantities[this.#choice.value];
    const from = this.#end() - span;
    return this.#past.flatMap(({ time, state }, i) => {
      const next = this.#past[i + 1];
      if (next && next.time < from) return [];
      if (!state) return [{ time, value: null }];
      const before = this.#past[i - 1];
      const value = values(state, time, before?.state ? before : null);
      // While nothing is told, nothing changes.
      const until = next ? next.time - 0.02 : this.#now;
      return until > time ? [{ time, value }, { time: until, value }] : [{ time, value }];
    });
  }

  #draw() {
    const { clientWidth: width, clientHeight: height } = this.#canvas;
    if (!width || document.hidden) return;
    const { unit, name } = quantities[this.#choice.value];
    const style = getComputedStyle(document.documentElement);
    const colour = (key) => style.getPropertyValue(key).trim();
    Object.assign(this.#canvas, { width: width * devicePixelRatio, height: height * devicePixelRatio });
    const paper = this.#canvas.getContext('2d');
    paper.scale(devicePixelRatio, devicePixelRatio);
    paper.fillStyle = colour('--surface'); // a picture of its own has a ground
    paper.fillRect(0, 0, width, height);
    paper.font = '10px B612, sans-serif';

    const entries = this.#values();
    const all = entries.flatMap(({ value }) => value ?? []);
    const low = Math.min(0, ...all);
    const high = Math.max(low + 1e-3, 0, ...all);
    const end = this.#end();
    const x = (time) => margin.left + ((time - end + span) / span) * (width - margin.left - margin.right);
    const y = (value) => height - margin.bottom - ((value - low) / (high - low)) * (height - margin.top - margin.bottom);
    const line = (points, ink, thickness = 1) => {
      paper.strokeStyle = ink;
      paper.lineWidth = thickness;
      paper.beginPath();
      points.forEach(([px, py], i) => (i ? paper.lineTo(px, py) : paper.moveTo(px, py)));
      paper.stroke();
    };

    paper.fillStyle = colour('--soft');
    paper.textAlign = 'right';
    for (const value of new Set([low, 0, high])) {
      line([[margin.left, y(value)], [width - margin.right, y(value)]], colour('--line'));
      paper.fillText(value.toFixed(Math.abs(high - low) < 10 ? 2 : 0), margin.left - 4, y(value) + 3);
    }
    for (let time = Math.ceil((end - span) / 10) * 10; time <= end; time += 10)
      if (time >= 0) paper.fillText(`${time} s`, x(time) + 10, height - 3);

    paper.save();
    paper.rect(margin.left, 0, width - margin.left - margin.right, height - margin.bottom + 1);
    paper.clip();
    for (const { time } of this.#events) line([[x(time), margin.top], [x(time), height - margin.bottom]], colour('--track'), 2);
    const curves = entries.find(({ value }) => value)?.value.length ?? 0;
    for (let i = 0; i < curves; i++) {
      let piece = [];
      for (const { time, value } of [...entries, { value: null }]) {
        if (value) piece.push([x(time), y(value[i])]);
        else line(piece, colours[i], 1.3), (piece = []);
      }
    }
    if (this.#at !== null) line([[x(this.#at), 0], [x(this.#at), height]], colour('--ink'));
    paper.restore();
    this.#describe(unit, name, entries, curves);
  }

  /** The curves with their values now, or at the moment that is looked at, and the last event before that. */
  #describe(unit, name, entries, curves) {
    const at = this.#end() === this.#now && this.#at === null ? this.#now : this.#at;
    const values = entries.findLast(({ time, value }) => value && time <= at)?.value ?? [];
    const legend = document.getElementById('plot-legend');
    if (legend.children.length !== curves)
      legend.replaceChildren(...Array.from({ length: curves }, () => document.createElement('span')));
    [...legend.children].forEach((item, i) => {
      item.style.borderColor = colours[i];
      write(item, `${name(null, i)} ${(values[i] ?? 0).toFixed(2)} ${unit}`);
    });
    const event = this.#events.findLast(({ time }) => time <= at);
    write(document.getElementById('plot-event'), (this.#at === null ? '' : `at ${this.#at.toFixed(2)} s: `)
      + (event ? `${event.text}, since ${event.time.toFixed(2)} s` : ''));
  }

  #table() {
    const { unit, name, values } = quantities[this.#choice.value];
    const entries = this.#past.map(({ time, state }, i) => {
      const before = this.#past[i - 1];
      return state && [time, ...values(state, time, before?.state ? before : null)];
    }).filter(Boolean);
    const names = entries.length ? entries[0].slice(1).map((_, i) => `${name(null, i)} (${unit})`) : [];
    return [['time (s)', ...names], ...entries].map((row) => row.join(',')).join('\n') + '\n';
  }

  #save(kind, address) {
    Object.assign(document.createElement('a'), {
      href: address, download: `${this.#choice.value.replace(' ', '-')}.${kind}` }).click();
  }
}
